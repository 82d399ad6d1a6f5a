// The zip stream conversions over zlib, which allocates through the host.
#include "host/zipstream.h"

#include "host/module.h"

#include <algorithm>
#include <limits>

#include <zlib.h>

namespace torvi
{

namespace
{

constexpr std::size_t STEP_SIZE = 16384;

voidpf AllocateForZip(voidpf, uInt count, uInt size)
{
	return Alloc(static_cast<Int>(static_cast<UInt64>(count) * size));
}

void FreeForZip(voidpf, voidpf memory)
{
	Free(memory);
}

Error ZipError(int code, const z_stream& zip, SourceLocation location = SourceLocation::current())
{
	if (code == Z_MEM_ERROR)
		return OutOfMemoryError();
	return FileFormatError(ErrorMessage("Zip stream error: @.", location), zip.msg != nullptr ? zip.msg : zError(code));
}

/// What one call of zlib can take of a block.
template <class T>
uInt PieceOf(Block<T> block)
{
	return static_cast<uInt>(std::min<std::size_t>(block.size(), std::numeric_limits<uInt>::max()));
}

/// zlib's record with the host's memory behind it.
z_stream MakeZipStream()
{
	z_stream zip{};
	zip.zalloc = &AllocateForZip;
	zip.zfree = &FreeForZip;
	return zip;
}

class ZipInputStream final : public InputStreamInterface
{
public:
	explicit ZipInputStream(InputStreamRef source) noexcept : _source(std::move(source)) {}
	~ZipInputStream() override
	{
		if (_isReady)
			inflateEnd(&_zip);
	}

	Result<void> Init()
	{
		const int code = inflateInit(&_zip);
		TORVI_CHECK(code == Z_OK, ZipError(code, _zip));
		_isReady = true;
		return OK;
	}

	Int GetPosition() const override { return _position; }
	Result<void> Close() override
	{
		_source = nullptr;
		return OK;
	}
	Result<Int> ReadEOS(Block<Byte> block) override
	{
		TORVI_CHECK(_source, ClosedStreamError());
		Int done = 0;
		while (done < CountOf(block) && !_isAtEnd)
			done += TORVI_TRY(ReadSome(block.subspan(static_cast<std::size_t>(done))));
		return done;
	}

private:
	Result<Int> ReadSome(Block<Byte> block)
	{
		if (_zip.avail_in == 0)
			TORVI_TRY(FillInput());
		_zip.next_out = block.data();
		_zip.avail_out = PieceOf(block);
		const int code = inflate(&_zip, Z_NO_FLUSH);
		// A buffer error is no progress: only an input that has ended leads there.
		TORVI_CHECK(code == Z_OK || code == Z_STREAM_END, ZipError(code == Z_NEED_DICT ? Z_DATA_ERROR : code, _zip));
		_isAtEnd = code == Z_STREAM_END;
		const Int count = PieceOf(block) - _zip.avail_out;
		_position += count;
		return count;
	}

	Result<void> FillInput()
	{
		_zip.avail_in = static_cast<uInt>(TORVI_TRY(_source->ReadEOS(_input)));
		_zip.next_in = _input;
		return OK;
	}

	InputStreamRef _source;
	z_stream _zip = MakeZipStream();
	Int _position = 0;
	Bool _isReady = false;
	Bool _isAtEnd = false;
	Byte _input[STEP_SIZE];
};

class ZipOutputStream final : public OutputStreamInterface
{
public:
	explicit ZipOutputStream(OutputStreamRef target) noexcept : _target(std::move(target)) {}
	~ZipOutputStream() override
	{
		if (_isReady)
			deflateEnd(&_zip);
	}

	Result<void> Init(int level)
	{
		const int code = deflateInit(&_zip, level);
		TORVI_CHECK(code == Z_OK, ZipError(code, _zip));
		_isReady = true;
		return OK;
	}

	Int GetPosition() const override { return _position; }
	Result<void> Write(Block<const Byte> block) override
	{
		TORVI_TRY(CheckState());
		while (!block.empty())
		{
			const uInt piece = PieceOf(block);
			_zip.next_in = const_cast<Byte*>(block.data()); // zlib reads it only
			_zip.avail_in = piece;
			TORVI_TRY(Deflate(Z_NO_FLUSH));
			_position += piece;
			block = block.subspan(piece);
		}
		return OK;
	}
	Result<void> Flush() override
	{
		TORVI_TRY(CheckState());
		TORVI_TRY(Deflate(Z_SYNC_FLUSH));
		return _target->Flush();
	}
	Result<void> Close() override
	{
		if (!_target)
			return OK;
		Result<void> finished = CheckState();
		if (finished.IsOk())
			finished = Deflate(Z_FINISH);
		_target = nullptr;
		return finished;
	}

private:
	/// After a failed write there is a gap, and nothing behind it may look like success.
	Result<void> CheckState() const
	{
		TORVI_CHECK(_target, ClosedStreamError());
		TORVI_CHECK(!_failure, _failure.Share());
		return OK;
	}

	Result<void> Deflate(int flush)
	{
		Result<void> deflated = DeflateAll(flush);
		if (!deflated.IsOk())
			_failure = deflated.GetError().Share();
		return deflated;
	}

	/// Hands on all that zlib has to say; it is done when it leaves room in the output.
	Result<void> DeflateAll(int flush)
	{
		Byte output[STEP_SIZE];
		do
		{
			_zip.next_out = output;
			_zip.avail_out = sizeof(output);
			const int code = deflate(&_zip, flush);
			TORVI_CHECK(code == Z_OK || code == Z_STREAM_END || code == Z_BUF_ERROR, ZipError(code, _zip)); // nothing left to do is fine
			TORVI_TRY(_target->Write(Block<const Byte>(output, sizeof(output) - _zip.avail_out)));
		} while (_zip.avail_out == 0);
		return OK;
	}

	OutputStreamRef _target;
	Error _failure; ///< the first
	z_stream _zip = MakeZipStream();
	Int _position = 0;
	Bool _isReady = false;
};

class ZipDecoderImpl final : public DataDictionaryObjectImpl, public virtual StreamConversionInterface
{
public:
	Result<InputStreamRef> ConnectInput(const InputStreamRef& source) override
	{
		TORVI_CHECK(source, NullptrError("There is no stream to decode."));
		const Ref<ZipInputStream> stream = TORVI_TRY(NewObject<ZipInputStream>(source));
		TORVI_TRY(stream->Init());
		return InputStreamRef(stream);
	}
	Result<OutputStreamRef> ConnectOutput(const OutputStreamRef&) override
	{
		return UnsupportedOperationError("The zip decoder converts what is read.");
	}
};

class ZipEncoderImpl final : public DataDictionaryObjectImpl, public virtual StreamConversionInterface
{
public:
	Result<InputStreamRef> ConnectInput(const InputStreamRef&) override
	{
		return UnsupportedOperationError("The zip encoder converts what is written.");
	}
	Result<OutputStreamRef> ConnectOutput(const OutputStreamRef& target) override
	{
		TORVI_CHECK(target, NullptrError("There is no stream to encode to."));
		const int level = TORVI_TRY(GetLevel());
		const Ref<ZipOutputStream> stream = TORVI_TRY(NewObject<ZipOutputStream>(target));
		TORVI_TRY(stream->Init(level));
		return OutputStreamRef(stream);
	}

private:
	Result<int> GetLevel() const
	{
		const Data* setting = GetDictionary().FindData(ids::STREAMCONVERSION_ZIP_ENCODER_COMPRESSION);
		if (setting == nullptr)
			return Z_DEFAULT_COMPRESSION;
		const Int32 level = TORVI_TRY(setting->ConvertTo<Int32>());
		TORVI_CHECK(level >= 0 && level <= 9, IllegalArgumentError("Zip has no compression level @.", level));
		return level;
	}
};

} // namespace

Result<void> RegisterZipConversions(Module& module)
{
	TORVI_TRY(module.AddClass<ZipDecoderImpl>(ids::STREAMCONVERSION_ZIP_DECODER));
	TORVI_TRY(module.AddClass<ZipEncoderImpl>(ids::STREAMCONVERSION_ZIP_ENCODER));
	return OK;
}

} // namespace torvi
