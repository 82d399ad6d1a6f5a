// The bridge to libpng. See its manual, libpng-manual.txt, for the order of calls.
#include "media_io/png_library.h"

#include "host/job.h"

namespace torvi
{

namespace
{

/// The library makes the jump buffer when it is asked for this size, and refuses another one later.
constexpr std::size_t JUMP_BUFFER_SIZE = std::max<std::size_t>(256, sizeof(jmp_buf));

/// Where longjmp lands. There are plain C types alone between here and the library. False after a jump.
[[gnu::noinline]] Bool CallProtected(jmp_buf* buffer, void (*calls)(const void* closure), const void* closure)
{
	if (setjmp(*buffer) != 0)
		return false;
	calls(closure);
	return true;
}

/// Chunks that nobody asks for. The library would unpack and keep them, up to gigabytes of text from a few bytes, and let damaged ones
/// stand in the way of the colour profile.
constexpr char SKIPPED_CHUNKS[] = "bKGD\0cHRM\0eXIf\0gAMA\0hIST\0iTXt\0oFFs\0pCAL\0sBIT\0sCAL\0sPLT\0sRGB\0tEXt\0tIME\0zTXt";
constexpr int SKIPPED_CHUNK_COUNT = sizeof(SKIPPED_CHUNKS) / 5;

} // namespace

Result<void> PngLibrary::Init(png_structp png) noexcept
{
	TORVI_CHECK(png != nullptr, OutOfMemoryError());
	_png = png;
	png_set_error_fn(png, this, &OnError, &OnWarning);
	_info = png_create_info_struct(png);
	_endInfo = png_create_info_struct(png);
	_jumpBuffer = png_set_longjmp_fn(png, &longjmp, JUMP_BUFFER_SIZE);
	TORVI_CHECK(_info != nullptr && _endInfo != nullptr && _jumpBuffer != nullptr, OutOfMemoryError());
	return OK;
}

void PngLibrary::Drop() noexcept
{
	_png = nullptr;
	_info = _endInfo = nullptr;
	_jumpBuffer = nullptr;
	_error = {};
	_cause = {};
	_isOutOfMemory = false;
}

/// A call that went well although memory was missing has left something out, such as the colour profile.
Result<void> PngLibrary::Run(void (*calls)(const void* closure), const void* closure) noexcept
{
	const Bool hasReturned = CallProtected(_jumpBuffer, calls, closure);
	TORVI_CHECK(!_isOutOfMemory, OutOfMemoryError());
	if (hasReturned)
		return OK;
	return _error ? std::move(_error) : Error::Make(_namelessFailure, "", SourceLocation::current());
}

Bool PngLibrary::Keep(Result<void> result) noexcept
{
	_cause = result.TakeError();
	return !_cause;
}

/// Returning to the library would make it print the message before it jumps.
void PngLibrary::OnError(png_structp png, png_const_charp message)
{
	static_cast<PngLibrary*>(png_get_error_ptr(png))->TakeMessage(message);
	png_longjmp(png, 1);
}

/// What ended the work without being the file's fault stays itself.
void PngLibrary::TakeMessage(png_const_charp message) noexcept
{
	const Bool isOfFile = !_cause || (_cause.GetId() != errorids::OUTOFMEMORY && _cause.GetId() != errorids::OPERATIONCANCELLED);
	_error = isOfFile ? MediaSessionWrongTypeError("PNG Error: @", message) : std::move(_cause);
	if (_cause)
		_error.SetCause(std::move(_cause));
}

/// The structs themselves are made before the library knows of its PngLibrary.
png_voidp PngLibrary::OnAlloc(png_structp png, png_alloc_size_t size)
{
	void* memory = Alloc(static_cast<Int>(size));
	if (memory == nullptr && png_get_error_ptr(png) != nullptr)
		static_cast<PngLibrary*>(png_get_error_ptr(png))->_isOutOfMemory = true;
	return memory;
}

void PngLibrary::OnFree(png_structp, png_voidp memory)
{
	Free(memory);
}

Result<int> PngLibrary::SetInterlaceHandling() noexcept
{
	int passes = 0;
	TORVI_TRY(Enter([&]() { passes = png_set_interlace_handling(_png); }));
	return passes;
}

Result<void> PngReader::Open(BinaryReader& stream) noexcept
{
	Close();
	_stream = &stream;
	TORVI_TRY(Init(png_create_read_struct_2(PNG_LIBPNG_VER_STRING, nullptr, nullptr, &OnWarning, nullptr, &OnAlloc, &OnFree)));
	return Enter(
		[this]()
		{
			png_set_read_fn(_png, this, &OnRead);
			png_set_read_status_fn(_png, nullptr);
			png_set_keep_unknown_chunks(_png, PNG_HANDLE_CHUNK_NEVER, reinterpret_cast<png_const_bytep>(SKIPPED_CHUNKS),
										SKIPPED_CHUNK_COUNT);
		});
}

void PngReader::Close() noexcept
{
	if (_areRowsRead)
		(void)Enter([this]() { png_read_end(_png, _endInfo); });
	FreeRows();
	_areRowsRead = false;
	png_destroy_read_struct(&_png, &_info, &_endInfo);
	Drop();
}

void PngReader::FreeRows() noexcept
{
	for (png_byte* block : _rowBlocks)
		png_free(_png, block);
	_rowBlocks = {};
	_rows = {};
}

void PngReader::OnRead(png_structp png, png_bytep bytes, std::size_t count)
{
	if (!static_cast<PngReader*>(png_get_io_ptr(png))->ReadBytes({bytes, count}))
		png_error(png, "Read Error!");
}

/// The library reads whole interlaced pictures in one call: here they can be cancelled.
Bool PngReader::ReadBytes(Block<Byte> bytes) noexcept
{
	return Keep(IsCurrentJobCancelled() ? OperationCancelledError() : _stream->ReadBlock(bytes));
}

Result<PngHeader> PngReader::ReadHeader() noexcept
{
	PngHeader header;
	TORVI_TRY(ReadShape(header));
	TORVI_TRY(ReadTransparency(header));
	if (header._colorType == PNG_COLOR_TYPE_PALETTE)
		TORVI_TRY(ReadPalette(header));
	TORVI_TRY(ReadProfileAndResolution(header));
	return header;
}

Result<void> PngReader::ReadShape(PngHeader& header) noexcept
{
	png_uint_32 result = 0;
	TORVI_TRY(Enter(
		[&]()
		{
			png_read_info(_png, _info);
			png_set_swap(_png);
			result =
				png_get_IHDR(_png, _info, &header._width, &header._height, &header._depth, &header._colorType, nullptr, nullptr, nullptr);
		}));
	TORVI_CHECK(result != 0, MediaSessionWrongTypeError());
	return OK;
}

Result<void> PngReader::ReadTransparency(PngHeader& header) noexcept
{
	png_uint_32 result = PNG_INFO_tRNS;
	png_bytep alphas = nullptr;
	int count = 0;
	png_color_16p color = nullptr;
	TORVI_TRY(Enter(
		[&]()
		{
			header._hasTransparency = png_get_valid(_png, _info, PNG_INFO_tRNS) != 0;
			if (header._hasTransparency)
				result = png_get_tRNS(_png, _info, &alphas, &count, &color);
		}));
	TORVI_CHECK(result == PNG_INFO_tRNS, MediaSessionWrongTypeError("png_get_tRNS error."));
	if (alphas != nullptr)
		header._paletteAlpha = {alphas, static_cast<std::size_t>(count)};
	if (color != nullptr)
		header._transparentColor = *color;
	return OK;
}

Result<void> PngReader::ReadPalette(PngHeader& header) noexcept
{
	png_uint_32 result = 0;
	png_colorp colors = nullptr;
	int count = 0;
	TORVI_TRY(Enter([&]() { result = png_get_PLTE(_png, _info, &colors, &count); }));
	TORVI_CHECK(result == PNG_INFO_PLTE, MediaSessionWrongTypeError("png_get_PLTE error."));
	header._palette = {colors, static_cast<std::size_t>(count)};
	return OK;
}

Result<void> PngReader::ReadProfileAndResolution(PngHeader& header) noexcept
{
	png_charp name = nullptr;
	int compression = 0;
	png_bytep profile = nullptr;
	png_uint_32 size = 0;
	TORVI_TRY(Enter(
		[&]()
		{
			if (png_get_iCCP(_png, _info, &name, &compression, &profile, &size) == 0)
				size = 0;
			header._horizontalPixelsPerInch = png_get_x_pixels_per_inch(_png, _info);
			header._verticalPixelsPerInch = png_get_y_pixels_per_inch(_png, _info);
		}));
	header._colorProfile = {profile, size};
	return OK;
}

Result<Int> PngReader::GetBytesPerRow() noexcept
{
	std::size_t bytes = 0;
	TORVI_TRY(Enter([&]() { bytes = png_get_rowbytes(_png, _info); }));
	return static_cast<Int>(bytes);
}

/// One block for many rows: a large one is fresh memory, which nobody has touched before a row is read.
Result<void> PngReader::AddRows(Int count, Int bytes)
{
	_rowBlocks.push_back(nullptr);
	png_byte*& block = _rowBlocks.back();
	TORVI_TRY(Enter([&]() { block = static_cast<png_byte*>(png_malloc(_png, static_cast<png_alloc_size_t>(count * bytes))); }));
	for (Int i = 0; i < count; ++i)
		_rows.push_back(block + i * bytes);
	return OK;
}

Result<void> PngReader::ReadRow() noexcept
{
	return Enter([this]() { png_read_rows(_png, _rows.data(), nullptr, 1); });
}

Result<void> PngReader::ReadImage() noexcept
{
	return Enter([this]() { png_read_image(_png, _rows.data()); });
}

Result<void> PngWriter::Open() noexcept
{
	Close();
	TORVI_TRY(Init(png_create_write_struct_2(PNG_LIBPNG_VER_STRING, nullptr, nullptr, &OnWarning, nullptr, &OnAlloc, &OnFree)));
	return Enter(
		[this]()
		{
			png_set_write_fn(_png, this, &OnWrite, &OnFlush);
			png_set_write_status_fn(_png, nullptr);
		});
}

void PngWriter::Close() noexcept
{
	png_destroy_info_struct(_png, &_endInfo);
	png_destroy_write_struct(&_png, &_info);
	_stream = nullptr;
	Drop();
}

void PngWriter::OnWrite(png_structp png, png_bytep bytes, std::size_t count)
{
	if (!static_cast<PngWriter*>(png_get_io_ptr(png))->WriteBytes({bytes, count}))
		png_error(png, "Write Error!");
}

Bool PngWriter::WriteBytes(Block<const Byte> bytes) noexcept
{
	return Keep(_stream->WriteBlock(bytes));
}

Result<void> PngWriter::SetShape(const PngShape& shape) noexcept
{
	return Enter(
		[&]()
		{
			png_set_IHDR(_png, _info, static_cast<png_uint_32>(shape._width), static_cast<png_uint_32>(shape._height), shape._depth,
						 shape._colorType, shape._isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE,
						 PNG_FILTER_TYPE_BASE);
		});
}

Result<void> PngWriter::SetColorProfile(CString name, Block<const Byte> profile) noexcept
{
	return Enter([&]()
				 { png_set_iCCP(_png, _info, name, PNG_COMPRESSION_TYPE_BASE, profile.data(), static_cast<png_uint_32>(profile.size())); });
}

Result<void> PngWriter::SetPixelsPerMetre(png_uint_32 horizontal, png_uint_32 vertical) noexcept
{
	return Enter([=, this]() { png_set_pHYs(_png, _info, horizontal, vertical, PNG_RESOLUTION_METER); });
}

Result<void> PngWriter::WriteHeader(BinaryWriter& stream) noexcept
{
	_stream = &stream;
	return Enter(
		[this]()
		{
			png_write_info(_png, _info);
			png_set_swap(_png);
		});
}

Result<void> PngWriter::WriteRow(const Byte* row) noexcept
{
	auto* bytes = const_cast<png_bytep>(row); // only read
	return Enter([&]() { png_write_rows(_png, &bytes, 1); });
}

Result<void> PngWriter::WriteEnd() noexcept
{
	return Enter([this]() { png_write_end(_png, _info); });
}

String MakePngProfileName(std::string_view text)
{
	constexpr std::size_t LONGEST = 79;
	String name;
	for (const char32_t character : ToUtf32(text))
	{
		const Bool isPrintable = (character >= 0x20 && character <= 0x7E) || (character >= 0xA1 && character <= 0xFF);
		const Bool isLeadingBlank = name.empty() && character == ' ';
		if (isPrintable && !isLeadingBlank && name.size() < LONGEST)
			name.push_back(static_cast<char>(character));
	}
	name.erase(name.find_last_not_of(' ') + 1);
	return name.empty() ? MakeString("ICC Profile") : name;
}

} // namespace torvi
