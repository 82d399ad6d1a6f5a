// Programs channel by channel: values are gathered, converted and spread again, some pixels at a time so that they stay in the cache.
#include "pixelformat/kernel_channel.h"

#include "pixelformat/kernel_values.h"

#include <algorithm>

namespace torvi
{

namespace
{

using Kind = ChannelRule::Kind;

constexpr Int PIXELS_AT_A_TIME = 256;
using ValueBuffer = std::array<Byte, PIXELS_AT_A_TIME * sizeof(Float64)>;

/// The values of one source channel side by side: where they are, or gathered into `buffer`.
const Byte* GatherValues(const KernelRun& run, Int offset, Int size, ValueBuffer& buffer)
{
	if (run._sourceStride == size)
		return run._source + offset;
	GatherPixels(buffer.data(), run._source, run._sourceStride, run._count, {size, 1, {offset}});
	return buffer.data();
}

/// The values that a channel becomes, still in the source's type.
const Byte* ComputeValues(const KernelRun& run, const ChannelStep& step, std::array<ValueBuffer, 4>& buffers)
{
	const Int size = SizeOf(step._sourceType);
	const Byte* const first = GatherValues(run, step._sourceOffsets[0], size, buffers[0]);
	if (step._kind == Kind::Move)
		return first;
	const Byte* const second = GatherValues(run, step._sourceOffsets[1], size, buffers[1]);
	const Byte* const third = GatherValues(run, step._sourceOffsets[2], size, buffers[2]);
	PlaneMeanKernelFor(step._sourceType)(buffers[3].data(), first, second, third, run._count);
	return buffers[3].data();
}

template <class T>
void FillValues(const KernelRun& run, const ChannelStep& step)
{
	Byte* const destination = run._destination + step._destination._offset;
	const T value = static_cast<T>(step._fill);
	for (Int i = 0, count = run._count, stride = run._destinationStride; i < count; ++i)
		StoreValue(destination + i * stride, value);
}

void ConvertValues(const KernelRun& run, const ChannelStep& step)
{
	alignas(64) std::array<ValueBuffer, 4> buffers;
	alignas(64) ValueBuffer converted;
	const Int size = SizeOf(step._destination._type);
	const Byte* const values = ComputeValues(run, step, buffers);
	const LinearKernel convert = LinearKernelFor(step._destination._type, step._sourceType);
	if (run._destinationStride == size)
		return convert(run._destination + step._destination._offset, values, run._count);
	convert(converted.data(), values, run._count);
	SpreadPixels(run._destination, run._destinationStride, converted.data(), run._count, {size, 1, {step._destination._offset}});
}

void RunStep(const KernelRun& run, const ChannelStep& step)
{
	if (step._kind == Kind::Move || step._kind == Kind::Mean)
		ConvertValues(run, step);
	else
		WithValueOfSize(SizeOf(step._destination._type), [&](auto value) { FillValues<decltype(value)>(run, step); });
}

ChannelStep MakeStep(const ChannelPlace& destination, Block<const ChannelPlace> source, const ChannelRule& rule)
{
	ChannelStep step = {rule._kind, destination};
	if (rule._kind == Kind::Fill)
		step._fill = BitsOfConverted(destination._type, rule._fill);
	for (std::size_t i = 0; i < static_cast<std::size_t>(rule.GetSourceCount()); ++i)
	{
		const ChannelPlace& place = source[static_cast<std::size_t>(rule._sources[i])];
		step._sourceType = place._type;
		step._sourceOffsets[i] = place._offset;
	}
	return step;
}

} // namespace

ChannelProgram::ChannelProgram(Block<const ChannelPlace> destination, Block<const ChannelPlace> source, Block<const ChannelRule> rules)
	: _plan(ConversionPlan::Make(destination, source, rules))
{
	for (std::size_t i = 0; i < destination.size(); ++i)
		_steps.push_back(MakeStep(destination[i], source, rules[i]));
}

void ChannelProgram::Run(const KernelRun& run) const
{
	if (_plan && !_plan->IsPlanar(run)) // plane to plane needs no pixels
		return _plan->Run(run);
	for (Int done = 0; done < run._count; done += PIXELS_AT_A_TIME)
	{
		const KernelRun part = PartOf(run, done, std::min(PIXELS_AT_A_TIME, run._count - done));
		for (const ChannelStep& step : _steps)
			RunStep(part, step);
	}
}

} // namespace torvi
