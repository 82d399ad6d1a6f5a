// Images: where the pixels of a read come from, and how a write reaches the storage and the observers.
#include "image/gfx_imageimpl.h"

#include "image/composition.h"
#include "image/layer_selection.h"
#include "image/registration.h"
#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

Error MakeNoStorageError()
{
	return NullptrError("The image has no pixel storage; Init was not called.");
}

/// The stored form of a storage: the id of its class, then what the class stores.
struct StoredStorage
{
	ImagePixelStorageRef _storage;

	friend Bool operator==(const StoredStorage&, const StoredStorage&) = default;
	String ToString(std::string_view format) const { return _storage.ToString(format); }

	Result<void> DescribeIO(DataSerialize& serializer)
	{
		Id classId = _storage ? _storage->GetClassId() : Id();
		TORVI_TRY(serializer.DescribeElement("_class", classId));
		if (serializer.IsReading())
			_storage = !classId.IsEmpty() ? TORVI_TRY(CreateObject<ImagePixelStorageInterface>(classId)) : ImagePixelStorageRef();
		return _storage ? _storage->DescribeIO(serializer) : Result<void>(OK);
	}
};

} // namespace

} // namespace torvi

TORVI_DATATYPE(torvi::StoredStorage, "net.torvi.image.interface.imagepixelstorage")

namespace torvi
{

Result<void> ImageImpl::Init(Int width, Int height, const ClassRef& storageClass, const PixelFormat& pixelFormat,
							 Block<const Byte> defaultColor)
{
	_storage.Set({});
	TORVI_CHECK(storageClass, NullptrError("An image needs a class for its pixel storage."));
	ImagePixelStorageRef storage = TORVI_TRY(storageClass->Create<ImagePixelStorageInterface>());
	TORVI_TRY(storage->Init(width, height, pixelFormat, defaultColor));
	TORVI_TRY(InitBase(width, height, pixelFormat, ImageType::IMAGE));
	_storage.Set(std::move(storage));
	return OK;
}

Result<void> ImageImpl::CheckChild(IMAGEHIERARCHY branch, const ImageBaseRef& child) const
{
	return CheckChildIs<ImageLayerInterface>(branch, child, {IMAGEHIERARCHY::ALPHA, IMAGEHIERARCHY::LAYER, IMAGEHIERARCHY::DEEPIMAGEDATA});
}

Int ImageImpl::GetChannelCount() const
{
	const ImagePixelStorageRef storage = _storage.Get();
	return storage ? storage->GetChannelCount() : 0;
}

Result<GetPixelHandlerStruct> ImageImpl::GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
														 const ColorProfile& dstColorProfile, GETPIXELHANDLERFLAGS flags,
														 const LayerSet* layerSet)
{
	return NoThrow(
		[&]() -> Result<GetPixelHandlerStruct>
		{
			const ReadRequest request = {dstFormat, dstChannelOffsets, dstColorProfile, flags};
			if (layerSet == nullptr)
				return MakeHandler(request);
			Array<ImageBaseRef> selected = TORVI_TRY(SelectFromImage(*this, *layerSet));
			if (selected.empty())
				return MakeHandler(request);
			if (selected.size() > 1 || (layerSet->GetMode() == LAYERSETMODE::LAYERS && HasMasks()))
				return MakeMerge(request, std::move(selected), !HasFlag(flags, GETPIXELHANDLERFLAGS::NOMASKS));
			// The names were those of this image's tree; what they select shows whole.
			return selected.front()->GetPixelHandler(dstFormat, dstChannelOffsets, dstColorProfile, flags, nullptr);
		});
}

Bool ImageImpl::ShowsLayers(const ImageBaseInterface& image)
{
	const auto* impl = dynamic_cast<const ImageImpl*>(&image);
	const ImagePixelStorageRef storage = impl != nullptr ? impl->_storage.Get() : ImagePixelStorageRef();
	return storage && storage->GetClassId() == ids::IMAGEPIXELSTORAGECLASS_NODATA;
}

/// The image as a whole: its own pixels, combined with its masks, or its layers where it has no pixels.
Result<GetPixelHandlerStruct> ImageImpl::MakeHandler(const ReadRequest& request)
{
	const ImagePixelStorageRef storage = _storage.Get();
	TORVI_CHECK(storage, MakeNoStorageError());
	const Bool withMasks = !HasFlag(request._flags, GETPIXELHANDLERFLAGS::NOMASKS);
	if (ShowsLayers(*this))
		return MakeMerge(request, TORVI_TRY(GetVisibleLayers()), withMasks);
	if (withMasks && HasMasks())
	{
		ReadRequest unmasked = request;
		unmasked._flags = request._flags | GETPIXELHANDLERFLAGS::NOMASKS;
		return MakeMerge(unmasked, {GetSelf()}, true);
	}
	const ColorProfile profile = TORVI_TRY(Get<ColorProfile>(ids::IMAGE_COLORPROFILE));
	return storage->GetPixelHandler(request._dstFormat, request._dstChannelOffsets, profile, request._dstColorProfile, request._flags);
}

Result<GetPixelHandlerStruct> ImageImpl::MakeMerge(const ReadRequest& request, Array<ImageBaseRef> layers, Bool withMasks)
{
	MergeRequest merge;
	merge._layers = std::move(layers);
	merge._parent = GetSelf();
	merge._withMasks = withMasks;
	merge._dstFormat = request._dstFormat;
	merge._dstColorProfile = request._dstColorProfile;
	merge._flags = request._flags;
	return MakeMergedHandler(merge);
}

Result<Array<ImageBaseRef>> ImageImpl::GetVisibleLayers() const
{
	Array<ImageBaseRef> visible;
	for (const ImageBaseRef& layer : GetImageChildren(*this, IMAGEHIERARCHY::LAYER))
	{
		const Bool isEnabled = TORVI_TRY(ReadOr<Bool>(*layer, ids::IMAGE_LAYER_ENABLED, true));
		if (isEnabled && TORVI_TRY(ReadOr<Float64>(*layer, ids::IMAGE_LAYER_OPACITY, 1.0)) != 0.0)
			visible.push_back(layer);
	}
	return visible;
}

Result<SetPixelHandlerStruct> ImageImpl::SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
														 const ColorProfile& srcColorProfile, SETPIXELHANDLERFLAGS flags)
{
	Result<ImagePixelStorageRef> storage = _storage.MakeWritable();
	if (!storage.IsOk())
		return storage.GetError().GetId() == errorids::NULLPTR ? OutOfMemoryError() : storage.TakeError();
	const ColorProfile profile = TORVI_TRY(Get<ColorProfile>(ids::IMAGE_COLORPROFILE));
	return storage.GetValue()->SetPixelHandler(srcFormat, srcChannelOffsets, srcColorProfile, profile, flags, MakeRegionReport());
}

RegionChangedDelegate ImageImpl::MakeRegionReport()
{
	return [image = GetSelf()](const UpdateRegion& region, SetPixelHandlerStruct&) { return NotifyRegionChanged(image, region); };
}

Result<void> ImageImpl::FreePixelHandler(GetPixelHandlerStruct& record)
{
	const ImagePixelStorageRef storage = _storage.Get();
	return storage ? storage->FreePixelHandler(record) : Result<void>(OK);
}

Result<void> ImageImpl::FreePixelHandler(SetPixelHandlerStruct& record)
{
	const ImagePixelStorageRef storage = _storage.Get();
	return storage ? storage->FreePixelHandler(record, MakeRegionReport()) : Result<void>(OK);
}

Result<void> ImageImpl::GetComponent(Int channel, const ImagePos& pos, Byte* destination, Int pixelStride) const
{
	const ImagePixelStorageRef storage = _storage.Get();
	TORVI_CHECK(storage, MakeNoStorageError());
	return storage->GetComponent(channel, pos, destination, pixelStride);
}

Result<void> ImageImpl::SetComponent(Int channel, const ImagePos& pos, const Byte* source, Int pixelStride)
{
	return TORVI_TRY(_storage.MakeWritableUnlocked())->SetComponent(channel, pos, source, pixelStride);
}

ColorProfile ImageImpl::GetStandardProfile() const
{
	const PixelFormat format = GetPixelFormat();
	return format ? format->GetDefaultColorProfile() : ColorProfile();
}

Result<void> ImageImpl::DescribeIO(DataSerialize& serializer)
{
	StoredStorage stored = {_storage.Get()};
	TORVI_TRY(serializer.DescribeElement("_storePixels", stored));
	if (!serializer.IsReading())
		return OK;
	if (stored._storage)
		TORVI_TRY(InitBase(stored._storage->GetWidth(), stored._storage->GetHeight(), stored._storage->GetPixelFormat(), ImageType::IMAGE));
	_storage.Set(std::move(stored._storage));
	return OK;
}

Result<void> RegisterImage(Module& module)
{
	return module.AddToRegistry(ids::REGISTRY_IMAGECLASSES,
								TORVI_TRY(module.AddClass<ImageImpl>(ids::IMAGECLASS_IMAGE, ids::IMAGEBASECLASS_BASE)));
}

} // namespace torvi
