// The reader and writer of format files: byte orders, bounds, the window's edges, and streams that fail.
#include "host/binaryreader.h"

#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"

#include <gtest/gtest.h>

namespace torvi
{
namespace
{

using test::FailingFile;
using test::FailurePlan;
using test::MakeFailingUrl;

constexpr Int WINDOW = 65536;

/// Bytes that tell their place.
Array<Byte> PatternBytes(Int count)
{
	Array<Byte> bytes;
	for (Int i = 0; i < count; ++i)
		bytes.push_back(static_cast<Byte>(i * 7 + (i >> 8)));
	return bytes;
}

BinaryReader OpenReader(Block<const Byte> bytes, const FailurePlan& plan = {}, ByteOrder order = ByteOrder::LITTLEENDIAN)
{
	BinaryReader reader;
	TORVI_MUST(reader.Open(MakeFailingUrl(bytes, plan), order));
	return reader;
}

/// Reads one number of each size, the order switched in the middle.
template <class Reader>
void CheckNumbers(Reader& reader)
{
	EXPECT_EQ(TORVI_MUST(reader.ReadUChar()), 0xF0);
	EXPECT_EQ(TORVI_MUST(reader.ReadUInt16()), 0xF2F1);
	EXPECT_EQ(TORVI_MUST(reader.ReadInt16()), Int16(0xF4F3 - 0x10000));
	EXPECT_EQ(TORVI_MUST(reader.ReadUInt32()), 0xF8F7F6F5u);
	reader.SetByteOrder(ByteOrder::BIGENDIAN);
	EXPECT_EQ(TORVI_MUST(reader.ReadInt32()), Int32(0xF9FAFBFCu));
	EXPECT_EQ(TORVI_MUST(reader.ReadUInt64()), 0xFDFEFF0001020304u);
	EXPECT_EQ(reader.ReadUInt16().GetError().GetMessage(), "The data ends 1 bytes too early.");
	EXPECT_EQ(reader.ReadUInt16().GetError().GetId(), errorids::IO);
}

TEST(BinaryReader, NumbersInBothOrders)
{
	Array<Byte> bytes;
	for (int i = 0xF0; i <= 0x105; ++i)
		bytes.push_back(static_cast<Byte>(i));
	ByteReader memory(bytes);
	CheckNumbers(memory);
	EXPECT_EQ(memory.GetRemaining(), 1); // a read that fails moves nothing
	BinaryReader stream = OpenReader(bytes);
	CheckNumbers(stream);
}

TEST(BinaryReader, ChunkCanNotBeLeft)
{
	const Array<Byte> bytes = PatternBytes(10);
	ByteReader reader(bytes, ByteOrder::BIGENDIAN);
	ByteReader chunk = TORVI_MUST(reader.TakeChunk(3));
	EXPECT_EQ(reader.GetPosition(), 3);
	EXPECT_EQ(chunk.ReadUInt32().GetError().GetMessage(), "The data ends 1 bytes too early.");
	EXPECT_EQ(TORVI_MUST(chunk.ReadUInt16()), bytes[0] << 8 | bytes[1]); // keeps the order
	EXPECT_EQ(reader.Take(INT64_MAX).GetError().GetId(), errorids::IO);
	EXPECT_EQ(reader.Take(-1).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(TORVI_MUST(reader.Take(7)).data(), bytes.data() + 3);
}

/// Reads of all sizes around the window's edges give the same bytes, seeking or not.
TEST(BinaryReader, WindowEdges)
{
	const Array<Byte> bytes = PatternBytes(5 * WINDOW + 17);
	for (const Bool canSeek : {true, false})
	{
		for (const Int size : {Int(1), Int(3), WINDOW / 2 + 1, WINDOW - 1, WINDOW, WINDOW + 1, 3 * WINDOW})
		{
			SCOPED_TRACE(testing::Message() << "seek " << canSeek << " size " << size);
			BinaryReader reader = OpenReader(bytes, {._canSeek = canSeek});
			Array<Byte> copy;
			Array<Byte> block(static_cast<std::size_t>(size));
			for (Int read = size; read == size;)
			{
				read = TORVI_MUST(reader.ReadEOS(block));
				copy.insert(copy.end(), block.begin(), block.begin() + read);
				ASSERT_EQ(reader.GetPosition(), CountOf(copy));
			}
			EXPECT_TRUE(copy == bytes);
		}
	}
}

TEST(BinaryReader, SeeksAndSkips)
{
	const Array<Byte> bytes = PatternBytes(3 * WINDOW);
	BinaryReader reader = OpenReader(bytes);
	for (const Int position : {Int(5), 2 * WINDOW + 1, Int(0), WINDOW, WINDOW - 1, 3 * WINDOW - 1})
	{
		ASSERT_TRUE(reader.Seek(position).IsOk());
		EXPECT_EQ(reader.GetRemaining(), 3 * WINDOW - position);
		EXPECT_EQ(TORVI_MUST(reader.ReadUChar()), bytes[static_cast<std::size_t>(position)]) << position;
	}
	ASSERT_TRUE(reader.Seek(3 * WINDOW - 2).IsOk());
	EXPECT_EQ(reader.Skip(5).GetError().GetMessage(), "The data ends 3 bytes too early.");
	EXPECT_EQ(reader.Skip(INT64_MAX).GetError().GetId(), errorids::IO);
	EXPECT_EQ(reader.Skip(-1).GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_TRUE(reader.Skip(2).IsOk());
	EXPECT_EQ(reader.GetRemaining(), 0);
	ASSERT_TRUE(reader.Seek(INT64_MAX).IsOk());
	EXPECT_EQ(reader.GetRemaining(), 0);
	EXPECT_EQ(reader.ReadUChar().GetError().GetId(), errorids::IO);
	EXPECT_EQ(reader.Seek(-1).GetError().GetId(), errorids::ILLEGALARGUMENT);
	ASSERT_TRUE(reader.Close().IsOk());
	EXPECT_EQ(reader.ReadUChar().GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_TRUE(reader.Close().IsOk());
}

TEST(BinaryReader, WithoutSeekingOnlyForward)
{
	const Array<Byte> bytes = PatternBytes(3 * WINDOW);
	BinaryReader reader = OpenReader(bytes, {._canSeek = false});
	EXPECT_EQ(reader.GetRemaining(), INT64_MAX);
	ASSERT_TRUE(reader.Seek(2 * WINDOW).IsOk());
	EXPECT_EQ(TORVI_MUST(reader.ReadUChar()), bytes[2 * WINDOW]);
	EXPECT_EQ(reader.Seek(0).GetError().GetId(), errorids::UNSUPPORTEDOPERATION);
	EXPECT_EQ(reader.Skip(INT64_MAX).GetError().GetId(), errorids::IO);
	BinaryReader other = OpenReader(bytes, {._canSeek = false});
	EXPECT_EQ(other.Skip(3 * WINDOW + 2).GetError().GetMessage(), "The data ends 2 bytes too early.");
}

TEST(BinaryReader, ArraysAreBoundByTheData)
{
	const Array<Byte> bytes = PatternBytes(WINDOW * 40);
	static Int s_largest;
	const AllocationHook previous = SetAllocationHook(
		[](Int size) noexcept
		{
			s_largest = std::max(s_largest, size);
			return true;
		});
	for (const Bool canSeek : {true, false})
	{
		BinaryReader reader = OpenReader(bytes, {._canSeek = canSeek});
		s_largest = 0;
		EXPECT_EQ(reader.ReadArray(Int(1) << 40).GetError().GetId(), errorids::IO);
		EXPECT_LE(s_largest, canSeek ? 4096 : 4 * CountOf(bytes));
		EXPECT_EQ(reader.ReadArray(-1).GetError().GetId(), errorids::ILLEGALARGUMENT);
		BinaryReader whole = OpenReader(bytes, {._canSeek = canSeek});
		EXPECT_TRUE(TORVI_MUST(whole.ReadArray(CountOf(bytes))) == bytes);
	}
	SetAllocationHook(previous);
}

TEST(BinaryReader, HandsReadErrorsOnAndGoesOnAfterwards)
{
	const Array<Byte> bytes = PatternBytes(2 * WINDOW);
	BinaryReader reader = OpenReader(bytes, {._readErrorAt = WINDOW + 10});
	ASSERT_TRUE(reader.Seek(WINDOW - 4).IsOk());
	EXPECT_EQ(reader.ReadUInt32().GetError().GetMessage(), "The read failed."); // in the window's later part
	ASSERT_TRUE(reader.Seek(0).IsOk());
	EXPECT_EQ(TORVI_MUST(reader.ReadUChar()), bytes[0]);
	BinaryReader cut = OpenReader(bytes, {._endAt = 100}); // the length is a lie
	EXPECT_EQ(cut.ReadArray(2 * WINDOW).GetError().GetMessage(), Format("The data ends @ bytes too early.", 2 * WINDOW - 100));
	BinaryReader closed;
	EXPECT_EQ(closed.Open(MakeFailingUrl(bytes, {._failsOpen = true}), ByteOrder::BIGENDIAN).GetError().GetMessage(), "The open failed.");
	EXPECT_FALSE(closed.IsOpen());
}

TEST(BinaryWriter, WritesWhatTheReaderReads)
{
	const Ref<FailingFile> file = TORVI_MUST(NewObject<FailingFile>(Array<Byte>(), FailurePlan{}));
	BinaryWriter writer;
	ASSERT_TRUE(writer.Open(TORVI_MUST(file->GetUrl()), ByteOrder::BIGENDIAN).IsOk());
	const Array<Byte> large = PatternBytes(WINDOW + 5);
	EXPECT_TRUE(writer.WriteUInt32(0).IsOk() && writer.WriteUInt16(0x0102).IsOk() && writer.WriteBlock(large).IsOk());
	writer.SetByteOrder(ByteOrder::LITTLEENDIAN);
	EXPECT_TRUE(writer.WriteInt32(-2).IsOk() && writer.WriteUInt64(0x0102030405060708u).IsOk() && writer.WriteUChar(7).IsOk());
	EXPECT_TRUE(writer.WriteZeros(2 * WINDOW).IsOk());
	const Int end = writer.GetPosition();
	EXPECT_EQ(end, 6 + WINDOW + 5 + 13 + 2 * WINDOW);
	EXPECT_TRUE(writer.Seek(0).IsOk() && writer.WriteUInt32(static_cast<UInt32>(end)).IsOk() && writer.Close().IsOk());
	EXPECT_EQ(file->GetLivingCount(), 0);

	BinaryReader reader = OpenReader(file->GetBytes());
	EXPECT_EQ(TORVI_MUST(reader.ReadUInt32()), end);
	reader.SetByteOrder(ByteOrder::BIGENDIAN);
	EXPECT_EQ(TORVI_MUST(reader.ReadUInt16()), 0x0102);
	EXPECT_TRUE(TORVI_MUST(reader.ReadArray(CountOf(large))) == large);
	reader.SetByteOrder(ByteOrder::LITTLEENDIAN);
	EXPECT_EQ(TORVI_MUST(reader.ReadInt32()), -2);
	EXPECT_EQ(TORVI_MUST(reader.ReadUInt64()), 0x0102030405060708u);
	EXPECT_EQ(TORVI_MUST(reader.ReadUChar()), 7);
	EXPECT_TRUE(TORVI_MUST(reader.ReadArray(2 * WINDOW)) == Array<Byte>(2 * WINDOW));
	EXPECT_EQ(reader.GetRemaining(), 0);
}

TEST(BinaryWriter, FailuresReachClose)
{
	struct Case
	{
		const char* _message;
		FailurePlan _plan;
	};
	const Case cases[] = {
		{"The write failed.", {._writeErrorAt = 3}},
		{"The disk is full.", {._diskSize = WINDOW / 2}},
		{"The disk is full.", {._diskSize = 3 * WINDOW}},
		{"The close failed.", {._failsClose = true}},
		{"The disk is full.", {._diskSize = 3, ._failsClose = true}}, // the first of both
	};
	for (const Case& test : cases)
	{
		SCOPED_TRACE(test._message);
		const Ref<FailingFile> file = TORVI_MUST(NewObject<FailingFile>(Array<Byte>(), test._plan));
		BinaryWriter writer;
		ASSERT_TRUE(writer.Open(TORVI_MUST(file->GetUrl()), ByteOrder::BIGENDIAN).IsOk());
		for (Int i = 0; i < 4 * WINDOW; i += 1000)
			(void)writer.WriteZeros(1000); // the errors are only asked for at the end
		file->_plan._writeErrorAt = INT64_MAX;
		file->_plan._diskSize = INT64_MAX; // there is room again, but a gap remains
		EXPECT_EQ(writer.Close().GetError().GetMessage(), test._message);
		EXPECT_EQ(file->GetLivingCount(), 0);
	}
}

TEST(BinaryReader, HoldsWithoutMemory)
{
	const Array<Byte> bytes = PatternBytes(3 * WINDOW);
	const auto operation = [&]() -> Result<void>
	{
		const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
		const Url url = TORVI_TRY(memory->GetUrl());
		BinaryWriter writer;
		TORVI_TRY(writer.Open(url, ByteOrder::BIGENDIAN));
		TORVI_TRY(writer.WriteUInt32(1));
		TORVI_TRY(writer.WriteBlock(bytes));
		TORVI_TRY(writer.Close());
		BinaryReader reader;
		TORVI_TRY(reader.Open(url, ByteOrder::BIGENDIAN));
		TORVI_TRY(reader.ReadUInt32());
		const Array<Byte> copy = TORVI_TRY(reader.ReadArray(CountOf(bytes)));
		TORVI_CHECK(copy == bytes, UnknownError("Other bytes came back."));
		return reader.Close();
	};
	const Int count = test::ForEachAllocationFailure(operation,
													 [](const Result<void>& result, Bool hasFailed)
													 {
														 EXPECT_EQ(result.IsOk(), !hasFailed);
														 EXPECT_TRUE(result.IsOk() || result.GetError().GetId() == errorids::OUTOFMEMORY);
													 });
	EXPECT_GT(count, 5);
}

} // namespace
} // namespace torvi
