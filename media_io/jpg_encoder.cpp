// The encoder and its destination manager.
#include "media_io/jpg_encoder.h"

#include "host/debuglog.h"

#include <jerror.h>

namespace torvi
{

namespace
{

constexpr Int BUFFER_SIZE = 4096;

static_assert(std::is_standard_layout_v<JpgDestination>);

JpgDestination& DestinationOf(jpeg_compress_struct* library)
{
	return *reinterpret_cast<JpgDestination*>(library->dest);
}

void InitDestination(jpeg_compress_struct* library)
{
	JpgDestination& destination = DestinationOf(library);
	auto* common = reinterpret_cast<jpeg_common_struct*>(library);
	destination._buffer = static_cast<Byte*>(library->mem->alloc_small(common, JPOOL_IMAGE, BUFFER_SIZE));
	destination._manager.next_output_byte = destination._buffer;
	destination._manager.free_in_buffer = BUFFER_SIZE;
}

/// For callers that may be jumped over: the guard keeps the error.
Bool TryWrite(const JpgDestination& destination, Int count)
{
	Result<void> written = destination._writer->WriteBlock(Block<const Byte>(destination._buffer, static_cast<std::size_t>(count)));
	if (written.IsOk())
		return true;
	DebugLog("error writing file @", written.GetError());
	destination._guard->KeepCause(written.TakeError());
	return false;
}

/// The whole buffer is full, whatever the library says of it.
boolean EmptyOutputBuffer(jpeg_compress_struct* library)
{
	JpgDestination& destination = DestinationOf(library);
	if (!TryWrite(destination, BUFFER_SIZE))
		ERREXIT(library, JERR_FILE_WRITE);
	destination._manager.next_output_byte = destination._buffer;
	destination._manager.free_in_buffer = BUFFER_SIZE;
	return TRUE;
}

void TermDestination(jpeg_compress_struct* library)
{
	const JpgDestination& destination = DestinationOf(library);
	const Int count = BUFFER_SIZE - static_cast<Int>(destination._manager.free_in_buffer);
	if (count > 0 && !TryWrite(destination, count))
		ERREXIT(library, JERR_FILE_WRITE);
}

} // namespace

JpgEncoder::JpgEncoder(BinaryWriter& writer) noexcept
{
	_destination._writer = &writer;
	_destination._guard = &_guard;
	_destination._manager.init_destination = &InitDestination;
	_destination._manager.empty_output_buffer = &EmptyOutputBuffer;
	_destination._manager.term_destination = &TermDestination;
	_guard.Attach(*reinterpret_cast<jpeg_common_struct*>(&_library));
}

JpgEncoder::~JpgEncoder()
{
	jpeg_destroy_compress(&_library);
}

Result<void> JpgEncoder::Start(const JpgEncoderSettings& settings, Block<const Byte> profile)
{
	constexpr UINT8 PER_INCH = 1;
	return _guard.Run(
		[&]()
		{
			jpeg_create_compress(&_library);
			_library.dest = &_destination._manager;
			_library.image_width = static_cast<JDIMENSION>(settings._width);
			_library.image_height = static_cast<JDIMENSION>(settings._height);
			_library.input_components = settings._isGrey ? 1 : 3;
			_library.in_color_space = settings._isGrey ? JCS_GRAYSCALE : JCS_RGB;
			jpeg_set_defaults(&_library);
			_library.density_unit = PER_INCH;
			_library.X_density = _library.Y_density = settings._dpi;
			jpeg_set_quality(&_library, settings._quality, settings._isBaseline);
			_library.dct_method = JDCT_FLOAT;
			jpeg_start_compress(&_library, TRUE);
			if (!profile.empty())
				jpeg_write_icc_profile(&_library, profile.data(), static_cast<unsigned>(profile.size()));
		});
}

Result<void> JpgEncoder::WriteRows(Block<Byte*> rows)
{
	return _guard.Run([&]() { jpeg_write_scanlines(&_library, rows.data(), static_cast<JDIMENSION>(rows.size())); });
}

Result<void> JpgEncoder::Finish()
{
	return _guard.Run([&]() { jpeg_finish_compress(&_library); });
}

} // namespace torvi
