// Conversion functions made of kernels. A closure holds a kernel and, where more than fits into a delegate is needed, a reference to a
// shared record that never changes; nothing in it points to what the caller passed in.
#pragma once

#include "pixelformat/kernel_run.h"
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

/// A function of a plan, of a program or of a copy: of what has a `Run` and never changes.
template <class Conversion>
Result<ConvertPixelFunc> FunctionOf(Conversion conversion)
{
	auto record = TORVI_TRY(NewObject<SharedRecord<Conversion>>(std::move(conversion)));
	return ConvertPixelFunc(
		[record](const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32) -> Result<void>
		{
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
