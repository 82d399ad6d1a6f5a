// The common part of the pixel storages.
#include "image/gfx_image_storage_base.h"

namespace torvi
{

namespace
{

/// What the end of a set handler works on; too large for the record's delegate itself.
class RegionReport final : public ObjectInterface
{
public:
	RegionReport(Ref<ImagePixelStorageInterface> storage, const RegionChangedDelegate& regionChanged)
		: _storage(std::move(storage)), _regionChanged(regionChanged)
	{
	}

	Result<void> Run(SetPixelHandlerStruct& record) const { return _storage->FreePixelHandler(record, _regionChanged); }

private:
	Ref<ImagePixelStorageInterface> _storage;
	RegionChangedDelegate _regionChanged;
};

} // namespace

Result<ConvertPixelFunc> PixelStorageBase::FindReadConversion(const ChannelOffsets& offsets, const PixelFormat& dstFormat,
															  const ChannelOffsets& dstOffsets, const ColorProfile& srcProfile,
															  ColorProfile& dstProfile, GETPIXELHANDLERFLAGS flags) const
{
	TORVI_CHECK(dstFormat, IllegalArgumentError("Pixels can not be read without a pixel format."));
	Bool isColorConverted = false;
	const Bool forceProfiles = HasFlag(flags, GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION);
	return dstFormat->GetConvertPixelFunc(_shape._pixelFormat, offsets, dstOffsets, &srcProfile, &dstProfile, forceProfiles,
										  isColorConverted);
}

Result<ConvertPixelFunc> PixelStorageBase::FindWriteConversion(const ChannelOffsets& offsets, const PixelFormat& srcFormat,
															   const ChannelOffsets& srcOffsets, const ColorProfile& srcProfile,
															   const ColorProfile& dstProfile, SETPIXELHANDLERFLAGS flags) const
{
	TORVI_CHECK(_shape._pixelFormat, IllegalStateError("A pixel storage takes pixels only after Init."));
	ColorProfile profile = dstProfile;
	Bool isColorConverted = false;
	const Bool forceProfiles = HasFlag(flags, SETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION);
	return _shape._pixelFormat->GetConvertPixelFunc(srcFormat, srcOffsets, offsets, &srcProfile, &profile, forceProfiles, isColorConverted);
}

void PixelStorageBase::BindFree(GetPixelHandlerStruct& record)
{
	record._freeHandler = [storage = Ref<ImagePixelStorageInterface>(this)](GetPixelHandlerStruct& ended)
	{ return storage->FreePixelHandler(ended); };
}

Result<void> PixelStorageBase::BindFree(SetPixelHandlerStruct& record, const RegionChangedDelegate& regionChanged)
{
	Ref<RegionReport> report = TORVI_TRY(NewObject<RegionReport>(Ref<ImagePixelStorageInterface>(this), regionChanged));
	record._freeHandler = [report = std::move(report)](SetPixelHandlerStruct& ended) { return report->Run(ended); };
	return OK;
}

Result<void> PixelStorageBase::FreePixelHandler(GetPixelHandlerStruct&)
{
	return OK;
}

Result<void> PixelStorageBase::FreePixelHandler(SetPixelHandlerStruct& record, const RegionChangedDelegate& regionChanged)
{
	if (!regionChanged || record._updateRegion.IsEmpty())
		return OK;
	Result<void> result = regionChanged(record._updateRegion, record);
	record._updateRegion = UpdateRegion::MakeEmpty();
	return result;
}

} // namespace torvi
