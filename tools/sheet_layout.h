// Where everything lies on a contact sheet: sizes of thumbnails, and the grid of cells. Arithmetic alone, in pixels; nothing is drawn here.
#pragma once

#include "host/gfx_basictypes.h"

namespace torvi::tool
{

/// The most cells of a sheet, and of one of its rows.
inline constexpr Int SHEET_CELL_LIMIT = 240;
inline constexpr Int SHEET_COLUMN_LIMIT = 8;
/// Deeper groups than this share the innermost strip.
inline constexpr Int SHEET_STRIP_LIMIT = 4;

inline constexpr Int SHEET_MARGIN = 28;
inline constexpr Int SHEET_GAP = 14;
inline constexpr Int SHEET_HEADER_HEIGHT = 84;
inline constexpr Int SHEET_FOOTER_HEIGHT = 30;
inline constexpr Int CELL_PADDING = 12;
inline constexpr Int STRIP_HEIGHT = 4;
inline constexpr Int STRIP_DISTANCE = 6; ///< from strip to strip
inline constexpr Int TEXT_LINE_HEIGHT = 18;

/// The side of the square that thumbnails fit into: few cells have large ones.
Int GetThumbnailSide(Int cellCount);

/// The size of a picture's frame as a thumbnail: scaled down to fit the side, never up, and no side below 1. A frame without pixels stays
/// so.
DrawDimensionInt FitFrame(const DrawDimensionInt& frame, Int side);

/// How many pixels wide each pixel of a small thumbnail is drawn: a whole number, so that pixel edges stay sharp.
Int GetZoom(const DrawDimensionInt& thumbnail, Int side);

/// What the shape of a sheet follows from.
struct SheetContent
{
	Int _cellCount = 0;
	DrawDimensionInt _drawnSize; ///< the largest width and the largest height of a thumbnail as it is drawn
	Int _stripCount = 0;         ///< levels of groups
	Int _textLines = 0;          ///< below each thumbnail
	Bool _hasFooter = false;
};

struct SheetLayout
{
	Int _columns = 1;
	Int _rows = 0;
	DrawDimensionInt _sheet;
	DrawDimensionInt _cell;
	DrawRectInt _thumbnail; ///< in the cell: what thumbnails are centred in
	Int _textTop = 0;       ///< in the cell
	Int _footerTop = 0;

	DrawRectInt GetCell(Int index) const;
	Bool IsLastOfRow(Int index) const { return index % _columns == _columns - 1; }
};

/// Cells in rows, from left to right, so that the sheet is near 4 : 3.
SheetLayout ArrangeCells(const SheetContent& content);

} // namespace torvi::tool
