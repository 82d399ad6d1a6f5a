// Rewriting the pixels of an image from one profile to another, line by line, in float.
#include "image/color_transform.h"

#include "image/gfx_imageimpl.h"
#include "image/pixel_memory.h"
#include "torvi/gfx_image_colorprofile_convert.h"
#include "torvi/ids_formats.h"

namespace torvi
{

namespace
{

Bool IsColor(CHANNELTYPE type)
{
	return type == CHANNELTYPE::GREY || type <= CHANNELTYPE::BLUE || (type >= CHANNELTYPE::CMYK_C && type <= CHANNELTYPE::CMYK_IK);
}

/// The bytes of one line of a channel that is no colour. Lines of colours fill such channels with what stands for "none" when they are
/// written.
class KeptChannel
{
public:
	KeptChannel(Int channel, Int bytes, Int width) : _channel(channel), _bytes(bytes), _line(static_cast<std::size_t>(bytes * width)) {}

	Result<void> Read(const ImageBaseInterface& image, const ImagePos& line)
	{
		return image.GetComponent(_channel, line, _line.data(), _bytes);
	}
	Result<void> Write(ImageBaseInterface& image, const ImagePos& line) const
	{
		return image.SetComponent(_channel, line, _line.data(), _bytes);
	}

private:
	Int _channel;
	Int _bytes; ///< of one pixel
	Array<Byte> _line;
};

Array<KeptChannel> FindKeptChannels(const ImageBaseInterface& image)
{
	Array<KeptChannel> kept;
	const PixelFormat format = image.GetPixelFormat();
	const Block<const ImageChannel> channels = format->GetChannels();
	for (std::size_t i = 0; i < channels.size(); ++i)
	{
		if (!IsColor(channels[i]->GetChannelType()->GetType()))
			kept.emplace_back(static_cast<Int>(i), BytesOf(channels[i]->GetChannelBits()), image.GetWidth());
	}
	return kept;
}

/// The format of the lines. Packed formats with alpha have no channel to keep it by: theirs comes along with the colours.
PixelFormat GetLineFormat(const PixelFormat& format)
{
	const Bool hasHiddenAlpha = format && format->HasAlpha() && format->GetChannels().empty();
	return GetPixelFormat(hasHiddenAlpha ? ids::PIXELFORMAT_RGBA_F32 : ids::PIXELFORMAT_RGB_F32);
}

Result<ColorProfileConvert> FindConversion(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags)
{
	using Conversions = ColorProfileConvertStaticInterface;
	const Ref<Conversions> conversions = FindDeclared<Conversions>(ids::INTERFACE_COLORPROFILECONVERT);
	TORVI_CHECK(conversions, IllegalStateError("There is no conversion of colours."));
	const PixelFormat rgb = GetPixelFormat(ids::PIXELFORMAT_RGB_F32);
	return conversions->Init(rgb, srcProfile, rgb, dstProfile, COLORCONVERSIONINTENT::PERCEPTUAL, (flags << 1) & Conversions::REVERSE);
}

} // namespace

Result<void> TransformImageColors(ImageBaseInterface& image, const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags)
{
	const ColorProfileConvert convert = TORVI_TRY(FindConversion(srcProfile, dstProfile, flags));
	const Int width = image.GetWidth();
	const PixelFormat format = GetLineFormat(image.GetPixelFormat());
	const ChannelOffsets& offsets = format->GetChannelOffsets();
	const OwnedBytes bytes(TORVI_TRY(format->CreatePix(width, 1, 1)));
	const PixelBuffer line(bytes.get(), format->GetBitsPerPixel());
	const GetPixelHandlerStruct reader =
		TORVI_TRY(image.GetPixelHandler(format, offsets, ColorProfile(), GETPIXELHANDLERFLAGS::NOMASKS, nullptr));
	SetPixelHandlerStruct writer = TORVI_TRY(image.SetPixelHandler(format, offsets, ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	if (ImageImpl::ShowsLayers(image))
		return OK; // nothing that could be rewritten
	Array<KeptChannel> kept = FindKeptChannels(image);
	for (Int y = 0; y < image.GetHeight() && reader._getLine; ++y)
	{
		const ImagePos pos = {0, y, width};
		for (KeptChannel& channel : kept)
			TORVI_TRY(channel.Read(image, pos));
		TORVI_TRY(reader._getLine(pos, line, 0));
		TORVI_TRY(convert->Convert(line, line, width));
		TORVI_TRY(writer.SetLine(pos, line, 0));
		for (const KeptChannel& channel : kept)
			TORVI_TRY(channel.Write(image, pos));
	}
	return writer.Free();
}

} // namespace torvi
