// Errors, results, texts, delegates and memory.
#include "expect_out_of_memory.h"

#include "host/delegate.h"
#include "host/object.h"

#include <limits>

namespace torvi::test
{
namespace
{

TEST(Error, CarriesIdTextCauseAndPlace)
{
	const auto line = SourceLocation::current().line() + 1;
	Error error = FileFormatError("Row @ of @ is bad (@{x}).", 3, "x@y", 255u);
	EXPECT_EQ(error.GetId(), errorids::FILEFORMAT);
	EXPECT_EQ(error.GetMessage(), "Row 3 of x@y is bad (ff).");
	EXPECT_EQ(error.GetLocation().line(), line);
	EXPECT_FALSE(error.GetCause());
	EXPECT_EQ(&error.GetInnermostCause(), &error);

	error.SetCause(std::move(IllegalStateError("Middle.").SetCause(IoError("Inner."))));
	EXPECT_EQ(error.GetInnermostCause().GetMessage(), "Inner.");
	const String text = error.ToString();
	EXPECT_LT(text.find("net.torvi.error.fileformat: Row 3"), text.find(" <- net.torvi.error.illegalstate: Middle."));

	const Error shared = error.Share();
	error = Error();
	EXPECT_FALSE(error);
	EXPECT_EQ(shared.GetCause().GetMessage(), "Middle.");
}

TEST(Error, WithoutMemoryIsOutOfMemoryAndIsNeverChanged)
{
	const AllocationFailure failure(1, AllocationFailure::Mode::KEEPFAILING);
	EXPECT_EQ(IoError("A text that is too long to be kept without an allocation.").GetId(), errorids::OUTOFMEMORY);
	EXPECT_EQ(IoError("@", "A text that is too long to be kept without an allocation.").GetId(), errorids::OUTOFMEMORY);
	Error error = OutOfMemoryError();
	error.SetMessage("Changed.").SetCause(OutOfMemoryError());
	EXPECT_EQ(OutOfMemoryError().GetMessage(), "Out of memory.");
	EXPECT_FALSE(OutOfMemoryError().GetCause());
}

Result<int> Half(int value)
{
	TORVI_CHECK(value % 2 == 0, IllegalArgumentError("@ is odd.", value));
	return value / 2;
}

Result<int> Quarter(int value)
{
	return Half(TORVI_TRY(Half(value)));
}

TEST(Result, HandsValuesAndErrorsOn)
{
	EXPECT_EQ(TORVI_MUST(Quarter(8)), 2);
	EXPECT_EQ(Quarter(7).GetError().GetMessage(), "7 is odd.");
	EXPECT_EQ(Quarter(6).GetError().GetMessage(), "3 is odd.");
	EXPECT_EQ(Quarter(6).ValueOr(9), 9);
}

TEST(Result, NoThrowTurnsExceptionsIntoErrors)
{
	EXPECT_EQ(ErrorIdOf(NoThrow([]() -> Result<void> { throw std::bad_alloc(); })), errorids::OUTOFMEMORY.GetText());
	EXPECT_EQ(ErrorIdOf(NoThrow([]() -> Result<void> { throw std::length_error("too long"); })), errorids::OUTOFMEMORY.GetText());
	EXPECT_EQ(ErrorIdOf(NoThrow([]() -> Result<void> { throw std::runtime_error("other"); })), errorids::UNKNOWN.GetText());
	EXPECT_EQ(ErrorIdOf(NoThrow([]() -> Result<void> { throw 5; })), errorids::UNKNOWN.GetText());
}

TEST(Memory, RefusesBadSizesAndKeepsABlockThatDoesNotGrow)
{
	EXPECT_EQ(Alloc(-1), nullptr);
	EXPECT_EQ(AllocClear(INT64_MIN), nullptr);
	auto* block = static_cast<Byte*>(AllocClear(4));
	EXPECT_EQ(block[3], 0);
	block[3] = 9;
	{
		const AllocationFailure failure(1, AllocationFailure::Mode::KEEPFAILING);
		EXPECT_EQ(Realloc(block, 1000), nullptr);
	}
	EXPECT_EQ(block[3], 9);
	Free(block);
	void* empty = Alloc(0);
	EXPECT_NE(empty, nullptr);
	Free(empty);
}

TEST(Delegate, CopiesMovesAndEndsItsClosure)
{
	struct Counted : ObjectInterface
	{
	};
	const ObjectRef object = TORVI_MUST(NewObject<Counted>());
	const auto references = [&]() { return object->GetControl()._strong.load(); };
	Delegate<int(int)> add = [object, by = 2](int value) { return value + by; };
	EXPECT_EQ(references(), 2);
	Delegate<int(int)> copy = add;
	EXPECT_EQ(references(), 3);
	Delegate<int(int)> moved = std::move(add);
	EXPECT_FALSE(add);
	EXPECT_EQ(references(), 3);
	copy = moved;
	moved = nullptr;
	EXPECT_EQ(copy(5), 7);
	copy.Reset();
	EXPECT_EQ(references(), 1);
}

TEST(String, Format)
{
	EXPECT_EQ(Format("@ and @{x}, @", 1, 255, true), "1 and ff, true");
	EXPECT_EQ(Format("@ @ @", "a@b"), "a@b @ @"); // surplus marks stay, inserted text is not read again
	EXPECT_EQ(Format("none"), "none");
	EXPECT_EQ(Format("@{x", 5), "5{x");
	EXPECT_EQ(Format("@", Id("net.torvi.x")), "net.torvi.x");
	EXPECT_EQ(Format("@ @ @", -0.5, 0.1f, std::numeric_limits<Int64>::min()), "-0.5 0.1 -9223372036854775808");
}

TEST(String, CaseAndUnicode)
{
	EXPECT_EQ(ComparePart("Gr\xC3\xBCn", "gR\xC3\x9CN", StringCompareMode::CASEINSENSITIVE), 0);
	EXPECT_NE(ComparePart("a", "A", StringCompareMode::CASESENSITIVE), 0);
	EXPECT_EQ(ToUpper("a\xFF"
					  "b"),
			  "A\xFF"
			  "B"); // no UTF-8 stays

	const Byte utf16[] = {0x3D, 0xD8, 0x00, 0xDE, 0x00, 0xD8, 0x41, 0x00, 0x42}; // a pair, a lone half, "A", an odd byte
	EXPECT_EQ(FromUtf16Bytes(utf16), "\xF0\x9F\x98\x80\xEF\xBF\xBD"
									 "A");
	const Array<Byte> back = ToUtf16Bytes("\xF0\x9F\x98\x80");
	EXPECT_TRUE(std::equal(back.begin(), back.end(), utf16, utf16 + 4));
	EXPECT_EQ(FromUtf32(U"\x110000z"), "\xEF\xBF\xBDz");
}

} // namespace
} // namespace torvi::test
