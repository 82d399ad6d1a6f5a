// Where everything lies on a contact sheet.
#include "tools/sheet_layout.h"

#include <algorithm>
#include <cmath>

namespace torvi::tool
{

namespace
{

constexpr Int LEAST_CELL_WIDTH = 184; ///< room for texts below narrow pictures
constexpr Int ZOOM_LIMIT = 32;
constexpr Int TEXT_DISTANCE = 8; ///< from thumbnail to text

constexpr Int DivideUp(Int count, Int divisor)
{
	return (count + divisor - 1) / divisor;
}

/// The fewest columns that keep the sheet from being higher than 4 : 3, evened out so that the last row is not left nearly empty.
Int CountColumns(Int cellCount, const DrawDimensionInt& cell)
{
	const Float wanted = std::sqrt(static_cast<Float>(cellCount * cell.height * 4) / static_cast<Float>(cell.width * 3));
	const Int columns = std::clamp<Int>(static_cast<Int>(std::ceil(wanted)), 1, std::clamp<Int>(cellCount, 1, SHEET_COLUMN_LIMIT));
	return DivideUp(std::max<Int>(cellCount, 1), DivideUp(std::max<Int>(cellCount, 1), columns));
}

} // namespace

Int GetThumbnailSide(Int cellCount)
{
	return cellCount <= 1 ? 480 : cellCount <= 4 ? 360 : cellCount <= 12 ? 260 : 200;
}

DrawDimensionInt FitFrame(const DrawDimensionInt& frame, Int side)
{
	const Int longest = std::max(frame.width, frame.height);
	if (std::min(frame.width, frame.height) <= 0 || longest <= side)
		return {std::max<Int>(frame.width, 0), std::max<Int>(frame.height, 0)};
	const auto fit = [&](Int length)
	{
		const Float scaled = static_cast<Float>(length) * static_cast<Float>(side) / static_cast<Float>(longest);
		return std::clamp<Int>(static_cast<Int>(std::lround(scaled)), 1, side);
	};
	return {fit(frame.width), fit(frame.height)};
}

Int GetZoom(const DrawDimensionInt& thumbnail, Int side)
{
	return std::clamp<Int>(side / std::max<Int>({thumbnail.width, thumbnail.height, 1}), 1, ZOOM_LIMIT);
}

DrawRectInt SheetLayout::GetCell(Int index) const
{
	const Int x = SHEET_MARGIN + index % _columns * (_cell.width + SHEET_GAP);
	const Int y = SHEET_MARGIN + SHEET_HEADER_HEIGHT + index / _columns * (_cell.height + SHEET_GAP);
	return {{x, y}, _cell};
}

SheetLayout ArrangeCells(const SheetContent& content)
{
	const Int strips = std::min(content._stripCount, SHEET_STRIP_LIMIT) * STRIP_DISTANCE;
	const DrawDimensionInt room = {std::max(content._drawnSize.width, LEAST_CELL_WIDTH), content._drawnSize.height};
	SheetLayout layout;
	layout._thumbnail = {{CELL_PADDING, CELL_PADDING + strips}, room};
	layout._textTop = layout._thumbnail.position.y + room.height + TEXT_DISTANCE;
	layout._cell = {room.width + 2 * CELL_PADDING, layout._textTop + content._textLines * TEXT_LINE_HEIGHT + CELL_PADDING};
	layout._columns = CountColumns(content._cellCount, layout._cell);
	layout._rows = DivideUp(content._cellCount, layout._columns);
	layout._footerTop = SHEET_MARGIN + SHEET_HEADER_HEIGHT + layout._rows * (layout._cell.height + SHEET_GAP) - SHEET_GAP;
	layout._sheet = {2 * SHEET_MARGIN + layout._columns * (layout._cell.width + SHEET_GAP) - SHEET_GAP,
					 layout._footerTop + SHEET_MARGIN + (content._hasFooter ? SHEET_FOOTER_HEIGHT : 0)};
	return layout;
}

} // namespace torvi::tool
