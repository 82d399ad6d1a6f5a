// Channel steps, plans of dynamic formats and indexed pixels against the reference.
#include "pixelformat/dynamic_rules.h"
#include "pixelformat/kernel_indexed.h"
#include "tests/pixelformat/kernel_harness.h"

#include <gtest/gtest.h>

#include <optional>

namespace torvi
{

namespace
{

using reference::Convert;
using reference::Number;
using reference::Type;

ValueType ValueTypeOf(Type type)
{
	return static_cast<ValueType>(type); // both follow the order of the data types
}

using Rules = Block<const ChannelRule>;
const ChannelRule MOVE = ChannelRule::Move(0);

const std::string LETTERS = "rgbayz"; // z stands for any other channel

// One channel at byte 1 of a pixel with gaps, or alone.
TEST(KernelChannel, AllMoversAgreeWithReference)
{
	for (const Type to : reference::ALL_TYPES)
		for (const Type from : reference::ALL_TYPES)
			for (const Int gap : {0, 3})
				for (const Int count : COUNTS)
				{
					RunSide destination({gap / 3}, reference::SizeOf(to), reference::SizeOf(to) + gap, count, 1);
					RunSide source({gap / 3}, reference::SizeOf(from), reference::SizeOf(from) + gap, count, 0);
					FillWithValues(source, {"y", from}, count, 17);
					const ChannelPlace toPlace = {gap / 3, ValueTypeOf(to)}, fromPlace = {gap / 3, ValueTypeOf(from)};
					const ChannelProgram program({&toPlace, 1}, {&fromPlace, 1}, {&MOVE, 1});
					EXPECT_EQ("", CompareRuns(
									  destination, source, count, [&](const KernelRun& run) { program.Run(run); },
									  [&](Byte* pixel, const Byte* sourcePixel)
									  { reference::Write(Convert(reference::Read(from, sourcePixel + gap / 3), to), pixel + gap / 3); }))
						<< static_cast<int>(to) << " " << static_cast<int>(from);
				}
}

TEST(KernelChannel, FillsAreConvertedFromEightBits)
{
	for (const Type type : reference::ALL_TYPES)
	{
		const auto fill = [&](const ChannelRule& rule)
		{
			const ChannelPlace place = {0, ValueTypeOf(type)};
			std::array<Byte, 8> bytes = {};
			ChannelProgram({&place, 1}, {}, {&rule, 1}).Run({bytes.data(), 0, nullptr, 0, 1});
			return bytes;
		};
		const auto bytesOf = [](const Number& number)
		{
			std::array<Byte, 8> bytes = {};
			reference::Write(number, bytes.data());
			return bytes;
		};
		EXPECT_EQ(bytesOf(reference::Full(type)), fill(ChannelRule::Fill(255))) << static_cast<int>(type);
		EXPECT_EQ(bytesOf(Convert(reference::Integer(Type::U8, 0), type)), fill(ChannelRule::Fill(0)));
		EXPECT_EQ((std::array<Byte, 8>{}), fill(ChannelRule::Zero()));
	}
}

/// A list of channels by letters and types, one behind the other.
struct ChannelList
{
	std::string _letters;
	std::vector<Type> _types;
	std::vector<Int> _offsets = {};
	std::vector<ChannelPlace> _places = {};
	DynamicRoles _roles = {};
	Int _size = 0;

	void Arrange()
	{
		for (std::size_t i = 0; i < _letters.size(); ++i)
		{
			const std::size_t role = LETTERS.find(_letters[i]);
			Int* const roles[] = {&_roles._red, &_roles._green, &_roles._blue, &_roles._alpha, &_roles._grey};
			if (role < 5 && *roles[role] == DynamicRoles::NO_CHANNEL)
				*roles[role] = static_cast<Int>(i);
			_places.push_back({_size, ValueTypeOf(_types[i])});
			_offsets.push_back(_size);
			_size += reference::SizeOf(_types[i]);
		}
	}
};

std::vector<ChannelList> DynamicLists()
{
	std::vector<ChannelList> lists;
	for (const Type type : reference::ALL_TYPES)
		for (const std::string letters : {"rgba", "r", "rg", "zya", "abgrz"})
			lists.push_back({letters, std::vector<Type>(letters.size(), type)});
	lists.push_back({"rgba", {Type::U8, Type::U16, Type::F32, Type::U32}});
	lists.push_back({"zrrab", {Type::S16, Type::S32, Type::F64, Type::F16, Type::S8}});
	lists.push_back({"yyz", {Type::S8, Type::U8, Type::F64}});
	return lists;
}

constexpr const char* DYNAMIC_PARTNERS[] = {"rgb.u8", "rgb.u16", "rgb.f32", "rgb.f64", "argb.u8", "argb.u16", "argb.f32", "argb.f64"};

template <class Test>
void ForEachDynamicPair(Test test)
{
	Int partners = 0;
	for (const FixedFormatInfo& info : FIXED_FORMATS)
		if (IsDynamicPartner(info._format))
		{
			++partners;
			for (ChannelList list : DynamicLists())
			{
				SCOPED_TRACE(std::string(info.GetName()) + " and " + list._letters + " of type " + std::to_string(int(list._types[0])));
				list.Arrange();
				test(FixedPlaces(info._format), reference::FormatOf(info.GetName()), list);
			}
		}
	EXPECT_EQ(std::ssize(DYNAMIC_PARTNERS), partners);
	for (const char* const name : DYNAMIC_PARTNERS)
		EXPECT_TRUE(std::any_of(FIXED_FORMATS.begin(), FIXED_FORMATS.end(),
								[&](const FixedFormatInfo& info) { return info.GetName() == name && IsDynamicPartner(info._format); }));
}

TEST(KernelDynamic, ToDynamicAgreesWithReference)
{
	ForEachDynamicPair(
		[](const FixedPlaces& places, const reference::Format& fixed, const ChannelList& list)
		{
			std::vector<ChannelRule> rules(list._places.size());
			RulesToDynamic(rules, list._roles, places.GetFormat());
			const ChannelProgram program(list._places, places.GetChannels(), rules);
			const RunUnderTest kernel = [&](const KernelRun& run) { program.Run(run); };
			for (const Int count : {0, 1, 65, 600})
			{
				RunSide destination(list._offsets, 8, list._size, count, 1);
				RunSide source(fixed.PackedOffsets(), reference::SizeOf(fixed._type), fixed.PixelSize(), count, 0);
				FillWithValues(source, fixed, count, 23);
				EXPECT_EQ("", CompareRuns(destination, source, count, kernel,
										  [&](Byte* pixel, const Byte* from)
										  {
											  for (std::size_t i = 0; i < list._letters.size(); ++i)
											  {
												  const char letter = list._letters[i];
												  const bool other = letter == 'z' || list._letters.find(letter) < i;
												  reference::Write(other ? Number{list._types[i], 0, 0, 0}
																		 : reference::PickChannel(letter, list._types[i], fixed,
																								  fixed.PackedOffsets(), from),
																   pixel + list._offsets[i]);
											  }
										  }));
			}
		});
}

TEST(KernelDynamic, FromDynamicAgreesWithReference)
{
	ForEachDynamicPair(
		[](const FixedPlaces& places, const reference::Format& fixed, const ChannelList& list)
		{
			const auto rules = RulesFromDynamic(places.GetFormat(), list._roles);
			const ChannelProgram program(places.GetChannels(), list._places, Rules(rules).first(places.GetChannels().size()));
			const RunUnderTest kernel = [&](const KernelRun& run) { program.Run(run); };
			constexpr Int COUNT = 65;
			RunSide source(list._offsets, 8, list._size, COUNT, 1);
			RunSide destination(fixed.PackedOffsets(), reference::SizeOf(fixed._type), fixed.PixelSize(), COUNT, 0);
			ValueSource values(29);
			for (Int i = 0; i < COUNT; ++i)
				for (std::size_t c = 0; c < list._types.size(); ++c)
					reference::Write(values.Next(list._types[c], i), source.GetPixel(i) + list._offsets[c]);
			EXPECT_EQ(
				"",
				CompareRuns(
					destination, source, COUNT, kernel,
					[&](Byte* pixel, const Byte* from)
					{
						for (std::size_t i = 0; i < fixed._channels.size(); ++i)
						{
							const bool grey = list._letters.find('y') != std::string::npos && fixed._channels[i] != 'a';
							const std::size_t found = list._letters.find(grey ? 'y' : fixed._channels[i]);
							const Number missing = fixed._channels[i] == 'a' ? reference::Full(fixed._type) : Number{fixed._type, 0, 0, 0};
							reference::Write(found == std::string::npos
												 ? missing
												 : Convert(reference::Read(list._types[found], from + list._offsets[found]), fixed._type),
											 pixel + fixed.PackedOffsets()[i]);
						}
					}));
		});
}

constexpr Int INDEX_BITS[] = {1, 2, 3, 4, 5, 6, 7, 8, 16};

TEST(KernelIndexed, ReadsAndWritesAtEveryBitAndNoFurther)
{
	for (const Int bits : INDEX_BITS)
		for (Int position = 0; position < 17; ++position)
		{
			const std::size_t size = static_cast<std::size_t>((position + bits + 7) / 8); // nothing lies behind the last byte
			for (const Byte background : {Byte(0x00), Byte(0xFF), Byte(0x5A)})
			{
				std::vector<Byte> bytes(size, background);
				const UInt32 index = 0xB6D9u & ((1u << bits) - 1);
				InsertIndex(bytes.data(), position, bits, index);
				EXPECT_EQ(index, reference::IndexAt(bytes.data(), position, bits)) << bits << " " << position;
				EXPECT_EQ(index, ExtractIndex(bytes.data(), position, bits)) << bits << " " << position;
				for (Int bit = 0; bit < Int(size) * 8; ++bit)
				{
					const bool same = (background >> (7 - bit % 8) & 1) == (bytes[std::size_t(bit / 8)] >> (7 - bit % 8) & 1);
					EXPECT_TRUE(same || (bit >= position && bit < position + bits)) << bits << " " << bit;
				}
			}
		}
}

TEST(KernelIndexed, CopiesAsABlockOrIndexByIndex)
{
	constexpr Int COUNT = 21;
	struct Case
	{
		Int _toBit, _toGap, _fromBit, _fromGap;
	};
	constexpr Case CASES[] = {{0, 0, 0, 0}, {3, 0, 0, 0}, {0, 0, 8, 5}, {5, 9, 2, 0}};
	for (const Int bits : INDEX_BITS)
		for (const Case& one : CASES)
		{
			std::vector<Byte> source(200), destination(200, 0xC3);
			for (std::size_t i = 0; i < source.size(); ++i)
				source[i] = static_cast<Byte>(i * 37 + 11);
			CopyIndices({destination.data(), one._toBit, bits + one._toGap, source.data(), one._fromBit, bits + one._fromGap, COUNT}, bits);
			for (Int i = 0; i < COUNT; ++i)
				EXPECT_EQ(reference::IndexAt(source.data(), one._fromBit + i * (bits + one._fromGap), bits),
						  reference::IndexAt(destination.data(), one._toBit + i * (bits + one._toGap), bits))
					<< bits << " " << i;
			EXPECT_EQ(0xC3, destination[std::size_t((one._toBit + COUNT * (bits + one._toGap) + 7) / 8)]);
		}
}

TEST(KernelIndexed, TurnsIntoColoursAsTheReferenceDoes)
{
	constexpr const char* TARGETS[] = {"rgb.u8",  "rgba.u8", "rgbx.u8",  "argb.u8", "xrgb.u8",  "bgr.u8",  "bgra.u8",
									   "bgrx.u8", "rgb.u16", "rgba.u16", "rgb.f32", "rgba.f32", "rgb.f64", "rgba.f64"};
	constexpr Int COUNT = 70, ROWS = 11;
	std::vector<Float32> rows(ROWS * 4);
	for (std::size_t i = 0; i < rows.size(); ++i)
		rows[i] = static_cast<Float32>(i) / 40.0f - 0.02f;
	std::vector<Byte> rowBytes(rows.size());
	for (std::size_t i = 0; i < rows.size(); ++i)
		rowBytes[i] = static_cast<Byte>(Convert(reference::Single(rows[i]), Type::U8)._bits);
	const IndexTable table = {reinterpret_cast<const Byte*>(rows.data()), rowBytes.data(), ROWS};
	std::vector<Byte> indices(COUNT * 2);
	for (std::size_t i = 0; i < indices.size(); ++i)
		indices[i] = static_cast<Byte>(i % 2 ? 0 : i * 29 % 13); // as 16 bits, 0 to 12
	Int targets = 0;
	for (const FixedFormatInfo& info : FIXED_FORMATS)
	{
		const bool wanted = std::find(std::begin(TARGETS), std::end(TARGETS), info.GetName()) != std::end(TARGETS);
		EXPECT_EQ(wanted, IndexConversion::Make(FixedPlaces(info._format), 8).has_value()) << info.GetName();
		if (!wanted)
			continue;
		++targets;
		const reference::Format fixed = reference::FormatOf(info.GetName());
		for (const Int bits : INDEX_BITS)
		{
			RunSide destination(fixed.PackedOffsets(), reference::SizeOf(fixed._type), fixed.PixelSize() + 1, COUNT, 1);
			RunSide source({0}, 1, 0, 1, 0);
			Int pixel = 0;
			EXPECT_EQ("",
					  CompareRuns(
						  destination, source, COUNT,
						  [&](const KernelRun& run)
						  {
							  IndexConversion::Make(FixedPlaces(info._format), bits)
								  ->Run({run._destination, run._destinationStride, indices.data(), 0, bits, run._count}, table);
						  },
						  [&](Byte* to, const Byte*)
						  {
							  const Int index = reference::IndexAt(indices.data(), pixel++ * bits, bits);
							  for (std::size_t i = 0; i < fixed._channels.size(); ++i)
							  {
								  const std::size_t column = std::string("rgba").find(fixed._channels[i] == 'x' ? 'a' : fixed._channels[i]);
								  const Float32 value = index < ROWS ? rows[std::size_t(index) * 4 + column] : column == 3 ? 0.0f : 1.0f;
								  reference::Write(Convert(reference::Single(value), fixed._type), to + fixed.PackedOffsets()[i]);
							  }
						  }))
				<< info.GetName() << " " << bits;
		}
	}
	EXPECT_EQ(14, targets);
}

} // namespace

} // namespace torvi
