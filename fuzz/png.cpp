// Reading and writing of PNG files. The mutator knows chunks, so that its files get past the check sums and the compression.
#include "fuzz/fuzz_format.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <string_view>
#include <vector>
#include <zlib.h>

TORVI_FUZZ_FORMAT(torvi::ids::FILEFORMAT_PNG, torvi::ids::CLASS_PNGEXPORT)

/// Only libFuzzer has it; nobody else calls the mutator.
extern "C" [[gnu::weak]] std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t SIGNATURE_SIZE = 8;
constexpr std::size_t NAME_SIZE = 4;
constexpr std::size_t LARGEST_UNPACKED = 1 << 20;

struct Chunk
{
	Bytes _name;
	Bytes _data;

	bool Is(std::string_view name) const { return std::equal(_name.begin(), _name.end(), name.begin(), name.end()); }
};

std::uint32_t LoadBigEndian(const std::uint8_t* bytes)
{
	return std::uint32_t(bytes[0]) << 24 | std::uint32_t(bytes[1]) << 16 | std::uint32_t(bytes[2]) << 8 | bytes[3];
}

void AppendBigEndian(Bytes& bytes, std::uint32_t value)
{
	for (const int shift : {24, 16, 8, 0})
		bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

/// The chunks of a file, the last one as long as its bytes reach. Pieces of the picture's data become one.
std::vector<Chunk> TakeApart(const std::uint8_t* data, std::size_t size)
{
	std::vector<Chunk> chunks;
	for (std::size_t at = SIGNATURE_SIZE; size - at >= 2 * NAME_SIZE;)
	{
		const std::uint8_t* name = data + at + 4;
		const std::uint8_t* begin = name + NAME_SIZE;
		const std::size_t count = std::min<std::size_t>(LoadBigEndian(data + at), size - at - 2 * NAME_SIZE);
		Chunk chunk{Bytes(name, begin), Bytes(begin, begin + count)};
		if (!chunks.empty() && chunk.Is("IDAT") && chunks.back().Is("IDAT"))
			chunks.back()._data.insert(chunks.back()._data.end(), chunk._data.begin(), chunk._data.end());
		else
			chunks.push_back(std::move(chunk));
		at = std::min(size, at + count + 3 * NAME_SIZE);
	}
	return chunks;
}

Bytes PutTogether(const std::uint8_t* signature, const std::vector<Chunk>& chunks)
{
	Bytes file(signature, signature + SIGNATURE_SIZE);
	for (const Chunk& chunk : chunks)
	{
		AppendBigEndian(file, static_cast<std::uint32_t>(chunk._data.size()));
		const std::size_t sealed = file.size();
		file.insert(file.end(), chunk._name.begin(), chunk._name.end());
		file.insert(file.end(), chunk._data.begin(), chunk._data.end());
		AppendBigEndian(file, static_cast<std::uint32_t>(crc32(0, file.data() + sealed, static_cast<uInt>(file.size() - sealed))));
	}
	return file;
}

void Mutate(Bytes& bytes)
{
	const std::size_t size = bytes.size();
	bytes.resize(size + 64);
	bytes.resize(LLVMFuzzerMutate(bytes.data(), size, bytes.size()));
}

/// Changes what is compressed from `start` on; false if nothing is.
bool MutateUnpacked(Bytes& data, std::size_t start)
{
	if (data.size() <= start)
		return false;
	Bytes unpacked(LARGEST_UNPACKED);
	uLongf size = unpacked.size();
	if (uncompress(unpacked.data(), &size, data.data() + start, data.size() - start) != Z_OK)
		return false;
	unpacked.resize(size);
	Mutate(unpacked);
	uLongf packedSize = compressBound(unpacked.size());
	data.resize(start + packedSize);
	if (compress(data.data() + start, &packedSize, unpacked.data(), unpacked.size()) != Z_OK)
		return false;
	data.resize(start + packedSize);
	return true;
}

/// Changes a chunk's data, or as often what is compressed in it.
void MutateChunk(Chunk& chunk, bool unpacks)
{
	const auto nameEnd = std::find(chunk._data.begin(), chunk._data.end(), 0);
	const std::size_t profile = static_cast<std::size_t>(nameEnd - chunk._data.begin()) + 2;
	const bool isUnpacked =
		unpacks && ((chunk.Is("IDAT") && MutateUnpacked(chunk._data, 0)) || (chunk.Is("iCCP") && MutateUnpacked(chunk._data, profile)));
	if (!isUnpacked)
		Mutate(chunk._data);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
	std::minstd_rand random(seed);
	std::vector<Chunk> chunks;
	if (size > SIGNATURE_SIZE)
		chunks = TakeApart(data, size);
	if (chunks.empty() || random() % 16 == 0)
		return LLVMFuzzerMutate(data, size, maxSize);
	const std::size_t chosen = random() % chunks.size();
	switch (random() % 8)
	{
	case 0:
		std::swap(chunks[chosen], chunks[random() % chunks.size()]);
		break;
	case 1:
		chunks.insert(chunks.begin() + static_cast<std::ptrdiff_t>(random() % chunks.size()), Chunk(chunks[chosen]));
		break;
	default:
		MutateChunk(chunks[chosen], random() % 2 == 0);
	}
	const Bytes file = PutTogether(data, chunks);
	const std::size_t kept = std::min(file.size(), maxSize);
	std::copy_n(file.begin(), kept, data);
	return kept;
}
