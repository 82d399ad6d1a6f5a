// The stored form of values.
#include "expect_out_of_memory.h"

#include "host/dataserialize.h"
#include "host/gfx_basictypes_3d.h"
#include "host/halffloat_datatype.h"
#include "host/timevalue.h"

#include <cmath>
#include <limits>

namespace torvi::test
{
namespace
{

struct Everything
{
	Bool _bool = true;
	Char _char = -128;
	UChar _uchar = 255;
	Int16 _int16 = -32768;
	UInt16 _uint16 = 65535;
	Int32 _int32 = std::numeric_limits<Int32>::min();
	UInt32 _uint32 = 0xFEDCBA98;
	Int64 _int64 = std::numeric_limits<Int64>::min();
	UInt64 _uint64 = 0xFEDCBA9876543210;
	HalfFloat _half{0.1f};
	Float32 _float32 = -0.0f;
	Float64 _float64 = 0.1;
	String _string = MakeString(std::string_view("text\0with zero", 14));
	Id _id = "net.torvi.id";
	Array<Byte> _bytes = {0, 255};
	Array<Char> _chars = {-1, 1};
	Array<Int64> _int64s = {-1, std::numeric_limits<Int64>::max()};
	Array<String> _strings = {MakeString("a"), String(), MakeString("c")};
	Array<String> _empty;
	DrawRectFloat _rect = {{1.5, -2.0}, {3.0, 4.0}};
	UpdateRegion _region = UpdateRegion::MakeEmpty();
	DrawVolumeInt _volume = {{1, 2, 3}, {4, 5, 6}};

	friend Bool operator==(const Everything&, const Everything&) = default;

	Result<void> DescribeIO(DataSerialize& serializer)
	{
		TORVI_TRY(serializer.DescribeElement("_bool", _bool));
		TORVI_TRY(serializer.DescribeElement("_char", _char));
		TORVI_TRY(serializer.DescribeElement("_uchar", _uchar));
		TORVI_TRY(serializer.DescribeElement("_int16", _int16));
		TORVI_TRY(serializer.DescribeElement("_uint16", _uint16));
		TORVI_TRY(serializer.DescribeElement("_int32", _int32));
		TORVI_TRY(serializer.DescribeElement("_uint32", _uint32));
		TORVI_TRY(serializer.DescribeElement("_int64", _int64));
		TORVI_TRY(serializer.DescribeElement("_uint64", _uint64));
		TORVI_TRY(serializer.DescribeElement("_half", _half));
		TORVI_TRY(serializer.DescribeElement("_float32", _float32));
		TORVI_TRY(serializer.DescribeElement("_float64", _float64));
		TORVI_TRY(serializer.DescribeElement("_string", _string));
		TORVI_TRY(serializer.DescribeElement("_id", _id));
		TORVI_TRY(serializer.DescribeElement("_bytes", _bytes));
		TORVI_TRY(serializer.DescribeElement("_chars", _chars));
		TORVI_TRY(serializer.DescribeElement("_int64s", _int64s));
		TORVI_TRY(serializer.DescribeElement("_strings", _strings));
		TORVI_TRY(serializer.DescribeElement("_empty", _empty));
		TORVI_TRY(serializer.DescribeElement("_rect", _rect));
		TORVI_TRY(serializer.DescribeElement("_region", _region));
		return serializer.DescribeElement("_volume", _volume);
	}
};

/// Values unlike those that Everything starts with.
Everything MakeOther()
{
	Everything other;
	other._bool = false;
	other._char = 0;
	other._uchar = 0;
	other._uint16 = 0;
	other._int16 = 0;
	other._int32 = 0;
	other._uint32 = 0;
	other._int64 = 0;
	other._uint64 = 0;
	other._half = HalfFloat();
	other._float32 = 1.0f;
	other._float64 = 1.0;
	other._string = other._strings[0];
	other._id = Id();
	other._bytes.clear();
	other._chars.clear();
	other._int64s.clear();
	other._strings.clear();
	other._empty = {String()};
	other._rect = {};
	other._region = {};
	other._volume = {};
	return other;
}

Array<Byte> Write(Everything value)
{
	DataSerializeWriter writer;
	TORVI_MUST(value.DescribeIO(writer));
	return {writer.GetBytes().begin(), writer.GetBytes().end()};
}

Result<void> Read(Block<const Byte> bytes, Everything& value)
{
	DataSerializeReader reader(bytes);
	return value.DescribeIO(reader);
}

TEST(Serialize, AllTypesComeBack)
{
	Everything value = MakeOther();
	TORVI_MUST(Read(Write(Everything()), value));
	EXPECT_EQ(value, Everything());
	EXPECT_TRUE(std::signbit(value._float32));
	TORVI_MUST(Read(Write(MakeOther()), value));
	EXPECT_EQ(value, MakeOther());
}

TEST(Serialize, StoredForm)
{
	Int16 number = 0x0102;
	DataSerializeWriter writer;
	TORVI_MUST(writer.DescribeElement("_n", number));
	const Byte expected[] = {2, 0, 0, 0, '_', 'n', 5, 0, 0, 0, 'i', 'n', 't', '1', '6', 2, 0, 0, 0, 0, 0, 0, 0, 2, 1};
	EXPECT_TRUE(std::ranges::equal(writer.GetBytes(), expected));
}

TEST(Serialize, ReaderVerifies)
{
	Int32 number = 5;
	DataSerializeWriter writer;
	TORVI_MUST(writer.DescribeElement("_number", number));
	DataSerializeReader reader(writer.GetBytes());
	UInt32 other = 0;
	EXPECT_EQ(reader.DescribeElement("_other", number).GetError().GetMessage(), "The stored member _other is needed, found _number.");
	EXPECT_EQ(reader.DescribeElement("_number", other).GetError().GetMessage(),
			  "The stored member _number is of type int32 in place of uint32.");
	number = 0;
	TORVI_MUST(reader.DescribeElement("_number", number)); // a failed element can be tried again
	EXPECT_EQ(number, 5);
	EXPECT_FALSE(reader.DescribeElement("_number", number).IsOk());
}

TEST(Serialize, OtherTypesAreRefusedAndLeaveNothing)
{
	DataSerializeWriter writer;
	TimeValue time;
	ObjectRef object;
	EXPECT_EQ(ErrorIdOf(writer.DescribeElement("_time", time)), errorids::UNREGISTEREDDATATYPE.GetText());
	EXPECT_EQ(ErrorIdOf(writer.DescribeElement("_object", object)), errorids::UNREGISTEREDDATATYPE.GetText());
	EXPECT_EQ(ErrorIdOf(writer.DescribeElement("_none", DataType(), &time)), errorids::UNREGISTEREDDATATYPE.GetText());
	EXPECT_TRUE(writer.GetBytes().empty());
}

TEST(Serialize, CutDataIsAnError)
{
	const Array<Byte> bytes = Write(Everything());
	for (std::size_t length = 0; length < bytes.size(); ++length)
	{
		Everything value;
		EXPECT_FALSE(Read(Block<const Byte>(bytes).first(length), value).IsOk()) << length;
	}
}

TEST(Serialize, AwkwardBytesNeverAllocateMuch)
{
	const Array<Byte> bytes = Write(Everything());
	static std::atomic<Int> s_largest;
	s_largest = 0;
	SetAllocationHook(
		[](Int size) noexcept
		{
			s_largest = std::max(s_largest.load(), size);
			return true;
		});
	for (std::size_t i = 0; i < bytes.size(); ++i)
	{
		for (const Byte awkward : std::initializer_list<Byte>{0, 1, 127, 128, 255})
		{
			Array<Byte> changed = bytes;
			changed[i] = awkward;
			Everything value;
			static_cast<void>(Read(changed, value).IsOk());
		}
	}
	SetAllocationHook(nullptr);
	EXPECT_LT(s_largest, 16 * CountOf(bytes));
}

TEST(Serialize, FailedAllocations)
{
	ExpectOutOfMemoryAtEachAllocation(
		[]() -> Result<void>
		{
			return NoThrow(
				[]() -> Result<void>
				{
					Everything value;
					DataSerializeWriter writer;
					TORVI_TRY(value.DescribeIO(writer));
					return Read(writer.GetBytes(), value);
				});
		});
}

} // namespace
} // namespace torvi::test
