// EXIF blocks of tests/data, hostile ones written here, and those of real files against what other programs read.
#include "platform/registration.h"
#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"
#include "tests/support/host_scope.h"
#include "torvi/exif.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace torvi
{
namespace
{

using namespace std::string_literals;
namespace fs = std::filesystem;
using Tags = std::vector<std::string>;

const Tags BROKEN = {"net.torvi.error.fileformat"};
const Tags CUT = {"net.torvi.error.io"};
const Tags SIX = {"274 uint16 6"};

std::string Big(UInt64 number, int bytes)
{
	return bytes > 0 ? Big(number >> 8, bytes - 1) + static_cast<char>(number) : "";
}

std::string Tag(UInt16 tag, UInt16 format, UInt32 count, const std::string& value)
{
	return Big(tag, 2) + Big(format, 2) + Big(count, 4) + (value + "\0\0\0"s).substr(0, 4);
}

/// A big-endian block of one directory, at 8; the bytes 0 stand behind it.
std::string MakeBlock(const Tags& entries, UInt32 next = 0)
{
	std::string block = "MM\0*\0\0\0\x08"s + Big(entries.size(), 2);
	for (const std::string& entry : entries)
		block += entry;
	return block + Big(next, 4);
}

std::string ReadFile(const fs::path& path)
{
	std::ifstream stream(path, std::ios::binary);
	return {std::istreambuf_iterator<char>(stream), {}};
}

std::string ReadGood(const char* name)
{
	return ReadFile(fs::path(TORVI_TEST_DATA) / "exif" / "good" / name);
}

Block<const Byte> ToBlock(std::string_view text)
{
	return {reinterpret_cast<const Byte*>(text.data()), text.size()};
}

/// The tags as "key type value", or the error's id.
Tags Describe(const Result<ExifRef>& exif)
{
	if (!exif.IsOk())
		return {std::string(exif.GetError().GetId().GetText())};
	Tags tags;
	const DataDictionary dictionary = TORVI_MUST(exif.GetValue()->GetExifDictionary());
	for (const auto& [key, value] : dictionary.GetEntries())
		tags.emplace_back(Format("@ @ @", key, value.GetType(), value));
	return tags;
}

struct Case
{
	const char* _name;
	std::string _bytes;
	Tags _expected;
};

class Exif : public testing::Test
{
protected:
	HostScope _host{&RegisterPlatform};
	Ref<ExifStaticInterface> _service = CreateObject<ExifStaticInterface>(ids::CLASS_EXIFSTATIC).TakeValue();

	Tags Open(const std::string& bytes) const { return Describe(_service->OpenFromMemory(ToBlock(bytes))); }
	Tags OpenJpg(const std::string& bytes) const { return Describe(_service->OpenJpgFromUrl(test::MakeFailingUrl(ToBlock(bytes), {}))); }
};

TEST_F(Exif, DirectoriesAndFormats)
{
	const Tags expected = {"256 uint32 70000",
						   "258 net.torvi.datatype.array.int64 [8, 9, 10]",
						   "270 net.torvi.datatype.string \xC3\x83\xC2\xBC / \xC3\xBC", // one byte that is no UTF-8: all of it is Latin-1
						   "271 net.torvi.datatype.string Canon",
						   "274 uint16 6",
						   "315 net.torvi.datatype.string M\xC3\xBC",
						   "50000 uchar 7",
						   "33434 net.torvi.datatype.array.int64 [-1, 250]",
						   "36864 net.torvi.datatype.array.uchar [48, 50, 51, 48]",
						   "50001 char -2",
						   "50002 int16 -2",
						   "50003 net.torvi.datatype.array.int64 [-3, 4]",
						   "50004 float32 1.5",
						   "50005 net.torvi.datatype.array.data [-0.5, 0]",
						   "131073 net.torvi.datatype.string N",
						   "131074 net.torvi.datatype.array.int64 [48, 1, 51, 1, 0, 0]",
						   "196609 net.torvi.datatype.string R98",
						   "65810 uint16 8"};
	for (const std::string order : {"little", "big"})
	{
		const std::string block = ReadGood(("canon_" + order).c_str());
		Tags tags = Open(block);
		EXPECT_EQ(Open("Exif\0\0"s + block), tags);
		EXPECT_EQ(Open("Exif\0\xFF"s + block), tags);
		EXPECT_EQ(std::erase_if(tags, [](const std::string& tag) { return tag.starts_with("37500 "); }), 1u) << "the maker's notes";
		EXPECT_EQ(tags.back(), "66049 net.torvi.datatype.array.uchar "s + (order == "big" ? "[0, 42]" : "[42, 0]"));
		tags.pop_back();
		EXPECT_EQ(tags, expected);
	}
}

TEST_F(Exif, OddBlocks)
{
	const std::string six = Tag(274, 3, 1, "\0\x06"s);
	const std::string self = Big(8, 4);
	Tags many;
	for (UInt16 i = 0; i < 5000; ++i)
		many.push_back(Tag(static_cast<UInt16>(50000 + i), 7, 60000, self));
	const Case cases[] = {
		{"a byte turns", MakeBlock({Tag(274, 1, 1, "\x06")}), SIX},
		{"the first of two", MakeBlock({Tag(274, 3, 2, "\0\x06\0\x01"s)}), SIX},
		{"a tag twice", MakeBlock({six, Tag(274, 3, 1, "\0\x01"s)}), SIX},
		{"32 bits turn", MakeBlock({Tag(274, 4, 1, "\0\0\0\x06"s)}), SIX},
		{"signed bits turn", MakeBlock({Tag(274, 9, 1, "\0\0\0\x06"s)}), SIX},
		{"too many turns", MakeBlock({Tag(274, 4, 1, "\0\x01\0\0"s)}), BROKEN},
		{"no turn below 0", MakeBlock({Tag(274, 6, 1, "\xFF")}), BROKEN},
		{"letters do not turn", MakeBlock({Tag(274, 2, 2, "6\0"s)}), BROKEN},
		{"no value", MakeBlock({Tag(274, 3, 0, "\0\x06"s)}), BROKEN},
		{"nothing", "", BROKEN},
		{"the letters alone", "Exif", BROKEN},
		{"the head alone", "Exif\0\0"s, BROKEN},
		{"other data", std::string(100, 'x'), BROKEN},
		{"two byte orders", "MM*\0"s + MakeBlock({six}).substr(4), BROKEN},
		{"first directory outside", "MM\0*\xFF\xFF\xFF\xF0"s + MakeBlock({six}).substr(8), BROKEN},
		{"no entries", MakeBlock({}), BROKEN},
		{"values outside", MakeBlock({Tag(270, 2, 5000, self), Tag(271, 7, 0xFFFFFFFF, self), Tag(272, 99, 1, self)}), BROKEN},
		{"sizes that overflow", MakeBlock({Tag(270, 12, 0x20000001, self), Tag(271, 5, 0x80000000, self), six}), SIX},
		{"a directory of itself",
		 MakeBlock({six, Tag(34665, 4, 1, self), Tag(34853, 4, 1, self), Tag(40965, 4, 1, self)}, 8),
		 {"274 uint16 6", "65810 uint16 6"}},
		{"5000 values of 60 KB", MakeBlock(many), BROKEN},
		{"behind 64 KiB", MakeBlock({six}) + std::string(200000, 'x'), SIX},
	};
	for (const Case& one : cases)
		EXPECT_EQ(Open(one._bytes), one._expected) << one._name;
}

/// Whatever the bytes are, there are tags or a file-format error.
TEST_F(Exif, CutAndFlippedBlocks)
{
	const auto check = [&](const std::string& block, std::size_t place)
	{
		const Result<ExifRef> exif = _service->OpenFromMemory(ToBlock(block));
		EXPECT_TRUE(exif.IsOk() ? !exif.GetValue()->InitIterator().empty() : exif.GetError().GetId() == errorids::FILEFORMAT) << place;
	};
	for (const char* name : {"canon_big", "nikon_little", "olympus_big", "pentax_little", "fuji_big", "apple_little"})
	{
		const std::string good = ReadGood(name);
		ASSERT_FALSE(good.empty()) << name;
		for (std::size_t i = 0; i < good.size(); ++i)
		{
			check(good.substr(0, i), i);
			for (const int byte : {0, 1, 127, 128, 255})
				check(std::string(good).replace(i, 1, 1, static_cast<char>(byte)), i);
		}
	}
}

TEST_F(Exif, JpegFilesAreWalkedToTheFirstBlock)
{
	const auto segment = [](char marker, const std::string& data) { return "\xFF"s + marker + Big(data.size() + 2, 2) + data; };
	const std::string six = segment('\xE1', "Exif\0\0"s + MakeBlock({Tag(274, 3, 1, "\0\x06"s)}));
	const std::string one = segment('\xE1', "Exif\0\0"s + MakeBlock({Tag(274, 3, 1, "\0\x01"s)}));
	const std::string other =
		segment('\xE0', "JFIF\xFF\xE1") + segment('\xE1', "http://ns.adobe.com/xap/1.0/\0Exif"s) + segment('\xE1', "Exi");
	const Case cases[] = {
		{"behind others", "\xFF\xD8" + other + six + one, SIX},
		{"fill bytes and lone markers", "\xFF\xD8\xFF\x01\xFF\xD0\xFF\xFF" + six, SIX},
		{"behind the picture's start", "\xFF\xD8" + other + segment('\xDA', "") + six, BROKEN},
		{"behind the end", "\xFF\xD8\xFF\xD9" + six, BROKEN},
		{"a first block that is damaged", "\xFF\xD8" + segment('\xE1', "Exif\0\0XX"s) + six, BROKEN},
		{"no JPEG", "\x89PNG" + six, BROKEN},
		{"no marker", "\xFF\xD8Q" + six, BROKEN},
		{"a length of 1", "\xFF\xD8\xFF\xE0\0\x01"s + six, BROKEN},
	};
	for (const Case& test : cases)
		EXPECT_EQ(OpenJpg(test._bytes), test._expected) << test._name;
	const std::string good = cases[0]._bytes.substr(0, 2 + other.size() + six.size());
	for (std::size_t length = 0; length < good.size(); ++length)
		EXPECT_EQ(OpenJpg(good.substr(0, length)), CUT) << length;
}

TEST_F(Exif, RunningOutOfMemoryIsAnError)
{
	const std::string block = ReadGood("canon_little");
	const Int count = test::ForEachAllocationFailure([&]() { return _service->OpenFromMemory(ToBlock(block)); },
													 [](const Result<ExifRef>& exif, Bool hasFailed)
													 { EXPECT_EQ(exif.GetError().GetId(), hasFailed ? errorids::OUTOFMEMORY : Id()); });
	EXPECT_GT(count, 100) << "the library's memory is the host's";
}

TEST_F(Exif, RealFiles)
{
	struct
	{
		const char* _name;
		UInt64 _tag;
		const char* _expected;
	} const cases[] = {
		{"image__portrait_2.jpg", 274, "2"},
		{"libvips__3.jpg", 274, "3"},
		{"libvips__5.jpg", 40962, "308"},
		{"libvips__7.jpg", 274, "7"},
		{"oiio__orientation4.jpg", 274, "4"},
		{"pillow__frozenpond.mpo", 271, "Nintendo"},
		{"pillow__hopper_orientation_8.jpg", 274, "8"},
		{"taglib-sharp__sample_bgo625367.jpg", 33434, "[10, 80]"},
		{"bad/icafe__exif-rgb-thumbnail-bad-exif-kodak-dc210.jpg", 33434, "[1, 30]"},
		{"bad/twelvemonkeys__exif-bad-directory-entry-count.jpg", 40962, "510"},
		{"bad/twelvemonkeys__exif-with-interop-subdir-bad.jpg", 271, "EASTMAN KODAK COMPANY"},
	};
	const fs::path corpus = TORVI_CORPUS;
	if (corpus.empty())
		GTEST_SKIP() << "There are no real sample files; TORVI_CORPUS is not set.";
	for (const auto& test : cases)
	{
		const Url url = TORVI_MUST(Url::FromSystemPath((corpus / "jpeg" / test._name).native()));
		const Result<ExifRef> exif = _service->OpenJpgFromUrl(url);
		ASSERT_TRUE(exif.IsOk()) << test._name << ": " << exif.GetError().ToString();
		EXPECT_EQ(exif.GetValue()->GetData(MakeExifTag(test._tag)).ValueOr(Data()).ToString(), test._expected) << test._name;
	}
	std::printf("%zu real files\n", std::size(cases));
}

} // namespace
} // namespace torvi
