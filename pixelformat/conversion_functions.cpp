// The closures of conversion functions.
#include "pixelformat/conversion_functions.h"

#include "pixelformat/kernel_copy.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int CHUNK_PIXELS = 64;

/// The run from pixel `start` on, which is a multiple of CHUNK_PIXELS and so begins on a whole byte.
PixelBuffer PixelAt(const PixelBuffer& run, Int start)
{
	return PixelBuffer(run._pixel + run._stride * start / 8, run._stride);
}

struct Composition
{
	ConvertPixelFunc _toIntermediate;
	ConvertPixelFunc _fromIntermediate;
	BITS _bits;

	/// The last chunk comes first: it is the one that a function may refuse, and then nothing has been written.
	Result<void> Run(const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32 flags) const
	{
		alignas(16) Byte buffer[BytesOf(CHUNK_PIXELS * INTERMEDIATE_MAXIMUM_BITS)];
		const PixelBuffer intermediate(buffer, _bits);
		for (Int start = (count - 1) & -CHUNK_PIXELS; start >= 0; start -= CHUNK_PIXELS)
		{
			const Int chunk = std::min(CHUNK_PIXELS, count - start);
			TORVI_TRY(_toIntermediate(intermediate, chunk, PixelAt(source, start), flags));
			TORVI_TRY(_fromIntermediate(PixelAt(destination, start), chunk, intermediate, flags));
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
	TORVI_CHECK(intermediateBits <= INTERMEDIATE_MAXIMUM_BITS,
				IllegalArgumentError("An intermediate pixel has at most @ bits.", INTERMEDIATE_MAXIMUM_BITS));
	auto record = TORVI_TRY(NewObject<SharedRecord<Composition>>(Composition{toIntermediate, fromIntermediate, intermediateBits}));
	return ConvertPixelFunc([record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32 flags)
							{ return record->GetValue().Run(destination, count, source, flags); });
}

} // namespace torvi
