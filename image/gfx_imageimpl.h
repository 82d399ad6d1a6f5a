// Images: a node with a pixel storage of its own, which clones share until one of them writes.
#pragma once

#include "image/gfx_imagebaseimpl.h"

namespace torvi
{

/// The storage of an image. Any thread may read it while another makes it writable.
class StorageSlot
{
public:
	StorageSlot() noexcept = default;
	/// Shares the storage.
	StorageSlot(const StorageSlot& other) noexcept : _storePixels(Serialize(other._lock, [&]() { return other._storePixels; })) {}
	StorageSlot& operator=(const StorageSlot&) = delete;

	ImagePixelStorageRef Get() const noexcept
	{
		return Serialize(_lock, [&]() { return _storePixels.GetRef(); });
	}
	void Set(ImagePixelStorageRef storage) noexcept
	{
		CowRef<ImagePixelStorageInterface> fresh(std::move(storage));
		Serialize(_lock, [&]() { std::swap(_storePixels, fresh); }); // the old storage goes outside of the lock
	}
	/// The storage for writing; a shared one is copied first. NullptrError without one. The copy is made under the lock, once after each
	/// clone, so that two writers end up on one storage.
	Result<ImagePixelStorageRef> MakeWritable()
	{
		return Serialize(_lock, [&]() { return _storePixels.MakeWritable(); });
	}
	/// As MakeWritable without the lock, for operations that serve one thread.
	Result<ImagePixelStorageRef> MakeWritableUnlocked() { return _storePixels.MakeWritable(); }

private:
	mutable SpinLock _lock;
	CowRef<ImagePixelStorageInterface> _storePixels;
};

class ImageImpl : public ImageBaseImpl, public virtual ImageInterface
{
public:
	Result<void> Init(Int width, Int height, const ClassRef& storageClass, const PixelFormat& pixelFormat,
					  Block<const Byte> defaultColor) override;
	Int GetChannelCount() const override;
	Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
												  const ColorProfile& dstColorProfile, GETPIXELHANDLERFLAGS flags,
												  const LayerSet* layerSet) override;
	Result<SetPixelHandlerStruct> SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
												  const ColorProfile& srcColorProfile, SETPIXELHANDLERFLAGS flags) override;
	Result<void> FreePixelHandler(GetPixelHandlerStruct& record) override;
	Result<void> FreePixelHandler(SetPixelHandlerStruct& record) override;
	Result<void> GetComponent(Int channel, const ImagePos& pos, Byte* destination, Int pixelStride) const override;
	/// One thread at a time.
	Result<void> SetComponent(Int channel, const ImagePos& pos, const Byte* source, Int pixelStride) override;
	/// Stores the storage: its class and its members. What is read becomes this image's storage and size.
	Result<void> DescribeIO(DataSerialize& serializer) override;
	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

	/// Whether an image has a storage without pixels, and so reads as its layers.
	static Bool ShowsLayers(const ImageBaseInterface& image);

protected:
	Result<void> CheckChild(IMAGEHIERARCHY branch, const ImageBaseRef& child) const override;
	/// The default of the pixel format.
	ColorProfile GetStandardProfile() const override;

private:
	/// The arguments of a get handler, for the steps that it is made in.
	struct ReadRequest
	{
		const PixelFormat& _dstFormat;
		const ChannelOffsets& _dstChannelOffsets;
		const ColorProfile& _dstColorProfile;
		GETPIXELHANDLERFLAGS _flags;
	};

	Result<GetPixelHandlerStruct> MakeHandler(const ReadRequest& request);
	Result<GetPixelHandlerStruct> MakeMerge(const ReadRequest& request, Array<ImageBaseRef> layers, Bool withMasks);
	Result<Array<ImageBaseRef>> GetVisibleLayers() const;
	Bool HasMasks() const { return static_cast<bool>(GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::MASK))); }
	RegionChangedDelegate MakeRegionReport();

	StorageSlot _storage;
};

} // namespace torvi
