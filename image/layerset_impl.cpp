// Layer sets as values: members that copies share until one is changed.
#include "torvi/layerset.h"

#include "host/class.h"

#include <algorithm>

namespace torvi
{

class LayerSet::Members final : public ObjectInterface
{
public:
	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

	LayerNames _layers;
	String _selectedImage;
	LAYERSETMODE _layersetMode = LAYERSETMODE::LAYERS;
	Bool _calculateAlpha = false;
};

const LayerSet::Members& LayerSet::Read() const noexcept
{
	static const Members s_empty;
	return _members ? static_cast<const Members&>(*_members.GetRef()) : s_empty;
}

Result<Ref<LayerSet::Members>> LayerSet::Write()
{
	if (!_members)
		_members = CowRef<ObjectInterface>(ObjectRef(TORVI_TRY(NewObject<Members>())));
	return Cast<Members>(TORVI_TRY(_members.MakeWritable()));
}

Result<void> LayerSet::SetSelectedLayers(LayerNames names)
{
	TORVI_TRY(Write())->_layers = std::move(names);
	return OK;
}

const LayerNames& LayerSet::GetSelectedLayers() const noexcept
{
	return Read()._layers;
}

Result<void> LayerSet::SetSelectedImage(std::string_view name)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			String text = MakeString(name);
			TORVI_TRY(Write())->_selectedImage = std::move(text);
			return OK;
		});
}

const String& LayerSet::GetSelectedImage() const noexcept
{
	return Read()._selectedImage;
}

Result<void> LayerSet::SetMode(LAYERSETMODE mode)
{
	TORVI_TRY(Write())->_layersetMode = mode;
	return OK;
}

LAYERSETMODE LayerSet::GetMode() const noexcept
{
	return Read()._layersetMode;
}

Result<void> LayerSet::SetCalculateAlpha(Bool value)
{
	TORVI_TRY(Write())->_calculateAlpha = value;
	return OK;
}

Bool LayerSet::GetCalculateAlpha() const noexcept
{
	return Read()._calculateAlpha;
}

Bool LayerSet::IsEqual(const LayerSet& other) const
{
	const Members& a = Read();
	const Members& b = other.Read();
	const auto isInB = [&](const String& name) { return b._layers.contains(name); };
	return a._layers.size() == b._layers.size() && std::ranges::all_of(a._layers, isInB) && a._selectedImage == b._selectedImage &&
		   a._layersetMode == b._layersetMode && a._calculateAlpha == b._calculateAlpha;
}

UInt64 LayerSet::GetHashCode() const
{
	const Members& members = Read();
	UInt64 names = 0;
	for (const String& name : members._layers)
		names += LayerSetCompare()(name);
	const UInt64 selection = CombineHash(std::hash<String>()(members._selectedImage), names);
	return CombineHash(CombineHash(selection, MixHash(static_cast<UInt64>(members._layersetMode))), MixHash(members._calculateAlpha));
}

/// The names are stored in order, so that equal sets have equal bytes.
Result<void> LayerSet::DescribeIO(DataSerialize& serializer)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			Members members = Read();
			Array<String> names(members._layers.begin(), members._layers.end());
			std::ranges::sort(names);
			UInt32 mode = static_cast<UInt32>(members._layersetMode);
			TORVI_TRY(serializer.DescribeElement("_layers", names));
			TORVI_TRY(serializer.DescribeElement("_selectedImage", members._selectedImage));
			TORVI_TRY(serializer.DescribeElement("_layersetMode", mode));
			TORVI_TRY(serializer.DescribeElement("_calculateAlpha", members._calculateAlpha));
			if (!serializer.IsReading())
				return OK;
			TORVI_CHECK(mode <= static_cast<UInt32>(LAYERSETMODE::ALPHAS),
						IllegalStateError("A stored layer set has the unknown mode @.", mode));
			members._layers = LayerNames(names.begin(), names.end());
			members._layersetMode = static_cast<LAYERSETMODE>(mode);
			const Ref<Members> target = TORVI_TRY(NewObject<Members>(members));
			_members = CowRef<ObjectInterface>(ObjectRef(target));
			return OK;
		});
}

String LayerSet::ToString(std::string_view) const
{
	String text = GetSelectedImage();
	Array<String> names(GetSelectedLayers().begin(), GetSelectedLayers().end());
	std::ranges::sort(names);
	for (const String& name : names)
		text += (text.empty() ? MakeString("") : MakeString(", ")) + name;
	return text;
}

} // namespace torvi
