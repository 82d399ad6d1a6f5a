// Packed pixels are one row of values, whatever they mean; only a complement must leave alpha alone. Other layouts go by channels.
#include "pixelformat/kernel_cmyk_family.h"

#include "pixelformat/kernel_cmyk_chunk.h"

namespace torvi
{

namespace
{

constexpr Int MAXIMUM_VALUE_SIZE = sizeof(Float32);

template <class T>
TORVI_KERNEL_INLINE constexpr T Complement(T value)
{
	if constexpr (std::floating_point<T>)
		return T(1) - value;
	else
		return static_cast<T>(~value);
}

template <class D, class S>
void ConvertComplements(const KernelRun& run)
{
	ForEachPixel<sizeof(D), sizeof(S)>(run, [](Byte* destination, const Byte* source)
									   { StoreValue(destination, ConvertValue<D>(Complement(LoadValue<S>(source)))); });
}

template <class D, class S, bool COMPLEMENT>
constexpr RunKernel MOVER = COMPLEMENT ? &ConvertComplements<D, S> : &ConvertValues<D, S>;

template <class D, bool COMPLEMENT>
RunKernel MoverFrom(ValueType source)
{
	switch (source)
	{
	case ValueType::U8:
		return MOVER<D, UChar, COMPLEMENT>;
	case ValueType::U16:
		return MOVER<D, UInt16, COMPLEMENT>;
	default:
		return MOVER<D, Float32, COMPLEMENT>;
	}
}

template <bool COMPLEMENT>
RunKernel MoverOf(ValueType destination, ValueType source)
{
	switch (destination)
	{
	case ValueType::U8:
		return MoverFrom<UChar, COMPLEMENT>(source);
	case ValueType::U16:
		return MoverFrom<UInt16, COMPLEMENT>(source);
	default:
		return MoverFrom<Float32, COMPLEMENT>(source);
	}
}

void MovePixels(const KernelRun& run, Int size)
{
	switch (size)
	{
	case 4:
		return MoveBytes<4>(run);
	case 5:
		return MoveBytes<5>(run);
	case 8:
		return MoveBytes<8>(run);
	case 10:
		return MoveBytes<10>(run);
	case 16:
		return MoveBytes<16>(run);
	default:
		return MoveBytes<20>(run);
	}
}

/// Room for some packed pixels of any format.
struct PixelChunk
{
	alignas(64) Byte _bytes[CMYK_CHUNK_PIXELS * CMYK_MAXIMUM_CHANNELS * MAXIMUM_VALUE_SIZE];
};

} // namespace

CmykFamilyConversion::CmykFamilyConversion(const CmykSide& destination, const CmykSide& source, bool isComplement)
	: _destination(destination), _source(source),
	  _moveInks(isComplement ? MoverOf<true>(destination._type, source._type) : MoverOf<false>(destination._type, source._type)),
	  _moveAlpha(MoverOf<false>(destination._type, source._type)), _isComplement(isComplement)
{
}

void CmykFamilyConversion::Run(const KernelRun& run) const
{
	if (_destination._isPacked && _source._isPacked)
		RunPacked(run);
	else if (_isComplement || _destination._type != _source._type)
		RunByChannels(run);
	else
		CopyByChannels(run);
}

void CmykFamilyConversion::RunPacked(const KernelRun& run) const
{
	const Int destinationSize = _destination.GetPixelSize(), sourceSize = _source.GetPixelSize();
	const Int destinationValue = SizeOf(_destination._type), sourceValue = SizeOf(_source._type);
	const bool isAlphaApart = _isComplement && _source._alpha == CmykSide::Alpha::Present;
	PixelChunk gathered, converted;
	for (Int start = 0; start < run._count; start += CMYK_CHUNK_PIXELS)
	{
		const KernelRun chunk = ChunkOf(run, start);
		const Byte* source = chunk._source;
		if (chunk._sourceStride != sourceSize)
		{
			MovePixels({gathered._bytes, sourceSize, source, chunk._sourceStride, chunk._count}, sourceSize);
			source = gathered._bytes;
		}
		const bool isScattered = chunk._destinationStride != destinationSize;
		Byte* const destination = isScattered ? converted._bytes : chunk._destination;
		_moveInks({destination, destinationValue, source, sourceValue, chunk._count * static_cast<Int>(_source._channelCount)});
		if (isAlphaApart) // the first channel
			_moveAlpha({destination, destinationSize, source, sourceSize, chunk._count});
		if (isScattered)
			MovePixels({chunk._destination, chunk._destinationStride, destination, destinationSize, chunk._count}, destinationSize);
	}
}

void CmykFamilyConversion::RunByChannels(const KernelRun& run) const
{
	for (Int start = 0; start < run._count; start += CMYK_CHUNK_PIXELS)
	{
		const KernelRun chunk = ChunkOf(run, start);
		for (std::size_t i = 0; i < _source._channelCount; ++i)
		{
			const std::size_t role = _source._roles[i];
			const RunKernel move = role == CmykSide::ALPHA_ROLE ? _moveAlpha : _moveInks;
			move({chunk._destination + _destination._offsets[role], chunk._destinationStride, chunk._source + _source._offsets[role],
				  chunk._sourceStride, chunk._count});
		}
	}
}

void CmykFamilyConversion::CopyByChannels(const KernelRun& run) const
{
	const Int valueSize = SizeOf(_source._type);
	const Int planeSize = CMYK_CHUNK_PIXELS * valueSize;
	PixelChunk planes; // so that all of a pixel is read before any of it is written
	const auto planeOf = [&planes, planeSize](std::size_t role) { return planes._bytes + static_cast<Int>(role) * planeSize; };
	for (Int start = 0; start < run._count; start += CMYK_CHUNK_PIXELS)
	{
		const KernelRun chunk = ChunkOf(run, start);
		for (std::size_t i = 0; i < _source._channelCount; ++i)
		{
			const std::size_t role = _source._roles[i];
			_moveInks({planeOf(role), valueSize, chunk._source + _source._offsets[role], chunk._sourceStride, chunk._count});
		}
		for (std::size_t i = 0; i < _source._channelCount; ++i)
		{
			const std::size_t role = _source._roles[i];
			_moveInks({chunk._destination + _destination._offsets[role], chunk._destinationStride, planeOf(role), valueSize, chunk._count});
		}
	}
}

} // namespace torvi
