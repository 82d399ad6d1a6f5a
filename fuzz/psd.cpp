// Reading of PSD and PSB files. The mutator changes one section of a file and sets its length right again, so that what follows is still
// found.
#include "fuzz/fuzz_format.h"

#include <algorithm>
#include <cstring>
#include <vector>

// libFuzzer's own; ordinary builds do not have it.
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerMutate(torvi::Byte* data, std::size_t size, std::size_t maximalSize);

namespace
{

using Bytes = std::vector<torvi::Byte>;

constexpr std::size_t HEADER_SIZE = 26;
constexpr std::size_t SECTION_COUNT = 3; // palette, resources, layers; the merged picture is the rest

struct Part
{
	std::size_t _lengthSize; ///< 0 for parts without a length
	Bytes _bytes;
};

std::size_t ReadLength(const torvi::Byte* bytes, std::size_t size)
{
	std::size_t length = 0;
	for (std::size_t i = 0; i < size; ++i)
		length = length << 8 | bytes[i];
	return length;
}

/// Header, the sections without their lengths, and the rest. What the file does not have is empty.
std::vector<Part> Split(const Bytes& file)
{
	const bool isWide = file.size() > 5 && file[5] == 2;
	std::size_t at = std::min(HEADER_SIZE, file.size());
	std::vector<Part> parts = {{0, Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(at))}};
	const auto take = [&](std::size_t count)
	{
		const auto first = file.begin() + static_cast<std::ptrdiff_t>(at);
		at += std::min(count, file.size() - at);
		return Bytes(first, file.begin() + static_cast<std::ptrdiff_t>(at));
	};
	for (std::size_t i = 0; i < SECTION_COUNT; ++i)
	{
		const std::size_t lengthSize = isWide && i == SECTION_COUNT - 1 ? 8 : 4;
		const Bytes length = take(lengthSize);
		parts.push_back({lengthSize, length.size() == lengthSize ? take(ReadLength(length.data(), lengthSize)) : Bytes()});
	}
	parts.push_back({0, take(file.size())});
	return parts;
}

Bytes Join(const std::vector<Part>& parts)
{
	Bytes file;
	for (const Part& part : parts)
	{
		for (std::size_t i = part._lengthSize; i-- > 0;)
			file.push_back(static_cast<torvi::Byte>(part._bytes.size() >> 8 * i));
		file.insert(file.end(), part._bytes.begin(), part._bytes.end());
	}
	return file;
}

/// The layer section begins with the length of its first block, which then reaches to the section's end.
void SetLayerLength(Part& layers)
{
	if (layers._bytes.size() <= layers._lengthSize || ReadLength(layers._bytes.data(), layers._lengthSize) == 0)
		return;
	const std::size_t length = layers._bytes.size() - layers._lengthSize;
	for (std::size_t i = 0; i < layers._lengthSize; ++i)
		layers._bytes[i] = static_cast<torvi::Byte>(length >> 8 * (layers._lengthSize - 1 - i));
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(torvi::Byte* data, std::size_t size, std::size_t maximalSize, unsigned int seed)
{
	constexpr unsigned int PLAIN_SHARE = 4; // one in so many mutations does not care for sections
	if (seed % PLAIN_SHARE == 0)
		return LLVMFuzzerMutate(data, size, maximalSize);
	std::vector<Part> parts = Split(Bytes(data, data + size));
	Part& part = parts[seed / PLAIN_SHARE % parts.size()];
	const std::size_t others = Join(parts).size() - part._bytes.size();
	if (others >= maximalSize)
		return LLVMFuzzerMutate(data, size, maximalSize);
	const std::size_t oldSize = part._bytes.size();
	part._bytes.resize(std::min(maximalSize - others, std::max<std::size_t>(2 * oldSize, 64)));
	part._bytes.resize(LLVMFuzzerMutate(part._bytes.data(), std::min(oldSize, part._bytes.size()), part._bytes.size()));
	SetLayerLength(parts[SECTION_COUNT]);
	const Bytes file = Join(parts);
	const std::size_t newSize = std::min(file.size(), maximalSize);
	std::memcpy(data, file.data(), newSize);
	return newSize;
}

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)
{
	const bool isWide = size > 5 && data[5] == 2;
	return torvi::fuzz::RunFormat(data, size, isWide ? torvi::ids::FILEFORMAT_PSB : torvi::ids::FILEFORMAT_PSD, {});
}
