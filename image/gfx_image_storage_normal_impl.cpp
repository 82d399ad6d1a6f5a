// The normal pixel storage: one block of packed lines, top line first. Lines are converted by one call of a conversion function; only runs
// of pixels below a byte that start or end inside one take a detour over a scratch run.
#include "image/bit_run.h"
#include "image/gfx_image_storage_base.h"
#include "image/pixel_memory.h"
#include "image/registration.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int SCRATCH_BYTES = 512;

/// The pixels that go through the scratch run at a time: a multiple of eight, so that every distance in bits is one in whole bytes.
constexpr Int ScratchPixels(BITS bitsPerPixel)
{
	return SCRATCH_BYTES / bitsPerPixel * 8;
}

/// The buffer `count` pixels further, where count is a multiple of eight.
PixelBuffer Advance(const PixelBuffer& buffer, Int count)
{
	return PixelBuffer(buffer._pixel + buffer._stride * count / 8, buffer._stride);
}

class NormalStorageImpl final : public PixelStorageBase
{
public:
	Result<void> Init(Int width, Int height, const PixelFormat& pixelFormat, Block<const Byte> defaultColor) override;
	Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
												  const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
												  GETPIXELHANDLERFLAGS flags) override;
	Result<SetPixelHandlerStruct> SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
												  const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
												  SETPIXELHANDLERFLAGS flags, const RegionChangedDelegate& regionChanged) override;
	Result<void> GetComponent(Int channel, const ImagePos& pos, Byte* destination, Int pixelStride) const override;
	Result<void> SetComponent(Int channel, const ImagePos& pos, const Byte* source, Int pixelStride) override;
	Result<void> DescribeIO(DataSerialize& serializer) override;
	Bool IsEqual(const ObjectInterface& other) const override;
	UInt64 GetHashCodeImpl() const override;
	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

	Result<void> ReadLine(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& destination, UInt32 flags) const;
	Result<void> WriteLine(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& source);

private:
	/// Where the bytes of a channel lie in a pixel.
	struct Component
	{
		Int _start = 0;
		Int _size = 0;
		Int _bytesPerPixel = 0;
	};

	Result<void> Resize(Int width, Int height, const PixelFormat& pixelFormat);
	Result<void> ReadBits(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& destination, UInt32 flags) const;
	Result<void> WriteBits(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& source);
	Result<Component> FindComponent(Int channel, const ImagePos& pos) const;
	Int LineOffset(Int y) const noexcept { return y * _shape._bytesPerLine; }

	PixelMemory _data;
};

/// What a line handler works on. It keeps the storage alive and is no owner of it.
class LineContext final : public ObjectInterface
{
public:
	LineContext(Ref<NormalStorageImpl> storage, const ConvertPixelFunc& convert) : _storage(std::move(storage)), _convert(convert) {}

	Result<void> Read(const ImagePos& pos, const PixelBuffer& destination, UInt32 flags) const
	{
		return _storage->ReadLine(_convert, pos, destination, flags);
	}
	Result<void> Write(const ImagePos& pos, const PixelBuffer& source) const { return _storage->WriteLine(_convert, pos, source); }

private:
	Ref<NormalStorageImpl> _storage;
	ConvertPixelFunc _convert;
};

/// The bytes of a picture; out-of-memory error for more than an Int counts.
Result<Int> ImageBytes(const PixelStorageShape& shape)
{
	Int bytes = 0;
	TORVI_CHECK(!__builtin_mul_overflow(shape._bytesPerLine, shape._height, &bytes), OutOfMemoryError());
	return bytes;
}

Result<void> NormalStorageImpl::Init(Int width, Int height, const PixelFormat& pixelFormat, Block<const Byte>)
{
	Result<void> result = Resize(width, height, pixelFormat);
	if (!result.IsOk())
	{
		_shape = {};
		_data = {};
	}
	return result;
}

Result<void> NormalStorageImpl::Resize(Int width, Int height, const PixelFormat& pixelFormat)
{
	PixelStorageShape shape = TORVI_TRY(PixelStorageShape::Make(width, height, pixelFormat));
	TORVI_TRY(_data.Resize(TORVI_TRY(ImageBytes(shape))));
	_shape = std::move(shape);
	return OK;
}

Result<GetPixelHandlerStruct> NormalStorageImpl::GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
																 const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
																 GETPIXELHANDLERFLAGS flags)
{
	GetPixelHandlerStruct record;
	record._dstColorProfile = dstColorProfile;
	const ConvertPixelFunc convert = TORVI_TRY(
		FindReadConversion(_shape._channelOffsets, dstFormat, dstChannelOffsets, srcColorProfile, record._dstColorProfile, flags));
	Ref<LineContext> context = TORVI_TRY(NewObject<LineContext>(Ref<NormalStorageImpl>(this), convert));
	record._getLine = [context = std::move(context)](const ImagePos& pos, const PixelBuffer& destination, UInt32 lineFlags)
	{ return context->Read(pos, destination, lineFlags); };
	BindFree(record);
	return record;
}

Result<SetPixelHandlerStruct> NormalStorageImpl::SetPixelHandler(const PixelFormat& srcFormat, const ChannelOffsets& srcChannelOffsets,
																 const ColorProfile& srcColorProfile, const ColorProfile& dstColorProfile,
																 SETPIXELHANDLERFLAGS flags, const RegionChangedDelegate& regionChanged)
{
	const ConvertPixelFunc convert =
		TORVI_TRY(FindWriteConversion(_shape._channelOffsets, srcFormat, srcChannelOffsets, srcColorProfile, dstColorProfile, flags));
	Ref<LineContext> context = TORVI_TRY(NewObject<LineContext>(Ref<NormalStorageImpl>(this), convert));
	SetPixelHandlerStruct record;
	TORVI_TRY(BindFree(record, regionChanged));
	record._setLine = [context = std::move(context)](const ImagePos& pos, const PixelBuffer& source, UInt32)
	{ return context->Write(pos, source); };
	return record;
}

Result<void> NormalStorageImpl::ReadLine(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& destination,
										 UInt32 flags) const
{
	TORVI_TRY(_shape.CheckRun(pos));
	if (pos._count <= 0)
		return OK;
	const BITS start = pos._x * _shape._bitsPerPixel;
	if (!IsOnByte(start)) [[unlikely]]
		return ReadBits(convert, pos, destination, flags);
	return convert(destination, pos._count, PixelBuffer(_data.GetBytes() + LineOffset(pos._y) + start / 8, _shape._bitsPerPixel), flags);
}

Result<void> NormalStorageImpl::WriteLine(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& source)
{
	TORVI_TRY(_shape.CheckRun(pos));
	if (pos._count <= 0)
		return OK;
	const BITS start = pos._x * _shape._bitsPerPixel;
	if (!IsOnByte(start | pos._count * _shape._bitsPerPixel)) [[unlikely]]
		return WriteBits(convert, pos, source);
	return convert(PixelBuffer(_data.GetBytes() + LineOffset(pos._y) + start / 8, _shape._bitsPerPixel), pos._count, source, 0);
}

Result<void> NormalStorageImpl::ReadBits(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& destination,
										 UInt32 flags) const
{
	const BITS bits = _shape._bitsPerPixel;
	const Byte* line = _data.GetBytes() + LineOffset(pos._y);
	for (Int done = 0; done < pos._count; done += ScratchPixels(bits))
	{
		Byte scratch[SCRATCH_BYTES] = {};
		const Int count = std::min(ScratchPixels(bits), pos._count - done);
		CopyBits(scratch, 0, line, (pos._x + done) * bits, count * bits);
		TORVI_TRY(convert(Advance(destination, done), count, PixelBuffer(static_cast<const Byte*>(scratch), bits), flags));
	}
	return OK;
}

Result<void> NormalStorageImpl::WriteBits(const ConvertPixelFunc& convert, const ImagePos& pos, const PixelBuffer& source)
{
	const BITS bits = _shape._bitsPerPixel;
	Byte* line = _data.GetBytes() + LineOffset(pos._y);
	for (Int done = 0; done < pos._count; done += ScratchPixels(bits))
	{
		Byte scratch[SCRATCH_BYTES] = {};
		const Int count = std::min(ScratchPixels(bits), pos._count - done);
		TORVI_TRY(convert(PixelBuffer(static_cast<Byte*>(scratch), bits), count, Advance(source, done), 0));
		CopyBits(line, (pos._x + done) * bits, scratch, 0, count * bits);
	}
	return OK;
}

/// A component of size 0 means that there is nothing to copy.
Result<NormalStorageImpl::Component> NormalStorageImpl::FindComponent(Int channel, const ImagePos& pos) const
{
	TORVI_CHECK(channel >= 0 && channel < _shape._channels,
				IllegalArgumentError("Channel @ does not exist, the pixels have @ channels.", channel, _shape._channels));
	if (pos._count < 1)
		return Component();
	TORVI_TRY(_shape.CheckRun(pos));
	const BITS start = _shape._channelOffsets[static_cast<std::size_t>(channel)];
	const BITS end = _shape._channelOffsets[static_cast<std::size_t>(channel) + 1];
	TORVI_CHECK(IsOnByte(start | _shape._bitsPerPixel),
				FunctionNotImplementedError("The channels of pixel format @ do not lie on bytes.", _shape._pixelFormat));
	return Component{start / 8, BytesOf(end - start), _shape._bitsPerPixel / 8};
}

Result<void> NormalStorageImpl::GetComponent(Int channel, const ImagePos& pos, Byte* destination, Int pixelStride) const
{
	const Component component = TORVI_TRY(FindComponent(channel, pos));
	if (component._size == 0)
		return OK;
	const Byte* pixel = _data.GetBytes() + LineOffset(pos._y) + pos._x * component._bytesPerPixel + component._start;
	for (Int i = 0; i < pos._count; ++i)
		std::memcpy(destination + i * pixelStride, pixel + i * component._bytesPerPixel, static_cast<std::size_t>(component._size));
	return OK;
}

Result<void> NormalStorageImpl::SetComponent(Int channel, const ImagePos& pos, const Byte* source, Int pixelStride)
{
	const Component component = TORVI_TRY(FindComponent(channel, pos));
	if (component._size == 0)
		return OK;
	Byte* pixel = _data.GetBytes() + LineOffset(pos._y) + pos._x * component._bytesPerPixel + component._start;
	for (Int i = 0; i < pos._count; ++i)
		std::memcpy(pixel + i * component._bytesPerPixel, source + i * pixelStride, static_cast<std::size_t>(component._size));
	return OK;
}

/// The pixels pass through an array, which is what the stored form holds.
Result<void> NormalStorageImpl::DescribeIO(DataSerialize& serializer)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			PixelStorageShape shape = _shape;
			TORVI_TRY(shape.DescribeIO(serializer));
			const Block<const Byte> block = _data.GetBlock();
			Array<Byte> bytes;
			if (!serializer.IsReading())
				bytes.assign(block.begin(), block.end());
			TORVI_TRY(serializer.DescribeElement("_data", bytes));
			if (!serializer.IsReading())
				return OK;
			const Int wanted = TORVI_TRY(ImageBytes(shape));
			TORVI_CHECK(CountOf(bytes) == wanted, IllegalStateError("A stored image has @ bytes in place of @.", bytes.size(), wanted));
			PixelMemory data;
			TORVI_TRY(data.Resize(wanted));
			if (wanted > 0)
				std::memcpy(data.GetBytes(), bytes.data(), bytes.size());
			_data = std::move(data);
			_shape = std::move(shape);
			return OK;
		});
}

Bool NormalStorageImpl::IsEqual(const ObjectInterface& other) const
{
	const auto* storage = dynamic_cast<const NormalStorageImpl*>(&other);
	return storage != nullptr && _shape.IsEqual(storage->_shape) && std::ranges::equal(_data.GetBlock(), storage->_data.GetBlock());
}

UInt64 NormalStorageImpl::GetHashCodeImpl() const
{
	const Block<const Byte> bytes = _data.GetBlock();
	return CombineHash(_shape.GetHashCode(), HashText(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

} // namespace

Result<void> RegisterNormalStorage(Module& module)
{
	return module.AddToRegistry(ids::REGISTRY_IMAGEPIXELSTORAGECLASSES,
								TORVI_TRY(module.AddClass<NormalStorageImpl>(ids::IMAGEPIXELSTORAGECLASS_NORMAL)));
}

} // namespace torvi
