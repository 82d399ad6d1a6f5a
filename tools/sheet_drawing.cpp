// The look of a contact sheet.
#include "tools/sheet_drawing.h"

#include "tools/sheet_layout.h"

#include <algorithm>

namespace torvi::tool
{

namespace
{

constexpr Colour BACKGROUND = {0x22, 0x24, 0x28};
constexpr Colour CARD = {0x30, 0x33, 0x39};
constexpr Colour EDGE = {0x4A, 0x4E, 0x56};
constexpr Colour WELL = {0x28, 0x2B, 0x30}; ///< where a cell has no pixels
constexpr Colour CHECKER_LIGHT = {0xC6, 0xC6, 0xC6};
constexpr Colour CHECKER_DARK = {0xA6, 0xA6, 0xA6};
constexpr Colour TEXT_BRIGHT = {0xF2, 0xF3, 0xF5};
constexpr Colour TEXT_PLAIN = {0xB9, 0xBD, 0xC6};
constexpr Colour TEXT_DIM = {0x8A, 0x90, 0x9B};
constexpr Colour BADGE_TEXT = {0x17, 0x19, 0x1C};
constexpr Colour HIDDEN = {0xE0, 0x6C, 0x66};
constexpr Colour BLACK = {0, 0, 0};
constexpr Colour WHITE = {255, 255, 255};

constexpr TextStyle TITLE = {22, true, TEXT_BRIGHT};
constexpr TextStyle SUBTITLE = {13, false, TEXT_PLAIN};
constexpr TextStyle NAME = {13, true, TEXT_BRIGHT};
constexpr TextStyle FACTS = {12, false, TEXT_PLAIN};
constexpr TextStyle PLACE = {11, false, TEXT_DIM};
constexpr TextStyle BADGE = {10, true, BADGE_TEXT};

constexpr Int CARD_RADIUS = 8;
constexpr Int CHECKER_SIZE = 8;
constexpr Int BADGE_HEIGHT = 15;
constexpr Int BADGE_PADDING = 6;
constexpr Int TITLE_BASELINE = 20;
constexpr Int FORMAT_BASELINE = 44;
constexpr Int CONTENTS_BASELINE = 64;
constexpr Int TEXT_BASELINE = 13; ///< in a line of text
constexpr int HIDDEN_SHARE = 165; ///< of the card over what is not shown, of 255

constexpr Colour STRIPS[] = {{0xE3, 0xB3, 0x41}, {0x5D, 0xA9, 0xE9}, {0x7B, 0xC9, 0x6F},
							 {0xD9, 0x7B, 0xC4}, {0xE8, 0x8A, 0x5A}, {0x62, 0xC6, 0xBE}};

struct KindLook
{
	std::string_view _text;
	Colour _colour;
};

/// In the order of CellKind.
constexpr KindLook KINDS[] = {
	{"PICTURE", {0x6C, 0xA8, 0xFF}}, {"ALPHA", {0x62, 0xC6, 0xBE}},  {"FOLDER", {0xE3, 0xB3, 0x41}},
	{"LAYER", {0x8F, 0xD1, 0x7F}},   {"FILTER", {0xC3, 0x97, 0xF0}}, {"MASK", {0xC2, 0xC5, 0xCB}},
};

Bool IsGrey(const Cell& cell)
{
	return cell._kind == CellKind::MASK || cell._kind == CellKind::ALPHA;
}

/// Where a thumbnail comes to lie: in the middle of its room, each pixel as large as its zoom.
DrawRectInt GetDrawnRect(const Thumbnail& thumbnail, Int zoom, const DrawRectInt& room)
{
	const DrawDimensionInt size = {thumbnail._size.width * zoom, thumbnail._size.height * zoom};
	return {{room.position.x + (room.size.width - size.width) / 2, room.position.y + (room.size.height - size.height) / 2}, size};
}

class SheetDrawer
{
public:
	SheetDrawer(const Sheet& sheet, TextDrawer& text);
	Canvas Draw();

private:
	static SheetContent Measure(const Sheet& sheet);
	void DrawCell(Int index);
	Bool IsInGroup(Int index, std::size_t level, Int group) const;
	void DrawStrips(Int index, const DrawRectInt& cell);
	void DrawThumbnail(const Cell& cell, const DrawRectInt& rect, Int zoom);
	void DrawBounds(const Cell& cell, const DrawRectInt& rect);
	void DrawTexts(const Cell& cell, Int x, Int y);
	Int DrawBadge(Int x, Int y, const KindLook& look);

	const Sheet& _sheet;
	TextDrawer& _text;
	SheetContent _content;
	SheetLayout _layout;
	Canvas _canvas;
};

SheetDrawer::SheetDrawer(const Sheet& sheet, TextDrawer& text)
	: _sheet(sheet), _text(text), _content(Measure(sheet)), _layout(ArrangeCells(_content)), _canvas(_layout._sheet, BACKGROUND)
{
}

SheetContent SheetDrawer::Measure(const Sheet& sheet)
{
	SheetContent content;
	content._cellCount = CountOf(sheet._cells);
	content._hasFooter = sheet._leftOut > 0;
	content._textLines = 3;
	for (const Cell& cell : sheet._cells)
	{
		const DrawDimensionInt& size = cell._thumbnail._size;
		const Int zoom = GetZoom(size, sheet._thumbnailSide);
		content._drawnSize.width = std::max(content._drawnSize.width, size.width * zoom);
		content._drawnSize.height = std::max(content._drawnSize.height, size.height * zoom);
		content._stripCount = std::max(content._stripCount, CountOf(cell._groups));
		if (!cell._path.empty())
			content._textLines = 4;
	}
	return content;
}

Canvas SheetDrawer::Draw()
{
	const Int width = _layout._sheet.width - 2 * SHEET_MARGIN;
	_text.Draw(_canvas, SHEET_MARGIN, SHEET_MARGIN + TITLE_BASELINE, width, _sheet._title, TITLE);
	_text.Draw(_canvas, SHEET_MARGIN, SHEET_MARGIN + FORMAT_BASELINE, width, _sheet._format, SUBTITLE);
	_text.Draw(_canvas, SHEET_MARGIN, SHEET_MARGIN + CONTENTS_BASELINE, width, _sheet._contents, SUBTITLE);
	for (Int i = 0; i < _content._cellCount; ++i)
		DrawCell(i);
	if (_content._hasFooter)
		_text.Draw(_canvas, SHEET_MARGIN, _layout._footerTop + SHEET_FOOTER_HEIGHT, width,
				   "\u2026 and " + std::to_string(_sheet._leftOut) + " more, for which this sheet has no room", SUBTITLE);
	return std::move(_canvas);
}

void SheetDrawer::DrawCell(Int index)
{
	const Cell& cell = _sheet._cells[static_cast<std::size_t>(index)];
	const DrawRectInt card = _layout.GetCell(index);
	_canvas.FillRound(card, CARD_RADIUS, CARD);
	DrawStrips(index, card);
	DrawRectInt room = _layout._thumbnail;
	room.position.x += card.position.x;
	room.position.y += card.position.y;
	const Int zoom = GetZoom(cell._thumbnail._size, _sheet._thumbnailSide);
	const DrawRectInt rect = GetDrawnRect(cell._thumbnail, zoom, room);
	DrawThumbnail(cell, rect, zoom);
	_canvas.DrawFrame({{rect.position.x - 1, rect.position.y - 1}, {rect.size.width + 2, rect.size.height + 2}}, EDGE);
	if (cell._isPart)
		DrawBounds(cell, rect);
	DrawTexts(cell, room.position.x, card.position.y + _layout._textTop);
}

/// Whether a cell stands in the same group as another at a level; no cell does at the ends of the list.
Bool SheetDrawer::IsInGroup(Int index, std::size_t level, Int group) const
{
	if (index < 0 || index >= _content._cellCount)
		return false;
	const std::vector<Int>& groups = _sheet._cells[static_cast<std::size_t>(index)]._groups;
	return level < groups.size() && groups[level] == group;
}

/// A strip for each group along the cell's upper edge: from the group's first cell to its last, over the gaps and on to the next row.
void SheetDrawer::DrawStrips(Int index, const DrawRectInt& cell)
{
	const std::vector<Int>& groups = _sheet._cells[static_cast<std::size_t>(index)]._groups;
	const Int gap = _layout.IsLastOfRow(index) ? 0 : SHEET_GAP;
	for (std::size_t level = 0; level < std::min(groups.size(), static_cast<std::size_t>(SHEET_STRIP_LIMIT)); ++level)
	{
		const Int group = groups[level];
		const Int left = cell.position.x + (IsInGroup(index - 1, level, group) ? 0 : CELL_PADDING);
		const Int right = cell.position.x + cell.size.width + (IsInGroup(index + 1, level, group) ? gap : -CELL_PADDING);
		const Int y = cell.position.y + CELL_PADDING - STRIP_HEIGHT + static_cast<Int>(level) * STRIP_DISTANCE;
		_canvas.FillRect({{left, y}, {right - left, STRIP_HEIGHT}}, STRIPS[static_cast<std::size_t>(group) % std::size(STRIPS)]);
	}
}

void SheetDrawer::DrawThumbnail(const Cell& cell, const DrawRectInt& rect, Int zoom)
{
	if (cell._thumbnail._pixels.empty())
	{
		_canvas.FillRect(rect, WELL);
		const Int size = std::min<Int>({rect.size.width, rect.size.height, 64}) * 3 / 4;
		const DrawRectInt sign = {{rect.position.x + (rect.size.width - size) / 2, rect.position.y + (rect.size.height - size) / 2},
								  {size, size}};
		_canvas.FillDisc(sign, EDGE, false);
		_canvas.FillDisc(sign, KINDS[static_cast<std::size_t>(cell._kind)]._colour, true);
		return;
	}
	for (Int y = 0; y < rect.size.height; ++y)
	{
		for (Int x = 0; x < rect.size.width; ++x)
		{
			const Byte* pixel = cell._thumbnail._pixels.data() + (y / zoom * cell._thumbnail._size.width + x / zoom) * 4;
			const Colour below = (x / CHECKER_SIZE + y / CHECKER_SIZE) % 2 == 0 ? CHECKER_LIGHT : CHECKER_DARK;
			const Colour shown = Mix(below, {pixel[0], pixel[1], pixel[2]}, pixel[3]);
			_canvas.Blend(rect.position.x + x, rect.position.y + y, cell._isHidden ? Mix(shown, CARD, HIDDEN_SHARE) : shown);
		}
	}
}

void SheetDrawer::DrawBounds(const Cell& cell, const DrawRectInt& rect)
{
	const auto scale = [](Int length, Int from, Int to)
	{ return static_cast<Int>(static_cast<Float>(length) * static_cast<Float>(to) / static_cast<Float>(std::max<Int>(from, 1))); };
	const auto [position, size] = cell._bounds;
	if (size.width <= 0 || size.height <= 0)
		return;
	const Int left = rect.position.x + scale(position.x, cell._frame.width, rect.size.width);
	const Int top = rect.position.y + scale(position.y, cell._frame.height, rect.size.height);
	const Int right = rect.position.x + scale(position.x + size.width, cell._frame.width, rect.size.width);
	const Int bottom = rect.position.y + scale(position.y + size.height, cell._frame.height, rect.size.height);
	const DrawRectInt bounds = {{left, top}, {std::max<Int>(right - left, 1), std::max<Int>(bottom - top, 1)}};
	_canvas.DrawDashedFrame(bounds, rect, WHITE, BLACK);
}

void SheetDrawer::DrawTexts(const Cell& cell, Int x, Int y)
{
	const Int width = _layout._thumbnail.size.width;
	_text.Draw(_canvas, x, y + TEXT_BASELINE, width, cell._name, NAME);
	y += TEXT_LINE_HEIGHT;
	Int used = DrawBadge(x, y, KINDS[static_cast<std::size_t>(cell._kind)]);
	if (cell._isHidden)
		used += DrawBadge(x + used, y, {IsGrey(cell) ? "OFF" : "HIDDEN", HIDDEN});
	_text.Draw(_canvas, x + used, y + TEXT_BASELINE, width - used, cell._facts, FACTS);
	y += TEXT_LINE_HEIGHT;
	_text.Draw(_canvas, x, y + TEXT_BASELINE, width, cell._place, PLACE);
	if (!cell._path.empty())
		_text.Draw(_canvas, x, y + TEXT_LINE_HEIGHT + TEXT_BASELINE, width, cell._path, PLACE);
}

/// Gives the room that the badge takes. Without a font it is a spot of colour.
Int SheetDrawer::DrawBadge(Int x, Int y, const KindLook& look)
{
	const Int width = std::max(_text.Measure(look._text, BADGE), BADGE_HEIGHT) + 2 * BADGE_PADDING;
	_canvas.FillRound({{x, y + 1}, {width, BADGE_HEIGHT}}, 4, look._colour);
	_text.Draw(_canvas, x + BADGE_PADDING, y + TEXT_BASELINE - 1, width, look._text, BADGE);
	return width + BADGE_PADDING;
}

} // namespace

Canvas DrawSheet(const Sheet& sheet, TextDrawer& text)
{
	return SheetDrawer(sheet, text).Draw();
}

} // namespace torvi::tool
