// The zip conversions: both directions against each other and against zlib itself, damaged and cut data, and failing streams.
#include "host/module.h"
#include "host/zipstream.h"

#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace torvi
{
namespace
{

class Zip : public testing::Test
{
protected:
	void SetUp() override
	{
		TORVI_MUST(_services.Init());
		Module module(_services);
		TORVI_MUST(RegisterZipConversions(module));
		g_torvi = &_services;
	}
	void TearDown() override { g_torvi = nullptr; }

	HostServices _services;
};

Array<Byte> MakeBytes(Int count)
{
	Array<Byte> bytes;
	for (UInt32 i = 0, state = 1; i < count; ++i, state = state * 1664525 + 1013904223)
		bytes.push_back(static_cast<Byte>(i % 64 < 48 ? i / 64 : state >> 24));
	return bytes;
}

Array<Byte> CompressByZlib(const Array<Byte>& bytes)
{
	uLongf size = compressBound(bytes.size());
	Array<Byte> packed(size);
	EXPECT_EQ(compress(packed.data(), &size, bytes.data(), bytes.size()), Z_OK);
	packed.resize(size);
	return packed;
}

Result<InputStreamRef> Decode(const Url& url)
{
	const StreamConversionRef decoder = TORVI_TRY(CreateObject<StreamConversionInterface>(ids::STREAMCONVERSION_ZIP_DECODER));
	return decoder->ConnectInput(TORVI_TRY(url.OpenInputStream()));
}

/// Reads to the end in pieces; bytes or the error.
Result<Array<Byte>> ReadInPieces(const InputStreamRef& stream, std::size_t pieceSize)
{
	Array<Byte> bytes;
	Array<Byte> piece(pieceSize);
	for (Int count = CountOf(piece); count == CountOf(piece);)
	{
		count = TORVI_TRY(stream->ReadEOS(piece));
		bytes.insert(bytes.end(), piece.begin(), piece.begin() + count);
	}
	return bytes;
}

Result<void> Encode(const Url& target, Block<const Byte> bytes, Int32 level = -1)
{
	const StreamConversionRef encoder = TORVI_TRY(CreateObject<StreamConversionInterface>(ids::STREAMCONVERSION_ZIP_ENCODER));
	if (level != -1)
		TORVI_TRY(encoder->Set<Int32>(ids::STREAMCONVERSION_ZIP_ENCODER_COMPRESSION, level));
	const OutputStreamRef file = TORVI_TRY(target.OpenOutputStream());
	const OutputStreamRef stream = TORVI_TRY(encoder->ConnectOutput(file));
	TORVI_TRY(stream->Write(bytes.first(bytes.size() / 3)));
	TORVI_TRY(stream->Flush());
	TORVI_TRY(stream->Write(bytes.subspan(bytes.size() / 3)));
	TORVI_CHECK(stream->GetPosition() == CountOf(bytes), UnknownError("The position is wrong."));
	TORVI_TRY(stream->Close());
	TORVI_TRY(stream->Close());
	return file->Close();
}

TEST_F(Zip, DecodesWhatZlibWrote)
{
	for (const Int count : {0, 1, 100, 300000})
	{
		const Array<Byte> bytes = MakeBytes(count);
		const Array<Byte> packed = CompressByZlib(bytes);
		for (const std::size_t piece : {std::size_t(7), std::size_t(16384), std::size_t(1000000)})
		{
			const Url url = test::MakeFailingUrl(packed, {._canSeek = false});
			EXPECT_TRUE(TORVI_MUST(ReadInPieces(TORVI_MUST(Decode(url)), piece)) == bytes) << count << " in pieces of " << piece;
		}
	}
}

TEST_F(Zip, EncodesWhatZlibReads)
{
	const Array<Byte> bytes = MakeBytes(200000);
	std::size_t previousSize = SIZE_MAX;
	for (const Int32 level : {0, 1, 9, -1})
	{
		const Ref<IoMemory> memory = TORVI_MUST(NewObject<IoMemory>());
		ASSERT_TRUE(Encode(TORVI_MUST(memory->GetUrl()), bytes, level).IsOk());
		Array<Byte> copy(bytes.size() + 1);
		uLongf size = copy.size();
		ASSERT_EQ(uncompress(copy.data(), &size, memory->GetBytes().data(), memory->GetBytes().size()), Z_OK);
		copy.resize(size);
		EXPECT_TRUE(copy == bytes);
		EXPECT_TRUE(level < 0 || memory->GetBytes().size() < previousSize) << "level " << level;
		previousSize = memory->GetBytes().size();
	}
	EXPECT_EQ(Encode(TORVI_MUST(TORVI_MUST(NewObject<IoMemory>())->GetUrl()), bytes, 10).GetError().GetId(), errorids::ILLEGALARGUMENT);
}

TEST_F(Zip, DamagedDataIsAFileFormatError)
{
	const Array<Byte> bytes = MakeBytes(1000);
	const Array<Byte> packed = CompressByZlib(bytes);
	Array<Byte> badHeader = packed, badSum = packed;
	badHeader[0] ^= 0xFF;
	badSum.back() ^= 1;
	EXPECT_EQ(ReadInPieces(TORVI_MUST(Decode(test::MakeFailingUrl(badHeader, {}))), 100).GetError().GetMessage(),
			  "Zip stream error: incorrect header check.");
	EXPECT_EQ(ReadInPieces(TORVI_MUST(Decode(test::MakeFailingUrl(badSum, {}))), 100).GetError().GetMessage(),
			  "Zip stream error: incorrect data check.");
	for (Int cut = 0; cut < CountOf(packed); ++cut)
	{
		const Result<Array<Byte>> result = ReadInPieces(TORVI_MUST(Decode(test::MakeFailingUrl(packed, {._endAt = cut}))), 2000);
		ASSERT_FALSE(result.IsOk()) << cut;
		EXPECT_EQ(result.GetError().GetMessage(), "Zip stream error: buffer error.") << cut;
		EXPECT_EQ(result.GetError().GetId(), errorids::FILEFORMAT);
	}
}

TEST_F(Zip, StreamErrorsPassThrough)
{
	const Array<Byte> bytes = MakeBytes(100000);
	const Array<Byte> packed = CompressByZlib(bytes);
	EXPECT_EQ(ReadInPieces(TORVI_MUST(Decode(test::MakeFailingUrl(packed, {._readErrorAt = 20000}))), 1000).GetError().GetMessage(),
			  "The read failed.");
	EXPECT_EQ(Encode(test::MakeFailingUrl({}, {._diskSize = 100}), bytes).GetError().GetMessage(), "The disk is full.");
	const InputStreamRef stream = TORVI_MUST(Decode(test::MakeFailingUrl(packed, {})));
	EXPECT_FALSE(stream->SeekSupported());
	EXPECT_TRUE(stream->Skip(99999).IsOk());
	EXPECT_EQ(stream->Skip(3).GetError().GetMessage(), "The data ends 2 bytes too early.");
	ASSERT_TRUE(stream->Close().IsOk());
	EXPECT_EQ(stream->Skip(1).GetError().GetId(), errorids::ILLEGALSTATE);
}

TEST_F(Zip, HoldsWithoutMemory)
{
	const Array<Byte> bytes = MakeBytes(50000);
	const auto operation = [&]() -> Result<void>
	{
		const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
		const Url url = TORVI_TRY(memory->GetUrl());
		TORVI_TRY(Encode(url, bytes));
		return TORVI_TRY(Decode(url))->Skip(CountOf(bytes));
	};
	const Int count = test::ForEachAllocationFailure(operation,
													 [](const Result<void>& result, Bool hasFailed)
													 {
														 EXPECT_EQ(result.IsOk(), !hasFailed);
														 EXPECT_TRUE(result.IsOk() || result.GetError().GetId() == errorids::OUTOFMEMORY);
													 });
	EXPECT_GT(count, 10); // zlib's own allocations are among them
}

} // namespace
} // namespace torvi
