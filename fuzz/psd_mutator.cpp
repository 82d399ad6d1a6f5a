// PSD and PSB files in sections, resources, layers, channels and blocks of further data. Lengths fit at all levels, as do the number of
// layers and the sizes of packed rows.
#include "fuzz/mutation.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

namespace torvi::fuzz
{

namespace
{

constexpr std::string_view SIGNATURE = "8BPS";
constexpr std::string_view BLOCK_SIGNATURE = "8BIM";
constexpr std::size_t HEADER_SIZE = 26;
constexpr std::size_t RECT_SIZE = 16;
constexpr std::size_t BLOCK_HEAD_SIZE = 12; // signature, key, length
constexpr std::size_t BLENDING_SIZE = 8;    // mode, opacity, clipping, flags, filler
constexpr Byte WIDE_VERSION = 2;
constexpr UInt64 CHANNEL_MASK = 0xFFFE;

constexpr std::array LAYER_KEYS = {"Layr", "Lr16", "Lr32"};

/// Blocks behind the layers that have lengths of 8 bytes in PSB files.
constexpr std::array WIDE_KEYS = {"FXid", "LMsk", "Layr", "Alph", "FEid", "FMsk", "Lr16", "Lr32", "Mt16", "lnk2", "PxSD", "Mt32", "Mtrn"};

/// A resource, or a block of a layer.
struct Entry
{
	Bytes _head; ///< signature and name
	Bytes _data;
};

struct Channel
{
	Bytes _id;
	Bytes _data; ///< compression and samples; they lie behind all layers
};

struct Layer
{
	Bytes _rect; ///< top, left, bottom, right
	std::vector<Channel> _channels;
	Bytes _signature;
	Bytes _blending;
	Bytes _mask;
	Bytes _ranges;
	Bytes _name;
	std::vector<Entry> _blocks;
	Bytes _rest;
};

struct LayerList
{
	Bool _hasNumber = false;       ///< of layers; the list is empty without it
	Bool _hasTransparency = false; ///< the number is negative
	std::vector<Layer> _layers;
	Bytes _rest;
};

/// A block behind the layers, which may hold the layers itself.
struct SectionBlock
{
	Bytes _head;
	Bytes _data;
	std::optional<LayerList> _layers;
};

Bool HasKey(const Bytes& head, Block<const char* const> keys)
{
	Cutter cutter(head);
	cutter.Cut(BLOCK_SIGNATURE.size());
	return std::ranges::any_of(keys, [&](const char* key) { return cutter.BeginsWith(key); });
}

Bool BeginsBlock(const Cutter& cutter)
{
	return cutter.GetRemaining() >= BLOCK_HEAD_SIZE && cutter.BeginsWith(BLOCK_SIGNATURE);
}

/// Rows of a rectangle.
UInt64 CountRows(Block<const Byte> rect)
{
	Cutter cutter(rect);
	const auto top = static_cast<Int32>(cutter.CutNumber(4));
	cutter.Cut(4);
	const auto bottom = static_cast<Int32>(cutter.CutNumber(4));
	return bottom > top ? static_cast<UInt64>(Int(bottom) - top) : 0;
}

/// One row of packed samples, and its size in the table in front of them. False where the data has no such row.
Bool ChangePackedRow(Bytes& data, UInt64 rows, std::size_t entrySize, Dice& dice)
{
	Cutter cutter(data);
	const Block<const Byte> compression = cutter.Cut(2);
	if (rows == 0 || cutter.GetRemaining() / entrySize < rows)
		return false;
	const std::size_t chosen = dice.Below(rows);
	std::vector<UInt64> sizes;
	while (sizes.size() < rows)
		sizes.push_back(cutter.CutNumber(entrySize));
	Joiner changed;
	Joiner packed;
	changed.Append(compression);
	for (std::size_t row = 0; row < rows; ++row)
	{
		Bytes bytes = cutter.CutBytes(sizes[row]);
		if (row == chosen)
			MutateBytes(bytes);
		changed.AppendNumber(bytes.size(), entrySize);
		packed.Append(bytes);
	}
	packed.Append(cutter.CutRest());
	changed.Append(packed.GetBytes());
	data = changed.GetBytes();
	return true;
}

/// Half of the time what the compression packs, else the bytes as they are.
void ChangeSamples(Bytes& data, UInt64 rows, Bool isWide, Dice& dice)
{
	constexpr UInt64 PACKBITS = 1, ZIP = 2;
	const UInt64 compression = Cutter(data).CutNumber(2);
	Bool isDone = false;
	if (dice.OneIn(2))
		isDone =
			compression >= ZIP ? MutateDeflated(data, 2) : compression == PACKBITS && ChangePackedRow(data, rows, isWide ? 4 : 2, dice);
	if (!isDone)
		MutateBytes(data);
}

Bool ChangeEntries(std::vector<Entry>& entries, Dice& dice)
{
	if (entries.empty())
		return false;
	Entry& entry = entries[dice.Below(entries.size())];
	if (dice.OneIn(4))
		MutateOrder(entries, dice);
	else if (dice.OneIn(8))
		MutateField(Block<Byte>(entry._head).subspan(std::min(entry._head.size(), BLOCK_SIGNATURE.size())));
	else
		MutateBytes(entry._data);
	return true;
}

Bool ChangeChannels(Layer& layer, Bool isWide, Dice& dice)
{
	if (layer._channels.empty())
		return false;
	Channel& channel = layer._channels[dice.Below(layer._channels.size())];
	if (dice.OneIn(8))
		MutateOrder(layer._channels, dice);
	else if (dice.OneIn(8))
		MutateField(channel._id);
	else
	{
		const Bool isMask = Cutter(channel._id).CutNumber(2) == CHANNEL_MASK;
		ChangeSamples(channel._data, CountRows(isMask ? layer._mask : layer._rect), isWide, dice);
	}
	return true;
}

/// False for a list without layers.
Bool ChangeLayers(LayerList& list, Bool isWide, Dice& dice)
{
	if (list._layers.empty())
		return false;
	if (dice.OneIn(16))
		list._hasTransparency = !list._hasTransparency;
	if (dice.OneIn(8))
	{
		MutateOrder(list._layers, dice);
		return true;
	}
	Layer& layer = list._layers[dice.Below(list._layers.size())];
	switch (dice.Below(8))
	{
	case 0:
		MutateField(layer._rect);
		return true;
	case 1:
		MutateField(layer._blending);
		return true;
	case 2:
		MutateBytes(layer._mask);
		return true;
	case 3:
		MutateField(layer._name);
		return true;
	case 4:
	case 5:
		return ChangeEntries(layer._blocks, dice);
	default:
		return ChangeChannels(layer, isWide, dice);
	}
}

class PsdFile final : public TakenApart
{
public:
	explicit PsdFile(Cutter file);
	void Change(Dice& dice) override;
	Bytes PutTogether() const override;

private:
	void CutResources(Cutter section);
	void CutLayerSection(Cutter section);
	LayerList CutLayers(Cutter list) const;
	Layer CutLayer(Cutter& list, std::vector<UInt64>& channelSizes) const;
	static void CutExtraData(Layer& layer, Cutter extra);
	std::size_t GetBlockLengthSize(const Bytes& head) const { return IsWide() && HasKey(head, WIDE_KEYS) ? 8 : 4; }

	Bytes JoinResources() const;
	Bytes JoinLayerSection() const;
	Bytes JoinLayers(const LayerList& list) const;
	static Bytes JoinExtraData(const Layer& layer);

	Bool TryChange(Dice& dice);
	Bool ChangeBlocks(Dice& dice);
	UInt64 CountMergedRows() const;
	Bool IsWide() const { return _lengthSize == 8; }

	Bytes _header;
	std::size_t _lengthSize = 4; ///< of the layer section and of channels
	Bytes _palette;
	std::vector<Entry> _resources;
	Bytes _resourcesRest;
	std::optional<LayerList> _layers;
	std::optional<Bytes> _globalMask;
	std::vector<SectionBlock> _blocks;
	Bytes _layersRest;
	Bytes _merged;
};

PsdFile::PsdFile(Cutter file) : _header(file.CutBytes(HEADER_SIZE))
{
	_header.resize(HEADER_SIZE);
	_lengthSize = _header[5] == WIDE_VERSION ? 8 : 4;
	_palette = file.CutBlock(4);
	CutResources(Cutter(file.Cut(file.CutNumber(4))));
	CutLayerSection(Cutter(file.Cut(file.CutNumber(_lengthSize))));
	_merged = file.CutRest();
}

/// Names and data fill an even number of bytes.
void PsdFile::CutResources(Cutter section)
{
	while (BeginsBlock(section))
	{
		Entry resource;
		Joiner head;
		head.Append(section.Cut(6));
		const UInt64 nameSize = section.CutNumber(1);
		head.AppendNumber(nameSize, 1);
		head.Append(section.Cut(nameSize + (nameSize + 1) % 2));
		resource._head = head.GetBytes();
		resource._data = section.CutBlock(4);
		section.Cut(resource._data.size() % 2);
		_resources.push_back(std::move(resource));
	}
	_resourcesRest = section.CutRest();
}

void PsdFile::CutLayerSection(Cutter section)
{
	if (section.GetRemaining() >= _lengthSize)
		_layers = CutLayers(Cutter(section.Cut(section.CutNumber(_lengthSize))));
	if (section.GetRemaining() >= 4)
		_globalMask = section.CutBlock(4);
	while (BeginsBlock(section))
	{
		SectionBlock block;
		block._head = section.CutBytes(8);
		block._data = section.CutBlock(GetBlockLengthSize(block._head));
		section.Cut((4 - block._data.size() % 4) % 4);
		if (HasKey(block._head, LAYER_KEYS))
			block._layers = CutLayers(Cutter(block._data));
		_blocks.push_back(std::move(block));
	}
	_layersRest = section.CutRest();
}

LayerList PsdFile::CutLayers(Cutter list) const
{
	LayerList layers;
	if (list.GetRemaining() < 2)
	{
		layers._rest = list.CutRest();
		return layers;
	}
	layers._hasNumber = true;
	const auto number = static_cast<Int16>(list.CutNumber(2));
	layers._hasTransparency = number < 0;
	std::vector<UInt64> channelSizes;
	for (int i = 0; i < std::abs(number) && list.GetRemaining() >= RECT_SIZE; ++i)
		layers._layers.push_back(CutLayer(list, channelSizes));
	std::size_t next = 0;
	for (Layer& layer : layers._layers)
	{
		for (Channel& channel : layer._channels)
			channel._data = list.CutBytes(channelSizes[next++]);
	}
	layers._rest = list.CutRest();
	return layers;
}

Layer PsdFile::CutLayer(Cutter& list, std::vector<UInt64>& channelSizes) const
{
	Layer layer;
	layer._rect = list.CutBytes(RECT_SIZE);
	for (UInt64 count = list.CutNumber(2); count > 0 && list.GetRemaining() > 0; --count)
	{
		layer._channels.push_back({list.CutBytes(2), {}});
		channelSizes.push_back(list.CutNumber(_lengthSize));
	}
	layer._signature = list.CutBytes(BLOCK_SIGNATURE.size());
	layer._blending = list.CutBytes(BLENDING_SIZE);
	CutExtraData(layer, Cutter(list.Cut(list.CutNumber(4))));
	return layer;
}

/// Length byte and text of the name fill a multiple of four bytes.
void PsdFile::CutExtraData(Layer& layer, Cutter extra)
{
	layer._mask = extra.CutBlock(4);
	layer._ranges = extra.CutBlock(4);
	if (extra.GetRemaining() > 0)
	{
		const UInt64 textSize = Cutter(extra).CutNumber(1);
		layer._name = extra.CutBytes((1 + textSize + 3) / 4 * 4);
	}
	while (BeginsBlock(extra))
	{
		Entry block;
		block._head = extra.CutBytes(8);
		block._data = extra.CutBlock(4);
		layer._blocks.push_back(std::move(block));
	}
	layer._rest = extra.CutRest();
}

Bytes PsdFile::PutTogether() const
{
	Joiner file;
	file.Append(_header);
	file.AppendBlock(_palette, 4);
	file.AppendBlock(JoinResources(), 4);
	file.AppendBlock(JoinLayerSection(), _lengthSize);
	file.Append(_merged);
	return file.GetBytes();
}

Bytes PsdFile::JoinResources() const
{
	Joiner section;
	for (const Entry& resource : _resources)
	{
		section.Append(resource._head);
		section.AppendBlock(resource._data, 4);
		section.Pad(section.GetSize() - resource._data.size(), 2);
	}
	section.Append(_resourcesRest);
	return section.GetBytes();
}

Bytes PsdFile::JoinLayerSection() const
{
	Joiner section;
	if (_layers)
		section.AppendBlock(JoinLayers(*_layers), _lengthSize);
	if (_globalMask)
		section.AppendBlock(*_globalMask, 4);
	for (const SectionBlock& block : _blocks)
	{
		const Bytes data = block._layers ? JoinLayers(*block._layers) : block._data;
		section.Append(block._head);
		section.AppendBlock(data, GetBlockLengthSize(block._head));
		section.Pad(section.GetSize() - data.size(), 4);
	}
	section.Append(_layersRest);
	return section.GetBytes();
}

Bytes PsdFile::JoinLayers(const LayerList& list) const
{
	Joiner joined;
	if (list._hasNumber)
		joined.AppendNumber(list._hasTransparency ? 0 - list._layers.size() : list._layers.size(), 2);
	for (const Layer& layer : list._layers)
	{
		joined.Append(layer._rect);
		joined.AppendNumber(layer._channels.size(), 2);
		for (const Channel& channel : layer._channels)
		{
			joined.Append(channel._id);
			joined.AppendNumber(channel._data.size(), _lengthSize);
		}
		joined.Append(layer._signature);
		joined.Append(layer._blending);
		joined.AppendBlock(JoinExtraData(layer), 4);
	}
	for (const Layer& layer : list._layers)
	{
		for (const Channel& channel : layer._channels)
			joined.Append(channel._data);
	}
	joined.Append(list._rest);
	return joined.GetBytes();
}

Bytes PsdFile::JoinExtraData(const Layer& layer)
{
	Joiner extra;
	extra.AppendBlock(layer._mask, 4);
	extra.AppendBlock(layer._ranges, 4);
	extra.Append(layer._name);
	for (const Entry& block : layer._blocks)
	{
		extra.Append(block._head);
		extra.AppendBlock(block._data, 4);
	}
	extra.Append(layer._rest);
	return extra.GetBytes();
}

void PsdFile::Change(Dice& dice)
{
	while (!TryChange(dice))
	{
	}
}

/// False where the file has nothing of what was chosen.
Bool PsdFile::TryChange(Dice& dice)
{
	switch (dice.Below(10))
	{
	case 0:
		MutateField(Block<Byte>(_header).subspan(SIGNATURE.size()));
		return true;
	case 1:
		MutateBytes(_palette);
		return true;
	case 2:
	case 3:
		return ChangeEntries(_resources, dice);
	case 4:
	case 5:
		ChangeSamples(_merged, CountMergedRows(), IsWide(), dice);
		return true;
	case 6:
		return ChangeBlocks(dice);
	default:
		break;
	}
	if (_layers && !_layers->_layers.empty())
		return ChangeLayers(*_layers, IsWide(), dice);
	const auto holder = std::ranges::find_if(_blocks, [](const SectionBlock& block) { return block._layers.has_value(); });
	return holder != _blocks.end() && ChangeLayers(*holder->_layers, IsWide(), dice);
}

/// What lies behind the layers.
Bool PsdFile::ChangeBlocks(Dice& dice)
{
	if (_globalMask && dice.OneIn(4))
	{
		MutateBytes(*_globalMask);
		return true;
	}
	if (_blocks.empty())
		return false;
	SectionBlock& block = _blocks[dice.Below(_blocks.size())];
	if (dice.OneIn(4))
		MutateOrder(_blocks, dice);
	else if (dice.OneIn(8))
		MutateField(Block<Byte>(block._head).subspan(BLOCK_SIGNATURE.size()));
	else if (block._layers)
		return ChangeLayers(*block._layers, IsWide(), dice);
	else
		MutateBytes(block._data);
	return true;
}

/// Rows of all channels.
UInt64 PsdFile::CountMergedRows() const
{
	Cutter header(_header);
	header.Cut(12);
	const UInt64 channels = header.CutNumber(2);
	return channels * header.CutNumber(4);
}

} // namespace

TakenApartPointer TakeApartPsd(Block<const Byte> file)
{
	return Cutter(file).BeginsWith(SIGNATURE) ? std::make_unique<PsdFile>(Cutter(file)) : nullptr;
}

} // namespace torvi::fuzz
