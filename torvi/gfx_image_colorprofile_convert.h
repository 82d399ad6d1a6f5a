// The conversion of runs of pixels from one format and profile to another.
#pragma once

#include "torvi/gfx_image_colorprofile_gpu.h"
#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// The rendering intent. ABSOLUTE is taken as RELATIVE.
enum class COLORCONVERSIONINTENT : UInt32
{
	PERCEPTUAL = 0,
	RELATIVE = 1,
	SATURATION = 2,
	ABSOLUTE = 3
};

namespace ids
{
inline constexpr Id INTERFACE_COLORPROFILECONVERT = "net.torvi.image.interface.colorprofileconvert";
} // namespace ids

/// One conversion. It never changes: any number of threads may run it.
class TORVI_EXPORT ColorProfileConvertInterface : public virtual ObjectInterface
{
public:
	/// Converts `count` pixels. Of the runs only pixel and stride are read; channels lie as in the formats. Source and destination may be
	/// the same run, and strides may be zero on the source. Fails only where a pixel conversion does; counts below 1 do nothing.
	virtual Result<void> Convert(const PixelBuffer& source, const PixelBuffer& destination, Int count) const = 0;
	/// The handler of InitGPU; null for others.
	virtual ColorProfileGpuRef GetGpuHandler() const = 0;
};

using ColorProfileConvert = Ref<ColorProfileConvertInterface>;

/// Static: declared under ids::INTERFACE_COLORPROFILECONVERT.
class TORVI_EXPORT ColorProfileConvertStaticInterface : public virtual ObjectInterface
{
public:
	static constexpr UInt32 BLACK_POINT_COMPENSATION = 1;
	static constexpr UInt32 REVERSE = 2; ///< the profiles change sides

	/// The conversion, made on the first call and shared until the module ends; a failure is remembered and given again.
	virtual Result<ColorProfileConvert> Init(const PixelFormat& srcFormat, const ColorProfile& srcProfile, const PixelFormat& dstFormat,
											 const ColorProfile& dstProfile, COLORCONVERSIONINTENT intent, UInt32 flags) = 0;
	/// The format that colour management reads or writes directly in place of `format`. IllegalArgumentError if there is none.
	virtual Result<PixelFormat> GetNearestNativeFormat(const PixelFormat& format) = 0;
	/// A conversion that holds a handler for a graphics processor and converts no runs. Bit 0 of `flags1`: the profiles change sides.
	virtual Result<ColorProfileConvert> InitGPU(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags1,
												UInt32 flags2) = 0;
};

} // namespace torvi
