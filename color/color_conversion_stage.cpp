// The colour step of the lookup. Its function converts packed pixels; pixels in another layout, such as planes, are packed on the way.
#include "color/color_conversion_stage.h"

#include "color/conversion_run.h"

namespace torvi
{

namespace
{

constexpr Int LARGEST_SCRATCH = 8192; // bytes on the stack for each side

/// Profiles between layouts that are not the formats' own.
class LayoutEngine final : public ObjectInterface
{
public:
	LayoutEngine(ColorProfileConvert convert, ConvertPixelFunc pack, BITS sourceBits, ConvertPixelFunc unpack, BITS destinationBits)
		: _convert(std::move(convert)), _pack(std::move(pack)), _sourceBits(sourceBits), _unpack(std::move(unpack)),
		  _destinationBits(destinationBits)
	{
	}

	Result<void> Run(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		alignas(64) Byte sourceBytes[LARGEST_SCRATCH];
		alignas(64) Byte destinationBytes[LARGEST_SCRATCH];
		const PixelBuffer packed(sourceBytes, _sourceBits), converted(destinationBytes, _destinationBits);
		return ConvertInChunks(source, destination, count, CHUNK_PIXELS,
							   [&](const PixelBuffer& from, const PixelBuffer& to, Int chunk) -> Result<void>
							   {
								   TORVI_TRY(_pack(packed, chunk, from, 0));
								   TORVI_TRY(_convert->Convert(packed, converted, chunk));
								   return _unpack(to, chunk, converted, 0);
							   });
	}

private:
	ColorProfileConvert _convert;
	ConvertPixelFunc _pack;
	BITS _sourceBits;
	ConvertPixelFunc _unpack;
	BITS _destinationBits;
};

Bool IsOwnLayout(const PixelFormatInterface& format, const ChannelOffsets& offsets)
{
	return std::ranges::equal(offsets, format.GetChannelOffsets());
}

Result<BITS> CheckBits(const PixelFormat& format)
{
	const BITS bits = format->GetBitsPerPixel();
	TORVI_CHECK(bits * CHUNK_PIXELS <= LARGEST_SCRATCH * 8, UnsupportedOperationError("Pixels of @ are too large to be packed.", format));
	return bits;
}

Result<ConvertPixelFunc> ConvertLayouts(const ColorProfileConvert& convert, const PixelFormat& dstFormat, const PixelFormat& srcFormat,
										const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets)
{
	const BITS sourceBits = TORVI_TRY(CheckBits(srcFormat)), destinationBits = TORVI_TRY(CheckBits(dstFormat));
	const ConvertPixelFunc pack = TORVI_TRY(FindPlainConversion(*srcFormat, srcFormat, {}, srcOffsets));
	const ConvertPixelFunc unpack = TORVI_TRY(FindPlainConversion(*dstFormat, dstFormat, dstOffsets, {}));
	auto engine = TORVI_TRY(NewObject<LayoutEngine>(convert, pack, sourceBits, unpack, destinationBits));
	return ConvertPixelFunc([engine](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32)
							{ return engine->Run(source, destination, count); });
}

/// Whether the pixels are to change from one profile to the other.
Result<Bool> IsConversionWanted(const ColorSpace& srcSpace, const ColorSpace& dstSpace, const ColorProfile& srcProfile,
								const ColorProfile& dstProfile, Bool forceProfiles)
{
	if (srcProfile.IsEmpty() && dstProfile.IsEmpty())
		return false;
	if (srcProfile.IsEmpty() || dstProfile.IsEmpty())
	{
		const auto textOf = [](const ColorProfile& profile) { return profile.IsEmpty() ? MakeString("nullptr") : profile.ToString(); };
		TORVI_CHECK(!forceProfiles || srcSpace == dstSpace,
					IllegalStateError("Warning: Pixel conversion with different color spaces: @ != @ and incomplete color profiles: @ != @",
									  srcSpace, dstSpace, textOf(srcProfile), textOf(dstProfile)));
		return false;
	}
	return srcProfile != dstProfile && (forceProfiles || srcSpace != dstSpace);
}

} // namespace

Result<ConvertPixelFunc> ColorConversionStageImpl::MakeFunction(const PixelFormat& dstFormat, const PixelFormat& srcFormat,
																const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets,
																ColorProfile srcProfile, ColorProfile dstProfile, UInt32 flags)
{
	if (srcProfile.IsOcioDisplayViewTransform() && !dstProfile.IsOcioDisplayViewTransform())
	{
		std::swap(srcProfile, dstProfile);
		flags ^= ColorProfileConvertStaticInterface::REVERSE;
	}
	const ColorProfileConvert convert =
		TORVI_TRY(_conversions->Init(srcFormat, srcProfile, dstFormat, dstProfile, COLORCONVERSIONINTENT::PERCEPTUAL, flags));
	if (!IsOwnLayout(*srcFormat, srcOffsets) || !IsOwnLayout(*dstFormat, dstOffsets))
		return ConvertLayouts(convert, dstFormat, srcFormat, srcOffsets, dstOffsets);
	return ConvertPixelFunc([convert](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32)
							{ return convert->Convert(source, destination, count); });
}

Result<ConvertPixelFunc> ColorConversionStageImpl::FindConversion(const PixelFormatInterface& dstFormat, const PixelFormat& srcFormat,
																  const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets,
																  ColorProfile& srcProfile, ColorProfile* dstProfile, Bool forceProfiles,
																  UInt32 flags, Bool& isColorConverted)
{
	const ColorSpace srcSpace = srcFormat->GetColorSpace(), dstSpace = dstFormat.GetColorSpace();
	if (forceProfiles && dstProfile != nullptr && !dstProfile->IsEmpty() && srcProfile.IsEmpty())
		srcProfile = srcFormat->GetDefaultColorProfile();
	const ColorProfile wanted = dstProfile != nullptr ? *dstProfile : ColorProfile();
	if (TORVI_TRY(IsConversionWanted(srcSpace, dstSpace, srcProfile, wanted, forceProfiles)))
	{
		const PixelFormat destination(const_cast<PixelFormatInterface*>(&dstFormat));
		Result<ConvertPixelFunc> function = MakeFunction(destination, srcFormat, srcOffsets, dstOffsets, srcProfile, wanted, flags);
		if (function.IsOk()) // otherwise the pixels are converted without colour management
		{
			isColorConverted = true;
			return function;
		}
	}
	if (dstProfile != nullptr && !srcProfile.IsEmpty() && srcSpace == dstSpace && *dstProfile != srcProfile)
		*dstProfile = srcProfile;
	return ConvertPixelFunc();
}

} // namespace torvi
