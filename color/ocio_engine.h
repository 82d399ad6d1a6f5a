// Conversions that the host's OpenColorIO configurations do.
#pragma once

#include "color/conversion_run.h"

namespace torvi
{

/// What a configuration calls a pair of profiles. The texts live as long as both profiles.
struct OcioNames
{
	OcioConfigRef _config;
	CString _source = "";
	CString _destination = "";
	CString _view = ""; ///< empty unless the destination is a display and view transform

	Bool IsUsable() const noexcept { return _config && _source[0] != 0 && _destination[0] != 0; }

	Result<OcioProcessorRef> CreateProcessor(UInt32 options) const;
	Result<OcioProcessorRef> CreateGpuProcessor(UInt32 flags1, UInt32 flags2) const;
};

/// Not usable for profiles of two configurations, and where only one has a configuration and the other is neither sRGB nor linear. An
/// error of the configuration where it has no name for these.
Result<OcioNames> ReadOcioNames(const ColorProfile& srcProfile, const ColorProfile& dstProfile);

/// The engine for usable names. Both formats rgb.f32, rgba.f32, rgb.u8 or rgba.u8 are converted in place in the destination, others through
/// rgba.f32.
Result<ConvertRunFunc> MakeOcioEngine(const OcioNames& names, const PixelFormat& srcFormat, const PixelFormat& dstFormat, Bool isReverse);

} // namespace torvi
