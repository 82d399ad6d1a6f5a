// The surface that a contact sheet is drawn on: 8 bits of red, green and blue. What lies outside of it is left out.
#pragma once

#include "host/gfx_basictypes.h"
#include "host/memory.h"

namespace torvi::tool
{

struct Colour
{
	Byte _red = 0;
	Byte _green = 0;
	Byte _blue = 0;
};

/// `share` 0 to 255 of `front`, the rest of `back`.
Colour Mix(const Colour& back, const Colour& front, int share);

class Canvas
{
public:
	Canvas(const DrawDimensionInt& size, const Colour& background);
	const DrawDimensionInt& GetSize() const { return _size; }
	/// Red, green and blue of the pixels of a line.
	Block<const Byte> GetLine(Int y) const;

	/// Covers a pixel, all of it with 255.
	void Blend(Int x, Int y, const Colour& colour, int coverage = 255);
	void FillRect(const DrawRectInt& rect, const Colour& colour);
	/// A rectangle with round corners.
	void FillRound(const DrawRectInt& rect, Int radius, const Colour& colour);
	/// A disc, or the half of it that lies to the right of its middle.
	void FillDisc(const DrawRectInt& rect, const Colour& colour, Bool onlyRightHalf);
	/// A line of one pixel inside of the rectangle's edges.
	void DrawFrame(const DrawRectInt& rect, const Colour& colour);
	/// The same in dashes of two colours, which stand out on any picture. Edges outside of `clip` are not drawn.
	void DrawDashedFrame(const DrawRectInt& rect, const DrawRectInt& clip, const Colour& first, const Colour& second);

private:
	/// Covers the parts of the pixels of `rect` where `isInside`(x, y) holds, in pixels from its corner, for a convex shape.
	template <class IsInside>
	void FillShape(const DrawRectInt& rect, const Colour& colour, IsInside isInside);

	DrawDimensionInt _size;
	Array<Byte> _pixels;
};

} // namespace torvi::tool
