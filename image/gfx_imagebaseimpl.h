// The base of all image objects: size, format, data, place in the tree, observation of changes. It has no pixels.
#pragma once

#include "image/region_notifier.h"

#include <algorithm>

namespace torvi
{

class ImageBaseImpl : public DataDictionaryObjectImpl, public HierarchyObjectImpl, public virtual ImageBaseInterface
{
public:
	ImageBaseImpl() = default;

	Result<void> InitBase(Int width, Int height, const PixelFormat& pixelFormat, ImageType type) override;
	Result<void> AddChildren(IMAGEHIERARCHY branch, const ImageBaseRef& child, const ImageBaseRef& nextChild) override;
	void Remove() override;
	Int GetWidth() const override { return _width; }
	Int GetHeight() const override { return _height; }
	Int GetChannelCount() const override { return _pixelFormat ? _pixelFormat->GetChannelCount() : 0; }
	PixelFormat GetPixelFormat() const override { return _pixelFormat; }
	Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
												  const ColorProfile& dstColorProfile, GETPIXELHANDLERFLAGS flags,
												  const LayerSet* layerSet) override;
	Result<SetPixelHandlerStruct> SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
												  const ColorProfile& srcColorProfile, SETPIXELHANDLERFLAGS flags) override;
	Result<void> FreePixelHandler(GetPixelHandlerStruct& record) override;
	Result<void> FreePixelHandler(SetPixelHandlerStruct& record) override;
	Result<void> GetComponent(Int channel, const ImagePos& pos, Byte* destination, Int pixelStride) const override;
	Result<void> SetComponent(Int channel, const ImagePos& pos, const Byte* source, Int pixelStride) override;
	/// The whole rectangle is this image. UnsupportedOperationError for others, which have no implementation yet.
	Result<ImageBaseRef> CreateSubImagePart(const DrawRectInt& rect) override;
	/// A missing source profile is the image's own. Gives the object unchanged where a profile is missing still. See TransformImageColors.
	Result<ImageBaseRef> TransformColors(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags) override;
	Result<RegionChangedObservableRef> ObservableRegionChanged(Bool create) override { return _regions.GetObservable(create); }

	/// A missing colour profile is that of the nearest ancestor which has one, up to the image below the texture. Without any it is the
	/// standard one of the topmost ancestor that has a standard; null without that.
	Result<Data> GetData(const InternedId& key) const override;

	/// Size, format and data; the copy hangs in no tree and nobody observes it.
	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

	ImageBaseImpl(const ImageBaseImpl&) = default;

protected:
	/// IllegalArgumentError for a child that may not hang under this branch of this object. The base takes all.
	virtual Result<void> CheckChild(IMAGEHIERARCHY branch, const ImageBaseRef& child) const;
	/// The profile of pixels about which nothing is said. The base has none.
	virtual ColorProfile GetStandardProfile() const { return {}; }

	ImageBaseRef GetSelf() { return ImageBaseRef(this); }

private:
	Int _width = 0;
	Int _height = 0;
	PixelFormat _pixelFormat;
	RegionNotifier _regions;
};

/// The check of CheckChild: the branch is one of the list, and the child has the interface T.
template <class T>
Result<void> CheckChildIs(IMAGEHIERARCHY branch, const ImageBaseRef& child, std::initializer_list<IMAGEHIERARCHY> branches)
{
	TORVI_CHECK(std::find(branches.begin(), branches.end(), branch) != branches.end(),
				IllegalArgumentError("Nothing can hang under branch @ of this object.", branch));
	TORVI_CHECK(Cast<T>(child), IllegalArgumentError("An object of class @ can not hang under branch @.", child->GetClassId(), branch));
	return OK;
}

} // namespace torvi
