// The channels of one picture are read side by side, a row of each into a line of planes, and the line goes to the sink: no picture is held
// but the sink's own.
#include "media_io/psd_pixels.h"

#include "media_io/psd_channels.h"

#include <algorithm>

namespace torvi
{

namespace
{

/// Bytes from the start of a plane to that of the next. The odd number of cache lines keeps planes of wide rows from falling onto the same
/// places of the cache.
Int PlaneDistance(Int bytesPerRow)
{
	constexpr Int CACHE_LINE = 64;
	return ((bytesPerRow + CACHE_LINE - 1) / CACHE_LINE | 1) * CACHE_LINE;
}

PsdRowShape MakeRowShape(const PsdDocument& document, Int width, Int height)
{
	return {._rows = height, ._bytesPerRow = document.GetBytesPerRow(width), ._bytesPerSample = std::max<Int>(1, document._depth / 8)};
}

Result<void> CheckDepth(const PsdDocument& document)
{
	TORVI_CHECK(document.HasReadablePixels(), IllegalStateError("Samples of @ bits can not be read in this mode.", document._depth));
	return OK;
}

/// Refuses a picture that the whole file could not stand for, before its storage is made.
Result<void> CheckPicture(const BinaryReader& reader, const PixelFormat& format, Int width, Int height)
{
	const Int bytes = ImageBytes(width, height, format->GetBitsPerPixel()).value_or(INT64_MAX);
	const Int fileBytes = GetPsdStreamEnd(reader);
	TORVI_CHECK(CanHoldPicture(bytes, fileBytes, CompressionBound::DEFLATE),
				IoError("A picture of @ x @ pixels does not fit into a file of @ bytes.", width, height, fileBytes));
	return OK;
}

PsdRect PictureOf(const PsdDocument& document)
{
	return {0, 0, document._width, document._height};
}

PsdRect Intersect(const PsdRect& a, const PsdRect& b)
{
	return {std::max(a._left, b._left), std::max(a._top, b._top), std::min(a._right, b._right), std::min(a._bottom, b._bottom)};
}

/// Makes a byte of each bit, with 255 for a set one.
void WidenBits(const Byte* bits, Block<Byte> bytes)
{
	for (std::size_t x = 0; x < bytes.size(); ++x)
		bytes[x] = (bits[x / 8] << x % 8 & 0x80) != 0 ? 255 : 0;
}

/// The channels of one stream.
class PlaneGroup
{
public:
	/// Channels in the order of the stream's pixel format, of a rectangle that lies anywhere in or around the stream's picture.
	PlaneGroup(ImportRun& run, StreamHandle stream, const PsdDocument& document, const PixelFormat& format, const PsdRect& rect,
			   const PsdRect& picture)
		: _run(run), _stream(stream), _rect(rect), _visible(Intersect(rect, picture)),
		  _shape(MakeRowShape(document, rect.GetWidth(), rect.GetHeight())), _bitsPerSample(document._depth),
		  _isWidened(document._depth < format->GetBitsPerPixel() / format->GetChannelCount()),
		  _planes(static_cast<std::size_t>(format->GetChannelCount()))
	{
	}
	const PsdRowShape& GetShape() const { return _shape; }
	Int GetVisibleRows() const { return _visible.GetHeight(); }
	void SetPlane(Int slot, std::optional<PsdPlane> plane) { _planes[static_cast<std::size_t>(slot)] = std::move(plane); }
	/// Reads all rows that lie in the picture and hands them on; `report` is called with the number of those that are done, before each
	/// and while others are skipped. Channels without a plane are 0; without any there are no lines.
	template <class Report>
	Result<void> Deliver(Report report);

private:
	Result<PixelSink*> Begin(Int planeDistance);
	template <class Report>
	Result<void> SkipHiddenRows(PsdPlane& plane, Report report) const;
	Bool HasPlanes() const
	{
		return std::ranges::any_of(_planes, [](const std::optional<PsdPlane>& plane) { return plane.has_value(); });
	}

	ImportRun& _run;
	StreamHandle _stream;
	PsdRect _rect;
	PsdRect _visible; ///< what lies in the picture
	PsdRowShape _shape;
	BITS _bitsPerSample;
	Bool _isWidened; ///< bits are handed on as bytes, which alpha channels have
	Array<std::optional<PsdPlane>> _planes;
};

/// Formats of one channel keep their own layout, which may be one of bits.
Result<PixelSink*> PlaneGroup::Begin(Int planeDistance)
{
	if (_planes.size() == 1)
		return _run.Begin(_stream);
	Array<BITS> offsets;
	for (std::size_t slot = 0; slot <= _planes.size(); ++slot)
		offsets.push_back(8 * planeDistance * static_cast<Int>(slot));
	return _run.Begin(_stream, offsets);
}

/// Skips what lies above the picture, in steps: rows of a zip stream have to be decoded.
template <class Report>
Result<void> PlaneGroup::SkipHiddenRows(PsdPlane& plane, Report report) const
{
	constexpr Int STEP_BYTES = 64 * 1024;
	const Int step = std::max<Int>(1, STEP_BYTES / _shape._bytesPerRow);
	for (Int left = _visible._top - _rect._top; left > 0; left -= step)
	{
		TORVI_TRY(report(0));
		TORVI_TRY(plane.SkipRows(std::min(left, step)));
	}
	return OK;
}

template <class Report>
Result<void> PlaneGroup::Deliver(Report report)
{
	if (_visible.IsEmpty() || !HasPlanes())
	{
		TORVI_TRY(_run.Begin(_stream)); // the picture stays clear
		return OK;
	}
	const Int distance = PlaneDistance(_shape._bytesPerRow);
	PixelSink* const sink = TORVI_TRY(Begin(distance));
	for (std::optional<PsdPlane>& plane : _planes)
	{
		if (plane)
			TORVI_TRY(SkipHiddenRows(*plane, report));
	}
	Array<Byte> line(_planes.size() * static_cast<std::size_t>(distance));
	Array<Byte> wideLine(static_cast<std::size_t>(_isWidened ? _visible.GetWidth() : 0));
	const Byte* const first = _isWidened ? wideLine.data() : line.data() + (_visible._left - _rect._left) * _bitsPerSample / 8;
	const BITS stride = _isWidened ? 8 : _bitsPerSample;
	for (Int y = _visible._top; y < _visible._bottom; ++y)
	{
		TORVI_TRY(report(y - _visible._top));
		for (std::size_t slot = 0; slot < _planes.size(); ++slot)
		{
			if (_planes[slot])
				TORVI_TRY(_planes[slot]->ReadRow(
					{line.data() + slot * static_cast<std::size_t>(distance), static_cast<std::size_t>(_shape._bytesPerRow)}));
		}
		WidenBits(line.data(), wideLine);
		TORVI_TRY(sink->SetRun({_visible._left, y, _visible.GetWidth()}, first, stride));
	}
	return OK;
}

/// A stretch of a file.
struct Span
{
	Int _start = 0;
	Int _end = 0;
};

/// Walks over the data of a list of layers.
class LayerReader
{
public:
	LayerReader(BinaryReader& reader, ImportRun& run, const PsdDocument& document, const PsdLayers& layers)
		: _reader(reader), _run(run), _document(document), _position(layers._dataPosition), _end(layers._dataEnd)
	{
	}
	/// Refuses layers that take far more memory together than an honest file of this size stands for.
	Result<void> CheckLayers(const PsdLayers& layers) const;
	Result<void> Read(const PsdLayerRecord& record);

private:
	Result<void> ReadLayer(const PsdLayerRecord& record);
	Result<void> OpenChannel(const PsdLayerRecord& record, const PsdChannel& channel, PlaneGroup* pixels);
	Result<void> ReadMask(const PsdRect& maskRect, const PsdChannel& channel);
	Result<std::optional<PsdPlane>> OpenPlane(const PsdChannel& channel, const PsdRect& rect, const PsdRowShape& shape);
	Result<void> Deliver(PlaneGroup& group, StreamHandle stream);
	Span TakeChannel(Int length);
	Bool IsLayerWanted(const PsdLayerRecord& record) const;
	Bool IsAnyWanted(const PsdLayerRecord& record) const;

	BinaryReader& _reader;
	ImportRun& _run;
	const PsdDocument& _document;
	Int _position; ///< of the next channel
	Int _end;
};

/// A layer is a picture of the document's size, and what counts of it are the lines that are written.
Result<void> LayerReader::CheckLayers(const PsdLayers& layers) const
{
	constexpr Int ALWAYS_FINE = Int(4) << 30;
	constexpr Int MOST_PER_BYTE = 1100; // as of a single picture
	const Int fileBytes = GetPsdStreamEnd(_reader);
	Int left = fileBytes > INT64_MAX / 2 / MOST_PER_BYTE ? INT64_MAX : ALWAYS_FINE + MOST_PER_BYTE * fileBytes;
	for (const PsdLayerRecord& record : layers._records)
	{
		const PsdRect visible = Intersect(record._rect, PictureOf(_document));
		const PixelFormat& format = record._hasTransparency ? _document._alphaFormat : _document._format;
		if (!IsLayerWanted(record) || visible.IsEmpty() || !format)
			continue;
		const Int bytes = ImageBytes(_document._width, visible.GetHeight(), format->GetBitsPerPixel()).value_or(INT64_MAX);
		TORVI_CHECK(bytes <= left, IoError("The layers of a file of @ bytes can not take so much memory.", fileBytes));
		left -= bytes;
	}
	return OK;
}

Bool LayerReader::IsLayerWanted(const PsdLayerRecord& record) const
{
	return record._stream >= 0 && !record._isFolder && _run.IsWanted(record._stream);
}

Bool LayerReader::IsAnyWanted(const PsdLayerRecord& record) const
{
	return IsLayerWanted(record) || std::ranges::any_of(record._channels, [&](const PsdChannel& channel)
														{ return channel._mask >= 0 && _run.IsWanted(channel._mask); });
}

Span LayerReader::TakeChannel(Int length)
{
	const Int start = _position;
	_position += std::min(length, _end - _position);
	return {start, _position};
}

Result<void> LayerReader::Read(const PsdLayerRecord& record)
{
	if (IsAnyWanted(record))
		return ReadLayer(record);
	for (const PsdChannel& channel : record._channels)
		TakeChannel(channel._length);
	return OK;
}

/// The pixels of filter layers are what their filter makes; what is stored of them is not read, and they stay clear.
Result<void> LayerReader::ReadLayer(const PsdLayerRecord& record)
{
	TORVI_CHECK(_document._colorMode != PsdColorMode::BITMAP && _document._colorMode != PsdColorMode::INDEXED,
				FileFormatError("Invalid color mode. (@)", _document._url));
	TORVI_TRY(CheckDepth(_document));
	const PixelFormat format = record._hasTransparency ? _document._alphaFormat : _document._format;
	const Bool isLayerWanted = IsLayerWanted(record);
	if (isLayerWanted)
		TORVI_TRY(CheckPicture(_reader, format, _document._width, _document._height));
	PlaneGroup pixels(_run, record._stream, _document, format, record._rect, PictureOf(_document));
	for (const PsdChannel& channel : record._channels)
		TORVI_TRY(OpenChannel(record, channel, isLayerWanted && !record._filterKey ? &pixels : nullptr));
	return isLayerWanted ? Deliver(pixels, record._stream) : Result<void>(OK);
}

/// Takes up one channel: a mask is read at once, a colour becomes a plane of `pixels`, which is null if they are not read.
Result<void> LayerReader::OpenChannel(const PsdLayerRecord& record, const PsdChannel& channel, PlaneGroup* pixels)
{
	if (channel._mask >= 0 && _run.IsWanted(channel._mask))
		return ReadMask(record._maskRect, channel);
	if (pixels == nullptr || channel._id < PSD_CHANNEL_TRANSPARENCY)
	{
		TakeChannel(channel._length);
		return OK;
	}
	TORVI_CHECK(channel._id < _document._colorChannels, FileFormatError("Illegal channel mode"));
	const Int slot = channel._id + (record._hasTransparency ? 1 : 0); // alpha is the first channel of its formats
	pixels->SetPlane(slot, TORVI_TRY(OpenPlane(channel, record._rect, pixels->GetShape())));
	return OK;
}

/// A length that says nothing, or more than there is, means the rest of the block. Empty channels may have no data at all.
Result<std::optional<PsdPlane>> LayerReader::OpenPlane(const PsdChannel& channel, const PsdRect& rect, const PsdRowShape& shape)
{
	constexpr Int WIDEST = 600'000; // as wide as two of the largest documents: layers may lie partly outside
	if (channel._length == 0 && rect.IsEmpty())
		return std::optional<PsdPlane>();
	TORVI_CHECK(rect.IsEmpty() || rect.GetWidth() <= WIDEST, FileFormatError("A layer can not be @ pixels wide.", rect.GetWidth()));
	const Span span = TakeChannel(channel._length > 0 ? channel._length : _end - _position);
	return std::optional<PsdPlane>(TORVI_TRY(PsdPlane::OpenChannel(_reader, span._start, span._end, shape, _document._hasWideFields)));
}

/// A mask is a picture of its own.
Result<void> LayerReader::ReadMask(const PsdRect& maskRect, const PsdChannel& channel)
{
	const PsdRect rect = {0, 0, maskRect.GetWidth(), maskRect.GetHeight()};
	PlaneGroup mask(_run, channel._mask, _document, _document._channelFormat, rect, rect);
	mask.SetPlane(0, TORVI_TRY(OpenPlane(channel, rect, mask.GetShape())));
	return Deliver(mask, channel._mask);
}

Result<void> LayerReader::Deliver(PlaneGroup& group, StreamHandle stream)
{
	TORVI_TRY(group.Deliver([&](Int done) { return _run.ReportProgress(stream, done, group.GetVisibleRows()); }));
	return _run.Finish(stream);
}

/// Reads the merged picture. The tables of packed rows stand in front of all channels.
class MergedReader
{
public:
	MergedReader(BinaryReader& reader, ImportRun& run, const PsdDocument& document, const PsdMergedStreams& streams)
		: _reader(reader), _run(run), _document(document), _streams(streams),
		  _shape(MakeRowShape(document, document._width, document._height)), _isWanted(static_cast<std::size_t>(document._channelCount))
	{
	}
	Result<void> Read(Int position);

private:
	struct Channel
	{
		Span _span;
		Array<UInt32> _rowSizes; ///< of packed rows
	};

	Int FindWantedChannels();
	Int PictureChannels() const { return _document._colorChannels + (_streams._hasTransparency ? 1 : 0); }
	Result<void> Clear();
	Result<void> LocatePlain(Int start);
	Result<void> LocatePackBits();
	Result<void> ReadGroup(StreamHandle stream, const PixelFormat& format, Int firstChannel);
	Result<PsdPlane> OpenPlane(Channel& channel);

	BinaryReader& _reader;
	ImportRun& _run;
	const PsdDocument& _document;
	const PsdMergedStreams& _streams;
	PsdRowShape _shape;
	PsdCompression _compression = PsdCompression::NONE;
	Array<Bool> _isWanted;    ///< of each channel
	Array<Channel> _channels; ///< those that are not wanted stay empty
	Int _doneRows = 0;
	Int _allRows = 0;
};

/// Marks the channels that somebody wants; gives the number of streams.
Int MergedReader::FindWantedChannels()
{
	Int streams = 0;
	const auto mark = [&](StreamHandle stream, Int first, Int count)
	{
		if (stream < 0 || !_run.IsWanted(stream))
			return;
		std::fill_n(_isWanted.begin() + first, count, true);
		++streams;
	};
	const Int extras = PictureChannels();
	mark(_streams._picture, 0, extras);
	for (Int i = 0; i < CountOf(_streams._alphas); ++i)
		mark(_streams._alphas[static_cast<std::size_t>(i)], extras + i, 1);
	return streams;
}

Result<void> MergedReader::Read(Int position)
{
	const Int wanted = FindWantedChannels();
	if (wanted == 0)
		return OK;
	TORVI_TRY(CheckDepth(_document));
	TORVI_TRY(_reader.Seek(position));
	_compression = static_cast<PsdCompression>(TORVI_TRY(_reader.ReadUInt16()));
	if (_compression != PsdCompression::NONE && _compression != PsdCompression::PACKBITS)
		return Clear();
	_channels.resize(static_cast<std::size_t>(_document._channelCount));
	TORVI_TRY(_compression == PsdCompression::NONE ? LocatePlain(_reader.GetPosition()) : LocatePackBits());
	_allRows = wanted * _shape._rows;
	if (_run.IsWanted(_streams._picture))
		TORVI_TRY(ReadGroup(_streams._picture, _streams._hasTransparency ? _document._alphaFormat : _document._format, 0));
	for (Int i = 0; i < CountOf(_streams._alphas); ++i)
	{
		if (_isWanted[static_cast<std::size_t>(PictureChannels() + i)])
			TORVI_TRY(ReadGroup(_streams._alphas[static_cast<std::size_t>(i)], _document._channelFormat, PictureChannels() + i));
	}
	return OK;
}

/// The streams get their storage and no lines.
Result<void> MergedReader::Clear()
{
	TORVI_TRY(CheckPicture(_reader, _document._format, _document._width, _document._height));
	TORVI_TRY(_run.Begin(_streams._picture));
	for (const StreamHandle alpha : _streams._alphas)
	{
		if (alpha >= 0)
			TORVI_TRY(_run.Begin(alpha));
	}
	return OK;
}

Result<void> MergedReader::LocatePlain(Int start)
{
	const Int bytes = _shape.GetBytes();
	const Int left = GetPsdRemaining(_reader, GetPsdStreamEnd(_reader));
	const Int all = ImageBytes(bytes, _document._channelCount, 8).value_or(INT64_MAX);
	TORVI_CHECK(all < INT64_MAX - start && CanHoldPicture(all, left, CompressionBound::NONE),
				IoError("@ channels of @ bytes do not fit into the @ bytes that are left.", _document._channelCount, bytes, left));
	for (Channel& channel : _channels)
	{
		channel._span = {start, start + bytes};
		start += bytes;
	}
	return OK;
}

Result<void> MergedReader::LocatePackBits()
{
	TORVI_CHECK(_shape._rows > 0, IllegalStateError("The table of packed rows is empty."));
	const Int entries = _document._channelCount * _shape._rows;
	const Int entrySize = _document._hasWideFields ? 4 : 2;
	const Int end = GetPsdStreamEnd(_reader);
	const Int left = GetPsdRemaining(_reader, end);
	TORVI_CHECK(entries <= left / entrySize, EndOfDataError(entries * entrySize - left));
	Int start = _reader.GetPosition() + entries * entrySize;
	for (std::size_t i = 0; i < _channels.size(); ++i)
	{
		Array<UInt32> rowSizes = TORVI_TRY(ReadPsdRowSizes(_reader, end, _shape, _document._hasWideFields));
		_channels[i]._span._start = start;
		for (const UInt32 size : rowSizes)
			start += size;
		_channels[i]._span._end = start;
		if (_isWanted[i])
			_channels[i]._rowSizes = std::move(rowSizes);
	}
	return OK;
}

Result<PsdPlane> MergedReader::OpenPlane(Channel& channel)
{
	const Int end = std::min(channel._span._end, GetPsdStreamEnd(_reader));
	return _compression == PsdCompression::PACKBITS
			   ? PsdPlane::OpenPackBits(_reader, channel._span._start, end, _shape, std::move(channel._rowSizes))
			   : PsdPlane::OpenPlain(_reader, channel._span._start, end, _shape);
}

/// Reads the channels of one stream; in the file the picture's alpha comes behind its colours.
Result<void> MergedReader::ReadGroup(StreamHandle stream, const PixelFormat& format, Int firstChannel)
{
	const Int count = format->GetChannelCount();
	PlaneGroup group(_run, stream, _document, format, PictureOf(_document), PictureOf(_document));
	for (Int i = 0; i < count; ++i)
	{
		const Bool isAlphaFirst = count > _document._colorChannels;
		const Int slot = isAlphaFirst ? (i + 1) % count : i;
		Channel& channel = _channels[static_cast<std::size_t>(firstChannel + i)];
		group.SetPlane(slot, TORVI_TRY(OpenPlane(channel)));
	}
	TORVI_TRY(group.Deliver([&](Int done) { return _run.ReportProgress(_streams._picture, _doneRows + done, _allRows); }));
	_doneRows += _shape._rows;
	return OK;
}

} // namespace

Result<void> ReadPsdLayerPixels(BinaryReader& reader, ImportRun& run, const PsdDocument& document, const PsdLayers& layers)
{
	LayerReader layerReader(reader, run, document, layers);
	TORVI_TRY(layerReader.CheckLayers(layers));
	for (const PsdLayerRecord& record : layers._records)
		TORVI_TRY(layerReader.Read(record));
	return OK;
}

Result<void> ReadPsdMergedPixels(BinaryReader& reader, ImportRun& run, const PsdDocument& document, const PsdMergedStreams& streams,
								 Int position)
{
	return MergedReader(reader, run, document, streams).Read(position);
}

} // namespace torvi
