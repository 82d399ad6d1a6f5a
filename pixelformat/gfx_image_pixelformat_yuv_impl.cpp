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

Result<void> CheckWholePairs(Int count)
{
	TORVI_CHECK(count <= 0 || count % 2 == 0, IllegalArgumentError("YUV needs an even number of pixels to convert."));
	return OK;
}

class PixelFormatYuvImpl final : public PixelFormatSpecialImpl
{
public:
	explicit PixelFormatYuvImpl(YuvFormat format) : PixelFormatSpecialImpl(YUV_INFO), _format(format) {}

	Bool IsIdenticalPixel(const PixelBuffer&, const PixelBuffer&, UChar) const override { return false; }
	String PixToString(const Byte*) const override { return MakeString("YUV unsupported"); }
	String ToString(std::string_view) const override { return MakeString("YUV422"); }

protected:
	std::optional<ConversionPlan> PlanFromFixed(const FixedPlaces& source) const override { return YuvPlanFrom(_format, source); }
	std::optional<ConversionPlan> PlanToFixed(const FixedPlaces& destination) const override { return YuvPlanTo(destination, _format); }
	ConvertPixelFunc FunctionFromSpecial(const PixelFormatInterface& source) const override
	{
		if (&source != this)
			return ConvertPixelFunc();
		return [](const PixelBuffer& destination, Int count, const PixelBuffer& from, UInt32) -> Result<void>
		{
			TORVI_TRY(CheckWholePairs(count));
			CopyPixels(RunOf(destination, count, from), YUV_PIXEL_SIZE);
			return OK;
		};
	}

	Result<ConvertPixelFunc> MakeFunction(const ConversionPlan& plan) const override
	{
		auto record = TORVI_TRY(NewObject<SharedRecord<ConversionPlan>>(plan));
		return ConvertPixelFunc(
			[record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
			{
				TORVI_TRY(CheckWholePairs(count));
				record->GetValue().Run(RunOf(destination, count, source));
				return OK;
			});
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
