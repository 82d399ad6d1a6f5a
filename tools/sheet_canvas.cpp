// The surface that a contact sheet is drawn on.
#include "tools/sheet_canvas.h"

#include <algorithm>
#include <cmath>

namespace torvi::tool
{

Colour Mix(const Colour& back, const Colour& front, int share)
{
	const auto mix = [share](Byte a, Byte b) { return static_cast<Byte>((a * (255 - share) + b * share + 127) / 255); };
	return {mix(back._red, front._red), mix(back._green, front._green), mix(back._blue, front._blue)};
}

Canvas::Canvas(const DrawDimensionInt& size, const Colour& background)
	: _size(size), _pixels(static_cast<std::size_t>(size.width * size.height * 3))
{
	FillRect({{0, 0}, size}, background);
}

Block<const Byte> Canvas::GetLine(Int y) const
{
	const auto lineSize = static_cast<std::size_t>(_size.width * 3);
	return Block<const Byte>(_pixels).subspan(static_cast<std::size_t>(y) * lineSize, lineSize);
}

void Canvas::Blend(Int x, Int y, const Colour& colour, int coverage)
{
	if (x < 0 || y < 0 || x >= _size.width || y >= _size.height)
		return;
	Byte* pixel = _pixels.data() + (y * _size.width + x) * 3;
	const Colour mixed = Mix({pixel[0], pixel[1], pixel[2]}, colour, coverage);
	pixel[0] = mixed._red;
	pixel[1] = mixed._green;
	pixel[2] = mixed._blue;
}

void Canvas::FillRect(const DrawRectInt& rect, const Colour& colour)
{
	for (Int y = rect.position.y; y < rect.position.y + rect.size.height; ++y)
	{
		for (Int x = rect.position.x; x < rect.position.x + rect.size.width; ++x)
			Blend(x, y, colour);
	}
}

template <class IsInside>
void Canvas::FillShape(const DrawRectInt& rect, const Colour& colour, IsInside isInside)
{
	constexpr int STEPS = 4; // samples of a pixel in each direction
	const auto cover = [&](Float x, Float y)
	{
		if (isInside(x, y) && isInside(x + 1.0, y) && isInside(x, y + 1.0) && isInside(x + 1.0, y + 1.0))
			return 255; // shapes are convex
		int covered = 0;
		for (int row = 0; row < STEPS; ++row)
		{
			for (int column = 0; column < STEPS; ++column)
				covered += isInside(x + (column + 0.5) / STEPS, y + (row + 0.5) / STEPS);
		}
		return covered * 255 / (STEPS * STEPS);
	};
	for (Int y = 0; y < rect.size.height; ++y)
	{
		for (Int x = 0; x < rect.size.width; ++x)
			Blend(rect.position.x + x, rect.position.y + y, colour, cover(static_cast<Float>(x), static_cast<Float>(y)));
	}
}

void Canvas::FillRound(const DrawRectInt& rect, Int radius, const Colour& colour)
{
	const auto r = static_cast<Float>(radius);
	const auto width = static_cast<Float>(rect.size.width);
	const auto height = static_cast<Float>(rect.size.height);
	FillShape(rect, colour,
			  [=](Float x, Float y)
			  {
				  const Float dx = x - std::clamp(x, r, width - r);
				  const Float dy = y - std::clamp(y, r, height - r);
				  return dx * dx + dy * dy <= r * r;
			  });
}

void Canvas::FillDisc(const DrawRectInt& rect, const Colour& colour, Bool onlyRightHalf)
{
	const Float radius = static_cast<Float>(std::min(rect.size.width, rect.size.height)) / 2.0;
	FillShape(rect, colour,
			  [=](Float x, Float y) { return std::hypot(x - radius, y - radius) <= radius && (!onlyRightHalf || x >= radius); });
}

void Canvas::DrawFrame(const DrawRectInt& rect, const Colour& colour)
{
	DrawDashedFrame(rect, rect, colour, colour);
}

void Canvas::DrawDashedFrame(const DrawRectInt& rect, const DrawRectInt& clip, const Colour& first, const Colour& second)
{
	constexpr Int DASH = 4;
	const auto draw = [&](Int x, Int y)
	{
		const Bool isInside =
			x >= clip.position.x && y >= clip.position.y && x < clip.position.x + clip.size.width && y < clip.position.y + clip.size.height;
		if (isInside)
			Blend(x, y, (x + y) / DASH % 2 == 0 ? first : second);
	};
	const Int right = rect.position.x + rect.size.width - 1;
	const Int bottom = rect.position.y + rect.size.height - 1;
	for (Int x = std::max(rect.position.x, clip.position.x); x <= std::min(right, clip.position.x + clip.size.width); ++x)
	{
		draw(x, rect.position.y);
		draw(x, bottom);
	}
	for (Int y = std::max(rect.position.y, clip.position.y); y <= std::min(bottom, clip.position.y + clip.size.height); ++y)
	{
		draw(rect.position.x, y);
		draw(right, y);
	}
}

} // namespace torvi::tool
