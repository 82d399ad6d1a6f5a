// The packed formats of 16 bits: what tells them apart is the row of their bit fields.
#include "pixelformat/gfx_image_pixelformat_packed_impl.h"
#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_pixelformat_special_impl.h"
#include "pixelformat/kernel_packed16.h"
#include "pixelformat/kernel_values.h"
#include "torvi/ids_formats.h"

#include <cstdlib>

namespace torvi
{

namespace
{

constexpr SpecialFormatInfo PACKED_INFO = {ids::COLORSPACE_RGB, ids::COLORPROFILE_SRGB, 1, {0, 16, 0}};

struct PackedRow
{
	Packed16Format _format;
	Id _group;
	Id _registry;
};

constexpr std::array<PackedRow, PACKED16_FORMAT_COUNT> ROWS = {{
	{Packed16Format::RGB_U565, ids::PIXELFORMATGROUP_RGB, ids::REGISTRY_RGB},
	{Packed16Format::RGB_U555, ids::PIXELFORMATGROUP_RGB, ids::REGISTRY_RGB},
	{Packed16Format::RGB_U444, ids::PIXELFORMATGROUP_RGB, ids::REGISTRY_RGB},
	{Packed16Format::ARGB_U1555, ids::PIXELFORMATGROUP_ARGB, ids::REGISTRY_ARGB},
	{Packed16Format::ARGB_U4444, ids::PIXELFORMATGROUP_ARGB, ids::REGISTRY_ARGB},
	{Packed16Format::BGR_U565, ids::PIXELFORMATGROUP_BGR, ids::REGISTRY_BGR},
	{Packed16Format::BGR_U555, ids::PIXELFORMATGROUP_BGR, ids::REGISTRY_BGR},
	{Packed16Format::BGR_U444, ids::PIXELFORMATGROUP_BGR, ids::REGISTRY_BGR},
	{Packed16Format::ABGR_U1555, ids::PIXELFORMATGROUP_ABGR, ids::REGISTRY_ABGR},
	{Packed16Format::ABGR_U4444, ids::PIXELFORMATGROUP_ABGR, ids::REGISTRY_ABGR},
}};

/// A pixel's fields in 8 bits.
struct ExpandedPixel
{
	ExpandedPixel(const Packed16Info& info, UInt16 pixel)
		: _values{ExpandColour(pixel, info._red), ExpandColour(pixel, info._green), ExpandColour(pixel, info._blue),
				  ExpandAlpha(pixel, info._alpha)}
	{
	}

	std::array<UChar, 4> _values; // red, green, blue, alpha
};

class PixelFormatPackedImpl final : public PixelFormatSpecialImpl
{
public:
	explicit PixelFormatPackedImpl(const PackedRow& row)
		: PixelFormatSpecialImpl(PACKED_INFO), _format(row._format), _packed(InfoOf(row._format))
	{
	}

	Bool HasAlpha() const override { return _packed.HasAlpha(); }
	Result<AlphaPixelFormat> GetAlphaPixelFormat() const override
	{
		return IllegalArgumentError("The alpha of @ is no format of its own.", GetShortName());
	}

	Bool IsIdenticalPixel(const PixelBuffer& pixel1, const PixelBuffer& pixel2, UChar threshold) const override
	{
		const ExpandedPixel a(_packed, LoadValue<UInt16>(pixel1._pixel));
		const ExpandedPixel b(_packed, LoadValue<UInt16>(pixel2._pixel));
		for (std::size_t i = 0; i < a._values.size(); ++i)
		{
			if (std::abs(a._values[i] - b._values[i]) > threshold)
				return false;
		}
		return true;
	}

	String PixToString(const Byte* pixel) const override
	{
		const UInt16 value = LoadValue<UInt16>(pixel);
		const auto& [red, green, blue, alpha] = ExpandedPixel(_packed, value)._values;
		const String colours = Format("R@ @ G@ @ B@ @", _packed._red._bits, red, _packed._green._bits, green, _packed._blue._bits, blue);
		const UChar shownAlpha = _packed._alpha._bits == 1 ? alpha & 0x80 : alpha; // one bit shows where it lies in the byte
		return _packed.HasAlpha() ? Format("A@ @ ", _packed._alpha._bits, shownAlpha) + colours : colours;
	}

	String ToString(std::string_view) const override
	{
		const Bool isRedFirst = _packed._red._shift > _packed._blue._shift;
		const auto& [first, last] = isRedFirst ? std::pair(_packed._red, _packed._blue) : std::pair(_packed._blue, _packed._red);
		const String colours = Format("@@@", first._bits, _packed._green._bits, last._bits);
		if (!_packed.HasAlpha())
			return (isRedFirst ? "RGB" : "BGR") + colours;
		return isRedFirst ? Format("ARGB@@", _packed._alpha._bits, colours) : Format("BGRA@@", colours, _packed._alpha._bits);
	}

protected:
	std::optional<ConversionPlan> PlanFromFixed(const FixedPlaces& source) const override { return Packed16PlanFrom(_format, source); }
	std::optional<ConversionPlan> PlanToFixed(const FixedPlaces& destination) const override
	{
		return Packed16PlanTo(destination, _format);
	}
	ConvertPixelFunc FunctionFromSpecial(const PixelFormatInterface& source) const override
	{
		const auto* const packed = dynamic_cast<const PixelFormatPackedImpl*>(&source);
		const RunKernel kernel = packed != nullptr ? Packed16KernelBetween(_format, packed->_format) : nullptr;
		return kernel != nullptr ? FunctionOf(kernel) : ConvertPixelFunc();
	}

private:
	Packed16Format _format;
	const Packed16Info& _packed;
};

constexpr auto COMPONENTS = MakeComponentTable<PixelFormatPackedImpl, ROWS>();

} // namespace

Result<void> RegisterPackedFormats(Module& module)
{
	for (std::size_t i = 0; i < ROWS.size(); ++i)
	{
		const Packed16Info& info = InfoOf(ROWS[i]._format);
		TORVI_TRY(AddPixelFormat(module, {info._name, info._shortName.data(), ROWS[i]._group, ROWS[i]._registry}, COMPONENTS[i]));
	}
	return OK;
}

} // namespace torvi
