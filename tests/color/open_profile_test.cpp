// Opening ICC profiles from memory and from files, sharing them, and writing them again.
#include "color/gfx_image_colorprofile_impl.h"
#include "tests/color/color_fixture.h"
#include "tests/support/failing_url.h"
#include "torvi/gfx_image_pixelformat.h"
#include "torvi/mediasession_errors.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace torvi::test
{

namespace
{

using OpenProfile = ColorTest;

Result<ColorProfile> OpenFile(const Array<Byte>& bytes, const FailurePlan& plan = {})
{
	return ColorProfile::OpenProfileFromFile(MakeFailingUrl(bytes, plan));
}

String DescriptionOf(const std::wstring& text)
{
	return TORVI_MUST(ColorProfile::OpenProfileFromMemory(MakeRgbProfile(text))).GetInfo(ColorProfileInfo::DESCRIPTION);
}

TEST_F(OpenProfile, RefusesWhatIsNoProfile)
{
	constexpr const char* MAGIC = "net.torvi.image.error.mediasessionwrongtype: found invalid magic number in color profile.";
	for (const std::size_t length : std::initializer_list<std::size_t>{0, 3, 11, 39, 40, 200})
		EXPECT_EQ(TextOf(ColorProfile::OpenProfileFromMemory(Array<Byte>(length, 'o')).GetError()), MAGIC) << length;
	Array<Byte> header(128, 0);
	std::ranges::copy(std::string_view("acsp"), header.begin() + 36);
	EXPECT_EQ(TextOf(ColorProfile::OpenProfileFromMemory(header).GetError()),
			  "net.torvi.image.error.mediasessionwrongtype: cmsOpenProfileFromMem failed.");
	EXPECT_EQ(TextOf(ReadProfile({}, 0).GetError()), "net.torvi.error.nullptr: mem is nullptr");
}

TEST_F(OpenProfile, EqualBytesAreOneRecordAsLongAsItIsHeld)
{
	const Array<Byte> bytes = MakeRgbProfile(L"Shared");
	std::optional<ColorProfile> first = TORVI_MUST(ColorProfile::OpenProfileFromMemory(bytes));
	ColorProfile second = TORVI_MUST(ColorProfile::OpenProfileFromMemory(bytes));
	second.SetMonitorProfileMode(true);
	EXPECT_TRUE(first->IsEqual(second));
	EXPECT_TRUE(second.IsMonitorProfileMode());
	EXPECT_FALSE(first->IsMonitorProfileMode());
	EXPECT_FALSE(first->IsEqual(TORVI_MUST(ColorProfile::OpenProfileFromMemory(MakeRgbProfile(L"Shared", 1.9)))));
	EXPECT_EQ(TORVI_MUST(second.WriteProfileToMemory()), bytes);

	const UInt32 crc = first->GetCrc();
	first.reset();
	EXPECT_TRUE(GetProfileMap().Find(crc));
	second = ColorProfile();
	EXPECT_FALSE(GetProfileMap().Find(crc));
	EXPECT_TRUE(ColorProfile::OpenProfileFromMemory(bytes).IsOk());
}

TEST_F(OpenProfile, ProfilesThatCallThemselvesSrgbAreTheBuiltInOne)
{
	const ColorProfile srgb = GetBuiltInColorProfile(ids::COLORPROFILE_SRGB);
	for (const auto& [description, isBuiltIn] : std::initializer_list<std::pair<const wchar_t*, Bool>>{
			 {L"sRGB IEC61966-2.1", true}, {L"My SRGB iec61966-2-x", true}, {L"sRGB IEC61966-2.1 Linear", false}, {L"sRGB", false}})
	{
		const Array<Byte> bytes = MakeRgbProfile(description);
		EXPECT_EQ(TORVI_MUST(ColorProfile::OpenProfileFromMemory(bytes)) == srgb, isBuiltIn) << description;
		EXPECT_EQ(TORVI_MUST(OpenFile(bytes)) == srgb, isBuiltIn) << description;
	}
}

TEST_F(OpenProfile, TextsAreUnicodeAndBounded)
{
	EXPECT_EQ(DescriptionOf(L"Gr\u00FCn \u8272"), "Gr\u00FCn \u8272");
	EXPECT_EQ(DescriptionOf(L"\xD83C\xDFA8 paint"), "\U0001F3A8 paint"); // as the units of UTF-16 that stand in the file
	EXPECT_EQ(DescriptionOf(std::wstring(5000, L'x')).size(), 1023u);
}

TEST_F(OpenProfile, ColorSpaceFollowsTheSignature)
{
	for (const auto& [signature, id] : std::initializer_list<std::pair<cmsColorSpaceSignature, Id>>{{cmsSigRgbData, ids::COLORSPACE_RGB},
																									{cmsSigGrayData, ids::COLORSPACE_GREY},
																									{cmsSigCmykData, ids::COLORSPACE_CMYK},
																									{cmsSigYCbCrData, ids::COLORSPACE_YUV},
																									{cmsSigLabData, Id()}})
	{
		const IccProfile profile(cmsCreateNULLProfile());
		cmsSetColorSpace(profile.get(), signature);
		const ColorSpace found = TORVI_MUST(ColorProfile::OpenProfileFromMemory(BytesOf(profile))).GetColorSpace();
		EXPECT_EQ(found, id.IsEmpty() ? ColorSpace() : FindDeclared<ColorSpaceInterface>(id)) << id.GetText();
	}
}

TEST_F(OpenProfile, FilesStayOutOfTheMapAndAreClosed)
{
	const Array<Byte> bytes = MakeRgbProfile(L"From a file");
	const Ref<FailingFile> file = TORVI_MUST(NewObject<FailingFile>(bytes, FailurePlan{}));
	const ColorProfile first = TORVI_MUST(ColorProfile::OpenProfileFromFile(TORVI_MUST(file->GetUrl())));
	const ColorProfile second = TORVI_MUST(ColorProfile::OpenProfileFromFile(TORVI_MUST(file->GetUrl())));
	EXPECT_EQ(file->GetLivingCount(), 0);
	EXPECT_EQ(first.GetInfo(ColorProfileInfo::NAME), "From a file");
	EXPECT_FALSE(first == second);
	EXPECT_FALSE(GetProfileMap().Find(first.GetCrc()));

	ASSERT_TRUE(first.WriteProfileToFile(TORVI_MUST(file->GetUrl())).IsOk());
	EXPECT_TRUE(std::ranges::equal(file->GetBytes(), TORVI_MUST(first.WriteProfileToMemory())));
	file->_plan._writeErrorAt = 0;
	EXPECT_EQ(first.WriteProfileToFile(TORVI_MUST(file->GetUrl())).GetError().GetMessage(), "The write failed.");
}

TEST_F(OpenProfile, FilesThatFailGiveTheirError)
{
	const Array<Byte> bytes = MakeRgbProfile(L"Failing");
	for (Int position = 0; position < CountOf(bytes); position += 7)
	{
		FailurePlan broken;
		broken._readErrorAt = position;
		EXPECT_EQ(TextOf(OpenFile(bytes, broken).GetError()), "net.torvi.error.io: The read failed.") << position;
		FailurePlan shorter;
		shorter._endAt = position;
		EXPECT_EQ(OpenFile(bytes, shorter).GetError().GetId(), errorids::IO) << position;
	}
	FailurePlan pipe;
	pipe._canSeek = false;
	EXPECT_EQ(OpenFile(bytes, pipe).GetError().GetId(), errorids::UNSUPPORTEDOPERATION);
	FailurePlan closed;
	closed._failsOpen = true;
	EXPECT_EQ(OpenFile(bytes, closed).GetError().GetMessage(), "The open failed.");
	EXPECT_EQ(OpenFile(Array<Byte>(500, 'x')).GetError().GetId(), errorids::MEDIASESSIONWRONGTYPE);
	EXPECT_FALSE(OpenFile({}).IsOk());
}

TEST_F(OpenProfile, TagsThatOverlapDoNotMakeTheProfileGrow)
{
	// 40 tags that all claim the same megabyte, in types that lcms2 does not link.
	Array<Byte> bytes = MakeRgbProfile(L"Overlapping");
	bytes.resize(1 << 20);
	const auto put = [&](std::size_t offset, UInt32 value)
	{
		for (std::size_t i = 0; i < 4; ++i)
			bytes[offset + i] = static_cast<Byte>(value >> (24 - 8 * i));
	};
	put(0, 1 << 20);
	put(128, 40);
	for (UInt32 i = 0; i < 40; ++i)
	{
		put(132 + 12 * i, 0x41414141 + i);
		put(136 + 12 * i, 1024);
		put(140 + 12 * i, (1 << 20) - 1024);
	}
	EXPECT_EQ(TextOf(OpenFile(bytes).GetError()), "net.torvi.error.unknown: Calculating color profile size failed.");
}

TEST_F(OpenProfile, ManyThreadsOpenAndDropOneProfile)
{
	const Array<Byte> bytes = MakeRgbProfile(L"Threads");
	const Array<Byte> others[] = {MakeRgbProfile(L"Threads", 1.1), MakeRgbProfile(L"Threads", 1.2)};
	std::atomic<Int> failures = 0;
	ColorProfile shared;
	std::vector<std::jthread> threads;
	for (std::size_t thread = 0; thread < 4; ++thread)
		threads.emplace_back(
			[&, thread]()
			{
				for (int i = 0; i < 300; ++i)
				{
					const ColorProfile first = TORVI_MUST(ColorProfile::OpenProfileFromMemory(bytes));
					const ColorProfile other = TORVI_MUST(ColorProfile::OpenProfileFromMemory(others[thread % 2]));
					const ColorProfile second = TORVI_MUST(ColorProfile::OpenProfileFromMemory(bytes));
					if (first != second || first == other || first.GetInfo(ColorProfileInfo::DESCRIPTION) != "Threads")
						++failures;
					shared.SetMonitorProfileMode(!shared.IsMonitorProfileMode());
				}
			});
	threads.clear();
	EXPECT_EQ(failures, 0);
}

} // namespace

} // namespace torvi::test
