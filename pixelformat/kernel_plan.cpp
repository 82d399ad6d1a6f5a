// How a plan is made and run.
#include "pixelformat/kernel_plan.h"

#include "pixelformat/kernel_stream.h"
#include "pixelformat/kernel_values.h"

#include <algorithm>
#include <numeric>

namespace torvi
{

namespace
{

using Kind = ChannelRule::Kind;
using Picks = std::array<ChannelPick, MAXIMUM_CHANNELS>;

/// One side: its data type, and its channels in the order of their offsets.
struct Side
{
	ValueType _type = ValueType::U8;
	PlacedChannels _channels;
	std::array<Int, MAXIMUM_CHANNELS> _listed = {};  // by place among the offsets: the index in the caller's list
	std::array<Int, MAXIMUM_CHANNELS> _placeOf = {}; // the other way round
};

std::optional<Side> MakeSide(Block<const ChannelPlace> places)
{
	const auto count = places.size();
	if (count == 0 || count > MAXIMUM_CHANNELS)
		return std::nullopt;
	Side side;
	side._type = places[0]._type;
	const auto listed = Block<Int>(side._listed).first(count);
	std::iota(listed.begin(), listed.end(), Int(0));
	std::stable_sort(listed.begin(), listed.end(),
					 [&](Int a, Int b)
					 { return places[static_cast<std::size_t>(a)]._offset < places[static_cast<std::size_t>(b)]._offset; });
	std::array<Int, MAXIMUM_CHANNELS> offsets = {};
	for (std::size_t i = 0; i < count; ++i)
	{
		const auto index = static_cast<std::size_t>(listed[i]);
		if (places[index]._type != side._type)
			return std::nullopt;
		offsets[i] = places[index]._offset;
		side._placeOf[index] = static_cast<Int>(i);
	}
	side._channels = PlacedChannels(SizeOf(side._type), Block<const Int>(offsets).first(count));
	return side;
}

bool IsSigned(ValueType type)
{
	return type == ValueType::S8 || type == ValueType::S16 || type == ValueType::S32;
}

/// Whether a constant written in the source's type becomes the right one in the destination's.
bool SurvivesConversion(const ChannelRule& rule, ValueType destination)
{
	return rule._kind == Kind::Fill ? rule._fill == 0 || rule._fill == 255 : rule._kind != Kind::Zero || !IsSigned(destination);
}

/// The bits of a constant in `type`. Where a conversion follows, zero is the bottom of the scale.
UInt64 ConstantOf(const ChannelRule& rule, ValueType type, bool isConverted)
{
	return rule._kind == Kind::Zero && !isConverted ? 0 : BitsOfConverted(type, rule._kind == Kind::Zero ? 0 : rule._fill);
}

void RunLinear(Byte* destination, const Byte* source, Int count, const PlanStep& step)
{
	step._linear(destination, source, count * step._valueCount);
}

void RunShuffle(Byte* destination, const Byte* source, Int count, const PlanStep& step)
{
	ShufflePixels(destination, source, count, step._shuffle);
}

void RunMean(Byte* destination, const Byte* source, Int count, const PlanStep& step)
{
	step._meanKernel(destination, source, count, step._mean);
}

void RunColours(Byte* destination, const Byte* source, Int count, const PlanStep& step)
{
	ConvertColours(destination, source, count, step._colours);
}

PlanStep LinearStep(ValueType destination, ValueType source, Int channels)
{
	PlanStep step;
	step._function = &RunLinear;
	step._destinationSize = SizeOf(destination) * channels;
	step._sourceSize = SizeOf(source) * channels;
	step._valueCount = channels;
	step._linear = LinearKernelFor(destination, source);
	return step;
}

PlanStep ShuffleStep(ValueType type, Int sourceCount, Block<const ChannelPick> picks)
{
	PlanStep step;
	step._function = &RunShuffle;
	step._shuffle = MakeShuffleMap(SizeOf(type), sourceCount, picks);
	step._destinationSize = step._shuffle.GetDestinationSize();
	step._sourceSize = step._shuffle.GetSourceSize();
	return step;
}

PlanStep MeanStep(ValueType type, const MeanMap& map)
{
	PlanStep step;
	step._function = &RunMean;
	step._meanKernel = MeanKernelFor(type);
	step._mean = map;
	step._destinationSize = SizeOf(type) * map._destinationCount;
	step._sourceSize = SizeOf(type) * map._sourceCount;
	return step;
}

/// The roles of a side that has them by the caller's list, by place.
ColourSide PlaceRoles(const ColourSide& listed, const Side& side)
{
	ColourSide placed = listed;
	for (std::size_t i = 0; i < static_cast<std::size_t>(side._channels.GetCount()); ++i)
		placed._roles[i] = listed._roles[static_cast<std::size_t>(side._listed[i])];
	return placed;
}

PlanStep ColourStep(const ColourMap& map, const Side& destination, const Side& source)
{
	PlanStep step;
	step._function = &RunColours;
	step._colours = map;
	step._colours._destination = PlaceRoles(map._destination, destination);
	step._colours._source = PlaceRoles(map._source, source);
	step._destinationSize = destination._channels.GetPixelSize();
	step._sourceSize = source._channels.GetPixelSize();
	return step;
}

/// The rules by place of the destination's channels, with sources by place.
class PlacedRules
{
public:
	PlacedRules(const Side& destination, const Side& source, Block<const ChannelRule> rules) : _destination(destination), _source(source)
	{
		for (std::size_t i = 0; i < GetCount(); ++i)
		{
			_rules[i] = rules[static_cast<std::size_t>(destination._listed[i])];
			for (Int& index : _rules[i]._sources)
				index = source._placeOf[static_cast<std::size_t>(index)];
		}
	}

	bool HasMean() const
	{
		return std::ranges::any_of(GetRules(), [](const ChannelRule& rule) { return rule._kind == Kind::Mean; });
	}

	bool IsInOrder() const
	{
		for (std::size_t i = 0; i < GetCount(); ++i)
			if (_rules[i]._kind != Kind::Move || _rules[i]._sources[0] != static_cast<Int>(i))
				return false;
		return _destination._channels.GetCount() == _source._channels.GetCount();
	}

	bool MayFillBeforeConversion() const
	{
		return _destination._type == _source._type ||
			   std::ranges::all_of(GetRules(), [&](const ChannelRule& rule) { return SurvivesConversion(rule, _destination._type); });
	}

	Picks GetPicks(ValueType type) const
	{
		Picks picks = {};
		for (std::size_t i = 0; i < GetCount(); ++i)
			if (_rules[i]._kind == Kind::Move)
				picks[i] = {_rules[i]._sources[0], 0};
			else
				picks[i] = {ChannelPick::FILL, ConstantOf(_rules[i], type, type != _destination._type)};
		return picks;
	}

	MeanMap GetMeanMap() const
	{
		MeanMap map = {_destination._channels.GetCount(), _source._channels.GetCount(), {}};
		for (std::size_t i = 0; i < GetCount(); ++i)
		{
			MeanPick& pick = map._picks[i];
			for (std::size_t k = 0; k < pick._sources.size(); ++k)
				pick._sources[k] = static_cast<UChar>(_rules[i]._sources[k]);
			if (_rules[i]._kind == Kind::Move)
				pick._kind = MeanPick::Kind::Channel;
			else if (_rules[i]._kind == Kind::Mean)
				pick._kind = MeanPick::Kind::Mean;
			else
				pick._fill = ConstantOf(_rules[i], _source._type, _source._type != _destination._type);
		}
		return map;
	}

private:
	std::size_t GetCount() const { return static_cast<std::size_t>(_destination._channels.GetCount()); }
	Block<const ChannelRule> GetRules() const { return Block<const ChannelRule>(_rules).first(GetCount()); }

	const Side& _destination;
	const Side& _source;
	std::array<ChannelRule, MAXIMUM_CHANNELS> _rules = {};
};

constexpr std::array<Int, 1> AT_START = {0};

constexpr Int BUFFER_BYTES = 8192;
constexpr Int CHUNK_MULTIPLE = 64; // pixels; keeps the destination's alignment from chunk to chunk

/// How many pixels, a multiple of `together`, bring `address` to a multiple of STREAM_ALIGNMENT; negative if none do.
Int PixelsToAlignment(const Byte* address, Int pixelSize, Int together)
{
	for (Int pixels = 0; pixels < STREAM_ALIGNMENT; pixels += together)
		if ((reinterpret_cast<std::uintptr_t>(address) + static_cast<std::size_t>(pixels * pixelSize)) % STREAM_ALIGNMENT == 0)
			return pixels;
	return -1;
}

} // namespace

std::optional<ConversionPlan> ConversionPlan::Make(Block<const ChannelPlace> destination, Block<const ChannelPlace> source,
												   Block<const ChannelRule> rules)
{
	const std::optional<Side> to = MakeSide(destination), from = MakeSide(source);
	if (!to || !from)
		return std::nullopt;
	const PlacedRules placed(*to, *from, rules);
	const Int channels = to->_channels.GetCount(), sourceChannels = from->_channels.GetCount();
	const auto shuffle = [&](ValueType type) {
		return ShuffleStep(type, sourceChannels, Block<const ChannelPick>(placed.GetPicks(type)).first(static_cast<std::size_t>(channels)));
	};
	ConversionPlan plan;
	plan._destination = to->_channels;
	plan._source = from->_channels;
	if (placed.HasMean())
	{
		if (MeanKernelFor(from->_type) == nullptr || !placed.MayFillBeforeConversion())
			return std::nullopt;
		plan.Add(MeanStep(from->_type, placed.GetMeanMap()));
		if (to->_type != from->_type)
			plan.Add(LinearStep(to->_type, from->_type, channels));
	}
	else if (placed.IsInOrder())
	{
		if (to->_type != from->_type)
			plan.Add(LinearStep(to->_type, from->_type, channels));
	}
	else if (to->_type == from->_type)
		plan.Add(shuffle(to->_type));
	else
	{
		// The channels change places where the values are smaller, or before they become more.
		const Int before = (sourceChannels + channels) * SizeOf(from->_type) + channels * (SizeOf(from->_type) + SizeOf(to->_type));
		const Int behind = (sourceChannels + channels) * SizeOf(to->_type) + sourceChannels * (SizeOf(from->_type) + SizeOf(to->_type));
		if (before <= behind && placed.MayFillBeforeConversion())
		{
			plan.Add(shuffle(from->_type));
			plan.Add(LinearStep(to->_type, from->_type, channels));
		}
		else
		{
			plan.Add(LinearStep(to->_type, from->_type, sourceChannels));
			plan.Add(shuffle(to->_type));
		}
	}
	plan.Finish();
	return plan;
}

void ConversionPlan::Finish()
{
	Int largest = std::max(_source.GetPixelSize(), _destination.GetPixelSize());
	for (const PlanStep& step : Block<const PlanStep>(_steps).first(static_cast<std::size_t>(_stepCount)))
	{
		largest = std::max(largest, step._destinationSize);
		_together = std::max(_together, step._together);
	}
	_chunk = BUFFER_BYTES / largest / CHUNK_MULTIPLE * CHUNK_MULTIPLE;
}

DirectRun ConversionPlan::GetDirectRun() const
{
	const bool startsAtPixel = _destination.GetFirstOffset() == 0 && _source.GetFirstOffset() == 0;
	if (_stepCount != 1 || !_destination.IsContiguous() || !_source.IsContiguous() || !startsAtPixel)
		return {};
	return {_steps[0]._function, _steps.data(), 8 * _destination.GetPixelSize(), 8 * _source.GetPixelSize(),
			STREAM_BYTES / _destination.GetPixelSize()};
}

ConversionPlan ConversionPlan::Make(Block<const ChannelPlace> destination, Block<const ChannelPlace> source, const ColourMap& map)
{
	const Side to = *MakeSide(destination), from = *MakeSide(source);
	ConversionPlan plan;
	plan._destination = to._channels;
	plan._source = from._channels;
	plan.Add(ColourStep(map, to, from));
	plan.Finish();
	return plan;
}

ConversionPlan ConversionPlan::After(const PlanStep& step) const
{
	ConversionPlan plan;
	plan._source = PlacedChannels(step._sourceSize, AT_START);
	plan._destination = _destination;
	plan.Add(step);
	for (Int i = 0; i < _stepCount; ++i)
		plan.Add(_steps[static_cast<std::size_t>(i)]);
	plan.Finish();
	return plan;
}

ConversionPlan ConversionPlan::Before(const PlanStep& step) const
{
	ConversionPlan plan = *this;
	plan.Add(step);
	plan._destination = PlacedChannels(step._destinationSize, AT_START);
	plan.Finish();
	return plan;
}

void ConversionPlan::Run(const KernelRun& run) const
{
	if (run._count <= 0)
		return;
	const bool isLarge = _destination.IsPacked(run._destinationStride) && run._count * run._destinationStride >= STREAM_BYTES;
	const Byte* const first = run._destination + _destination.GetFirstOffset();
	const Int head = isLarge ? PixelsToAlignment(first, run._destinationStride, _together) : -1;
	if (head < 0)
		return RunInChunks(run, false);
	RunInChunks(PartOf(run, 0, head), false);
	RunInChunks(PartOf(run, head, run._count - head), true);
	EndStream();
}

void ConversionPlan::RunInChunks(const KernelRun& run, bool isStreamed) const
{
	const bool toPacked = _destination.IsPacked(run._destinationStride), fromPacked = _source.IsPacked(run._sourceStride);
	if (toPacked && fromPacked && _stepCount == 1 && !isStreamed)
		return _steps[0]._function(run._destination + _destination.GetFirstOffset(), run._source + _source.GetFirstOffset(), run._count,
								   _steps[0]);
	alignas(STREAM_ALIGNMENT) std::array<std::array<Byte, BUFFER_BYTES>, 2> buffers;
	for (Int done = 0; done < run._count; done += _chunk)
	{
		const KernelRun part = PartOf(run, done, std::min(_chunk, run._count - done));
		if (isStreamed)
		{
			const Int behind = done + part._count;
			FetchAhead(run._source + behind * run._sourceStride, std::min(_chunk, run._count - behind) * run._sourceStride);
		}
		std::size_t next = 0;
		const auto nextBuffer = [&]() { return buffers[next ^= 1].data(); };
		const Byte* pixels = part._source + _source.GetFirstOffset();
		Byte* const target = toPacked && !isStreamed ? part._destination + _destination.GetFirstOffset() : nullptr;
		if (!fromPacked)
		{
			Byte* const gathered = _stepCount == 0 && target != nullptr ? target : nextBuffer();
			GatherPixels(gathered, part._source, part._sourceStride, part._count, _source);
			pixels = gathered;
		}
		for (Int i = 0; i < _stepCount; ++i)
		{
			const PlanStep& step = _steps[static_cast<std::size_t>(i)];
			Byte* const result = i + 1 == _stepCount && target != nullptr ? target : nextBuffer();
			step._function(result, pixels, part._count, step);
			pixels = result;
		}
		if (isStreamed)
			StreamCopy(part._destination + _destination.GetFirstOffset(), pixels, part._count * _destination.GetPixelSize());
		else if (!toPacked)
			SpreadPixels(part._destination, part._destinationStride, pixels, part._count, _destination);
		else if (fromPacked && _stepCount == 0)
			std::memcpy(target, pixels, static_cast<std::size_t>(part._count * _destination.GetPixelSize()));
	}
}

} // namespace torvi
