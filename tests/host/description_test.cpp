// Data descriptions: values of the stated types, files that are wrong, and a database that gets by without memory.
#include "host/description.h"
#include "host/iomemory.h"

#include "tests/support/allocation_failure.h"

#include <gtest/gtest.h>

namespace torvi
{
namespace
{

class Description : public testing::Test
{
protected:
	void TearDown() override { DataDescriptionDatabase::Clear(); }

	static Result<void> Register(std::string_view text)
	{
		return NoThrow(
			[&]() -> Result<void>
			{
				const Ref<IoMemory> file = TORVI_TRY(NewObject<IoMemory>(Array<Byte>(text.begin(), text.end())));
				return DataDescriptionDatabase::RegisterDatabaseWithUrl("net.torvi.test", TORVI_TRY(file->GetUrl("test.json")));
			});
	}
};

TEST_F(Description, ValuesHaveTheStatedTypes)
{
	ASSERT_TRUE(Register(R"({"first": {
		"b": {"type": "bool", "default": true, "help": "A switch."}, "i": {"type": "int32", "default": -7},
		"l": {"type": "int64", "default": 9000000000}, "f": {"type": "float64", "default": 1}, "s": {"type": "string", "default": "x"},
		"d": {"type": "id", "default": "V4"}, "y": {"type": "bytes", "default": [1, 255]}, "v": {"type": "bytesvalue", "default": 5},
		"n": {"type": "int32"}, "o": {}}})")
					.IsOk());
	ASSERT_TRUE(Register(R"({"second": {}})").IsOk());
	const DataDescription& description = *TORVI_MUST(DataDescriptionDatabase::LoadDescription("first"));
	const auto value = [&](const Id& key) { return description.GetEntry(key)->GetData(ids::DESCRIPTION_DEFAULTVALUE); };
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("b")).Get<Bool>()), true);
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("i")).Get<Int32>()), -7);
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("l")).Get<Int64>()), 9000000000);
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("f")).Get<Float64>()), 1.0);
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("s")).Get<String>()), "x");
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("d")).Get<Id>()), Id("V4"));
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("y")).Get<Array<Byte>>()), (Array<Byte>{1, 255}));
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(value("v")).Get<BytesValue>()), BytesValue{5});
	EXPECT_EQ(value("n").GetError().GetId(), errorids::KEYNOTFOUND);
	EXPECT_EQ(description.GetEntry("n")->GetOr<DataType>(ids::DESCRIPTION_DATATYPE, {}), GetDataType<Int32>());
	EXPECT_TRUE(description.GetEntry("o")->IsEmpty());
	EXPECT_EQ(description.GetEntry("b")->GetOr<String>(ids::DESCRIPTION_HELP, {}), "A switch.");
	EXPECT_EQ(description.GetEntry("missing"), nullptr);
	EXPECT_EQ(description.GetEntries().front()._key, Id("b"));
	EXPECT_TRUE(DataDescriptionDatabase::LoadDescription("second").IsOk());
	EXPECT_EQ(DataDescriptionDatabase::LoadDescription("third").GetError().GetId(), errorids::KEYNOTFOUND);
}

TEST_F(Description, WrongFilesAreErrors)
{
	constexpr std::string_view TEXTS[] = {
		"",
		"{",
		"[]",
		"\xFF",
		R"({"a": 1})",
		R"({"a": {"k": 1}})",
		R"({"a": {"k": {"type": "what"}}})",
		R"({"a": {"k": {"type": 1}}})",
		R"({"a": {"k": {"default": 1}}})",
		R"({"a": {"k": {"type": "int32", "default": 1.5}}})",
		R"({"a": {"k": {"type": "int32", "default": 2147483648}}})",
		R"({"a": {"k": {"type": "int64", "default": 9223372036854775808}}})",
		R"({"a": {"k": {"type": "bool", "default": 0}}})",
		R"({"a": {"k": {"type": "bytes", "default": [256]}}})",
		R"({"a": {"k": {"type": "bytesvalue", "default": -1}}})",
		R"({"a": {"k": {"type": "id", "default": 1}}})",
		R"({"a": {"k": {"help": 1}}})",
	};
	for (const std::string_view text : TEXTS)
	{
		ASSERT_TRUE(Register(text).IsOk());
		const Result<const DataDescription*> result = DataDescriptionDatabase::LoadDescription("a");
		EXPECT_EQ(result.GetError().GetId(), errorids::FILEFORMAT) << text;
		EXPECT_TRUE(result.GetError().GetMessage().starts_with("The data descriptions of memory:test.json can not be read: ")) << text;
		DataDescriptionDatabase::Clear();
	}
}

TEST_F(Description, MissingFileIsTriedAgain)
{
	const Url url = TORVI_MUST(Url::FromSystemPath("/no/such/file.json"));
	ASSERT_TRUE(DataDescriptionDatabase::RegisterDatabaseWithUrl("net.torvi.test", url).IsOk());
	for (int i = 0; i < 2; ++i)
		EXPECT_EQ(DataDescriptionDatabase::LoadDescription("a").GetError().GetId(), errorids::IO);
	EXPECT_EQ(DataDescriptionDatabase::RegisterDatabaseWithUrl("net.torvi.test", Url()).GetError().GetId(), errorids::ILLEGALARGUMENT);
}

TEST_F(Description, HoldsWithoutMemory)
{
	const auto operation = []() -> Result<void>
	{
		DataDescriptionDatabase::Clear();
		TORVI_TRY(Register(R"({"net.torvi.a.description.id": {"net.torvi.an.option.key": {"type": "bytes", "default": [1, 2, 3]}}})"));
		TORVI_TRY(DataDescriptionDatabase::LoadDescription("net.torvi.a.description.id"));
		return OK;
	};
	const Int count = test::ForEachAllocationFailure(operation,
													 [](const Result<void>& result, Bool hasFailed)
													 {
														 EXPECT_EQ(result.IsOk(), !hasFailed);
														 EXPECT_TRUE(result.IsOk() || result.GetError().GetId() == errorids::OUTOFMEMORY)
															 << result.GetError().ToString();
													 });
	EXPECT_GT(count, 10);
}

} // namespace
} // namespace torvi
