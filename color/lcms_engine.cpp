// The lcms2 engine. Packed pixels of native formats go through the transform in one call. All others go through it in chunks, by way of
// packed native pixels on the stack: so also pixels with gaps between them, and inks in floats, which lcms2 has in percent. The transform
// leaves alpha out; it is moved apart from the colours.
#include "color/lcms_engine.h"

#include "color/lcms_adapter.h"
#include "color/native_formats.h"
#include "torvi/ids_formats.h"

#include <cstring>

namespace torvi
{

namespace
{

constexpr BITS LARGEST_NATIVE_PIXEL = 4 * 64;
constexpr Int LARGEST_ALPHA = 8;           // bytes
constexpr Int LARGEST_CALL = Int(1) << 24; // pixels; lcms2 counts bytes in 32 bits

/// The source or the destination, as lcms2 sees it.
struct Side
{
	/// Whether lcms2 reads or writes a run itself.
	Bool IsDirect(const PixelBuffer& run) const { return _isNative && !_isInPercent && run._stride == _bits; }

	PixelFormat _native;
	cmsUInt32Number _word = 0;
	BITS _bits = 0;
	Bool _isNative = false;
	Bool _isInPercent = false;
	ConvertPixelFunc _stage; ///< from the source to the native source, or from the native destination to the destination
};

enum class AlphaWay
{
	NONE,
	RUNS,  ///< from the source's run to the destination's
	NATIVE ///< between the native pixels of a chunk
};

struct AlphaMove
{
	AlphaWay _way = AlphaWay::NONE;
	ConvertPixelFunc _convert;
	Bool _isOpaque = false; ///< the source has no alpha
	Int _sourceOffset = 0;  ///< bytes in a pixel
	Int _destinationOffset = 0;
	Int _destinationSize = 0;   ///< bytes of one alpha value
	Bool _staysInPlace = false; ///< the same kind of value at the same place on both sides

	Result<void> Run(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		constexpr static Byte OPAQUE = 255;
		const PixelBuffer from = _isOpaque ? PixelBuffer(&OPAQUE, 0) : PixelBuffer(source._pixel + _sourceOffset, source._stride);
		return _convert(destination, count, from, 0);
	}
	PixelBuffer In(const PixelBuffer& destination) const
	{
		return PixelBuffer(destination._pixel + _destinationOffset, destination._stride);
	}
};

/// Inks are the last four channels.
void ScaleInks(Byte* pixels, BITS bits, Int count, Float32 (*scale)(Float32))
{
	constexpr Int INKS = 4, SIZE = sizeof(Float32);
	for (Int i = 0; i < count; ++i)
	{
		Byte* const inks = pixels + (i + 1) * bits / 8 - INKS * SIZE;
		Float32 values[INKS];
		std::memcpy(values, inks, sizeof(values));
		for (Float32& value : values)
			value = scale(value);
		std::memcpy(inks, values, sizeof(values));
	}
}

class LcmsEngine final : public ObjectInterface
{
public:
	LcmsEngine(IccTransform transform, Side source, Side destination, AlphaMove alpha)
		: _transform(std::move(transform)), _source(std::move(source)), _destination(std::move(destination)), _alpha(std::move(alpha))
	{
	}

	Result<void> Run(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		const Bool isInPlace = source._pixel == destination._pixel;
		const Bool isDirect = _source.IsDirect(source) && _destination.IsDirect(destination);
		if (_alpha._way != AlphaWay::RUNS || (isInPlace && isDirect && _alpha._staysInPlace))
			return RunColours(source, destination, count);
		if (isInPlace)
			return RunInPlace(source, destination, count);
		TORVI_TRY(RunColours(source, destination, count));
		return _alpha.Run(source, _alpha.In(destination), count);
	}

private:
	/// Alpha is taken before the colours of the same pixels are written over it.
	Result<void> RunInPlace(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		Byte alphas[CHUNK_PIXELS * LARGEST_ALPHA];
		const Int size = _alpha._destinationSize;
		return ConvertInChunks(source, destination, count, CHUNK_PIXELS,
							   [&](const PixelBuffer& from, const PixelBuffer& to, Int chunk) -> Result<void>
							   {
								   TORVI_TRY(_alpha.Run(from, PixelBuffer(alphas, 8 * size), chunk));
								   TORVI_TRY(RunColours(from, to, chunk));
								   const PixelBuffer out = _alpha.In(to);
								   for (Int i = 0; i < chunk; ++i)
									   std::memcpy(out._pixel + i * BytesOf(out._stride), alphas + i * size,
												   static_cast<std::size_t>(size));
								   return OK;
							   });
	}

	Result<void> RunColours(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		if (!_source.IsDirect(source) || !_destination.IsDirect(destination))
			return RunStaged(source, destination, count);
		return ConvertInChunks(source, destination, count, LARGEST_CALL,
							   [&](const PixelBuffer& from, const PixelBuffer& to, Int chunk) -> Result<void>
							   {
								   Transform(from._pixel, to._pixel, chunk);
								   return OK;
							   });
	}

	Result<void> RunStaged(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		ChunkBuffer<LARGEST_NATIVE_PIXEL> sourceBuffer, destinationBuffer;
		const PixelBuffer nativeSource(sourceBuffer._bytes, _source._bits);
		const PixelBuffer nativeDestination(destinationBuffer._bytes, _destination._bits);
		const Bool isFromDirect = _source.IsDirect(source), isToDirect = _destination.IsDirect(destination);
		if (!isToDirect) // the transform leaves alpha as it is
			std::memset(destinationBuffer._bytes, 0, static_cast<std::size_t>(std::min(count, CHUNK_PIXELS) * _destination._bits / 8));
		return ConvertInChunks(source, destination, count, CHUNK_PIXELS,
							   [&](const PixelBuffer& from, const PixelBuffer& to, Int chunk) -> Result<void>
							   {
								   const PixelBuffer& in = isFromDirect ? from : nativeSource;
								   const PixelBuffer& out = isToDirect ? to : nativeDestination;
								   if (!isFromDirect)
									   TORVI_TRY(TakeIn(from, in, chunk));
								   Transform(in._pixel, out._pixel, chunk);
								   if (_alpha._way == AlphaWay::NATIVE)
									   TORVI_TRY(_alpha.Run(in, _alpha.In(out), chunk));
								   return isToDirect ? Result<void>(OK) : GiveOut(out, to, chunk);
							   });
	}

	Result<void> TakeIn(const PixelBuffer& from, const PixelBuffer& native, Int count) const
	{
		TORVI_TRY(_source._stage(native, count, from, 0));
		if (_source._isInPercent)
			ScaleInks(native._pixel, _source._bits, count, [](Float32 ink) { return ink * 100.0f; });
		return OK;
	}

	Result<void> GiveOut(const PixelBuffer& native, const PixelBuffer& to, Int count) const
	{
		if (_destination._isInPercent)
			ScaleInks(native._pixel, _destination._bits, count, [](Float32 ink) { return ink / 100.0f; });
		return _destination._stage(to, count, native, 0);
	}

	void Transform(const Byte* from, Byte* to, Int count) const
	{
		cmsDoTransform(_transform.get(), from, to, static_cast<cmsUInt32Number>(count));
	}

	IccTransform _transform;
	Side _source;
	Side _destination;
	AlphaMove _alpha;
};

Result<Side> MakeSide(const PixelFormat& format)
{
	Side side;
	side._native = TORVI_TRY(FindNearestNativeFormat(format));
	side._word = TORVI_TRY(GetLcmsFormat(side._native));
	side._bits = side._native->GetBitsPerPixel();
	side._isNative = side._native == format;
	side._isInPercent = IsInkInFloats(side._word);
	return side;
}

Result<AlphaPixelFormat> GetAlphaFormat(const PixelFormat& format)
{
	Result<AlphaPixelFormat> alpha = format->GetAlphaPixelFormat();
	TORVI_CHECK(alpha.GetError().GetId() != errorids::OUTOFMEMORY, OutOfMemoryError()); // which says nothing about the format
	TORVI_CHECK(alpha.IsOk() && alpha.GetValue()._format,
				IllegalStateError("Error calling GetAlphaPixelFormat for pixel format: @.", format));
	return alpha;
}

/// Alpha that is no channel, such as that of a colour table or of a bit in a word, goes with the native pixels.
Result<AlphaMove> MakeAlphaMove(const LcmsRequest& request, const Side& source, const Side& destination)
{
	AlphaMove move;
	if (!destination._native->HasAlpha())
		return move;
	move._isOpaque = !source._native->HasAlpha();
	const Bool isOfRuns = (move._isOpaque || !request._srcFormat->GetChannels().empty()) && !request._dstFormat->GetChannels().empty();
	move._way = isOfRuns ? AlphaWay::RUNS : AlphaWay::NATIVE;
	AlphaPixelFormat from = {GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8), 0};
	if (!move._isOpaque)
		from = TORVI_TRY(GetAlphaFormat(isOfRuns ? request._srcFormat : source._native));
	const AlphaPixelFormat to = TORVI_TRY(GetAlphaFormat(isOfRuns ? request._dstFormat : destination._native));
	move._sourceOffset = from._byteOffset;
	move._destinationOffset = to._byteOffset;
	move._destinationSize = BytesOf(to._format->GetBitsPerPixel());
	move._staysInPlace = !move._isOpaque && from._format == to._format && from._byteOffset == to._byteOffset;
	move._convert = TORVI_TRY(FindPlainConversion(*to._format, from._format));
	return move;
}

Result<cmsUInt32Number> GetLcmsIntent(COLORCONVERSIONINTENT intent)
{
	switch (intent)
	{
	case COLORCONVERSIONINTENT::PERCEPTUAL:
		return cmsUInt32Number(INTENT_PERCEPTUAL);
	case COLORCONVERSIONINTENT::RELATIVE:
	case COLORCONVERSIONINTENT::ABSOLUTE:
		return cmsUInt32Number(INTENT_RELATIVE_COLORIMETRIC);
	case COLORCONVERSIONINTENT::SATURATION:
		return cmsUInt32Number(INTENT_SATURATION);
	}
	return IllegalArgumentError("Illegal COLORCONVERSIONINTENT");
}

/// The bytes of an ICC profile; none for a profile of another kind, from which no transform can be made.
Result<Array<Byte>> GetIccBytes(const ColorProfile& profile)
{
	return profile.HasProfile() ? profile.WriteProfileToMemory() : Result<Array<Byte>>(Array<Byte>());
}

} // namespace

Result<ConvertRunFunc> MakeLcmsEngine(const LcmsRequest& request)
{
	Side source = TORVI_TRY(MakeSide(request._srcFormat));
	Side destination = TORVI_TRY(MakeSide(request._dstFormat));
	AlphaMove alpha = TORVI_TRY(MakeAlphaMove(request, source, destination));
	const cmsUInt32Number intent = TORVI_TRY(GetLcmsIntent(request._intent));
	const cmsUInt32Number flags = request._withBlackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0;
	const Array<Byte> fromBytes = TORVI_TRY(GetIccBytes(request._fromProfile));
	const Array<Byte> toBytes = TORVI_TRY(GetIccBytes(request._toProfile));
	IccTransform transform = TORVI_TRY(CreateIccTransform({fromBytes, source._word}, {toBytes, destination._word}, intent, flags));
	source._stage = TORVI_TRY(FindPlainConversion(*source._native, request._srcFormat));
	destination._stage = TORVI_TRY(FindPlainConversion(*request._dstFormat, destination._native));
	auto engine = TORVI_TRY(NewObject<LcmsEngine>(std::move(transform), std::move(source), std::move(destination), std::move(alpha)));
	return ConvertRunFunc([engine](const PixelBuffer& from, const PixelBuffer& to, Int count) { return engine->Run(from, to, count); });
}

} // namespace torvi
