// Conversion of any list of channels to any other: by a plan over whole pixels where the types allow it, else channel by channel. This is
// how formats meet whose channels are known at run time only, or lie in planes.
#pragma once

#include "host/memory.h"
#include "pixelformat/kernel_plan.h"

namespace torvi
{

/// One channel of a program.
struct ChannelStep
{
	ChannelRule::Kind _kind = ChannelRule::Kind::Zero;
	ChannelPlace _destination;
	ValueType _sourceType = ValueType::U8;
	std::array<Int, 3> _sourceOffsets = {};
	UInt64 _fill = 0; // the bits of the value, from the lowest byte
};

/// A program never changes; any number of threads may run it.
class ChannelProgram
{
public:
	/// `rules` has an entry for each of the destination's channels. The three channels of a mean must have one type, which is neither
	/// "char" nor "int16".
	ChannelProgram(Block<const ChannelPlace> destination, Block<const ChannelPlace> source, Block<const ChannelRule> rules);

	/// The sides must not overlap.
	void Run(const KernelRun& run) const
	{
		if (_plan && !_plan->IsPlanar(run)) // plane to plane needs no pixels
			_plan->Run(run);
		else
			RunSteps(run);
	}

	/// As the plan's, if there is one.
	DirectRun GetDirectRun() const { return _plan ? _plan->GetDirectRun() : DirectRun(); }

private:
	void RunSteps(const KernelRun& run) const;

	std::optional<ConversionPlan> _plan;
	Array<ChannelStep> _steps;
};

} // namespace torvi
