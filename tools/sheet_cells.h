// What stands on a contact sheet: a cell for each picture, alpha channel, layer, folder and mask of a file, with what the file says of it.
#pragma once

#include "tools/sheet_thumbnail.h"
#include "torvi/gfx_image.h"

#include <array>
#include <string>
#include <vector>

namespace torvi::tool
{

enum class CellKind
{
	PICTURE,
	ALPHA,
	FOLDER,
	LAYER,
	FILTER,
	MASK
};

struct Cell
{
	CellKind _kind = CellKind::PICTURE;
	ImageBaseRef _image;           ///< until the thumbnail is made
	DrawDimensionInt _frame;       ///< the picture that the cell shows a part of
	DrawRectInt _bounds;           ///< where that part lies in the frame; it may hang over
	Bool _isPart = false;          ///< it fills less than the frame, or hangs over
	Bool _isHidden = false;        ///< a layer that is not shown, a mask that is off
	Bool _hasTransparency = false; ///< a picture whose alpha channel is its own alpha
	std::string _name;
	std::string _facts;       ///< blend mode, opacity and the like
	std::string _place;       ///< size, and where it lies
	std::string _path;        ///< "in folder, in outer folder"; empty for what hangs below no layer
	std::vector<Int> _groups; ///< numbers of the groups that it stands in, the outermost first, its own last if it opens one
	Thumbnail _thumbnail;
};

/// The short id of an image's pixel format; empty if it has none.
std::string FormatText(const ImageBaseInterface& image);

/// How many cells of each kind.
class CellCounts
{
public:
	void Add(CellKind kind) { ++_counts[static_cast<std::size_t>(kind)]; }
	Int GetTotal() const;
	/// "12 layers, 1 mask".
	std::string ToText() const;

private:
	std::array<Int, 6> _counts = {};
};

/// Counts the cells of all pictures of a texture.
CellCounts CountCells(const ImageTextureInterface& texture);

/// Adds the cells of a picture to a list: the picture, its alpha channels, its layers from the topmost down, folders before what is in them
/// and masks before what they cut. Ends when the list has `limit` cells.
class CellCollector
{
public:
	/// Pictures are numbered and grouped where there are several. Numbers of groups begin with `firstGroup`.
	CellCollector(Bool hasSeveralPictures, Int limit, Int firstGroup)
		: _hasSeveralPictures(hasSeveralPictures), _limit(limit), _groupCount(firstGroup)
	{
	}

	Result<void> AddPicture(const ImageBaseRef& picture);
	std::vector<Cell>& GetCells() { return _cells; }

private:
	struct Above
	{
		std::string _path; ///< "in folder, in outer folder"; empty for what hangs below no layer
		std::vector<Int> _groups;
		DrawDimensionInt _frame;
	};
	Bool IsFull() const { return CountOf(_cells) >= _limit; }
	Cell MakeCell(CellKind kind, const ImageBaseRef& image, const Above& above) const;
	/// What the children of a cell have above them; with children the cell opens a group.
	Above Open(Cell& cell, const Above& above, Bool hasChildren);
	void AddLayers(const HierarchyObjectInterface& parent, const Above& above);
	void AddLayer(const ImageBaseRef& layer, const Above& above);
	void AddMask(const ImageBaseRef& mask, const Above& above);
	void AddAlpha(const ImageBaseRef& alpha, const Above& above);

	Bool _hasSeveralPictures;
	Int _limit;
	Int _groupCount;
	std::vector<Cell> _cells;
};

} // namespace torvi::tool
