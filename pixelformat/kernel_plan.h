// The plan of a conversion between two lists of channels. It is a chain of at most three steps over packed pixels - a mean, a change of
// data type, a change of channels - or one that computes other colours, with packed pixels gathered before it and spread behind it where
// the caller's do not lie side by side. Every step is one loop over plain memory, so a plan is as fast as its loops whatever the formats
// are.
#pragma once

#include "pixelformat/kernel_colour.h"
#include "pixelformat/kernel_gather.h"
#include "pixelformat/kernel_linear.h"
#include "pixelformat/kernel_mean.h"
#include "pixelformat/kernel_shuffle.h"

#include <optional>

namespace torvi
{

/// One step: `count` packed pixels to packed pixels. Which member is used depends on the function.
struct PlanStep
{
	using Function = void (*)(Byte* destination, const Byte* source, Int count, const PlanStep& step);

	Function _function = nullptr;
	Int _destinationSize = 0; // bytes of a pixel
	Int _sourceSize = 0;
	Int _together = 1;   // pixels that are converted as one: no call may part them
	Int _valueCount = 0; // of a pixel, where the values are converted
	LinearKernel _linear = nullptr;
	MeanKernel _meanKernel = nullptr;
	ShuffleMap _shuffle = {};
	MeanMap _mean = {};
	ColourMap _colours = {};
};

/// All there is to do for packed pixels on both sides, where that is one step: what short runs are called by.
struct DirectRun
{
	PlanStep::Function _function = nullptr;
	const PlanStep* _step = nullptr; // part of the plan
	BITS _destinationStride = 0;     // the pixels' distances it is for
	BITS _sourceStride = 0;
	Int _end = 0; // counts from here on go another way
};

/// A plain value that may be copied and kept; any number of threads may run it.
class ConversionPlan
{
public:
	/// A plan for channels that have one data type on either side, at most MAXIMUM_CHANNELS on each; empty where there is none. `rules` has
	/// an entry for each of the destination's channels.
	static std::optional<ConversionPlan> Make(Block<const ChannelPlace> destination, Block<const ChannelPlace> source,
											  Block<const ChannelRule> rules);

	/// The plan of one step that computes colours. The map's sides are those of the lists, with roles in their order.
	static ConversionPlan Make(Block<const ChannelPlace> destination, Block<const ChannelPlace> source, const ColourMap& map);

	/// The plan with a step in front of it. The plan's source is packed; the new one is, and has one channel as large as the pixel.
	ConversionPlan After(const PlanStep& step) const;

	/// The plan with a step behind it. The plan's destination is packed; the new one is, and has one channel as large as the pixel.
	ConversionPlan Before(const PlanStep& step) const;

	/// Without a function where packed pixels take more than one step.
	DirectRun GetDirectRun() const;

	/// Whether the channels of the run are runs of their own on both sides.
	bool IsPlanar(const KernelRun& run) const
	{
		return _destination.IsPlanar(run._destinationStride) && _source.IsPlanar(run._sourceStride);
	}

	/// The sides must not overlap.
	void Run(const KernelRun& run) const;

private:
	void Add(const PlanStep& step) { _steps[static_cast<std::size_t>(_stepCount++)] = step; }
	void Finish();
	void RunInChunks(const KernelRun& run, bool isStreamed) const;

	static constexpr std::size_t MOST_STEPS = 4;
	static constexpr Int STREAM_BYTES = Int(8) << 20; // what is written past the cache

	std::array<PlanStep, MOST_STEPS> _steps = {};
	Int _stepCount = 0;
	Int _chunk = 0;    // pixels whose buffers stay in the cache
	Int _together = 1; // the most of the steps
	PlacedChannels _destination;
	PlacedChannels _source;
};

} // namespace torvi
