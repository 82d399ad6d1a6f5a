// The storage of images without pixels of their own: folders, documents that show their layers, streams known by their structure only. It
// has a size and a format; reading fails, writing is accepted and forgotten.
#include "image/gfx_image_storage_base.h"
#include "image/registration.h"

namespace torvi
{

namespace
{

class NoDataStorageImpl final : public PixelStorageBase
{
public:
	Result<void> Init(Int width, Int height, const PixelFormat& pixelFormat, Block<const Byte>) override
	{
		Result<PixelStorageShape> shape = PixelStorageShape::Make(width, height, pixelFormat);
		_shape = shape.IsOk() ? shape.TakeValue() : PixelStorageShape();
		return shape.IsOk() ? Result<void>(OK) : Result<void>(shape.TakeError());
	}

	Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
												  const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
												  GETPIXELHANDLERFLAGS flags) override
	{
		GetPixelHandlerStruct record;
		record._dstColorProfile = dstColorProfile;
		TORVI_TRY(
			FindReadConversion(_shape._channelOffsets, dstFormat, dstChannelOffsets, srcColorProfile, record._dstColorProfile, flags));
		record._getLine = [](const ImagePos&, const PixelBuffer&, UInt32) -> Result<void> { return MakeNoPixelsError(); };
		BindFree(record);
		return record;
	}

	Result<SetPixelHandlerStruct> SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
												  const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
												  SETPIXELHANDLERFLAGS flags, const RegionChangedDelegate& regionChanged) override
	{
		TORVI_TRY(FindWriteConversion(_shape._channelOffsets, srcFormat, srcChannelOffsets, srcColorProfile, dstColorProfile, flags));
		SetPixelHandlerStruct record;
		TORVI_TRY(BindFree(record, regionChanged));
		record._setLine = [](const ImagePos&, const PixelBuffer&, UInt32) -> Result<void> { return OK; };
		return record;
	}

	Result<void> GetComponent(Int, const ImagePos&, Byte*, Int) const override { return MakeNoPixelsError(); }
	Result<void> SetComponent(Int, const ImagePos&, const Byte*, Int) override { return MakeNoPixelsError(); }
	Result<void> DescribeIO(DataSerialize& serializer) override { return _shape.DescribeIO(serializer); }

	Bool IsEqual(const ObjectInterface& other) const override
	{
		const auto* storage = dynamic_cast<const NoDataStorageImpl*>(&other);
		return storage != nullptr && _shape.IsEqual(storage->_shape);
	}
	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

private:
	static Error MakeNoPixelsError() noexcept { return FunctionNotImplementedError("This image has no pixels of its own."); }
};

} // namespace

Result<void> RegisterNoDataStorage(Module& module)
{
	return module.AddToRegistry(ids::REGISTRY_IMAGEPIXELSTORAGECLASSES,
								TORVI_TRY(module.AddClass<NoDataStorageImpl>(ids::IMAGEPIXELSTORAGECLASS_NODATA)));
}

} // namespace torvi
