// Which channel of a dynamic format feeds which channel of a fixed one, and the other way round.
#include "pixelformat/kernel_dynamic.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Int ROLE_COUNT = 5;

/// Appends to a block that the caller owns.
class StepList
{
public:
	explicit StepList(Block<ChannelStep> steps) : _steps(steps) {}
	void Add(const ChannelStep& step) { _steps[static_cast<std::size_t>(_count++)] = step; }
	Int GetCount() const { return _count; }

private:
	Block<ChannelStep> _steps;
	Int _count = 0;
};

} // namespace

bool IsDynamicPartner(FixedFormat format)
{
	using enum FixedFormat;
	constexpr std::array PARTNERS = {RGB_U8, RGB_U16, RGB_F32, RGB_F64, ARGB_U8, ARGB_U16, ARGB_F32, ARGB_F64};
	return std::find(PARTNERS.begin(), PARTNERS.end(), format) != PARTNERS.end();
}

Int MostStepsToDynamic(const DynamicLayout& layout)
{
	return ROLE_COUNT + CountOf(layout._others);
}

Int PlanToDynamic(Block<ChannelStep> steps, const DynamicLayout& layout, FixedFormat source,
				  const std::array<Int, MAXIMUM_CHANNELS>& sourceOffsets)
{
	StepList list(steps);
	const FixedFormatInfo& info = InfoOf(source);
	const std::array<const std::optional<ChannelPlace>*, 3> colours = {&layout._red, &layout._green, &layout._blue};
	for (std::size_t i = 0; i < colours.size(); ++i)
		if (*colours[i])
			list.Add(MoverStep(**colours[i], {sourceOffsets[i], info._type}));
	if (layout._grey)
		list.Add(MeanStep(*layout._grey, info._type, {sourceOffsets[0], sourceOffsets[1], sourceOffsets[2]}));
	if (layout._alpha)
		list.Add(info.Has(Channel::Alpha) ? MoverStep(*layout._alpha, {sourceOffsets[3], info._type}) : FillStep(*layout._alpha, 255));
	for (const ChannelPlace& other : layout._others)
		list.Add(ZeroStep(other));
	return list.GetCount();
}

Int PlanFromDynamic(Block<ChannelStep> steps, const DynamicLayout& layout, FixedFormat destination,
					const std::array<Int, MAXIMUM_CHANNELS>& destinationOffsets)
{
	StepList list(steps);
	const FixedFormatInfo& info = InfoOf(destination);
	const std::array<const std::optional<ChannelPlace>*, 3> colours = {&layout._red, &layout._green, &layout._blue};
	for (std::size_t i = 0; i < colours.size(); ++i)
	{
		const std::optional<ChannelPlace>& from = layout._grey ? layout._grey : *colours[i];
		const ChannelPlace to = {destinationOffsets[i], info._type};
		list.Add(from ? MoverStep(to, *from) : ZeroStep(to));
	}
	if (info.Has(Channel::Alpha))
	{
		const ChannelPlace to = {destinationOffsets[3], info._type};
		list.Add(layout._alpha ? MoverStep(to, *layout._alpha) : FillStep(to, 255));
	}
	return list.GetCount();
}

} // namespace torvi
