// The look of a contact sheet: colours, cards, badges, strips that hold groups together.
#pragma once

#include "tools/sheet_canvas.h"
#include "tools/sheet_cells.h"
#include "tools/sheet_text.h"

namespace torvi::tool
{

/// What a sheet shows.
struct Sheet
{
	std::string _title;
	std::string _format;      ///< of the file
	std::string _contents;    ///< how many of what
	std::vector<Cell> _cells; ///< with their thumbnails
	Int _leftOut = 0;         ///< cells that the sheet has no room for
	Int _thumbnailSide = 0;   ///< the side that the thumbnails were made for
};

Canvas DrawSheet(const Sheet& sheet, TextDrawer& text);

} // namespace torvi::tool
