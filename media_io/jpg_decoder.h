// Decoding of one JPEG picture with libjpeg, from a reader that other decoders may use too.
#pragma once

#include "host/binaryreader.h"
#include "media_io/jpg_guard.h"

namespace torvi
{

/// What a host stream is for the library.
struct JpgSource
{
	jpeg_source_mgr _manager = {}; ///< the first member: the library hands out its address
	BinaryReader* _reader = nullptr;
	JpgGuard* _guard = nullptr;
	Byte* _buffer = nullptr; ///< the library's memory
	Int _position = 0;       ///< in the stream, of the byte behind the buffer
	Bool _isAtStart = true;  ///< nothing was read yet
};

/// A saved marker segment: its code, and its data without the length.
struct JpgMarker
{
	int _code;
	Block<const Byte> _data;
};

/// The order of calls is ReadHeader, Start, ReadScans, then ReadRows until there are no more, and Finish. After an error there is only the
/// destructor. Memory of a picture is the library's own.
class JpgDecoder
{
public:
	/// Decodes the picture at a position of the reader, which must live longer. The reader is moved to where this decoder goes on whenever
	/// it stands elsewhere, so that several decoders can take turns.
	JpgDecoder(BinaryReader& reader, Int position) noexcept;
	JpgDecoder(const JpgDecoder&) = delete;
	JpgDecoder& operator=(const JpgDecoder&) = delete;
	~JpgDecoder();

	/// Reads up to the first scan. Application segments 1 and 2 are saved.
	Result<void> ReadHeader();
	/// Fixes the output and makes the decoder's buffers, but decodes nothing. An error for a picture that the rest of the stream cannot
	/// hold.
	Result<void> Start();
	/// Decodes all scans of a progressive picture; nothing to do for others. `checkBreak` is called now and then, its error ends it.
	template <class CheckBreak>
	Result<void> ReadScans(const CheckBreak& checkBreak)
	{
		while (!TORVI_TRY(ReadScanPart()))
			TORVI_TRY(checkBreak());
		return StartOutput();
	}
	/// Decodes one row or more, as many as there are pointers at most, and gives their number.
	Result<Int> ReadRows(Block<Byte*> rows);
	/// Reads up to the end of the picture's data.
	Result<void> Finish();

	/// What the header says, and after Start the output. `GetWidth` and so on are those of the rows.
	const jpeg_decompress_struct& GetLibrary() const noexcept { return _library; }
	/// In the stream, of what comes behind the part that was taken in.
	Int GetPosition() const noexcept { return _source._position - static_cast<Int>(_source._manager.bytes_in_buffer); }
	Int GetWidth() const noexcept { return _library.output_width; }
	Int GetHeight() const noexcept { return _library.output_height; }
	Int GetBytesPerPixel() const noexcept { return _library.output_components; }
	/// The segments that were saved, in the order of the file; their data lives as long as this.
	Array<JpgMarker> GetMarkers() const;
	/// The ICC profile, joined from its segments; empty if there is none, or if segments are missing.
	Result<Array<Byte>> ReadProfile();

private:
	Result<Bool> ReadScanPart();
	Result<void> StartOutput();
	Int GetBytesLeft() const;

	JpgGuard _guard;
	JpgSource _source;
	jpeg_decompress_struct _library = {};
	Int _scanCount = 1;
};

} // namespace torvi
