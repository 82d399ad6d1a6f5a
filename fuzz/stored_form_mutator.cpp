// Values in their stored form: elements of name, type and value, each behind its length, and values that are made of elements themselves.
#include "fuzz/mutation.h"

#include <algorithm>
#include <optional>

namespace torvi::fuzz
{

namespace
{

struct Element
{
	Bytes _name;
	Bytes _type;
	Bytes _value;
	std::vector<Element> _members; ///< in place of the value
};

/// The elements that fill the bytes; nothing if they do not, or if there are none.
std::optional<std::vector<Element>> CutElements(Block<const Byte> bytes, int depth)
{
	Cutter cutter(bytes, ByteOrder::LITTLEENDIAN);
	const auto cutPiece = [&](std::size_t lengthSize) -> std::optional<Bytes>
	{
		if (cutter.GetRemaining() < lengthSize)
			return std::nullopt;
		const UInt64 length = cutter.CutNumber(lengthSize);
		return length <= cutter.GetRemaining() ? std::optional(cutter.CutBytes(length)) : std::nullopt;
	};
	std::vector<Element> elements;
	while (cutter.GetRemaining() > 0)
	{
		const std::optional<Bytes> name = cutPiece(4);
		const std::optional<Bytes> type = cutPiece(4);
		std::optional<Bytes> value = cutPiece(8);
		if (!name || !type || !value)
			return std::nullopt;
		Element element = {*name, *type, {}, {}};
		if (std::optional<std::vector<Element>> members = depth > 0 ? CutElements(*value, depth - 1) : std::nullopt)
			element._members = std::move(*members);
		else
			element._value = std::move(*value);
		elements.push_back(std::move(element));
	}
	return elements.empty() ? std::nullopt : std::optional(std::move(elements));
}

Bytes JoinElements(const std::vector<Element>& elements)
{
	Joiner joined(ByteOrder::LITTLEENDIAN);
	for (const Element& element : elements)
	{
		joined.AppendBlock(element._name, 4);
		joined.AppendBlock(element._type, 4);
		joined.AppendBlock(element._members.empty() ? element._value : JoinElements(element._members), 8);
	}
	return joined.GetBytes();
}

void ChangeElements(std::vector<Element>& elements, Dice& dice)
{
	Element& element = elements[dice.Below(elements.size())];
	if (dice.OneIn(16))
		return MutateOrder(elements, dice);
	if (dice.OneIn(16))
		return MutateBytes(dice.OneIn(2) ? element._name : element._type);
	if (!element._members.empty())
		return ChangeElements(element._members, dice);
	if (element._value.empty() || dice.OneIn(2))
		MutateBytes(element._value);
	else
		MutateField(element._value); // numbers have a size, and pixels one that follows from other members
}

class StoredForm final : public TakenApart
{
public:
	explicit StoredForm(std::vector<Element> elements) : _elements(std::move(elements)) {}
	void Change(Dice& dice) override { ChangeElements(_elements, dice); }
	Bytes PutTogether() const override { return JoinElements(_elements); }

private:
	std::vector<Element> _elements;
};

} // namespace

TakenApartPointer TakeApartStoredForm(Block<const Byte> file)
{
	constexpr int DEEPEST = 4;
	std::optional<std::vector<Element>> elements = CutElements(file, DEEPEST);
	return elements ? std::make_unique<StoredForm>(std::move(*elements)) : nullptr;
}

} // namespace torvi::fuzz
