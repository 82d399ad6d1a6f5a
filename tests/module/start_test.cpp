// Start and end of the whole module: repeated, out of memory at every allocation, and with objects that outlive it.
#include "torvi/module.h"

#include "host/job.h"
#include "host/registry.h"
#include "tests/support/allocation_failure.h"
#include "torvi/gfx_image_colorprofile.h"
#include "torvi/gfx_image_pixelformat.h"
#include "torvi/ids_formats.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace torvi
{
namespace
{

TEST(Start, TakesOneAtATimeAndCanBeRepeated)
{
	for (int i = 0; i < 3; ++i)
	{
		ASSERT_TRUE(StartModule().IsOk());
		EXPECT_EQ(StartModule().GetError().GetId(), errorids::ILLEGALSTATE);
		EXPECT_FALSE(ModuleScope().GetResult().IsOk());
		EXPECT_TRUE(GetPixelFormat(ids::PIXELFORMAT_RGB_U8));
		EndModule();
		EndModule();
		EXPECT_FALSE(GetPixelFormat(ids::PIXELFORMAT_RGB_U8));
	}
}

/// The end waits for jobs, and takes nothing from them before.
TEST(Start, JobsComeToTheirEnd)
{
	static std::atomic<Bool> s_hasFound;
	s_hasFound = false;
	ASSERT_TRUE(StartModule().IsOk());
	const JobQueueRef queue = JobQueue::GetServiceIOQueue().TakeValue();
	ASSERT_TRUE(queue
					->Enqueue(
						[]() -> Result<void>
						{
							std::this_thread::sleep_for(std::chrono::milliseconds(50));
							s_hasFound = static_cast<Bool>(GetImageChannel(CHANNELTYPE::RED, GetDataType<UChar>()));
							return OK;
						})
					.IsOk());
	EndModule();
	EXPECT_TRUE(s_hasFound);
	EXPECT_FALSE(GetImageChannel(CHANNELTYPE::RED, GetDataType<UChar>()));
}

/// What a caller still holds behind the end answers what it can and refuses the rest; a new start makes new objects.
TEST(Start, ObjectsMayOutliveTheEnd)
{
	ASSERT_TRUE(StartModule().IsOk());
	const auto formats = FindDeclared<PixelFormatsInterface>(ids::INTERFACE_PIXELFORMATS);
	const ImageChannel red = GetImageChannel(CHANNELTYPE::RED, GetDataType<UChar>());
	const ImageChannel depth = GetImageChannel(CHANNELTYPE::DEPTH, GetDataType<UInt16>());
	const ImageChannel channels[] = {red, depth};
	std::vector<PixelFormat> held = {GetPixelFormat(ids::PIXELFORMAT_RGB_U8),      GetPixelFormat(ids::PIXELFORMAT_RGB_RGBE),
									 GetPixelFormat(ids::PIXELFORMAT_YUV_I422A),   GetPixelFormat(ids::PIXELFORMAT_INDEXED_U8BIT),
									 GetPixelFormat(ids::PIXELFORMAT_RGBA_F32),    GetPixelFormat(ids::PIXELFORMAT_ACMYK_U8),
									 FindOrCreatePixelFormat(channels).TakeValue()};
	EXPECT_EQ(held[5]->GetDefaultColorProfile(), GetBuiltInColorProfile(ids::COLORPROFILE_CMYKDEFAULT));
	EXPECT_FALSE(held[5]->GetDefaultColorProfile().IsEmpty());
	const ColorProfile profile = GetBuiltInColorProfile(ids::COLORPROFILE_SRGB);
	EndModule();

	EXPECT_EQ(red->GetChannelType().ToString(), "Red");
	EXPECT_EQ(formats->FindOrCreatePixelFormat(channels).GetError().GetId(), errorids::ILLEGALSTATE);
	Byte pixel[16] = {};
	for (const PixelFormat& format : held)
	{
		const PixelBuffer buffer(pixel, format->GetBitsPerPixel(), nullptr, format);
		format->ToString();
		format->PixToString(pixel);
		format->IsIdenticalPixel(buffer, buffer, 0);
		EXPECT_FALSE(format->GetPixelFormatGroup()->GetEntries().HasValue());
		EXPECT_TRUE(format->GetDefaultColorProfile().IsEmpty());
		EXPECT_TRUE(profile.CheckCompatiblePixelFormat(*format) || format->GetColorSpace());
		for (const PixelFormat& source : held)
		{
			Bool isColorConverted = false;
			ColorProfile target = profile;
			static_cast<void>(format->GetConvertPixelFunc(source, source->GetChannelOffsets(), format->GetChannelOffsets(), &profile,
														  &target, true, isColorConverted));
		}
	}
	EXPECT_FALSE(profile.ToString().empty());
	EXPECT_TRUE(profile.WriteProfileToMemory().IsOk());

	const ModuleScope module;
	ASSERT_TRUE(module.GetResult().IsOk());
	EXPECT_NE(GetPixelFormat(ids::PIXELFORMAT_RGB_U8), held[0]);
	held.clear();
}

/// Every allocation of the start fails once: each failure is an error that names no other reason, and leaves nothing behind.
TEST(Start, EveryFailedAllocationIsAnErrorAndLeavesNothing)
{
	const Int count = test::ForEachAllocationFailure(
		[]()
		{
			Result<void> result = StartModule();
			EndModule();
			return result;
		},
		[](const Result<void>& result, Bool hasFailed)
		{
			EXPECT_TRUE(result.IsOk() || hasFailed) << result.GetError().ToString();
			EXPECT_TRUE(result.IsOk() || result.GetError().GetInnermostCause().GetId() == errorids::OUTOFMEMORY)
				<< result.GetError().ToString();
			EXPECT_EQ(g_torvi, nullptr);
		});
	EXPECT_GT(count, 500);
	const ModuleScope module;
	EXPECT_TRUE(module.GetResult().IsOk());
}

} // namespace
} // namespace torvi
