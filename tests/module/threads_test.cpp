// Threads that stay while the module starts and ends, as those of a host do: whatever they keep for themselves fits each new start.
#include "tests/mediasession/test_format_fixture.h"
#include "tests/support/together.h"
#include "torvi/gfx_image_colorprofile.h"
#include "torvi/ids_formats.h"
#include "torvi/module.h"

#include <barrier>

namespace torvi::test
{
namespace
{

/// The pixels of a file of each format in a row, as they are and in linear colours; the error of the first that fails.
Result<std::vector<Byte>> LoadFiles()
{
	std::vector<Byte> all;
	for (const char* name : {"bmp/good/rgb565-h124.bmp", "png/good/rgba16-interlaced.png", "jpeg/good/rgb-turned.jpg", "psd/good/layers-16.psb"})
	{
		const Url url = TORVI_TRY(Url::FromSystemPath(std::string(TORVI_TEST_DATA) + "/" + name));
		const ImageTextureRef texture = TORVI_TRY(LoadFile(url));
		const PixelArray pixels = TORVI_TRY(ReadPixels(GetPicture(texture, 0)));
		all.insert(all.end(), pixels._bytes.begin(), pixels._bytes.end());
		const ColorProfile linear = GetBuiltInColorProfile(ids::COLORPROFILE_LINEARRGB);
		TORVI_TRY(GetPicture(texture, 0)->TransformColors({}, linear, 0));
		const PixelArray colours = TORVI_TRY(ReadPixels(GetPicture(texture, 0)));
		all.insert(all.end(), colours._bytes.begin(), colours._bytes.end());
	}
	return all;
}

TEST(ModuleThreads, OutliveTheModule)
{
	constexpr std::size_t THREADS = 4;
	constexpr int LIVES = 3;
	std::barrier step(THREADS);
	std::vector<Byte> results[THREADS][LIVES];
	RunTogether(THREADS,
				[&](std::size_t thread)
				{
					for (int life = 0; life < LIVES; ++life)
					{
						if (thread == 0)
							TORVI_MUST(StartModule());
						step.arrive_and_wait();
						Result<std::vector<Byte>> loaded = LoadFiles();
						EXPECT_EQ(TextOf(loaded.GetError()), "");
						results[thread][life] = std::move(loaded).ValueOr(std::vector<Byte>());
						step.arrive_and_wait();
						if (thread == 0)
							EndModule();
					}
				});
	EXPECT_FALSE(results[0][0].empty());
	for (const auto& lives : results)
	{
		for (const std::vector<Byte>& pixels : lives)
			EXPECT_TRUE(pixels == results[0][0]);
	}
}

} // namespace
} // namespace torvi::test
