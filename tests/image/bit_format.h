// A pixel format of a few bits per pixel, most significant bit first, that converts to itself and to grey in 8 bits.
#pragma once

#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "pixelformat/kernel_indexed.h"
#include "torvi/ids_formats.h"

namespace torvi
{

class BitFormat final : public PixelFormatBaseImpl
{
public:
	explicit BitFormat(Int bits) : _offsets{0, bits}, _block(_offsets) {}

	Block<const ImageChannel> GetChannels() const override { return {}; }
	Int GetChannelCount() const override { return 1; }
	const ChannelOffsets& GetChannelOffsets() const override { return _block; }
	BITS GetBitsPerPixel() const override { return _offsets[1]; }
	ColorSpace GetColorSpace() const override { return {}; }
	ColorProfile GetDefaultColorProfile() const override { return {}; }
	String PixToString(const Byte*) const override { return {}; }

	Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets&, const ChannelOffsets&, Bool,
													 Bool&) const override
	{
		if (srcFormat.GetPointer() != this)
			return ConvertPixelFunc();
		return ConvertPixelFunc(
			[bits = _offsets[1]](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
			{
				CopyIndices({destination._pixel, 0, destination._stride, source._pixel, 0, source._stride, count}, bits);
				return OK;
			});
	}
	Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets&, const ChannelOffsets&, Bool,
												   Bool&) const override
	{
		if (dstFormat != torvi::GetPixelFormat(ids::PIXELFORMAT_GREY_U8))
			return ConvertPixelFunc();
		return ConvertPixelFunc(
			[bits = _offsets[1]](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
			{
				for (Int i = 0; i < count; ++i)
					destination._pixel[i * destination._stride / 8] = static_cast<Byte>(ExtractIndex(source._pixel, i * bits, bits));
				return OK;
			});
	}

private:
	BITS _offsets[2];
	ChannelOffsets _block;
};

} // namespace torvi
