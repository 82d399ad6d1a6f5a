// The mutator that libFuzzer calls, and what all mutators of files are made of.
#include "fuzz/mutation.h"

#include <algorithm>
#include <zlib.h>

// Only libFuzzer has it; nobody else calls the mutator.
extern "C" [[gnu::weak]] std::size_t LLVMFuzzerMutate(torvi::Byte* data, std::size_t size, std::size_t maxSize);

namespace torvi::fuzz
{

namespace
{

/// The stored form has no signature, so it comes last.
constexpr TakenApartPointer (*MUTATORS[])(Block<const Byte> file) = {&TakeApartJpeg, &TakeApartPng, &TakeApartPsd, &TakeApartStoredForm};

} // namespace

TakenApartPointer TakeApart(Block<const Byte> file)
{
	for (const auto mutator : MUTATORS)
	{
		if (TakenApartPointer pieces = mutator(file))
			return pieces;
	}
	return nullptr;
}

Bool Cutter::BeginsWith(std::string_view text) const
{
	return _bytes.size() >= text.size() &&
		   std::equal(text.begin(), text.end(), _bytes.begin(), [](char a, Byte b) { return Byte(a) == b; });
}

Block<const Byte> Cutter::Cut(UInt64 count)
{
	const Block<const Byte> piece = _bytes.first(std::min<UInt64>(count, _bytes.size()));
	_bytes = _bytes.subspan(piece.size());
	return piece;
}

Bytes Cutter::CutBytes(UInt64 count)
{
	const Block<const Byte> piece = Cut(count);
	return Bytes(piece.begin(), piece.end());
}

UInt64 Cutter::CutNumber(std::size_t size)
{
	Bytes bytes = CutBytes(size);
	bytes.resize(size);
	if (_order == ByteOrder::LITTLEENDIAN)
		std::reverse(bytes.begin(), bytes.end());
	UInt64 number = 0;
	for (const Byte byte : bytes)
		number = number << 8 | byte;
	return number;
}

void Joiner::Append(Block<const Byte> piece)
{
	_bytes.insert(_bytes.end(), piece.begin(), piece.end());
}

void Joiner::AppendNumber(UInt64 number, std::size_t size)
{
	for (std::size_t i = 0; i < size; ++i)
		_bytes.push_back(static_cast<Byte>(number >> 8 * (_order == ByteOrder::BIGENDIAN ? size - 1 - i : i)));
}

void Joiner::AppendBlock(Block<const Byte> block, std::size_t lengthSize)
{
	AppendNumber(block.size(), lengthSize);
	Append(block);
}

void Joiner::Pad(std::size_t start, std::size_t size)
{
	while ((_bytes.size() - start) % size != 0)
		_bytes.push_back(0);
}

void MutateBytes(Bytes& bytes)
{
	constexpr std::size_t ROOM = 64;
	const std::size_t size = bytes.size();
	bytes.resize(2 * size + ROOM);
	bytes.resize(LLVMFuzzerMutate(bytes.data(), size, bytes.size()));
}

void MutateField(Block<Byte> field)
{
	if (field.empty())
		return;
	const std::size_t size = LLVMFuzzerMutate(field.data(), field.size(), field.size());
	std::fill(field.begin() + static_cast<std::ptrdiff_t>(size), field.end(), Byte(0));
}

Bool MutateDeflated(Bytes& bytes, std::size_t start)
{
	constexpr std::size_t LARGEST_UNPACKED = 1 << 20;
	if (bytes.size() <= start)
		return false;
	Bytes unpacked(LARGEST_UNPACKED);
	uLongf size = unpacked.size();
	if (uncompress(unpacked.data(), &size, bytes.data() + start, bytes.size() - start) != Z_OK)
		return false;
	unpacked.resize(size);
	MutateBytes(unpacked);
	uLongf packedSize = compressBound(unpacked.size());
	bytes.resize(start + packedSize);
	if (compress(bytes.data() + start, &packedSize, unpacked.data(), unpacked.size()) != Z_OK)
		return false;
	bytes.resize(start + packedSize);
	return true;
}

namespace
{

/// Empty where nothing but a plain mutation is possible.
Bytes MutateStructure(Block<const Byte> file, Dice& dice)
{
	constexpr std::size_t FRESH_SHARE = 16;
	if (MakeInput != nullptr && dice.OneIn(FRESH_SHARE))
		return MakeInput(dice);
	const TakenApartPointer pieces = TakeApart(file);
	if (!pieces)
		return {};
	pieces->Change(dice);
	return pieces->PutTogether();
}

} // namespace

} // namespace torvi::fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(torvi::Byte* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
	using namespace torvi::fuzz;
	constexpr std::size_t PLAIN_SHARE = 8; // one in so many mutations does not care for structure
	Dice dice(seed);
	const Bytes changed = dice.OneIn(PLAIN_SHARE) ? Bytes() : MutateStructure({data, size}, dice);
	if (changed.empty() || changed.size() > maxSize)
		return LLVMFuzzerMutate(data, size, maxSize);
	std::copy(changed.begin(), changed.end(), data);
	return changed.size();
}
