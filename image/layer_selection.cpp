// Finding the layers, masks and alpha channels that a layer set names. Paths are relative to the image that is asked.
#include "image/layer_selection.h"

#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

constexpr std::string_view UNNAMED_MASK = "Alpha";

/// Calls `visit`(image) for the children of one branch and their descendants through the same branch, each before its children, until it
/// gives true or an error.
template <class Visit>
Result<void> VisitBranch(const ImageBaseInterface& top, IMAGEHIERARCHY branch, const Visit& visit)
{
	const Int32 number = static_cast<Int32>(branch);
	HierarchyObjectRef node = top.GetFirstChild(number);
	while (node)
	{
		const ImageBaseRef image = Cast<ImageBaseInterface>(node);
		if (image && TORVI_TRY(visit(image)))
			return OK;
		HierarchyObjectRef next = node->GetFirstChild(number);
		while (!next)
		{
			next = node->GetNext();
			if (next)
				break;
			node = node->GetParent();
			if (!node || static_cast<const HierarchyObjectInterface*>(&top) == node.GetPointer())
				return OK;
		}
		node = std::move(next);
	}
	return OK;
}

void PrependName(String& path, const String& name)
{
	if (!name.empty())
		path = path.empty() ? name : name + LAYERPATH_SEPARATOR + path;
}

/// A layer's names from the outermost folder down, and the member of the chain that hangs directly below the image.
struct LayerPlace
{
	String _path;
	ImageBaseRef _outermost;
};

Result<LayerPlace> FindPlace(const ImageBaseInterface& image, const ImageBaseRef& layer)
{
	LayerPlace place = {TORVI_TRY(ReadOr<String>(*layer, ids::IMAGE_NAME, {})), layer};
	ImageBaseRef parent = Cast<ImageLayerInterface>(layer->GetParent());
	while (parent && parent.GetPointer() != &image)
	{
		PrependName(place._path, TORVI_TRY(ReadOr<String>(*parent, ids::IMAGE_NAME, {})));
		place._outermost = parent;
		parent = Cast<ImageLayerInterface>(parent->GetParent());
	}
	return place;
}

Result<Array<ImageBaseRef>> SelectAlpha(const ImageBaseInterface& image, const LayerNames& names)
{
	ImageBaseRef result;
	const auto visit = [&](const ImageBaseRef& alpha) -> Result<Bool>
	{
		if (!names.contains(TORVI_TRY(ReadOr<String>(*alpha, ids::IMAGE_ALPHANAME, {}))))
			return false;
		result = alpha;
		return true;
	};
	TORVI_TRY(VisitBranch(image, IMAGEHIERARCHY::ALPHA, visit));
	if (!result)
		result = Cast<ImageLayerInterface>(image.GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::ALPHA)));
	return result ? Array<ImageBaseRef>{result} : Array<ImageBaseRef>();
}

/// A mask is named by its layer's own name and its own, or by the whole path; the first that is named the short way goes before the first
/// that is named the long way, and any mask before none.
class MaskSelection
{
public:
	MaskSelection(const ImageBaseInterface& image, const LayerNames& names) : _image(image), _names(names) {}

	/// True when the search is over.
	Result<Bool> VisitLayer(const ImageBaseRef& layer)
	{
		const String name = TORVI_TRY(ReadOr<String>(*layer, ids::IMAGE_NAME, {}));
		const String path = TORVI_TRY(FindPlace(_image, layer))._path;
		TORVI_TRY(VisitBranch(*layer, IMAGEHIERARCHY::MASK, [&](const ImageBaseRef& mask) { return VisitMask(name, path, mask); }));
		return static_cast<Bool>(_byName);
	}

	ImageBaseRef GetResult() const { return _byName ? _byName : _byPath ? _byPath : _first; }

private:
	Result<Bool> VisitMask(const String& layerName, const String& layerPath, const ImageBaseRef& mask)
	{
		String name = TORVI_TRY(ReadOr<String>(*mask, ids::IMAGE_NAME, {}));
		if (name.empty())
			name = MakeString(UNNAMED_MASK);
		if (!_first)
			_first = mask;
		if (_names.contains(layerName + LAYERPATH_SEPARATOR + name))
			_byName = mask;
		PrependName(name, layerPath);
		if (!_byPath && _names.contains(name))
			_byPath = mask;
		return static_cast<Bool>(_byName);
	}

	const ImageBaseInterface& _image;
	const LayerNames& _names;
	ImageBaseRef _byName;
	ImageBaseRef _byPath;
	ImageBaseRef _first;
};

Result<Array<ImageBaseRef>> SelectMask(const ImageBaseInterface& image, const LayerNames& names)
{
	MaskSelection selection(image, names);
	TORVI_TRY(VisitBranch(image, IMAGEHIERARCHY::LAYER, [&](const ImageBaseRef& layer) { return selection.VisitLayer(layer); }));
	const ImageBaseRef mask = selection.GetResult();
	return mask ? Array<ImageBaseRef>{mask} : Array<ImageBaseRef>();
}

/// A layer inside of a folder selects the whole outermost folder. Descendants follow each other, so a folder that is in the list is its
/// last.
Result<Array<ImageBaseRef>> SelectLayers(const ImageBaseInterface& image, const LayerNames& names)
{
	Array<ImageBaseRef> selected;
	if (names.empty())
		return selected;
	const auto visit = [&](const ImageBaseRef& layer) -> Result<Bool>
	{
		const LayerPlace place = TORVI_TRY(FindPlace(image, layer));
		if (names.contains(place._path) && (selected.empty() || selected.back() != place._outermost))
			selected.push_back(place._outermost);
		return false;
	};
	TORVI_TRY(VisitBranch(image, IMAGEHIERARCHY::LAYER, visit));
	return selected;
}

} // namespace

Result<Array<ImageBaseRef>> SelectFromImage(const ImageBaseInterface& image, const LayerSet& layerSet)
{
	switch (layerSet.GetMode())
	{
	case LAYERSETMODE::ALPHAS:
		return SelectAlpha(image, layerSet.GetSelectedLayers());
	case LAYERSETMODE::LAYERMASKS:
		return SelectMask(image, layerSet.GetSelectedLayers());
	case LAYERSETMODE::LAYERS:
		break;
	}
	return SelectLayers(image, layerSet.GetSelectedLayers());
}

} // namespace torvi
