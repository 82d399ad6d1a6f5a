// Pictures: a texture holds images, an image holds alpha channels, layers and extra data, a layer holds masks and layers. Pixels are
// reached through handlers, in whatever format, layout and profile the caller wants. A tree is changed from one thread at a time.
#pragma once

#include "host/data.h"
#include "host/hierarchy.h"
#include "host/observable.h"
#include "host/timevalue.h"
#include "torvi/gfx_image_pixelblend.h"
#include "torvi/gfx_image_storage.h"
#include "torvi/layerset.h"

namespace torvi
{

class ImageBaseInterface;
class ImageInterface;
class ImageLayerInterface;
class ImageTextureInterface;
class MediaOutputUrlInterface;
class MediaSessionInterface;

using ImageBaseRef = Ref<ImageBaseInterface>;
using ImageRef = Ref<ImageInterface>;
using ImageLayerRef = Ref<ImageLayerInterface>;
using ImageTextureRef = Ref<ImageTextureInterface>;
using MediaOutputUrlRef = Ref<MediaOutputUrlInterface>;
using MediaSessionRef = Ref<MediaSessionInterface>;
enum class MEDIASESSIONFLAGS : UInt32;

/// The branch that a child hangs under.
enum class IMAGEHIERARCHY : Int32
{
	IMAGE = 1,         ///< an image, below a texture
	ALPHA = 2,         ///< an alpha channel, below an image
	LAYER = 3,         ///< a layer, below an image or a layer
	MASK = 4,          ///< a mask, below a layer
	DEEPIMAGEDATA = 5, ///< further data, below an image
};

/// The most levels of layers and masks below a picture. Files with more are refused; pictures with more can not be composed.
inline constexpr Int LAYER_NESTING_LIMIT = 100;

/// Stored under ids::IMAGE_TYPE.
enum class ImageType : Int32
{
	UNKNOWN = 0,
	TEXTURE = 1,
	IMAGE = 2,
	LAYER = 4,
	MASK = 5,
	FOLDER = 6,
	FILTER = 7,
};

/// Called with the image and the changed region, synchronously, when a set handler is freed.
using RegionChangedObservableRef = ObservableRef<ImageBaseRef, UpdateRegion>;

class TORVI_EXPORT ImageBaseInterface : public virtual DataDictionaryObjectInterface,
										public virtual ObserverObjectInterface,
										public virtual HierarchyObjectInterface
{
public:
	/// Stores size, format and type.
	virtual Result<void> InitBase(Int width, Int height, const PixelFormat& pixelFormat, ImageType type) = 0;
	/// Hangs a child in the tree, before `nextChild` or, if that is null, last. IllegalArgumentError for a branch or a child that does not
	/// belong here.
	virtual Result<void> AddChildren(IMAGEHIERARCHY branch, const ImageBaseRef& child, const ImageBaseRef& nextChild) = 0;
	virtual Int GetWidth() const = 0;
	virtual Int GetHeight() const = 0;
	virtual Int GetChannelCount() const = 0;
	virtual PixelFormat GetPixelFormat() const = 0;
	/// A reader of lines in `dstFormat` at `dstChannelOffsets`. An empty `dstColorProfile` converts no colours. `layerSet` may be null. An
	/// image without pixels of its own shows its layers. The errors are those of the conversion lookup; NullptrError without a storage.
	virtual Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
														  const ColorProfile& dstColorProfile, GETPIXELHANDLERFLAGS flags,
														  const LayerSet* layerSet) = 0;
	/// A writer of lines that come in `srcFormat` at `srcChannelOffsets`. An empty `srcColorProfile` stores them without colour conversion.
	/// A storage that is shared with another image is copied first.
	virtual Result<SetPixelHandlerStruct> SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
														  const ColorProfile& srcColorProfile, SETPIXELHANDLERFLAGS flags) = 0;
	virtual Result<void> FreePixelHandler(GetPixelHandlerStruct& record) = 0;
	virtual Result<void> FreePixelHandler(SetPixelHandlerStruct& record) = 0;
	virtual Result<void> GetComponent(Int channel, const ImagePos& pos, Byte* destination, Int pixelStride) const = 0;
	virtual Result<void> SetComponent(Int channel, const ImagePos& pos, const Byte* source, Int pixelStride) = 0;
	/// A read-only view of a rectangle of this image.
	virtual Result<ImageBaseRef> CreateSubImagePart(const DrawRectInt& rect) = 0;
	/// Rewrites the pixels from one profile to another and gives this object.
	virtual Result<ImageBaseRef> TransformColors(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags) = 0;
	/// The observable of changed regions; null if there is none yet and `create` is false.
	virtual Result<RegionChangedObservableRef> ObservableRegionChanged(Bool create) = 0;
};

class TORVI_EXPORT ImageInterface : public virtual ImageBaseInterface
{
public:
	/// Gives the image a new storage of a class of ids::REGISTRY_IMAGEPIXELSTORAGECLASSES. On failure it has none. May be called again.
	virtual Result<void> Init(Int width, Int height, const ClassRef& storageClass, const PixelFormat& pixelFormat,
							  Block<const Byte> defaultColor) = 0;
	/// Stores or reads the pixel storage, and nothing else of the image. What is read gives the image its size and format too. The errors
	/// are those of the storage.
	virtual Result<void> DescribeIO(DataSerialize& serializer) = 0;
};

/// A layer, mask or alpha channel.
class TORVI_EXPORT ImageLayerInterface : public virtual ImageInterface
{
};

/// The top of a picture's tree; its size, format and pixels are those of its first image.
class TORVI_EXPORT ImageTextureInterface : public virtual ImageBaseInterface
{
public:
	/// Loads a file into this texture; images are added to those that it has. `targetTime` is the time in a movie; `storageClass` null
	/// means normal storage; `layerSet`, which may be null, chooses the picture. Gives the session, which may be kept to load further
	/// frames. IllegalArgumentError "Image @ is not of a supported type."; the error of opening, or of the importer.
	virtual Result<MediaSessionRef> Load(const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags, const ClassRef& storageClass,
										 const LayerSet* layerSet) = 0;
	/// Saves this texture through a file exporter whose output Url is set. With `session` the session stays open and goes out through it.
	virtual Result<void> Save(const MediaOutputUrlRef& output, MEDIASESSIONFLAGS flags, MediaSessionRef* session) = 0;
};

/// Makes a texture and loads a file into it. IllegalArgumentError for an empty Url; else as Load.
TORVI_EXPORT Result<ImageTextureRef> LoadTexture(const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags,
												 const ClassRef& storageClass, const LayerSet* layerSet);

/// The children of one branch as images, in order.
inline Array<ImageBaseRef> GetImageChildren(const HierarchyObjectInterface& parent, IMAGEHIERARCHY branch)
{
	Array<ImageBaseRef> children;
	for (const HierarchyObjectRef& child : parent.GetChildren(static_cast<Int32>(branch)))
	{
		if (ImageBaseRef image = Cast<ImageBaseInterface>(child))
			children.push_back(std::move(image));
	}
	return children;
}

namespace ids
{
inline constexpr Id IMAGEBASECLASS_BASE = "net.torvi.image.imagebaseclass.base";
inline constexpr Id IMAGECLASS_IMAGE = "net.torvi.image.imageclass.image";
inline constexpr Id IMAGELAYERCLASS_RASTER = "net.torvi.image.imagelayerclass.raster";
inline constexpr Id IMAGETEXTURECLASS_TEXTURE = "net.torvi.image.imagetextureclass.texture";
inline constexpr Id REGISTRY_IMAGEBASECLASSES = "net.torvi.image.registry.imagebaseclasses";
inline constexpr Id REGISTRY_IMAGECLASSES = "net.torvi.image.registry.imageclasses";
inline constexpr Id REGISTRY_IMAGELAYERCLASSES = "net.torvi.image.registry.imagelayerclasses";
inline constexpr Id REGISTRY_IMAGETEXTURECLASSES = "net.torvi.image.registry.imagetextureclasses";
} // namespace ids

} // namespace torvi

TORVI_DATATYPE(torvi::ImageBaseRef, "net.torvi.image.interface.imagebase")
TORVI_DATATYPE(torvi::ImageTextureRef, "net.torvi.image.interface.imagetexture")
