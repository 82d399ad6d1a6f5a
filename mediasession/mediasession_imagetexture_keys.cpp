// The tables of keys and types between streams and images.
#include "mediasession/mediasession_imagetexture_keys.h"

#include "torvi/ids_keys.h"

#include <algorithm>

namespace torvi
{

namespace
{

struct KeyMapping
{
	KeyGroup _group;
	Id _formatKey;
	Id _imageKey;
	DataType _type;
};

constexpr KeyMapping KEYS[] = {
	{KeyGroup::NAME, ids::MEDIAFORMAT_STREAMNAME, ids::IMAGE_NAME, GetDataType<String>()},
	{KeyGroup::NAME, ids::MEDIAFORMAT_ALPHANAME, ids::IMAGE_ALPHANAME, GetDataType<String>()},
	{KeyGroup::INDEX, ids::MEDIAFORMAT_SUBIMAGEINDEX, ids::IMAGE_SUBIMAGEINDEX, GetDataType<Int>()},
	{KeyGroup::INDEX, ids::MEDIAFORMAT_HOTSPOTX, ids::IMAGE_HOTSPOTX, GetDataType<Int>()},
	{KeyGroup::INDEX, ids::MEDIAFORMAT_HOTSPOTY, ids::IMAGE_HOTSPOTY, GetDataType<Int>()},
	{KeyGroup::INDEX, ids::MEDIAFORMAT_EXPORTSETTINGS, ids::IMAGE_EXPORTSETTINGS, GetDataType<DataDictionary>()},
	{KeyGroup::PROFILE, ids::MEDIAFORMAT_COLORPROFILE, ids::IMAGE_COLORPROFILE, GetDataType<ColorProfile>()},
	{KeyGroup::SHAPE, ids::MEDIAFORMAT_ASPECTRATIO, ids::IMAGE_ASPECTRATIO, GetDataType<Float64>()},
	{KeyGroup::SHAPE, ids::MEDIAFORMAT_DPI, ids::IMAGE_DPI, GetDataType<Float64>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_ENABLED, ids::IMAGE_LAYER_ENABLED, GetDataType<Bool>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_BLENDMODE, ids::IMAGE_LAYER_BLENDMODE, GetDataType<ImagePixelBlend>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_OPACITY, ids::IMAGE_LAYER_OPACITY, GetDataType<Float64>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_FILLOPACITY, ids::IMAGE_LAYER_FILLOPACITY, GetDataType<Float64>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_TRANSPARENCYPROTECTED, ids::IMAGE_LAYER_TRANSPARENCYPROTECTED, GetDataType<Bool>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_LAYERGROUP, ids::IMAGE_LAYER_LAYERGROUP, GetDataType<Int>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_MASKDEFCOLOR, ids::IMAGE_LAYER_MASKDEFCOLOR, GetDataType<UChar>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_X, ids::IMAGE_LAYER_BOUNDINGBOX_X, GetDataType<Int>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_Y, ids::IMAGE_LAYER_BOUNDINGBOX_Y, GetDataType<Int>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_W, ids::IMAGE_LAYER_BOUNDINGBOX_W, GetDataType<Int>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_H, ids::IMAGE_LAYER_BOUNDINGBOX_H, GetDataType<Int>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_ISOPEN, ids::IMAGE_LAYER_ISOPEN, GetDataType<Bool>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_PSD_FILTERID, ids::IMAGE_LAYER_PSD_FILTERID, GetDataType<Int>()},
	{KeyGroup::LAYER, ids::MEDIAFORMAT_LAYER_PSD_DATA, ids::IMAGE_LAYER_PSD_DATA, GetDataType<Array<Char>>()},
};

/// Mipmap levels and extra data have no place: an output that takes them ends.
constexpr StreamPlace PLACES[] = {
	{MediaStreamType::ALPHA, IMAGEHIERARCHY::ALPHA, ImageType::IMAGE},
	{MediaStreamType::LAYERFOLDER, IMAGEHIERARCHY::LAYER, ImageType::FOLDER},
	{MediaStreamType::RASTERLAYER, IMAGEHIERARCHY::LAYER, ImageType::LAYER},
	{MediaStreamType::FILTERLAYER, IMAGEHIERARCHY::LAYER, ImageType::FILTER},
	{MediaStreamType::LAYERMASK, IMAGEHIERARCHY::MASK, ImageType::MASK},
};

Result<void> CopyKey(const KeyMapping& key, const DataDictionaryObjectInterface& from, const Id& fromKey, DataDictionaryObjectInterface& to,
					 const Id& toKey)
{
	Result<Data> value = from.GetData(fromKey);
	if (!value.IsOk())
		return value.GetError().GetId() == errorids::KEYNOTFOUND ? Result<void>(OK) : Result<void>(value.TakeError());
	if (value.GetValue().IsEmpty())
		return OK;
	TORVI_CHECK(value.GetValue().GetType() == key._type, WrongDataTypeError("The key @ needs a value of type @, found @.", fromKey,
																			key._type.GetId(), value.GetValue().GetType().GetId()));
	return to.SetData(toKey, value.TakeValue());
}

} // namespace

const StreamPlace* FindStreamPlace(MediaStreamType type)
{
	const auto found = std::ranges::find(PLACES, type, &StreamPlace::_type);
	return found != std::end(PLACES) ? found : nullptr;
}

MediaStreamType GetStreamType(IMAGEHIERARCHY branch, ImageType imageType)
{
	const auto found = std::ranges::find(PLACES, imageType, &StreamPlace::_imageType);
	switch (branch)
	{
	case IMAGEHIERARCHY::IMAGE:
		return MediaStreamType::IMAGE;
	case IMAGEHIERARCHY::ALPHA:
		return MediaStreamType::ALPHA;
	case IMAGEHIERARCHY::LAYER:
	case IMAGEHIERARCHY::MASK:
		if (found != std::end(PLACES) && IsLayerType(found->_type))
			return found->_type;
		return branch == IMAGEHIERARCHY::MASK ? MediaStreamType::LAYERMASK : MediaStreamType::RASTERLAYER;
	case IMAGEHIERARCHY::DEEPIMAGEDATA:
		return MediaStreamType::DEEPIMAGEDATA;
	}
	return MediaStreamType::NONE;
}

Bool IsLayerType(MediaStreamType type)
{
	return type >= MediaStreamType::LAYERFOLDER && type <= MediaStreamType::LAYERMASK;
}

Result<void> CopyKeysToImage(KeyGroup group, const DataDictionaryObjectInterface& format, DataDictionaryObjectInterface& image)
{
	for (const KeyMapping& key : KEYS)
	{
		if (key._group == group)
			TORVI_TRY(CopyKey(key, format, key._formatKey, image, key._imageKey));
	}
	return OK;
}

Result<void> CopyKeysToFormat(KeyGroup group, const DataDictionaryObjectInterface& image, DataDictionaryObjectInterface& format)
{
	for (const KeyMapping& key : KEYS)
	{
		if (key._group == group)
			TORVI_TRY(CopyKey(key, image, key._imageKey, format, key._formatKey));
	}
	return OK;
}

} // namespace torvi
