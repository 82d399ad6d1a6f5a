// The bytes of OCIO blobs, good and damaged.
#include "color/ocio_blob.h"

#include "tests/color/color_fixture.h"

namespace torvi::test
{

namespace
{

using namespace std::string_literals;

Array<Byte> BytesOfText(const std::string& text)
{
	return Array<Byte>(text.begin(), text.end());
}

// A path of "/c" + U+1F3A8, which is two units of UTF-16; the names "Filmic" and "P3".
const std::string GOOD = "ocio_profile\x01\0\0\0\x08\0\0\0\x02/\0c\0\x3C\xD8\xA8\xDF\x06\0\0\0"s + "Filmic\x02\0\0\0P3"s;

TEST(OcioBlob, WritesAndReadsTheLayout)
{
	EXPECT_EQ(WriteOcioBlob({MakeString("/c\xF0\x9F\x8E\xA8"), MakeString("Filmic"), MakeString("P3")}), BytesOfText(GOOD));
	const OcioBlob blob = TORVI_MUST(ReadOcioBlob(BytesOfText(GOOD)));
	EXPECT_EQ(blob._path, "/c\xF0\x9F\x8E\xA8");
	EXPECT_EQ(blob._name, "Filmic");
	EXPECT_EQ(blob._secondName, "P3");
}

TEST(OcioBlob, CutsAndLengthsBehindTheEndAreCorrupt)
{
	std::vector<std::string> damaged;
	for (std::size_t length = 12; length < GOOD.size(); ++length)
		damaged.push_back(GOOD.substr(0, length));
	for (const std::size_t offset : {std::size_t(16), std::size_t(29), GOOD.size() - 6})
	{
		for (const std::string& length : {"\xFF\xFF\xFF\xFF"s, "\xFF\xFF\xFF\x7F"s, "\0\0\0\x80"s, "\x40\0\0\0"s})
			damaged.push_back(std::string(GOOD).replace(offset, 4, length));
	}
	for (const std::string& bytes : damaged)
		EXPECT_EQ(TextOf(ReadOcioBlob(BytesOfText(bytes)).GetError()), "net.torvi.error.illegalstate: OCIO data corrupt") << bytes;
}

TEST(OcioBlob, VersionsOutOfRange)
{
	const auto read = [](const std::string& version) { return ReadOcioBlob(BytesOfText(std::string(GOOD).replace(12, 4, version))); };
	EXPECT_TRUE(read("\xFF\xFF\0\0"s).IsOk());
	EXPECT_EQ(TextOf(read("\0\0\0\0"s).GetError()),
			  "net.torvi.error.illegalstate: OCIO data version is out of range: 0 (allowed 1 to 65535)");
	EXPECT_EQ(read("\0\0\x01\0"s).GetError().GetMessage(), "OCIO data version is out of range: 65536 (allowed 1 to 65535)");
}

TEST(OcioBlob, OddTextsReadAsFarAsTheyAreTexts)
{
	struct Case
	{
		const char* _name;
		std::string _fields;
		const char* _path;
		const char* _first;
		const char* _second;
	};
	const Case cases[] = {
		{"other character size", "\x02\0\0\0\x01/c\x01\0\0\0n\0\0\0\0"s, "", "n", ""},
		{"odd path length", "\x03\0\0\0\x02/\0c\x01\0\0\0n\0\0\0\0"s, "/", "n", ""},
		{"zero bytes in names", "\0\0\0\0\x02\x03\0\0\0a\0b\x02\0\0\0\0c"s, "", "a", ""},
		{"bytes behind the end", "\0\0\0\0\x02\x01\0\0\0a\x01\0\0\0b tail"s, "", "a", "b"},
	};
	for (const Case& one : cases)
	{
		const Result<OcioBlob> blob = ReadOcioBlob(BytesOfText("ocio_profile\x01\0\0\0"s + one._fields));
		ASSERT_TRUE(blob.IsOk()) << one._name;
		EXPECT_EQ(blob.GetValue()._path, one._path) << one._name;
		EXPECT_EQ(blob.GetValue()._name, one._first) << one._name;
		EXPECT_EQ(blob.GetValue()._secondName, one._second) << one._name;
	}
}

} // namespace

} // namespace torvi::test
