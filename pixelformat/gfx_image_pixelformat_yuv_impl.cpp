// YUV 4:2:2: pairs of pixels that share their chroma, in two byte orders.
#include "pixelformat/gfx_image_pixelformat_yuv_impl.h"

#include "pixelformat/conversion_functions.h"
#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_pixelformat_special_impl.h"
#include "pixelformat/kernel_yuv.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

constexpr SpecialFormatInfo YUV_INFO = {ids::COLORSPACE_YUV, ids::COLORPROFILE_SRGB, 2, {0, 8, 16}};

class PixelFormatYuvImpl final : public PixelFormatSpecialImpl
{
public:
	explicit PixelFormatYuvImpl(YuvFormat format) : PixelFormatSpecialImpl(YUV_INFO), _format(format) {}

	Bool IsIdenticalPixel(const PixelBuffer&, const PixelBuffer&, UChar) const override { return false; }
	String PixToString(const Byte*) const override { return MakeString("YUV unsupported"); }
	String ToString(std::string_view) const override { return MakeString("YUV422"); }

protected:
	RunKernel KernelFromFixed(FixedFormat source) const override { return YuvKernelFrom(_format, source); }
	RunKernel KernelToFixed(FixedFormat destination) const override { return YuvKernelTo(destination, _format); }
	RunKernel KernelFromSpecial(const PixelFormatInterface& source) const override { return &source == this ? YuvCopyKernel() : nullptr; }

	ConvertPixelFunc MakeFunction(RunKernel kernel) const override
	{
		return [kernel](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
		{
			if (count <= 0)
				return OK;
			TORVI_CHECK(count % 2 == 0, IllegalArgumentError("YUV needs an even number of pixels to convert."));
			kernel(RunOf(destination, count, source));
			return OK;
		};
	}

private:
	YuvFormat _format;
};

constexpr std::array ROWS = {YuvFormat::I422A, YuvFormat::I422B};
constexpr std::array<FormatEntry, ROWS.size()> ENTRIES = {{
	{"yuv.i422a", "YUV::I422A", ids::PIXELFORMATGROUP_YUV, ids::REGISTRY_YUV},
	{"yuv.i422b", "YUV::I422B", ids::PIXELFORMATGROUP_YUV, ids::REGISTRY_YUV},
}};
constexpr auto COMPONENTS = MakeComponentTable<PixelFormatYuvImpl, ROWS>();

} // namespace

Result<void> RegisterYuvFormats(Module& module)
{
	for (std::size_t i = 0; i < ROWS.size(); ++i)
		TORVI_TRY(AddPixelFormat(module, ENTRIES[i], COMPONENTS[i]));
	return OK;
}

} // namespace torvi
