// The closures of conversion functions.
#include "pixelformat/conversion_functions.h"

#include "pixelformat/kernel_copy.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int CHUNK_PIXELS = 64;

struct OffsetConversion
{
	OffsetKernel _kernel;
	KernelOffsets _offsets;
};

struct Composition
{
	ConvertPixelFunc _toIntermediate;
	ConvertPixelFunc _fromIntermediate;
	BITS _bits;

	Result<void> Run(const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32 flags) const
	{
		alignas(16) Byte buffer[BytesOf(CHUNK_PIXELS * INTERMEDIATE_MAXIMUM_BITS)];
		const PixelBuffer intermediate(buffer, _bits);
		PixelBuffer from(source._pixel, source._stride);
		PixelBuffer to(destination._pixel, destination._stride);
		for (Int done = 0; done < count; done += CHUNK_PIXELS)
		{
			const Int chunk = std::min(CHUNK_PIXELS, count - done);
			TORVI_TRY(_toIntermediate(intermediate, chunk, from, flags));
			TORVI_TRY(_fromIntermediate(to, chunk, intermediate, flags));
			if (done + chunk == count)
				break; // beyond the last pixel there may be no address
			from._pixel += source._stride * CHUNK_PIXELS / 8; // exact: the chunk is a multiple of 8 pixels
			to._pixel += destination._stride * CHUNK_PIXELS / 8;
		}
		return OK;
	}
};

} // namespace

ConvertPixelFunc FunctionOf(RunKernel kernel)
{
	return [kernel](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
	{
		if (count > 0)
			kernel(RunOf(destination, count, source));
		return OK;
	};
}

Result<ConvertPixelFunc> FunctionOf(OffsetKernel kernel, const KernelOffsets& offsets)
{
	auto record = TORVI_TRY(NewObject<SharedRecord<OffsetConversion>>(OffsetConversion{kernel, offsets}));
	return ConvertPixelFunc(
		[record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
		{
			if (count > 0)
				record->GetValue()._kernel(RunOf(destination, count, source), record->GetValue()._offsets);
			return OK;
		});
}

Result<ConvertPixelFunc> FunctionOf(Array<ChannelStep> steps)
{
	auto record = TORVI_TRY(NewObject<SharedRecord<Array<ChannelStep>>>(std::move(steps)));
	return ConvertPixelFunc(
		[record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
		{
			if (count > 0)
				RunSteps(record->GetValue(), RunOf(destination, count, source));
			return OK;
		});
}

ConvertPixelFunc CopyFunction(Int bytesPerPixel)
{
	return [bytesPerPixel](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
	{
		CopyPixels(RunOf(destination, count, source), bytesPerPixel);
		return OK;
	};
}

Result<ConvertPixelFunc> ComposeFunctions(const ConvertPixelFunc& toIntermediate, const ConvertPixelFunc& fromIntermediate,
                                          BITS intermediateBits)
{
	TORVI_CHECK(intermediateBits <= INTERMEDIATE_MAXIMUM_BITS, IllegalArgumentError("An intermediate pixel has at most @ bits.", INTERMEDIATE_MAXIMUM_BITS));
	auto record = TORVI_TRY(NewObject<SharedRecord<Composition>>(Composition{toIntermediate, fromIntermediate, intermediateBits}));
	return ConvertPixelFunc([record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32 flags)
	                        { return record->GetValue().Run(destination, count, source, flags); });
}

} // namespace torvi
