// Between RGB and CMYK without a colour profile. Values enter as float32, are computed in float32 in the order in which the steps are
// written, and leave without a clamp to floats, or rounded and clamped to integers:
//   K = 1 - max(r, g, b), w = 1 - K, C = (1 - r - K) / w and so on, or 0 where w is 0
//   r = (1 - C) * (1 - K) and so on
// Inverted formats hold 1 minus each of these. Alpha goes from type to type as between fixed formats.
#pragma once

#include "pixelformat/kernel_channel.h"
#include "pixelformat/kernel_cmyk_side.h"

namespace torvi
{

/// A conversion for given layouts of both sides: a plain value that may be copied and kept.
class CmykRgbConversion
{
public:
	static CmykRgbConversion FromRgb(const CmykSide& cmyk, bool isInverted, const CmykSide& rgb);
	static CmykRgbConversion ToRgb(const CmykSide& rgb, const CmykSide& cmyk, bool isInverted);

	/// Any strides; source and destination must not overlap.
	void Run(const KernelRun& run) const;

	/// The values of some pixels, colour by colour.
	struct Planes;
	using Enter = void (*)(Planes& planes, const CmykSide& side, const KernelRun& chunk);
	using Compute = void (*)(Planes& planes, Int count);
	using Leave = void (*)(const Planes& planes, const CmykSide& side, const KernelRun& chunk);

private:
	CmykRgbConversion(const CmykSide& destination, const CmykSide& source, Compute compute);

	CmykSide _destination;
	CmykSide _source;
	Enter _enter;
	Compute _compute;
	Leave _leave;
	std::optional<ChannelStep> _alphaStep; // where alpha does not come out with the colours
};

} // namespace torvi
