// One pass over some pixels per task, each of which vectorises.
#include "pixelformat/kernel_colour.h"

#include "pixelformat/kernel_linear.h"
#include "pixelformat/kernel_planes.h"
#include "pixelformat/kernel_values.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int CHUNK = 256; // pixels

/// Planes one behind the other, as long as the pixels of a chunk are many.
struct alignas(64) Planes
{
	std::array<Byte, CHUNK * MAXIMUM_CHANNELS * sizeof(Float64)> _bytes;

	Byte* Get() { return _bytes.data(); }
};

PlanePointers PointersOf(const ColourSide& side, Byte* planes, Int pixels)
{
	PlanePointers pointers = {};
	for (std::size_t i = 0; i < static_cast<std::size_t>(side._channelCount); ++i)
		pointers[i] = planes + side._roles[i] * pixels * SizeOf(side._type);
	return pointers;
}

void FillWithFullScale(Byte* values, ValueType type, Int count)
{
	WithValueOfType(type,
					[&](auto value)
					{
						for (Int i = 0; i < count; ++i)
							StoreValue(values + i * Int(sizeof(value)), FULL_SCALE<decltype(value)>);
					});
}

} // namespace

void ConvertColours(Byte* destination, const Byte* source, Int count, const ColourMap& map)
{
	const ColourSide &to = map._destination, &from = map._source;
	const Int toSize = SizeOf(to._type), fromSize = SizeOf(from._type);
	const DeinterleaveKernel takeApart = DeinterleaveKernelFor(fromSize, from._channelCount);
	const InterleaveKernel putTogether = InterleaveKernelFor(toSize, to._channelCount);
	const LinearKernel enter = LinearKernelFor(map._computedType, from._type), leave = LinearKernelFor(to._type, map._computedType);
	const LinearKernel convertAlpha = LinearKernelFor(to._type, from._type);
	Planes taken, entered, computed, left;
	Byte* const arguments = map._computedType == from._type ? taken.Get() : entered.Get();
	Byte* const results = map._computedType == to._type ? left.Get() : computed.Get();
	for (Int done = 0; done < count; done += CHUNK)
	{
		const Int part = std::min(CHUNK, count - done);
		takeApart(PointersOf(from, taken.Get(), part), source + done * from._channelCount * fromSize, part);
		if (arguments != taken.Get())
			enter(arguments, taken.Get(), part * from._colourCount);
		map._compute(results, arguments, part);
		if (results != left.Get())
			leave(left.Get(), results, part * to._colourCount);
		if (to.HasAlpha())
		{
			Byte* const alpha = left.Get() + part * to._colourCount * toSize;
			if (map._readsAlpha)
				convertAlpha(alpha, taken.Get() + part * from._colourCount * fromSize, part);
			else
				FillWithFullScale(alpha, to._type, part);
		}
		const PlanePointers pointers = PointersOf(to, left.Get(), part);
		ConstPlanePointers planes;
		std::copy(pointers.begin(), pointers.end(), planes.begin());
		putTogether(destination + done * to._channelCount * toSize, planes, part);
	}
}

} // namespace torvi
