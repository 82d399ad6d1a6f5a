// Data, conversion between types, and dictionaries.
#include "expect_out_of_memory.h"

#include "host/data.h"
#include "host/halffloat_datatype.h"

#include <cmath>
#include <limits>

namespace torvi::test
{
namespace
{

template <class T>
Data MakeData(T value)
{
	return TORVI_MUST(Data::Make<T>(std::move(value)));
}

TEST(Data, KnowsItsType)
{
	const Data data = MakeData<Int64>(-5);
	EXPECT_EQ(data.GetType(), GetDataType<Int64>());
	EXPECT_EQ(TORVI_MUST(data.Get<Int64>()), -5);
	EXPECT_EQ(ErrorIdOf(data.Get<Int32>()), errorids::WRONGDATATYPE.GetText());
	EXPECT_EQ(ErrorIdOf(Data().Get<Int32>()), errorids::WRONGDATATYPE.GetText());
	EXPECT_NE(data, MakeData<Int32>(-5));
	EXPECT_EQ(Data(), Data());
	EXPECT_NE(Data(), data);
	EXPECT_EQ(MakeData(0.0).GetHashCode(), MakeData(-0.0).GetHashCode());
	const Data notANumber = MakeData(std::nan(""));
	const Data copy = notANumber;
	EXPECT_NE(copy, notANumber);
	EXPECT_EQ(MakeData(Array<String>{MakeString("a"), MakeString("b")}).ToString(), "[a, b]");
}

/// Whether the value converts, and to which text.
template <class To, class From>
String Converted(From value)
{
	Result<Data> result = MakeData(std::move(value)).Convert(GetDataType<To>());
	return result.IsOk() ? result.GetValue().ToString() : MakeString("no");
}

TEST(Data, ConvertsWhatFits)
{
	EXPECT_EQ(Converted<UChar>(Int64(255)), "255");
	EXPECT_EQ(Converted<UChar>(Int64(256)), "no");
	EXPECT_EQ(Converted<UInt64>(Int32(-1)), "no");
	EXPECT_EQ(Converted<Int64>(0x1p63), "no");
	EXPECT_EQ(Converted<Int64>(-0x1p63), "-9223372036854775808");
	EXPECT_EQ(Converted<UInt64>(-0.5), "no");
	EXPECT_EQ(Converted<Int32>(2.5), "no");
	EXPECT_EQ(Converted<Int32>(std::nan("")), "no");
	EXPECT_EQ(Converted<Float32>(1e300), "no");
	EXPECT_EQ(Converted<Float32>(HUGE_VAL), "inf");
	EXPECT_EQ(Converted<Int32>(true), "1");
	EXPECT_EQ(Converted<Int32>(MakeString("12")), "12");
	EXPECT_EQ(Converted<Int32>(MakeString("12x")), "no");
	EXPECT_EQ(Converted<Int32>(MakeString("")), "no");
	EXPECT_EQ(Converted<Bool>(MakeString("true")), "true");
	EXPECT_EQ(Converted<String>(Id("net.torvi.x")), "net.torvi.x");
	EXPECT_EQ(Converted<Id>(MakeString("net.torvi.x")), "net.torvi.x");
	EXPECT_EQ(Converted<Array<Byte>>(Int32(1)), "no");
	EXPECT_EQ(ErrorIdOf(Data().Convert(GetDataType<String>())), errorids::WRONGDATATYPE.GetText());
}

TEST(Data, HalfFloatIsAFloatToTheHost)
{
	EXPECT_EQ(MakeData(HalfFloat(-0.5f)).ToString(), "-0.5");
	EXPECT_EQ(MakeData(HalfFloat(0.0f)), MakeData(HalfFloat(-0.0f)));
	EXPECT_EQ(MakeData(HalfFloat(0.0f)).GetHashCode(), MakeData(HalfFloat(-0.0f)).GetHashCode());
	EXPECT_NE(MakeData(HalfFloat::FromBits(0x7E00)), MakeData(HalfFloat::FromBits(0x7E00)));
}

TEST(DataDictionary, KeepsOrderReplacesAndErases)
{
	DataDictionary dictionary;
	TORVI_MUST(dictionary.Set<Int>("b", 1));
	TORVI_MUST(dictionary.Set<Int>("a", 2));
	TORVI_MUST(dictionary.Set<Float>("b", 0.5));
	EXPECT_EQ(dictionary.ToString(), "{b: 0.5, a: 2}");
	EXPECT_EQ(dictionary.GetOr<Int>("b", 7), 7); // of another type
	EXPECT_EQ(ErrorIdOf(dictionary.Get<Int>("b")), errorids::WRONGDATATYPE.GetText());
	EXPECT_EQ(ErrorIdOf(dictionary.Get<Int>("c")), errorids::KEYNOTFOUND.GetText());

	DataDictionary other;
	TORVI_MUST(other.Set<Int>("a", 2));
	EXPECT_NE(dictionary, other);
	TORVI_MUST(other.Set<Float>("b", 0.5));
	EXPECT_EQ(dictionary, other); // in any order
	EXPECT_EQ(dictionary.GetHashCode(), other.GetHashCode());
	dictionary.EraseData("b");
	dictionary.EraseData("b");
	EXPECT_EQ(dictionary.ToString(), "{a: 2}");
	EXPECT_EQ(TORVI_MUST(other.Get<Float>("b")), 0.5);
}

TEST(DataDictionary, NumbersAreKeysOfTheirOwn)
{
	DataDictionary dictionary;
	const Id text = "net.torvi.some";
	TORVI_MUST(dictionary.Set<Int>(Id::FromNumber(text.GetHashCode()), 1));
	TORVI_MUST(dictionary.Set<Int>(text, 2));
	TORVI_MUST(dictionary.Set<Int>(Id::FromNumber(0), 3));
	EXPECT_EQ(TORVI_MUST(dictionary.Get<Int>(Id::FromNumber(text.GetHashCode()))), 1);
	EXPECT_EQ(TORVI_MUST(dictionary.Get<Int>(text)), 2);
	EXPECT_EQ(TORVI_MUST(dictionary.Get<Int>(Id::FromNumber(0))), 3);
	EXPECT_EQ(ErrorIdOf(dictionary.Get<Int>(Id())), errorids::KEYNOTFOUND.GetText());
	EXPECT_EQ(Format("@", Id::FromNumber(274)), "274");
	static_assert(!Id::FromNumber(0).IsEmpty() && Id().IsEmpty());
}

TEST(DataDictionary, FailedAllocations)
{
	ExpectOutOfMemoryAtEachAllocation(
		[]() -> Result<void>
		{
			DataDictionary dictionary;
			TORVI_TRY(dictionary.Set<Int>("a", 2));
			TORVI_TRY(dictionary.Set<Array<Byte>>("b", Array<Byte>()));
			TORVI_TRY(TORVI_TRY(dictionary.GetData("a")).Convert(GetDataType<Float>()));
			return OK;
		});
}

} // namespace
} // namespace torvi::test
