// What pixel storages have in common: the shape, the conversions that their handlers run on, and the end of a handler.
#pragma once

#include "image/pixel_storage_shape.h"

namespace torvi
{

class PixelStorageBase : public virtual ImagePixelStorageInterface
{
public:
	Int GetWidth() const override { return _shape._width; }
	Int GetHeight() const override { return _shape._height; }
	Int GetChannelCount() const override { return _shape._channels; }
	PixelFormat GetPixelFormat() const override { return _shape._pixelFormat; }
	Result<void> FreePixelHandler(GetPixelHandlerStruct& record) override;
	/// Calls the delegate unless the region is empty. The region is empty afterwards, so that a record is reported once.
	Result<void> FreePixelHandler(SetPixelHandlerStruct& record, const RegionChangedDelegate& regionChanged) override;
	UInt64 GetHashCodeImpl() const override { return _shape.GetHashCode(); }

protected:
	/// From this storage's pixels, whose channels lie at `offsets`, to the caller's; `dstProfile` becomes the profile of the result.
	Result<ConvertPixelFunc> FindReadConversion(const ChannelOffsets& offsets, const PixelFormat& dstFormat,
												const ChannelOffsets& dstOffsets, const ColorProfile& srcProfile, ColorProfile& dstProfile,
												GETPIXELHANDLERFLAGS flags) const;
	/// From the caller's pixels to this storage's.
	Result<ConvertPixelFunc> FindWriteConversion(const ChannelOffsets& offsets, const PixelFormat& srcFormat,
												 const ChannelOffsets& srcOffsets, const ColorProfile& srcProfile,
												 const ColorProfile& dstProfile, SETPIXELHANDLERFLAGS flags) const;

	/// Let the end of the record go to FreePixelHandler; until then the record keeps this storage alive.
	void BindFree(GetPixelHandlerStruct& record);
	Result<void> BindFree(SetPixelHandlerStruct& record, const RegionChangedDelegate& regionChanged);

	PixelStorageShape _shape;
};

} // namespace torvi
