// Thumbnails: a picture, read line by line, becomes a small one whose pixels are the means of the areas that they stand for. The large one
// is never in memory.
#pragma once

#include "host/gfx_basictypes.h"
#include "host/memory.h"

#include <vector>

namespace torvi::tool
{

/// Red, green, blue and alpha with 8 bits each, top row first; alpha is not multiplied into the colours.
struct Thumbnail
{
	DrawDimensionInt _size;
	Array<Byte> _pixels;
};

/// Makes a thumbnail of a frame no smaller than it. Means are those of the light, weighted by alpha, so that what is transparent does not
/// shine through; values that are no light, such as those of a mask, are averaged as they are.
class AreaAverage
{
public:
	enum class Values
	{
		SRGB,
		PLAIN
	};

	/// No side of `frame` is 0, and none of `size` is 0 or larger than the frame's.
	AreaAverage(const DrawDimensionInt& frame, const DrawDimensionInt& size, Values values);
	/// Adds line `y` of the frame: as many pixels of 4 bytes as the frame is wide. Lines come in any order; those that do not are
	/// transparent.
	void AddLine(Int y, Block<const Byte> line);
	Thumbnail Finish() const;

private:
	/// Where a line or column of the frame falls: a share of it into pixel `_first` of the thumbnail, the rest into the next.
	struct Place
	{
		Int _first;
		float _share;
		float _rest;
	};
	static Place GetPlace(Int position, Int from, Int to);
	void AddRow(Int y, float share);
	Byte Encode(float value) const;

	DrawDimensionInt _frame;
	DrawDimensionInt _size;
	Array<float> _decoded; ///< of the 256 values
	Array<float> _limits;  ///< from _limits[i] on, a value is nearer to i + 1 than to i
	std::vector<Place> _columns;
	Array<float> _row; ///< one line, scaled in its width: colours times alpha, and alpha
	Array<float> _sums;
};

} // namespace torvi::tool
