// The layers of a PSD or PSB file, and of other files that carry them: the records in front of the pixels, the groups that dividers between
// them make, and the streams that they are published as.
#pragma once

#include "media_io/psd_document.h"
#include "mediasession/image_import.h"

namespace torvi
{

inline constexpr Int PSD_CHANNEL_TRANSPARENCY = -1;
inline constexpr Int PSD_CHANNEL_MASK = -2;

/// In pixels of the document; right and bottom are not in it.
struct PsdRect
{
	Int _left = 0;
	Int _top = 0;
	Int _right = 0;
	Int _bottom = 0;

	Int GetWidth() const noexcept { return _right > _left ? _right - _left : 0; }
	Int GetHeight() const noexcept { return _bottom > _top ? _bottom - _top : 0; }
	Bool IsEmpty() const noexcept { return GetWidth() == 0 || GetHeight() == 0; }
	Float64 GetArea() const noexcept { return static_cast<Float64>(GetWidth()) * static_cast<Float64>(GetHeight()); }
};

struct PsdChannel
{
	Int _id = 0;             ///< a colour from 0, or one of the numbers above
	Int _length = 0;         ///< bytes of its data
	StreamHandle _mask = -1; ///< of a mask
};

struct PsdLayerRecord
{
	String _name;
	Array<PsdChannel> _channels; ///< in the order of their data
	PsdRect _rect;
	UInt32 _blendKey = PSD_BLENDKEY_NORMAL;
	UChar _opacity = 0;
	UChar _fillOpacity = 255;
	UChar _flags = 0;
	Int _parent = -1; ///< the record of the group that it lies in
	Int _folder = -1; ///< of a divider: the record of its group
	PsdRect _maskRect;
	UChar _maskDefaultColor = 0;
	UInt16 _groupId = 0;
	Bool _hasTransparency = false;
	Bool _isDividerEnd = false;
	Bool _isFolder = false; ///< the group's own record, or its divider
	Bool _isOpen = false;
	std::optional<UInt32> _filterKey; ///< of an adjustment or fill layer
	Array<Char> _filterData;          ///< until its stream is published
	StreamHandle _stream = -1;
};

struct PsdLayers
{
	Array<PsdLayerRecord> _records; ///< bottom first
	Bool _hasTransparency = false;  ///< the first alpha channel of the picture is its transparency
	Int _dataPosition = 0;          ///< of the first record's first channel
	Int _dataEnd = 0;
};

/// The layer and mask section of a file, with its length in front; the reader stands behind the records. `sectionEnd` gets the position of
/// what follows the section.
Result<PsdLayers> ReadPsdLayerSection(BinaryReader& reader, const PsdDocument& document, Block<const UInt16> layerGroups, Int& sectionEnd);

/// Searches additional blocks up to `end` for one that holds layers, and reads its records.
Result<PsdLayers> SearchPsdLayers(BinaryReader& reader, const PsdDocument& document, Block<const UInt16> layerGroups, Int end);

/// Publishes the layers, folders and masks below the picture and keeps their streams in the records.
Result<void> PublishPsdLayers(StreamTreeBuilder& streams, StreamHandle picture, const PsdDocument& document, const ColorProfile& profile,
							  PsdLayers& layers);

} // namespace torvi
