// PNG files in chunks, whose check sums fit and whose compressed data unpacks.
#include "fuzz/mutation.h"

#include <algorithm>
#include <zlib.h>

namespace torvi::fuzz
{

namespace
{

constexpr std::string_view SIGNATURE = "\x89PNG\r\n\x1A\n";
constexpr std::size_t NAME_SIZE = 4;

struct Chunk
{
	Bytes _name;
	Bytes _data;

	Bool Is(std::string_view name) const { return Cutter(_name).BeginsWith(name); }
};

class PngFile final : public TakenApart
{
public:
	explicit PngFile(Cutter file);
	Bool IsEmpty() const { return _chunks.empty(); }
	void Change(Dice& dice) override;
	Bytes PutTogether() const override;

private:
	std::vector<Chunk> _chunks;
};

/// Pieces of the picture's data become one, which can be unpacked.
PngFile::PngFile(Cutter file)
{
	file.Cut(SIGNATURE.size());
	while (file.GetRemaining() >= 2 * NAME_SIZE)
	{
		const UInt64 size = file.CutNumber(4);
		Chunk chunk;
		chunk._name = file.CutBytes(NAME_SIZE);
		chunk._data = file.CutBytes(size);
		file.Cut(4);
		if (!_chunks.empty() && chunk.Is("IDAT") && _chunks.back().Is("IDAT"))
			_chunks.back()._data.insert(_chunks.back()._data.end(), chunk._data.begin(), chunk._data.end());
		else
			_chunks.push_back(std::move(chunk));
	}
}

/// Where the compressed part of a chunk begins; behind its end for chunks without one.
std::size_t FindCompressed(const Chunk& chunk)
{
	if (chunk.Is("IDAT"))
		return 0;
	const auto nameEnd = std::find(chunk._data.begin(), chunk._data.end(), 0);
	return chunk.Is("iCCP") ? static_cast<std::size_t>(nameEnd - chunk._data.begin()) + 2 : chunk._data.size();
}

void PngFile::Change(Dice& dice)
{
	if (dice.OneIn(4))
		return MutateOrder(_chunks, dice);
	Chunk& chunk = _chunks[dice.Below(_chunks.size())];
	if (dice.OneIn(2) || !MutateDeflated(chunk._data, FindCompressed(chunk)))
		MutateBytes(chunk._data);
}

Bytes PngFile::PutTogether() const
{
	Joiner file;
	file.Append({reinterpret_cast<const Byte*>(SIGNATURE.data()), SIGNATURE.size()});
	for (const Chunk& chunk : _chunks)
	{
		file.AppendNumber(chunk._data.size(), 4);
		file.Append(chunk._name);
		file.Append(chunk._data);
		const std::size_t sealed = chunk._name.size() + chunk._data.size();
		file.AppendNumber(crc32(0, file.GetBytes().data() + file.GetSize() - sealed, static_cast<uInt>(sealed)), 4);
	}
	return file.GetBytes();
}

} // namespace

TakenApartPointer TakeApartPng(Block<const Byte> file)
{
	if (!Cutter(file).BeginsWith(SIGNATURE))
		return nullptr;
	auto pieces = std::make_unique<PngFile>(Cutter(file));
	return pieces->IsEmpty() ? nullptr : TakenApartPointer(std::move(pieces));
}

} // namespace torvi::fuzz
