// Buffers with guards, awkward values, and the comparison of a kernel's run with a run of the reference.
#pragma once

#include "pixelformat/kernel_run.h"
#include "tests/pixelformat/reference.h"

#include <functional>
#include <random>

namespace torvi
{

/// One side of a run: its channels' byte offsets and its stride, over memory that is guarded at both ends.
class RunSide
{
public:
	RunSide(const std::vector<Int>& offsets, Int valueSize, Int stride, Int count, Int misalignment);

	Byte* GetStart() { return _bytes.data() + _start; }
	Byte* GetPixel(Int index) { return GetStart() + index * _stride; }
	const std::vector<Int>& GetOffsets() const { return _offsets; }
	Int GetStride() const { return _stride; }
	std::vector<Byte>& GetBytes() { return _bytes; }

private:
	std::vector<Int> _offsets;
	Int _stride;
	Int _start;
	std::vector<Byte> _bytes;
};

/// How the channels of one side lie, in bytes.
struct Arrangement
{
	std::vector<Int> _offsets;
	Int _stride;
};

/// The offsets as a format gives them: in bits, and the bits per pixel behind them.
std::vector<BITS> InBits(const Arrangement& arrangement, Int pixelSize);

/// Gives the bits of channel values: random ones, and those at the edges of the rules. Pixels with an even index hold no huge negative
/// numbers, the others no huge positive ones, so that no sum of three is infinity minus infinity; there are no NaNs.
class ValueSource
{
public:
	explicit ValueSource(UInt32 seed) : _random(seed) {}
	reference::Number Next(reference::Type type, Int pixel);

private:
	UInt32 Pick(UInt32 count) { return static_cast<UInt32>(_random() % count); }
	Float64 NextFloat();

	std::minstd_rand _random;
};

void FillWithValues(RunSide& side, const reference::Format& format, Int count, UInt32 seed);

using PixelReference = std::function<void(Byte* destination, const Byte* source)>;
using RunUnderTest = std::function<void(const KernelRun& run)>;

/// Runs the kernel on the destination and the reference on a copy of it; what differs, anywhere in the guarded memory, is told. Empty when
/// nothing does.
std::string CompareRuns(RunSide& destination, RunSide& source, Int count, const RunUnderTest& kernel, const PixelReference& reference);

/// Counts around the widths of vectors.
inline constexpr std::array<Int, 12> COUNTS = {-1, 0, 1, 2, 3, 15, 16, 17, 63, 64, 65, 130};

} // namespace torvi
