// Conversion functions made of kernels. A closure holds a kernel and, where more than fits into a delegate is needed, a reference to a
// shared record that never changes; nothing in it points to what the caller passed in.
#pragma once

#include "pixelformat/kernel_channel.h"
#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

/// A record that closures share.
template <class T>
class SharedRecord final : public ObjectInterface
{
public:
	explicit SharedRecord(T value) : _value(std::move(value)) {}
	const T& GetValue() const noexcept { return _value; }

private:
	const T _value;
};

inline KernelRun RunOf(const PixelBuffer& destination, Int count, const PixelBuffer& source)
{
	return {destination._pixel, BytesOf(destination._stride), source._pixel, BytesOf(source._stride), count};
}

/// A function of a kernel without state.
ConvertPixelFunc FunctionOf(RunKernel kernel);

/// A function of what has a `Run` and never changes. Where it has a direct way for packed pixels, short runs take that.
template <class Conversion>
Result<ConvertPixelFunc> FunctionOf(Conversion conversion)
{
	auto record = TORVI_TRY(NewObject<SharedRecord<Conversion>>(std::move(conversion)));
	DirectRun direct;
	if constexpr (requires { record->GetValue().GetDirectRun(); })
		direct = record->GetValue().GetDirectRun();
	return ConvertPixelFunc(
		[record, direct](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
		{
			if (direct._destinationStride == destination._stride && direct._sourceStride == source._stride && count > 0 &&
				count < direct._end)
				direct._function(destination._pixel, source._pixel, count, *direct._step);
			else
				record->GetValue().Run(RunOf(destination, count, source));
			return OK;
		});
}

/// A function that copies whole pixels; overlapping runs are as for CopyPixels.
ConvertPixelFunc CopyFunction(Int bytesPerPixel);

/// A function that runs `toIntermediate` and `fromIntermediate` over chunks of 64 pixels, with a buffer on the stack between them.
/// `intermediateBits` is at most INTERMEDIATE_MAXIMUM_BITS.
Result<ConvertPixelFunc> ComposeFunctions(const ConvertPixelFunc& toIntermediate, const ConvertPixelFunc& fromIntermediate,
										  BITS intermediateBits);

constexpr BITS INTERMEDIATE_MAXIMUM_BITS = 4 * 64; // the widest fixed format

} // namespace torvi
