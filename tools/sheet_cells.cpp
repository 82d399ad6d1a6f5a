// What stands on a contact sheet.
#include "tools/sheet_cells.h"

#include "tools/picture.h"
#include "torvi/ids_keys.h"

#include <cmath>
#include <numeric>

namespace torvi::tool
{

namespace
{

constexpr std::string_view FACT_SEPARATOR = " \u00B7 ";

std::string NameOr(const ImageBaseInterface& image, const Id& key, std::string_view fallback)
{
	const String name = image.GetOr<String>(key, String());
	return ToStd(name.empty() ? fallback : std::string_view(name));
}

/// Adds a text behind others, if there is one.
void AddText(std::string& list, std::string_view text, std::string_view separator)
{
	if (!list.empty() && !text.empty())
		list += separator;
	list += text;
}

std::string SizeText(const DrawDimensionInt& size)
{
	return std::to_string(size.width) + " \u00D7 " + std::to_string(size.height);
}

std::string PercentText(Float64 share)
{
	return std::to_string(std::lround(std::clamp(share, 0.0, 1.0) * 100.0)) + " %";
}

Bool HasChildren(const ImageBaseInterface& image, IMAGEHIERARCHY branch)
{
	return static_cast<Bool>(image.GetFirstChild(static_cast<Int32>(branch)));
}

CellKind KindOf(const ImageBaseInterface& layer)
{
	const ImageType type = GetLayerType(layer);
	if (type == ImageType::FOLDER || HasChildren(layer, IMAGEHIERARCHY::LAYER))
		return CellKind::FOLDER;
	return type == ImageType::FILTER ? CellKind::FILTER : CellKind::LAYER;
}

/// The four letters that name what a filter layer does.
std::string FilterText(const ImageBaseInterface& filter)
{
	const Int code = filter.GetOr<Int>(ids::IMAGE_LAYER_PSD_FILTERID, 0);
	std::string text;
	for (int shift = 24; shift >= 0; shift -= 8)
	{
		const auto letter = static_cast<char>(code >> shift & 0xFF);
		if (letter > ' ' && letter <= '~')
			text += letter;
	}
	return text;
}

std::string BlendText(const ImageBaseInterface& layer)
{
	const ImagePixelBlend mode = layer.GetOr<ImagePixelBlend>(ids::IMAGE_LAYER_BLENDMODE, ImagePixelBlend());
	std::string text = mode ? ShortId(mode->GetClassId().GetText(), BLENDMODE_PREFIX) : std::string();
	if (const Float64 opacity = layer.GetOr<Float64>(ids::IMAGE_LAYER_OPACITY, 1.0); opacity != 1.0)
		AddText(text, PercentText(opacity), FACT_SEPARATOR);
	if (const Float64 fill = layer.GetOr<Float64>(ids::IMAGE_LAYER_FILLOPACITY, 1.0); fill != 1.0)
		AddText(text, "fill " + PercentText(fill), FACT_SEPARATOR);
	return text;
}

/// Sets where a part of a picture lies, and the text of it.
void Place(Cell& cell, const DrawRectInt& bounds)
{
	cell._bounds = bounds;
	cell._isPart = bounds != DrawRectInt{{0, 0}, cell._frame};
	const Bool isEmpty = bounds.size.width <= 0 || bounds.size.height <= 0;
	cell._place = isEmpty ? "empty" : SizeText(bounds.size);
	if (!isEmpty && cell._isPart)
		cell._place += " at " + std::to_string(bounds.position.x) + ", " + std::to_string(bounds.position.y);
}

void CountLayers(const HierarchyObjectInterface& parent, CellCounts& counts)
{
	for (const ImageBaseRef& layer : GetImageChildren(parent, IMAGEHIERARCHY::LAYER))
	{
		counts.Add(KindOf(*layer));
		for (std::size_t i = GetImageChildren(*layer, IMAGEHIERARCHY::MASK).size(); i > 0; --i)
			counts.Add(CellKind::MASK);
		CountLayers(*layer, counts);
	}
}

} // namespace

std::string FormatText(const ImageBaseInterface& image)
{
	const PixelFormat format = image.GetPixelFormat();
	return format ? ShortId(NamePixelFormat(format), PIXELFORMAT_PREFIX) : std::string();
}

Int CellCounts::GetTotal() const
{
	return std::accumulate(_counts.begin(), _counts.end(), Int(0));
}

std::string CellCounts::ToText() const
{
	constexpr std::string_view NAMES[] = {"picture", "alpha channel", "folder", "layer", "filter", "mask"};
	static_assert(std::size(NAMES) == std::tuple_size_v<decltype(_counts)>);
	std::string text;
	for (std::size_t i = 0; i < _counts.size(); ++i)
	{
		if (_counts[i] > 0)
			AddText(text, std::to_string(_counts[i]) + " " + ToStd(NAMES[i]) + (_counts[i] > 1 ? "s" : ""), ", ");
	}
	return text;
}

CellCounts CountCells(const ImageTextureInterface& texture)
{
	CellCounts counts;
	for (const ImageBaseRef& picture : GetImageChildren(texture, IMAGEHIERARCHY::IMAGE))
	{
		counts.Add(CellKind::PICTURE);
		for (std::size_t i = GetImageChildren(*picture, IMAGEHIERARCHY::ALPHA).size(); i > 0; --i)
			counts.Add(CellKind::ALPHA);
		CountLayers(*picture, counts);
	}
	return counts;
}

Cell CellCollector::MakeCell(CellKind kind, const ImageBaseRef& image, const Above& above) const
{
	Cell cell;
	cell._kind = kind;
	cell._image = image;
	cell._frame = above._frame;
	cell._path = above._path;
	cell._groups = above._groups;
	cell._isHidden = !image->GetOr<Bool>(ids::IMAGE_LAYER_ENABLED, true);
	return cell;
}

CellCollector::Above CellCollector::Open(Cell& cell, const Above& above, Bool hasChildren)
{
	if (hasChildren)
		cell._groups.push_back(_groupCount++);
	const std::string path = "in " + cell._name + (above._path.empty() ? "" : ", " + above._path);
	return {path, cell._groups, above._frame};
}

Result<void> CellCollector::AddPicture(const ImageBaseRef& picture)
{
	TORVI_CHECK(picture->GetPixelFormat(), IllegalStateError("The picture has no pixel format."));
	const Bool hasLayers = HasChildren(*picture, IMAGEHIERARCHY::LAYER);
	const Array<ImageBaseRef> alphas = GetImageChildren(*picture, IMAGEHIERARCHY::ALPHA);
	const std::string number = " #" + std::to_string(picture->GetOr<Int>(ids::IMAGE_SUBIMAGEINDEX, 0) + 1);
	Above above = {{}, {}, {picture->GetWidth(), picture->GetHeight()}};
	Cell cell = MakeCell(CellKind::PICTURE, picture, above);
	cell._name = NameOr(*picture, ids::IMAGE_NAME, (hasLayers ? "Merged picture" : "Picture") + (_hasSeveralPictures ? number : ""));
	cell._facts = FormatText(*picture);
	cell._hasTransparency = !hasLayers && alphas.size() == 1;
	Place(cell, {{0, 0}, above._frame});
	if (_hasSeveralPictures)
		above = Open(cell, above, hasLayers || !alphas.empty());
	if (!IsFull())
		_cells.push_back(std::move(cell));
	for (const ImageBaseRef& alpha : alphas)
		AddAlpha(alpha, above);
	AddLayers(*picture, above);
	return OK;
}

void CellCollector::AddAlpha(const ImageBaseRef& alpha, const Above& above)
{
	Cell cell = MakeCell(CellKind::ALPHA, alpha, above);
	cell._frame = {alpha->GetWidth(), alpha->GetHeight()};
	cell._name = NameOr(*alpha, ids::IMAGE_ALPHANAME, "Alpha");
	cell._facts = FormatText(*alpha);
	Place(cell, {{0, 0}, cell._frame});
	if (!IsFull())
		_cells.push_back(std::move(cell));
}

void CellCollector::AddLayers(const HierarchyObjectInterface& parent, const Above& above)
{
	Array<ImageBaseRef> layers = GetImageChildren(parent, IMAGEHIERARCHY::LAYER); // the lowest first
	for (auto layer = layers.rbegin(); layer != layers.rend() && !IsFull(); ++layer)
		AddLayer(*layer, above);
}

void CellCollector::AddLayer(const ImageBaseRef& layer, const Above& above)
{
	Cell cell = MakeCell(KindOf(*layer), layer, above);
	cell._name = NameOr(*layer, ids::IMAGE_NAME, "unnamed");
	cell._facts = BlendText(*layer);
	Place(cell, cell._kind == CellKind::LAYER ? GetBounds(*layer) : DrawRectInt{{0, 0}, cell._frame});
	if (cell._kind == CellKind::FILTER)
	{
		AddText(cell._facts, FilterText(*layer), FACT_SEPARATOR);
		cell._place = "no pixels";
	}
	if (cell._kind == CellKind::FOLDER)
	{
		const std::size_t count = GetImageChildren(*layer, IMAGEHIERARCHY::LAYER).size();
		cell._place = count == 0 ? "empty" : "holds " + std::to_string(count);
	}
	const Bool hasChildren = HasChildren(*layer, IMAGEHIERARCHY::MASK) || HasChildren(*layer, IMAGEHIERARCHY::LAYER);
	const Above inside = Open(cell, above, hasChildren);
	_cells.push_back(std::move(cell));
	for (const ImageBaseRef& mask : GetImageChildren(*layer, IMAGEHIERARCHY::MASK))
		AddMask(mask, inside);
	AddLayers(*layer, inside);
}

void CellCollector::AddMask(const ImageBaseRef& mask, const Above& above)
{
	Cell cell = MakeCell(CellKind::MASK, mask, above);
	cell._name = NameOr(*mask, ids::IMAGE_NAME, "Mask");
	Place(cell, {GetBounds(*mask).position, {mask->GetWidth(), mask->GetHeight()}});
	if (cell._isPart)
		cell._facts = std::to_string(mask->GetOr<UChar>(ids::IMAGE_LAYER_MASKDEFCOLOR, 0)) + " around it";
	if (!IsFull())
		_cells.push_back(std::move(cell));
}

} // namespace torvi::tool
