// Blending of short runs of float pixels against memcpy of as many bytes: all modes.
#include "bench/measure.h"
#include "torvi/gfx_image_pixelblend.h"
#include "torvi/ids_formats.h"

#include <cstring>

namespace torvi::bench
{

namespace
{

constexpr std::string_view BLENDMODE_PREFIX = "net.torvi.render.blendmode.";
constexpr Int RUN_LENGTH = 64; // pixels

/// The foreground's format; that of the background is RGBA::F32.
Id GetForegroundFormat(const ImagePixelBlend& mode)
{
	return mode->GetClassId() == ids::BLENDMODE_APPLYALPHA ? ids::PIXELFORMAT_ALPHA_F32 : ids::PIXELFORMAT_RGBA_F32;
}

/// Destination, background and foreground are three runs in memory.
Result<void> BlendRuns(benchmark::State& state, double seconds, const ImagePixelBlend& mode)
{
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_F32), foregroundFormat = GetPixelFormat(GetForegroundFormat(mode));
	const BlendPixelHandler handler = TORVI_TRY(
		mode->GetBlendPixelHandler(format, format->GetChannelOffsets(), foregroundFormat, foregroundFormat->GetChannelOffsets(), 1.0));
	Array<Byte> pixels = TORVI_TRY(MakePixels(format, 4 * RUN_LENGTH));
	const Int runBytes = format->GetBytesPerLine(RUN_LENGTH, 1);
	const PixelBuffer background(pixels.data(), format->GetBitsPerPixel());
	const PixelBuffer foreground(pixels.data() + runBytes, foregroundFormat->GetBitsPerPixel());
	const PixelBuffer destination(pixels.data() + 2 * runBytes, format->GetBitsPerPixel());
	const Int pixelBytes = (2 * format->GetBitsPerPixel() + foregroundFormat->GetBitsPerPixel()) / 8; // read plus written
	const Int copyBytes = RUN_LENGTH * pixelBytes / 2;
	const auto blend = [&]() -> Result<void>
	{
		TORVI_TRY(handler._blend(destination, background, foreground, RUN_LENGTH));
		benchmark::ClobberMemory();
		return OK;
	};
	const auto copy = [&]() -> Result<void>
	{
		std::memcpy(pixels.data() + 2 * runBytes, pixels.data(), static_cast<std::size_t>(copyBytes));
		benchmark::ClobberMemory();
		return OK;
	};
	state.counters["bytes"] = static_cast<double>(pixelBytes);
	return CompareByTurns(state, seconds, Task{blend, static_cast<double>(RUN_LENGTH)}, Task{copy, static_cast<double>(RUN_LENGTH)});
}

} // namespace

void AddBlending(const Options& options)
{
	const RegistryRef modes = g_torvi->GetRegistry(ids::REGISTRY_BLENDMODES).ValueOr(RegistryRef());
	for (const ImagePixelBlend& mode : modes->GetEntries<ImagePixelBlendInterface>())
	{
		const std::string key(mode->GetClassId().GetText().substr(BLENDMODE_PREFIX.size()));
		AddRounds("blend/64/" + key, options, 0.05,
				  [mode](benchmark::State& state, double seconds) { return BlendRuns(state, seconds, mode); });
	}
}

} // namespace torvi::bench
