// The selection handler of a load into a texture.
#include "mediasession/mediasession_imagetexture_selection.h"

#include "mediasession/mediasession_imagetexture_keys.h"
#include "torvi/exif.h"
#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

using Selection = MediaOutputSelectionResult;

/// What the handler goes by; it outlives the call of Load, as the session can be closed and run again.
class TextureSelection final : public ObjectInterface
{
public:
	TextureSelection(Bool isNoData, const LayerSet* layerSet) : _isNoData(isNoData)
	{
		if (layerSet != nullptr)
			_layerSet = *layerSet;
	}

	Result<Selection> Select(const MediaStreamRef& stream, const MediaStreamFormat& format) const;

private:
	Result<Selection> SelectPicture(const MediaStreamFormatInterface& format) const;

	Bool _isNoData;
	std::optional<LayerSet> _layerSet;
};

Result<Selection> TextureSelection::Select(const MediaStreamRef& stream, const MediaStreamFormat& format) const
{
	if (_isNoData)
		return Cast<MediaStreamExifDataInterface>(stream) ? Selection::SELECTALL : Selection::SELECTSTRUCTURE;
	if (!_layerSet || !Cast<MediaStreamImageBaseInterface>(stream))
		return Selection::SELECTALL;
	TORVI_CHECK(format, NullptrError());
	if (TORVI_TRY(format->Get<UInt32>(ids::MEDIAFORMAT_TYPE)) != static_cast<UInt32>(MediaStreamType::IMAGE))
		return Selection::SELECTALL;
	return SelectPicture(*format);
}

Result<Selection> TextureSelection::SelectPicture(const MediaStreamFormatInterface& format) const
{
	const Int index = TORVI_TRY(ReadOr<Int>(format, ids::MEDIAFORMAT_SUBIMAGEINDEX, 0));
	const String& wanted = _layerSet->GetSelectedImage();
	if (wanted.empty())
		return index == 0 ? Selection::SELECTALL : Selection::SELECTNONE;
	String name = TORVI_TRY(ReadOr<String>(format, ids::MEDIAFORMAT_STREAMNAME, String()));
	if (name.empty())
		name = Format("#@", index + 1);
	return ComparePart(name, wanted, StringCompareMode::CASEINSENSITIVE) == 0 ? Selection::SELECTALL : Selection::SELECTNONE;
}

} // namespace

Result<MediaSelectionHandler> MakeTextureSelectionHandler(const Class& storageClass, const LayerSet* layerSet)
{
	const Bool isNoData = storageClass.GetId() == ids::IMAGEPIXELSTORAGECLASS_NODATA;
	const Ref<TextureSelection> selection = TORVI_TRY(NewObject<TextureSelection>(isNoData, layerSet));
	return MediaSelectionHandler([selection](const MediaStreamRef& stream, const MediaStreamFormat& format)
								 { return NoThrow([&]() { return selection->Select(stream, format); }); });
}

} // namespace torvi
