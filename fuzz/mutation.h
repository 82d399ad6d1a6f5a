// What the mutators of inputs share. A plain mutation stops at the first length or check sum that it breaks. A mutator takes a file apart
// into pieces, changes one of them or their order, and puts it together again with lengths and check sums that fit. Each has a file of its
// own and a row in mutation.cpp; all targets link them all, and a file goes to the first one that knows it.
#pragma once

#include "host/binaryreader.h"

#include <memory>
#include <random>
#include <string_view>
#include <vector>

namespace torvi::fuzz
{

using Bytes = std::vector<Byte>;

/// The choices of one mutation.
class Dice
{
public:
	explicit Dice(unsigned seed) : _random(seed) {}
	/// From 0 to count - 1.
	std::size_t Below(std::size_t count) { return _random() % count; }
	Bool OneIn(std::size_t count) { return Below(count) == 0; }

private:
	std::minstd_rand _random;
};

/// A file in pieces.
class TakenApart
{
public:
	virtual ~TakenApart() = default;
	virtual void Change(Dice& dice) = 0;
	virtual Bytes PutTogether() const = 0;
};

using TakenApartPointer = std::unique_ptr<TakenApart>;

/// By the first mutator that knows the file; null if none does.
TakenApartPointer TakeApart(Block<const Byte> file);

// One function of each mutator: null for a file that it does not know.
TakenApartPointer TakeApartJpeg(Block<const Byte> file);
TakenApartPointer TakeApartPng(Block<const Byte> file);
TakenApartPointer TakeApartPsd(Block<const Byte> file);
TakenApartPointer TakeApartStoredForm(Block<const Byte> file);

/// A target may define this: an input from nowhere, now and then, where mutations do not lead to one. Empty: there is none.
[[gnu::weak]] Bytes MakeInput(Dice& dice);

/// Cuts pieces off the front. At the end there is less to cut than wanted, or nothing, and the missing bytes of numbers are 0.
class Cutter
{
public:
	explicit Cutter(Block<const Byte> bytes, ByteOrder order = ByteOrder::BIGENDIAN) : _bytes(bytes), _order(order) {}

	std::size_t GetRemaining() const { return _bytes.size(); }
	Bool BeginsWith(std::string_view text) const;
	Block<const Byte> Cut(UInt64 count);
	Bytes CutBytes(UInt64 count);
	Bytes CutRest() { return CutBytes(_bytes.size()); }
	UInt64 CutNumber(std::size_t size);
	/// A block behind its length.
	Bytes CutBlock(std::size_t lengthSize) { return CutBytes(CutNumber(lengthSize)); }

private:
	Block<const Byte> _bytes;
	ByteOrder _order;
};

/// Writes the pieces one behind the other.
class Joiner
{
public:
	explicit Joiner(ByteOrder order = ByteOrder::BIGENDIAN) : _order(order) {}

	void Append(Block<const Byte> piece);
	void AppendNumber(UInt64 number, std::size_t size);
	void AppendBlock(Block<const Byte> block, std::size_t lengthSize);
	/// Zeros up to a multiple of `size` behind `start`.
	void Pad(std::size_t start, std::size_t size);
	std::size_t GetSize() const { return _bytes.size(); }
	const Bytes& GetBytes() const { return _bytes; }

private:
	Bytes _bytes;
	ByteOrder _order;
};

/// Changes bytes as libFuzzer does; they may become more or less.
void MutateBytes(Bytes& bytes);

/// The same for a field whose size is fixed.
void MutateField(Block<Byte> field);

/// Changes what is deflated from `start` on; false if nothing is.
Bool MutateDeflated(Bytes& bytes, std::size_t start);

/// Swaps two pieces, repeats one or drops one.
template <class Piece>
void MutateOrder(std::vector<Piece>& pieces, Dice& dice)
{
	if (pieces.empty())
		return;
	const auto first = pieces.begin() + static_cast<std::ptrdiff_t>(dice.Below(pieces.size()));
	const auto second = pieces.begin() + static_cast<std::ptrdiff_t>(dice.Below(pieces.size()));
	switch (dice.Below(3))
	{
	case 0:
		std::swap(*first, *second);
		break;
	case 1:
		pieces.insert(second, Piece(*first));
		break;
	default:
		pieces.erase(first);
	}
}

} // namespace torvi::fuzz
