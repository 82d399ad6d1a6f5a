// Layer records, their additional blocks, and the tree of groups.
#include "media_io/psd_layers.h"

#include "torvi/gfx_image.h"
#include "torvi/gfx_image_pixelblend.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_errors.h"
#include "torvi/mediasession_fileformats.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int BLOCK_HEAD_SIZE = 12; // signature, key, length

constexpr UChar FLAG_TRANSPARENCYPROTECTED = 1;
constexpr UChar FLAG_HIDDEN = 2;

/// Types of section dividers; all others close a group as well.
constexpr UInt32 SECTION_OPENFOLDER = 1;
constexpr UInt32 SECTION_CLOSEDFOLDER = 2;
constexpr UInt32 SECTION_BOUNDINGDIVIDER = 3; ///< stands below the group's layers

/// Blocks of the section that have 8 bytes of length where fields are wide.
constexpr UInt32 WIDE_KEYS[] = {
	PsdKey("FXid"), PsdKey("LMsk"), PsdKey("Layr"), PsdKey("Alph"), PsdKey("FEid"), PsdKey("FMsk"), PsdKey("Lr16"),
	PsdKey("Lr32"), PsdKey("Mt16"), PsdKey("lnk2"), PsdKey("PxSD"), PsdKey("Mt32"), PsdKey("Mtrn"),
};

constexpr UInt32 LAYER_KEYS[] = {PsdKey("Layr"), PsdKey("Lr16"), PsdKey("Lr32")};

/// Adjustment and fill layers.
constexpr UInt32 FILTER_KEYS[] = {
	PsdKey("GdFl"), PsdKey("PtFl"), PsdKey("SoCo"), PsdKey("blnc"), PsdKey("blwh"), PsdKey("brit"),
	PsdKey("curv"), PsdKey("expA"), PsdKey("grdm"), PsdKey("hue "), PsdKey("hue2"), PsdKey("levl"),
	PsdKey("mixr"), PsdKey("nvrt"), PsdKey("phfl"), PsdKey("post"), PsdKey("selc"), PsdKey("thrs"),
};

/// What ordinary layers carry and nothing here needs.
constexpr UInt32 SKIPPED_KEYS[] = {
	PsdKey("TySh"), PsdKey("clbl"), PsdKey("fxrp"), PsdKey("infx"), PsdKey("knko"),
	PsdKey("lfx2"), PsdKey("lnsr"), PsdKey("lspf"), PsdKey("lyid"), PsdKey("lclr"),
};

constexpr Bool IsOneOf(UInt32 key, Block<const UInt32> keys)
{
	return std::ranges::find(keys, key) != keys.end();
}

/// A length of 8 bytes. No file is as long as those that are refused.
Result<Int> ReadWideLength(BinaryReader& reader)
{
	constexpr UInt64 LONGEST = UInt64(1) << 62;
	const UInt64 length = TORVI_TRY(reader.ReadUInt64());
	TORVI_CHECK(length <= LONGEST, FileFormatError("A block of @ bytes is not possible.", length));
	return static_cast<Int>(length);
}

Result<Int> ReadLength(BinaryReader& reader, Bool isWide)
{
	return isWide ? ReadWideLength(reader) : Result<Int>(Int(TORVI_TRY(reader.ReadInt32())));
}

/// Reads the records of one list of layers.
class RecordReader
{
public:
	RecordReader(BinaryReader& reader, const PsdDocument& document, Block<const UInt16> layerGroups, Int end)
		: _reader(reader), _document(document), _layerGroups(layerGroups), _end(end)
	{
	}
	Result<PsdLayers> Read();

private:
	Result<void> ReadRecord(Int index);
	Result<void> ReadChannels(PsdLayerRecord& record);
	Result<void> ReadExtraData(Int index, Int end);
	Result<void> ReadMask(PsdLayerRecord& record, Int end);
	Result<Int> ReadLengthWithin(Int end);
	Result<void> ReadName(PsdLayerRecord& record, Int end);
	Result<void> ReadBlocks(Int index, Int end);
	Result<void> ReadBlock(Int index, UInt32 key, Bool isFirst, Int end);
	Result<void> ReadSectionDivider(Int index, Int end);
	Result<void> ReadUnicodeName(PsdLayerRecord& record, Int end);
	Result<PsdRect> ReadRect();
	Result<void> OpenGroup(Int index);
	void CloseGroup(Int index);

	PsdLayerRecord& At(Int index) { return _layers._records[static_cast<std::size_t>(index)]; }

	BinaryReader& _reader;
	const PsdDocument& _document;
	Block<const UInt16> _layerGroups;
	Int _end;
	PsdLayers _layers;
	Int _current = -1; ///< the divider of the innermost open group
	Array<Int> _outer; ///< those of the groups around it
	Int _maskCount = 0;
};

Result<PsdLayers> RecordReader::Read()
{
	constexpr Int LEAST_RECORD = 34; // without the one channel that each has
	const Int smallest = LEAST_RECORD + 2 + (_document._hasWideFields ? 8 : 4);
	const Int number = TORVI_TRY(_reader.ReadInt16());
	const Int count = std::abs(number);
	const Int left = GetPsdRemaining(_reader, _end);
	TORVI_CHECK(count * smallest <= left, EndOfDataError(count * smallest - left));
	_layers._hasTransparency = number < 0;
	_layers._records.resize(static_cast<std::size_t>(count));
	for (Int i = 0; i < count; ++i)
		TORVI_TRY(ReadRecord(i));
	_layers._dataPosition = _reader.GetPosition();
	_layers._dataEnd = std::max(_end, _layers._dataPosition);
	return std::move(_layers);
}

Result<PsdRect> RecordReader::ReadRect()
{
	PsdRect rect;
	rect._top = TORVI_TRY(_reader.ReadInt32());
	rect._left = TORVI_TRY(_reader.ReadInt32());
	rect._bottom = TORVI_TRY(_reader.ReadInt32());
	rect._right = TORVI_TRY(_reader.ReadInt32());
	return rect;
}

Result<void> RecordReader::ReadRecord(Int index)
{
	PsdLayerRecord& record = At(index);
	record._parent = _current;
	record._groupId = index < CountOf(_layerGroups) ? _layerGroups[static_cast<std::size_t>(index)] : UInt16(0);
	record._rect = TORVI_TRY(ReadRect());
	TORVI_TRY(ReadChannels(record));
	TORVI_CHECK(TORVI_TRY(_reader.ReadUInt32()) == PSD_BLOCKSIGNATURE, IllegalStateError("A layer has no blend mode."));
	record._blendKey = TORVI_TRY(_reader.ReadUInt32());
	record._opacity = TORVI_TRY(_reader.ReadUChar());
	TORVI_TRY(_reader.Skip(1)); // clipping
	record._flags = TORVI_TRY(_reader.ReadUChar());
	TORVI_TRY(_reader.Skip(1));
	const Int extraLength = TORVI_TRY(_reader.ReadInt32());
	if (extraLength < 1)
		return OK;
	const Int end = GetPsdBlockEnd(_reader, extraLength, _end);
	TORVI_TRY(ReadExtraData(index, end));
	return _reader.Seek(end);
}

/// Each mask becomes a stream. Layers have one at most; a file that claims more must be large enough for it.
Result<void> RecordReader::ReadChannels(PsdLayerRecord& record)
{
	const Int count = TORVI_TRY(_reader.ReadInt16());
	TORVI_CHECK(count >= 1, IllegalStateError("A layer has no channels."));
	const Int bytes = count * (_document._hasWideFields ? 10 : 6);
	const Int left = GetPsdRemaining(_reader, _end);
	TORVI_CHECK(bytes <= left, EndOfDataError(bytes - left));
	record._channels.resize(static_cast<std::size_t>(count));
	for (PsdChannel& channel : record._channels)
	{
		channel._id = TORVI_TRY(_reader.ReadInt16());
		channel._length = std::max<Int>(0, TORVI_TRY(ReadLength(_reader, _document._hasWideFields)));
		record._hasTransparency = record._hasTransparency || channel._id == PSD_CHANNEL_TRANSPARENCY;
		_maskCount += channel._id == PSD_CHANNEL_MASK ? 1 : 0;
	}
	const Int needed = (_maskCount - CountOf(_layers._records)) * PSD_BYTES_PER_STREAM;
	TORVI_CHECK(needed <= left, EndOfDataError(needed - left));
	return OK;
}

/// 0 where the block has no room for a length.
Result<Int> RecordReader::ReadLengthWithin(Int end)
{
	return GetPsdRemaining(_reader, end) >= 4 ? Result<Int>(Int(TORVI_TRY(_reader.ReadInt32()))) : Result<Int>(Int(0));
}

Result<void> RecordReader::ReadExtraData(Int index, Int end)
{
	PsdLayerRecord& record = At(index);
	const Int maskLength = TORVI_TRY(ReadLengthWithin(end));
	if (maskLength >= 1)
		TORVI_TRY(ReadMask(record, GetPsdBlockEnd(_reader, maskLength, end)));
	const Int rangesLength = TORVI_TRY(ReadLengthWithin(end));
	if (rangesLength > 0)
		TORVI_TRY(_reader.Seek(GetPsdBlockEnd(_reader, rangesLength, end)));
	if (GetPsdRemaining(_reader, end) < 1)
		return OK;
	TORVI_TRY(ReadName(record, end));
	return ReadBlocks(index, end);
}

/// Fields that the block is too short for are 0.
Result<void> RecordReader::ReadMask(PsdLayerRecord& record, Int end)
{
	Int* const sides[] = {&record._maskRect._top, &record._maskRect._left, &record._maskRect._bottom, &record._maskRect._right};
	for (Int* side : sides)
		*side = TORVI_TRY(ReadLengthWithin(end));
	if (GetPsdRemaining(_reader, end) >= 1)
		record._maskDefaultColor = TORVI_TRY(_reader.ReadUChar());
	return _reader.Seek(end);
}

/// Length byte and text fill a multiple of four bytes.
Result<void> RecordReader::ReadName(PsdLayerRecord& record, Int end)
{
	const Int start = _reader.GetPosition();
	record._name = TORVI_TRY(ReadPsdPascalText(_reader, end - start));
	return _reader.Seek(std::min(end, start + (_reader.GetPosition() - start + 3) / 4 * 4));
}

Result<void> RecordReader::ReadBlocks(Int index, Int end)
{
	for (Bool isFirst = true; GetPsdRemaining(_reader, end) >= BLOCK_HEAD_SIZE; isFirst = false)
	{
		if (TORVI_TRY(_reader.ReadUInt32()) != PSD_BLOCKSIGNATURE)
			return OK;
		const UInt32 key = TORVI_TRY(_reader.ReadUInt32());
		const Int length = TORVI_TRY(_reader.ReadUInt32());
		if (length > GetPsdRemaining(_reader, end))
			return OK;
		const Int blockEnd = _reader.GetPosition() + length;
		TORVI_TRY(ReadBlock(index, key, isFirst, blockEnd));
		TORVI_TRY(_reader.Seek(blockEnd));
	}
	return OK;
}

Result<void> RecordReader::ReadBlock(Int index, UInt32 key, Bool isFirst, Int end)
{
	PsdLayerRecord& record = At(index);
	if (key == PsdKey("lsct"))
		return ReadSectionDivider(index, end);
	if (key == PsdKey("luni"))
		return ReadUnicodeName(record, end);
	if (key == PsdKey("iOpa"))
	{
		if (GetPsdRemaining(_reader, end) >= 1)
			record._fillOpacity = TORVI_TRY(_reader.ReadUChar());
		return OK;
	}
	if (!IsOneOf(key, FILTER_KEYS) && (!isFirst || IsOneOf(key, SKIPPED_KEYS)))
		return OK;
	const Array<Byte> data = TORVI_TRY(_reader.ReadArray(GetPsdRemaining(_reader, end)));
	record._filterKey = key;
	record._filterData.assign(data.begin(), data.end());
	return OK;
}

Result<void> RecordReader::ReadUnicodeName(PsdLayerRecord& record, Int end)
{
	if (GetPsdRemaining(_reader, end) < 4)
		return OK;
	const Int units = TORVI_TRY(_reader.ReadUInt32());
	const Int left = GetPsdRemaining(_reader, end);
	TORVI_CHECK(2 * units <= left, MediaSessionWrongTypeError("Invalid text length: @. Rest of chunk is: @.", units, left));
	if (units > 0)
		record._name = TORVI_TRY(ReadPsdUnicode(_reader, units));
	return OK;
}

Result<void> RecordReader::ReadSectionDivider(Int index, Int end)
{
	if (GetPsdRemaining(_reader, end) < 4)
		return OK;
	PsdLayerRecord& record = At(index);
	const UInt32 type = TORVI_TRY(_reader.ReadUInt32());
	if (type == SECTION_BOUNDINGDIVIDER)
		return OpenGroup(index);
	if (GetPsdRemaining(_reader, end) >= 8 && TORVI_TRY(_reader.ReadUInt32()) == PSD_BLOCKSIGNATURE)
		record._blendKey = TORVI_TRY(_reader.ReadUInt32());
	record._isOpen = type == SECTION_OPENFOLDER;
	if (_current >= 0)
		CloseGroup(index);
	else
		record._isFolder = record._isFolder || type == SECTION_OPENFOLDER || type == SECTION_CLOSEDFOLDER;
	return OK;
}

/// A record may open any number of groups. Closing one walks over all records in it, so few may be open.
Result<void> RecordReader::OpenGroup(Int index)
{
	TORVI_CHECK(CountOf(_outer) < LAYER_NESTING_LIMIT,
				FileFormatError("The layers of a picture are nested in more than @ levels.", LAYER_NESTING_LIMIT));
	PsdLayerRecord& divider = At(index);
	_outer.push_back(_current);
	_current = index;
	divider._isDividerEnd = true;
	divider._isFolder = true;
	divider._folder = index;
	return OK;
}

/// Until now the divider stood for the group; from here on the record at `index` does. Only records behind the divider can name it.
void RecordReader::CloseGroup(Int index)
{
	for (Int i = _current; i <= index; ++i)
	{
		PsdLayerRecord& record = At(i);
		record._folder = record._folder == _current ? index : record._folder;
		record._parent = record._parent == _current ? index : record._parent;
	}
	_current = _outer.back();
	_outer.pop_back();
	At(index)._parent = _current;
	At(index)._isFolder = true;
}

/// The streams of a list of layers.
class LayerPublisher
{
public:
	LayerPublisher(StreamTreeBuilder& streams, const PsdDocument& document, const ColorProfile& profile)
		: _streams(streams), _document(document), _profile(profile)
	{
	}

	Result<StreamHandle> AddFolder(StreamHandle parent, const PsdLayerRecord& record);
	Result<StreamHandle> AddLayer(StreamHandle parent, PsdLayerRecord& record);
	Result<StreamHandle> AddMask(StreamHandle parent, const PsdLayerRecord& record);

private:
	Result<void> SetLayerKeys(StreamHandle stream, const PsdLayerRecord& record);
	Result<void> SetBounds(StreamHandle stream, const PsdRect& rect, Int width, Int height);

	StreamTreeBuilder& _streams;
	const PsdDocument& _document;
	const ColorProfile& _profile;
};

Result<void> LayerPublisher::SetLayerKeys(StreamHandle stream, const PsdLayerRecord& record)
{
	constexpr Float64 FULL = 255.0;
	const Id& mode = FindPsdBlendMode(record._blendKey);
	TORVI_TRY(_streams.Set<String>(stream, ids::MEDIAFORMAT_STREAMNAME, record._name));
	TORVI_TRY(_streams.Set<Bool>(stream, ids::MEDIAFORMAT_LAYER_ENABLED, (record._flags & FLAG_HIDDEN) == 0));
	TORVI_TRY(_streams.Set<Bool>(stream, ids::MEDIAFORMAT_LAYER_TRANSPARENCYPROTECTED, (record._flags & FLAG_TRANSPARENCYPROTECTED) != 0));
	TORVI_TRY(_streams.Set<ImagePixelBlend>(stream, ids::MEDIAFORMAT_LAYER_BLENDMODE, FindDeclared<ImagePixelBlendInterface>(mode)));
	TORVI_TRY(_streams.Set<Float64>(stream, ids::MEDIAFORMAT_LAYER_OPACITY, record._opacity / FULL));
	TORVI_TRY(_streams.Set<Float64>(stream, ids::MEDIAFORMAT_LAYER_FILLOPACITY, record._fillOpacity / FULL));
	return _streams.Set<Int>(stream, ids::MEDIAFORMAT_LAYER_LAYERGROUP, record._groupId);
}

Result<void> LayerPublisher::SetBounds(StreamHandle stream, const PsdRect& rect, Int width, Int height)
{
	TORVI_TRY(_streams.Set<Int>(stream, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_X, rect._left));
	TORVI_TRY(_streams.Set<Int>(stream, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_Y, rect._top));
	TORVI_TRY(_streams.Set<Int>(stream, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_W, width));
	return _streams.Set<Int>(stream, ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_H, height);
}

Result<StreamHandle> LayerPublisher::AddFolder(StreamHandle parent, const PsdLayerRecord& record)
{
	const ImportStreamInfo info = {
		._type = MediaStreamType::LAYERFOLDER,
		._pixelFormat = _document._alphaFormat ? _document._alphaFormat : _document._format,
		._width = _document._width,
		._height = _document._height,
		._colorProfile = _profile,
		._streamClass = ids::CLASS_MEDIASTREAMIMAGELAYERFOLDERPSD,
	};
	const StreamHandle folder = TORVI_TRY(_streams.AddChild(parent, info, ImportWork::NONE));
	TORVI_TRY(SetLayerKeys(folder, record));
	TORVI_TRY(_streams.Set<Bool>(folder, ids::MEDIAFORMAT_LAYER_ISOPEN, record._isOpen));
	TORVI_TRY(_streams.Set<UChar>(folder, ids::MEDIAFORMAT_LAYER_MASKDEFCOLOR, record._maskDefaultColor));
	return folder;
}

Result<StreamHandle> LayerPublisher::AddLayer(StreamHandle parent, PsdLayerRecord& record)
{
	const Bool isFilter = record._filterKey.has_value();
	const ImportStreamInfo info = {
		._type = isFilter ? MediaStreamType::FILTERLAYER : MediaStreamType::RASTERLAYER,
		._pixelFormat = record._hasTransparency && _document._alphaFormat ? _document._alphaFormat : _document._format,
		._width = _document._width,
		._height = _document._height,
		._colorProfile = _profile,
		._streamClass = ids::CLASS_MEDIASTREAMIMAGEDATAPSDIMPORT,
		._workName = "PSD layer 1",
		._deliveryName = "PSD layer 2",
		._workWeight = record._rect.GetArea(),
	};
	const StreamHandle layer = TORVI_TRY(_streams.AddChild(parent, info, ImportWork::OWN));
	TORVI_TRY(SetBounds(layer, record._rect, record._rect._right - record._rect._left, record._rect._bottom - record._rect._top));
	TORVI_TRY(SetLayerKeys(layer, record));
	if (isFilter)
	{
		TORVI_TRY(_streams.Set<Int>(layer, ids::MEDIAFORMAT_LAYER_PSD_FILTERID, *record._filterKey));
		TORVI_TRY(_streams.Set<Array<Char>>(layer, ids::MEDIAFORMAT_LAYER_PSD_DATA, std::move(record._filterData)));
	}
	return layer;
}

Result<StreamHandle> LayerPublisher::AddMask(StreamHandle parent, const PsdLayerRecord& record)
{
	const ImportStreamInfo info = {
		._type = MediaStreamType::LAYERMASK,
		._pixelFormat = _document._channelFormat,
		._width = record._maskRect.GetWidth(),
		._height = record._maskRect.GetHeight(),
		._streamClass = ids::CLASS_MEDIASTREAMIMAGEDATAPSDIMPORT,
		._workName = "PSD mask 1",
	};
	const StreamHandle mask = TORVI_TRY(_streams.AddChild(parent, info, ImportWork::OWN));
	TORVI_TRY(SetBounds(mask, record._maskRect, info._width, info._height));
	TORVI_TRY(_streams.Set<UChar>(mask, ids::MEDIAFORMAT_LAYER_MASKDEFCOLOR, record._maskDefaultColor));
	return mask;
}

} // namespace

Result<PsdLayers> SearchPsdLayers(BinaryReader& reader, const PsdDocument& document, Block<const UInt16> layerGroups, Int end)
{
	while (GetPsdRemaining(reader, end) >= BLOCK_HEAD_SIZE)
	{
		if (TORVI_TRY(reader.ReadUInt32()) != PSD_BLOCKSIGNATURE)
			continue;
		const UInt32 key = TORVI_TRY(reader.ReadUInt32());
		const Int length = TORVI_TRY(ReadLength(reader, document._hasWideFields && IsOneOf(key, WIDE_KEYS)));
		if (length < 1)
			continue;
		const Int blockEnd = GetPsdBlockEnd(reader, (length + 3) / 4 * 4, end);
		if (IsOneOf(key, LAYER_KEYS))
			return RecordReader(reader, document, layerGroups, blockEnd).Read();
		TORVI_TRY(reader.Seek(blockEnd));
	}
	return PsdLayers();
}

Result<PsdLayers> ReadPsdLayerSection(BinaryReader& reader, const PsdDocument& document, Block<const UInt16> layerGroups, Int& sectionEnd)
{
	constexpr Int LEAST_SEARCHED = 16;
	const Int length = TORVI_TRY(ReadLength(reader, document._hasWideFields));
	sectionEnd = reader.GetPosition();
	if (length < 1)
		return PsdLayers();
	sectionEnd = GetPsdBlockEnd(reader, length, GetPsdStreamEnd(reader));
	const Int layerLength = TORVI_TRY(ReadLength(reader, document._hasWideFields));
	if (layerLength >= 1)
		return RecordReader(reader, document, layerGroups, GetPsdBlockEnd(reader, layerLength, sectionEnd)).Read();
	if (layerLength < 0 || GetPsdRemaining(reader, sectionEnd) < LEAST_SEARCHED)
		return PsdLayers();
	const Int maskLength = TORVI_TRY(reader.ReadUInt32());
	if (maskLength <= GetPsdRemaining(reader, sectionEnd))
		TORVI_TRY(reader.Skip(maskLength));
	return SearchPsdLayers(reader, document, layerGroups, sectionEnd);
}

Result<void> PublishPsdLayers(StreamTreeBuilder& streams, StreamHandle picture, const PsdDocument& document, const ColorProfile& profile,
							  PsdLayers& layers)
{
	LayerPublisher publisher(streams, document, profile);
	const auto at = [&](Int index) -> PsdLayerRecord& { return layers._records[static_cast<std::size_t>(index)]; };
	for (PsdLayerRecord& record : layers._records)
	{
		const Bool hasParent = record._parent >= 0 && at(record._parent)._stream >= 0;
		const StreamHandle parent = hasParent ? at(record._parent)._stream : picture;
		if (record._isDividerEnd)
			at(record._folder)._stream = TORVI_TRY(publisher.AddFolder(parent, at(record._folder)));
		else if (!record._isFolder)
			record._stream = TORVI_TRY(publisher.AddLayer(parent, record));
		for (PsdChannel& channel : record._channels)
		{
			if (record._stream >= 0 && channel._id == PSD_CHANNEL_MASK)
				channel._mask = TORVI_TRY(publisher.AddMask(record._stream, record));
		}
	}
	return OK;
}

} // namespace torvi
