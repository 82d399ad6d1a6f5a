// The one adapter to libpng: the library's structs with the host's allocator, streams and errors. The library leaves a failed call by
// longjmp; every call that can fail goes through Enter, where the jump lands and becomes a Result.
#pragma once

#include "host/binaryreader.h"
#include "torvi/mediasession_errors.h"

#include <csetjmp>
#include <png.h>

namespace torvi
{

/// What reader and writer share. After a failed call only Close and the destructor may follow.
class PngLibrary
{
public:
	PngLibrary(const PngLibrary&) = delete;
	PngLibrary& operator=(const PngLibrary&) = delete;

	/// Lets the library take interlaced pictures apart or put them together. Gives the number of passes: 1, or 7 for an interlaced one.
	Result<int> SetInterlaceHandling() noexcept;

protected:
	/// `namelessFailure` is the id of the error for a jump that came without one.
	explicit PngLibrary(const Id& namelessFailure) noexcept : _namelessFailure(namelessFailure) {}
	~PngLibrary() = default;

	/// Takes over a struct that the library made, with the callbacks below, and makes the rest; out-of-memory error if anything is missing.
	Result<void> Init(png_structp png) noexcept;
	/// Forgets the structs, which are destroyed already.
	void Drop() noexcept;
	/// Runs calls of the library, which may leave `calls` by longjmp: no object with a destructor may live in it. A failure is
	/// MediaSessionWrongTypeError "PNG Error: @" with the library's text, and has what went wrong beneath the library as its cause.
	template <class Calls>
	Result<void> Enter(const Calls& calls) noexcept
	{
		static_assert(std::is_trivially_destructible_v<Calls>);
		return Run([](const void* closure) { (*static_cast<const Calls*>(closure))(); }, &calls);
	}
	/// Keeps the error of a stream as the cause of what the library will make of it. True if there is none.
	Bool Keep(Result<void> result) noexcept;

	static void OnWarning(png_structp, png_const_charp) {}
	static png_voidp OnAlloc(png_structp png, png_alloc_size_t size);
	static void OnFree(png_structp png, png_voidp memory);

	png_structp _png = nullptr;
	png_infop _info = nullptr;
	png_infop _endInfo = nullptr;

private:
	static void OnError(png_structp png, png_const_charp message);
	void TakeMessage(png_const_charp message) noexcept;
	Result<void> Run(void (*calls)(const void* closure), const void* closure) noexcept;

	Id _namelessFailure;
	jmp_buf* _jumpBuffer = nullptr; ///< belongs to the library's struct
	Error _error;                   ///< of the library, on its way to Run
	Error _cause;                   ///< what went wrong beneath the library
	Bool _isOutOfMemory = false;
};

/// What the chunks in front of the picture say. Blocks are memory of the library and live until Close of the reader.
struct PngHeader
{
	png_uint_32 _width = 0;
	png_uint_32 _height = 0;
	int _depth = 0;                           ///< bits of a sample
	int _colorType = 0;                       ///< PNG_COLOR_TYPE_...
	Bool _hasTransparency = false;            ///< whether one of the next two counts
	Block<const Byte> _paletteAlpha;          ///< of the first entries of the palette
	png_color_16 _transparentColor = {};      ///< of pictures without palette, in samples of the file
	Block<const png_color> _palette;          ///< of pictures with palette
	Block<const Byte> _colorProfile;          ///< ICC data; empty for none
	png_uint_32 _horizontalPixelsPerInch = 0; ///< 0 if unknown
	png_uint_32 _verticalPixelsPerInch = 0;
};

/// Reads one PNG file. Rows have the samples of the file, below 8 bits packed, with 16 bits in little-endian order.
class PngReader final : public PngLibrary
{
public:
	PngReader() noexcept : PngLibrary(errorids::ILLEGALSTATE) {}
	~PngReader() { Close(); }

	/// Starts a file at the place where `stream` stands, which must live until Close. Drops an earlier file.
	Result<void> Open(BinaryReader& stream) noexcept;
	/// Reads what stands behind the picture if all rows were read, whatever is wrong with it; then drops everything.
	void Close() noexcept;

	/// Everything in front of the picture. MediaSessionWrongTypeError "png_get_tRNS error.", "png_get_PLTE error.".
	Result<PngHeader> ReadHeader() noexcept;
	Result<Int> GetBytesPerRow() noexcept;
	/// Memory of the library for more rows, until FreeRows or Close.
	Result<void> AddRows(Int count, Int bytes);
	/// The rows that were added.
	Block<png_byte* const> GetRows() const noexcept { return _rows; }
	/// Reads the next row of a picture of one pass into the first added row.
	Result<void> ReadRow() noexcept;
	/// Reads a whole picture of any number of passes into the added rows, one for each of its rows.
	Result<void> ReadImage() noexcept;
	void FreeRows() noexcept;
	/// Tells that all rows were read.
	void EndRows() noexcept { _areRowsRead = true; }

private:
	static void OnRead(png_structp png, png_bytep bytes, std::size_t count);
	Bool ReadBytes(Block<Byte> bytes) noexcept;
	Result<void> ReadShape(PngHeader& header) noexcept;
	Result<void> ReadTransparency(PngHeader& header) noexcept;
	Result<void> ReadPalette(PngHeader& header) noexcept;
	Result<void> ReadProfileAndResolution(PngHeader& header) noexcept;

	BinaryReader* _stream = nullptr;
	Array<png_byte*> _rowBlocks; ///< the library's memory
	Array<png_byte*> _rows;      ///< in the blocks
	Bool _areRowsRead = false;
};

/// What a file is to hold.
struct PngShape
{
	Int _width;
	Int _height;
	int _depth;     ///< 8 or 16
	int _colorType; ///< PNG_COLOR_TYPE_..., none with palette
	Bool _isInterlaced;
};

/// Writes one PNG file: first its header is set, without a stream, then written, then each row once for each pass.
class PngWriter final : public PngLibrary
{
public:
	PngWriter() noexcept : PngLibrary(errorids::MEDIASESSIONWRONGTYPE) {}
	~PngWriter() { Close(); }

	/// Starts a file and drops an earlier one.
	Result<void> Open() noexcept;
	void Close() noexcept;

	Result<void> SetShape(const PngShape& shape) noexcept;
	/// `name` is one of MakePngProfileName.
	Result<void> SetColorProfile(CString name, Block<const Byte> profile) noexcept;
	Result<void> SetPixelsPerMetre(png_uint_32 horizontal, png_uint_32 vertical) noexcept;
	/// Writes everything in front of the picture. The stream must live until Close.
	Result<void> WriteHeader(BinaryWriter& stream) noexcept;
	/// Samples of 16 bits are little-endian.
	Result<void> WriteRow(const Byte* row) noexcept;
	Result<void> WriteEnd() noexcept;

private:
	static void OnWrite(png_structp png, png_bytep bytes, std::size_t count);
	Bool WriteBytes(Block<const Byte> bytes) noexcept;
	static void OnFlush(png_structp) {} // without one the library takes the stream for a FILE

	BinaryWriter* _stream = nullptr;
};

/// A UTF-8 text as the name of a profile in a PNG file: 1 to 79 printable characters of Latin-1, without blanks at its ends. Others are
/// left out; "ICC Profile" if nothing is left.
String MakePngProfileName(std::string_view text);

} // namespace torvi
