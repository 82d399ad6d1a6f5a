// Layer sets: which picture of a file, and which of its layers, masks or alpha channels, a reader wants.
#pragma once

#include "host/dataserialize.h"

namespace torvi
{

/// What the names of a layer set stand for. The numbers are stored.
enum class LAYERSETMODE : UInt32
{
	LAYERS = 0,     ///< paths of layers
	LAYERMASKS = 1, ///< paths of layer masks
	ALPHAS = 2,     ///< names of alpha channels
};

/// Names without regard to case.
struct LayerSetCompare
{
	std::size_t operator()(const String& name) const
	{
		const String upper = ToUpper(name);
		return HashText(upper.data(), upper.size());
	}
	bool operator()(const String& a, const String& b) const { return ComparePart(a, b, StringCompareMode::CASEINSENSITIVE) == 0; }
};

using LayerNames = HashSet<String, LayerSetCompare, LayerSetCompare>;

/// Joins the names of a path, from the outermost folder down.
inline constexpr char LAYERPATH_SEPARATOR = '\\';

/// A value that copies share until one is changed. Setters give only the out-of-memory error.
class TORVI_EXPORT LayerSet
{
public:
	/// Empty: selects nothing, mode LAYERS.
	LayerSet() noexcept = default;

	Result<void> SetSelectedLayers(LayerNames names);
	const LayerNames& GetSelectedLayers() const noexcept;
	Result<void> SetSelectedImage(std::string_view name);
	const String& GetSelectedImage() const noexcept;
	Result<void> SetMode(LAYERSETMODE mode);
	LAYERSETMODE GetMode() const noexcept;
	/// Kept for the caller; nothing here reads it.
	Result<void> SetCalculateAlpha(Bool value);
	Bool GetCalculateAlpha() const noexcept;

	/// The same names without regard to case, the same picture with regard to it, mode and flag.
	Bool IsEqual(const LayerSet& other) const;
	friend Bool operator==(const LayerSet& a, const LayerSet& b) { return a.IsEqual(b); }
	UInt64 GetHashCode() const;
	/// Stores _layers, _selectedImage, _layersetMode and _calculateAlpha.
	Result<void> DescribeIO(DataSerialize& serializer);
	String ToString(std::string_view format = {}) const;

private:
	class Members;
	const Members& Read() const noexcept;
	Result<Ref<Members>> Write();

	CowRef<ObjectInterface> _members; ///< Members, or null while nothing was set
};

} // namespace torvi

TORVI_DATATYPE(torvi::LayerSet, "net.torvi.image.interface.layerset")
