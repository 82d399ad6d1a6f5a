// RGBE: colours with a shared exponent, as Radiance pictures have them.
#include "pixelformat/gfx_image_pixelformat_rgbe_impl.h"

#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/gfx_image_pixelformat_special_impl.h"
#include "pixelformat/kernel_rgbe.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

constexpr SpecialFormatInfo RGBE_INFO = {ids::COLORSPACE_RGB, ids::COLORPROFILE_LINEARRGB, 1, {0, 32, 0}};

class PixelFormatRgbeImpl final : public PixelFormatSpecialImpl
{
public:
	PixelFormatRgbeImpl() : PixelFormatSpecialImpl(RGBE_INFO) {}

	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override { return IllegalArgumentError("@ has no alpha.", GetShortName()); }

	Bool IsIdenticalPixel(const PixelBuffer& pixel1, const PixelBuffer& pixel2, UChar threshold) const override
	{
		const auto a = DecodeRgbe(pixel1._pixel);
		const auto b = DecodeRgbe(pixel2._pixel);
		return IsIdenticalFloat(a[0], b[0], threshold) && IsIdenticalFloat(a[1], b[1], threshold) &&
			   IsIdenticalFloat(a[2], b[2], threshold);
	}

	String PixToString(const Byte* pixel) const override
	{
		const auto [red, green, blue] = DecodeRgbe(pixel);
		return Format("R @ G @ B @", red, green, blue);
	}

protected:
	std::optional<ConversionPlan> PlanFromFixed(const FixedPlaces& source) const override { return RgbePlanFrom(source); }
	std::optional<ConversionPlan> PlanToFixed(const FixedPlaces& destination) const override { return RgbePlanTo(destination); }
	ConvertPixelFunc FunctionFromSpecial(const PixelFormatInterface& source) const override
	{
		return &source == this ? CopyFunction(RGBE_PIXEL_SIZE) : ConvertPixelFunc();
	}
};

} // namespace

Result<void> RegisterRgbeFormat(Module& module)
{
	return AddPixelFormat(module, {"rgb.rgbe", "RGB::RGBE", ids::PIXELFORMATGROUP_RGB, ids::REGISTRY_RGB},
						  &CreateComponent<PixelFormatRgbeImpl>);
}

} // namespace torvi
