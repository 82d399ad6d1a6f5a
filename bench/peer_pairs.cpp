// torvi-peer-pairs: this library beside others, on the pairs, pixels and timing of their programs, all of which stands in their header.
// Prints what they print. Pairs of formats that are not registered are left out.
#include "bench/measure.h"
#include "torvi/module.h"

#include <cstdio>
#include <pairs.h>

namespace torvi::bench
{

namespace
{

Result<PixelFormat> FindPeerFormat(const std::string& name)
{
	return FindFormat(name == "565" ? "rgb.u565" : name);
}

/// `count` pixels from the one format to the other, as in "rgb.u8->rgba.u8".
Result<pairs::Convert> MakeConversion(const std::string& name, Int count)
{
	const std::size_t arrow = name.find("->");
	const PixelFormat source = TORVI_TRY(FindPeerFormat(name.substr(0, arrow)));
	const PixelFormat destination = TORVI_TRY(FindPeerFormat(name.substr(arrow + 2)));
	const ConvertPixelFunc function = TORVI_TRY(FindKernel(destination, source));
	const BITS fromStride = source->GetBitsPerPixel();
	const BITS toStride = destination->GetBitsPerPixel();
	const auto convert = [=](const void* from, void* to)
	{
		if (!function(PixelBuffer(static_cast<Byte*>(to), toStride), count, PixelBuffer(static_cast<const Byte*>(from), fromStride), 0)
				 .IsOk())
			std::abort();
	};
	return pairs::Convert(convert);
}

/// An empty function where a format is missing, which leaves the pair out and is said on standard error.
pairs::Convert MakeConversionOrNone(const pairs::Pair& pair, int width, int height)
{
	Result<pairs::Convert> conversion = MakeConversion(pair.name, Int(width) * height);
	if (!conversion.IsOk())
		std::fprintf(stderr, "%s: %s\n", pair.name, conversion.GetError().ToString().c_str());
	return std::move(conversion).ValueOr(pairs::Convert());
}

} // namespace

} // namespace torvi::bench

int main()
{
	if (const torvi::Result<void> result = torvi::StartModule(); !result.IsOk())
	{
		std::fprintf(stderr, "torvi-peer-pairs: %s\n", result.GetError().ToString().c_str());
		return 1;
	}
	pairs::run("torvi", [](const pairs::Pair& pair, const uint8_t*, uint8_t*, int width, int height)
			   { return torvi::bench::MakeConversionOrNone(pair, width, height); });
	torvi::EndModule();
}
