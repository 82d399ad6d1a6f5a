// The decoder and its source manager.
#include "media_io/jpg_decoder.h"

#include "host/debuglog.h"
#include "mediasession/image_import.h"
#include "torvi/mediasession_errors.h"

#include <jerror.h>
#include <memory>

namespace torvi
{

namespace
{

constexpr Int BUFFER_SIZE = 4096;
/// Of those that are saved: files have some hundreds at most, and the library walks over all for each.
constexpr Int SEGMENT_LIMIT = 4096;
/// No encoder writes more scans than some dozens; each of them goes over the whole picture, however few bytes it has.
constexpr Int SCAN_LIMIT = 200;
/// For the coefficients of a progressive picture, which the library holds all at once.
constexpr long COEFFICIENT_MEMORY = 4L << 30;
/// Rows of blocks between two looks at whether to go on.
constexpr int SCAN_STEP = 64;

static_assert(std::is_standard_layout_v<JpgSource>);

JpgSource& SourceOf(jpeg_decompress_struct* library)
{
	return *reinterpret_cast<JpgSource*>(library->src);
}

/// Reads on into the buffer. Gives the number of bytes, 0 at the end.
Result<Int> ReadBuffer(JpgSource& source)
{
	if (source._reader->GetPosition() != source._position)
		TORVI_TRY(source._reader->Seek(source._position));
	const Int count = TORVI_TRY(source._reader->ReadEOS(Block<Byte>(source._buffer, BUFFER_SIZE)));
	source._position += count;
	return count;
}

/// As ReadBuffer, for a caller that may be jumped over: -1 after a failure, which the guard keeps.
Int TryReadBuffer(JpgSource& source)
{
	Result<Int> count = NoThrow([&]() { return ReadBuffer(source); });
	if (count.IsOk())
		return count.GetValue();
	DebugLog("error reading file @", count.GetError());
	source._guard->KeepError(count.TakeError());
	return -1;
}

/// Whether the header may go on.
Bool HasFewSegments(const jpeg_decompress_struct& library)
{
	Int left = SEGMENT_LIMIT;
	for (const jpeg_marker_struct* marker = library.marker_list; marker != nullptr && left > 0; marker = marker->next)
		--left;
	return left > 0;
}

void InitSource(jpeg_decompress_struct* library)
{
	SourceOf(library)._isAtStart = true;
}

/// Gives the library's next bytes. Behind the end of the stream there are end marks, so that a file that was cut off gives its picture as
/// far as it goes.
boolean FillInputBuffer(jpeg_decompress_struct* library)
{
	static const JOCTET END[] = {0xFF, JPEG_EOI};
	JpgSource& source = SourceOf(library);
	if (!HasFewSegments(*library))
	{
		source._guard->KeepError(JpgGuard::MakeError("There are too many segments"));
		return FALSE;
	}
	const Int count = TryReadBuffer(source);
	if (count < 0)
		return FALSE;
	if (count == 0 && source._isAtStart)
		ERREXIT(library, JERR_INPUT_EMPTY);
	if (count == 0)
		WARNMS(library, JWRN_JPEG_EOF);
	source._manager.next_input_byte = count > 0 ? source._buffer : END;
	source._manager.bytes_in_buffer = count > 0 ? static_cast<std::size_t>(count) : sizeof(END);
	source._isAtStart = false;
	return TRUE;
}

void SkipInputData(jpeg_decompress_struct* library, long count)
{
	if (count < 1)
		return;
	jpeg_source_mgr& manager = SourceOf(library)._manager;
	std::size_t left = static_cast<std::size_t>(count);
	while (left > manager.bytes_in_buffer)
	{
		left -= manager.bytes_in_buffer;
		manager.bytes_in_buffer = 0;
		if (!FillInputBuffer(library))
			return;
	}
	manager.next_input_byte += left;
	manager.bytes_in_buffer -= left;
}

} // namespace

JpgDecoder::JpgDecoder(BinaryReader& reader, Int position) noexcept
{
	_source._reader = &reader;
	_source._guard = &_guard;
	_source._position = position;
	_source._manager.init_source = &InitSource;
	_source._manager.fill_input_buffer = &FillInputBuffer;
	_source._manager.skip_input_data = &SkipInputData;
	_source._manager.resync_to_restart = &jpeg_resync_to_restart;
	_source._manager.term_source = [](j_decompress_ptr) {};
	_guard.Attach(*reinterpret_cast<jpeg_common_struct*>(&_library));
}

JpgDecoder::~JpgDecoder()
{
	jpeg_destroy_decompress(&_library);
}

Result<void> JpgDecoder::ReadHeader()
{
	constexpr unsigned WHOLE_SEGMENT = 0xFFFF;
	int outcome = JPEG_SUSPENDED;
	TORVI_TRY(_guard.Run(
		[&]()
		{
			jpeg_create_decompress(&_library);
			auto* common = reinterpret_cast<jpeg_common_struct*>(&_library);
			_source._buffer = static_cast<Byte*>(_library.mem->alloc_small(common, JPOOL_PERMANENT, BUFFER_SIZE));
			_library.src = &_source._manager;
			jpeg_save_markers(&_library, JPEG_APP0 + 1, WHOLE_SEGMENT);
			jpeg_save_markers(&_library, JPEG_APP0 + 2, WHOLE_SEGMENT);
			outcome = jpeg_read_header(&_library, FALSE);
		}));
	TORVI_CHECK(outcome != JPEG_SUSPENDED, IllegalStateError("The header of a JPEG picture was not read to its end."));
	return OK;
}

/// The bytes of the stream that the library has not seen; the largest Int where the length is not known.
Int JpgDecoder::GetBytesLeft() const
{
	const BinaryReader& reader = *_source._reader;
	const Int left = reader.GetRemaining();
	if (left == INT64_MAX)
		return left;
	return reader.GetPosition() + left - GetPosition();
}

Result<void> JpgDecoder::Start()
{
	const std::optional<Int> bytes = ImageBytes(_library.image_width, _library.image_height, 8 * _library.num_components);
	const CompressionBound bound = _library.arith_code ? CompressionBound::UNBOUNDED : CompressionBound::HUFFMANJPEG;
	TORVI_CHECK(bytes && CanHoldPicture(*bytes, GetBytesLeft(), bound), JpgGuard::MakeError("Premature end of input file"));
	boolean isStarted = FALSE;
	TORVI_TRY(_guard.Run(
		[&]()
		{
			_library.mem->max_memory_to_use = COEFFICIENT_MEMORY;
			_library.buffered_image = jpeg_has_multiple_scans(&_library);
			isStarted = jpeg_start_decompress(&_library);
		}));
	TORVI_CHECK(isStarted, IllegalStateError("The decoding of a JPEG picture did not start."));
	return OK;
}

/// Takes a few rows of blocks in. True when all scans are there.
Result<Bool> JpgDecoder::ReadScanPart()
{
	if (!_library.buffered_image)
		return true;
	int outcome = JPEG_ROW_COMPLETED;
	TORVI_TRY(_guard.Run(
		[&]()
		{
			for (int i = 0; i < SCAN_STEP && outcome == JPEG_ROW_COMPLETED; ++i)
				outcome = jpeg_consume_input(&_library);
		}));
	TORVI_CHECK(outcome != JPEG_SUSPENDED, IllegalStateError("The scans of a JPEG picture were not read to their end."));
	_scanCount += outcome == JPEG_REACHED_SOS ? 1 : 0;
	TORVI_CHECK(_scanCount <= SCAN_LIMIT, JpgGuard::MakeError("There are too many scans"));
	return outcome == JPEG_REACHED_EOI;
}

/// Rows of a progressive picture come from what its last scan has left.
Result<void> JpgDecoder::StartOutput()
{
	if (!_library.buffered_image)
		return OK;
	boolean isStarted = FALSE;
	TORVI_TRY(_guard.Run([&]() { isStarted = jpeg_start_output(&_library, _library.input_scan_number); }));
	TORVI_CHECK(isStarted, IllegalStateError("The output of a JPEG picture did not start."));
	return OK;
}

Result<Int> JpgDecoder::ReadRows(Block<Byte*> rows)
{
	JDIMENSION count = 0;
	TORVI_TRY(_guard.Run([&]() { count = jpeg_read_scanlines(&_library, rows.data(), static_cast<JDIMENSION>(rows.size())); }));
	TORVI_CHECK(count > 0, IllegalStateError("A JPEG picture gave no row."));
	return static_cast<Int>(count);
}

Result<void> JpgDecoder::Finish()
{
	boolean isFinished = FALSE;
	TORVI_TRY(_guard.Run(
		[&]() { isFinished = (!_library.buffered_image || jpeg_finish_output(&_library)) && jpeg_finish_decompress(&_library); }));
	TORVI_CHECK(isFinished, IllegalStateError("The data of a JPEG picture was not read to its end."));
	return OK;
}

Array<JpgMarker> JpgDecoder::GetMarkers() const
{
	Array<JpgMarker> markers;
	for (const jpeg_marker_struct* marker = _library.marker_list; marker != nullptr; marker = marker->next)
		markers.push_back({marker->marker, {marker->data, marker->data_length}});
	return markers;
}

Result<Array<Byte>> JpgDecoder::ReadProfile()
{
	JOCTET* bytes = nullptr;
	unsigned size = 0;
	TORVI_TRY(_guard.Run([&]() { jpeg_read_icc_profile(&_library, &bytes, &size); }));
	const std::unique_ptr<JOCTET, void (*)(void*)> owner(bytes, &std::free);
	return NoThrow([&]() -> Result<Array<Byte>> { return Array<Byte>(bytes, bytes + size); });
}

} // namespace torvi
