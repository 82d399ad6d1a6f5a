// The pixel storages: layout, bounds, formats below a byte, components, copies, equality and the stored form.
#include "host/dataserialize.h"
#include "pixelformat/kernel_indexed.h"
#include "tests/image/image_test.h"

#include <random>

namespace torvi
{

namespace
{

class StorageTest : public ImageTest
{
protected:
	static ImagePixelStorageRef MakeStorage(Int width, Int height, const PixelFormat& format,
											const Id& id = ids::IMAGEPIXELSTORAGECLASS_NORMAL)
	{
		ImagePixelStorageRef storage = Make<ImagePixelStorageInterface>(id);
		EXPECT_OK(storage->Init(width, height, format, {}));
		return storage;
	}
	/// Indices of a few bits, each of which is the grey of that number.
	static PixelFormat MakeBitFormat(const Id& id)
	{
		const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
		PixelFormat format = Must(GetPixelFormat(id)->GetClass()->Create<PixelFormatInterface>());
		const PixelFormatIndexedColorRef table = Cast<PixelFormatIndexedColorInterface>(format);
		const Int count = Int(1) << format->GetBitsPerPixel();
		EXPECT_OK(table->InitColorTable(count, grey));
		for (Int i = 0; i < count; ++i)
		{
			const auto value = static_cast<Byte>(i);
			EXPECT_OK(table->SetIndex(i, PixelBuffer(&value, 8, &grey->GetChannelOffsets(), grey)));
		}
		return format;
	}
	static GetPixelHandlerStruct Reader(ImagePixelStorageInterface& storage, const PixelFormat& format)
	{
		return Must(storage.GetPixelHandler(format, format->GetChannelOffsets(), {}, {}, GETPIXELHANDLERFLAGS::NONE));
	}
	static SetPixelHandlerStruct Writer(ImagePixelStorageInterface& storage, const PixelFormat& format)
	{
		return Must(storage.SetPixelHandler(format, format->GetChannelOffsets(), {}, {}, SETPIXELHANDLERFLAGS::NONE, {}));
	}
	/// All bytes of the lines, as they lie in the storage.
	static Array<Byte> StoredBytes(ImagePixelStorageInterface& storage)
	{
		DataSerializeWriter writer;
		EXPECT_OK(storage.DescribeIO(writer));
		DataSerializeReader reader(writer.GetBytes());
		Int number = 0;
		Array<BITS> offsets;
		Id format;
		Array<Byte> data;
		for (const char* name : {"_width", "_height", "_bytesPerLine", "_bitsPerPixel", "_channels"})
			EXPECT_OK(reader.DescribeElement(name, number));
		EXPECT_OK(reader.DescribeElement("_channelOffsets", offsets));
		EXPECT_OK(reader.DescribeElement("_pixelFormatId", format));
		EXPECT_OK(reader.DescribeElement("_data", data));
		EXPECT_EQ(reader.GetRemaining(), 0);
		return data;
	}
};

TEST_F(StorageTest, RunsMustLieInside)
{
	constexpr Int MAX = INT64_MAX;
	constexpr Int MIN = INT64_MIN;
	const struct
	{
		const char* _name;
		ImagePos _pos;
		Bool _isInside;
	} CASES[] = {
		{"whole line", {0, 0, 5}, true},       {"last pixel", {4, 2, 1}, true},     {"nothing at the end", {5, 1, 0}, true},
		{"left", {-1, 0, 1}, false},           {"too long", {0, 0, 6}, false},      {"behind the end", {6, 0, 0}, false},
		{"above", {0, -1, 1}, false},          {"below", {0, 3, 1}, false},         {"nothing below", {0, 3, 0}, false},
		{"sum overflows", {4, 0, MAX}, false}, {"far right", {MAX, 0, MAX}, false}, {"far left", {MIN, 0, MAX}, false},
		{"negative count", {2, 0, MIN}, true},
	};
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGB_U8);
	const ImagePixelStorageRef storage = MakeStorage(5, 3, format);
	const GetPixelHandlerStruct reader = Reader(*storage, format);
	SetPixelHandlerStruct writer = Writer(*storage, format);
	Byte pixels[3 * 5] = {};
	for (const auto& test : CASES)
	{
		const PixelBuffer buffer(static_cast<Byte*>(pixels), 24);
		EXPECT_EQ(reader._getLine(test._pos, buffer, 0).IsOk(), test._isInside) << "read, " << test._name;
		EXPECT_EQ(writer.SetLine(test._pos, buffer, 0).IsOk(), test._isInside) << "write, " << test._name;
	}
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, reader._getLine({-1, 0, 1}, PixelBuffer(static_cast<Byte*>(pixels), 24), 0));
}

TEST_F(StorageTest, ConvertsOnTheWay)
{
	const ImagePixelStorageRef storage = MakeStorage(2, 2, GetPixelFormat(ids::PIXELFORMAT_RGB_U8));
	const Byte grey[] = {10, 20};
	EXPECT_OK(Writer(*storage, GetPixelFormat(ids::PIXELFORMAT_GREY_U8))._setLine({0, 1, 2}, PixelBuffer(grey, 8), 0));
	EXPECT_EQ(StoredBytes(*storage), (Array<Byte>{0, 0, 0, 0, 0, 0, 10, 10, 10, 20, 20, 20}));
	Byte rgba[4] = {};
	EXPECT_OK(Reader(*storage, GetPixelFormat(ids::PIXELFORMAT_RGBA_U8))._getLine({1, 1, 1}, PixelBuffer(static_cast<Byte*>(rgba), 32), 0));
	EXPECT_EQ(std::to_array(rgba), std::to_array<Byte>({20, 20, 20, 255}));
}

// Each run of a line of a few bits per pixel, read and written, against one index after another.
TEST_F(StorageTest, RunsBelowAByte)
{
	constexpr Int WIDTH = 43;
	std::mt19937 random(1);
	for (const Id& id :
		 {ids::PIXELFORMAT_INDEXED_U1BIT, ids::PIXELFORMAT_INDEXED_U3BIT, ids::PIXELFORMAT_INDEXED_U4BIT, ids::PIXELFORMAT_INDEXED_U5BIT})
	{
		const PixelFormat format = MakeBitFormat(id);
		const Int bits = format->GetBitsPerPixel();
		const ImagePixelStorageRef storage = MakeStorage(WIDTH, 3, format);
		const SetPixelHandlerStruct writer = Writer(*storage, format);
		const GetPixelHandlerStruct reader = Reader(*storage, format);
		const GetPixelHandlerStruct greyReader = Reader(*storage, GetPixelFormat(ids::PIXELFORMAT_GREY_U8));
		Array<Byte> expected(WIDTH);
		for (Int x = 0; x < WIDTH; ++x)
		{
			for (Int count = 0; count <= WIDTH - x; ++count)
			{
				Array<Byte> run(static_cast<std::size_t>(BytesOf(count * bits)) + 1);
				for (Int i = 0; i < count; ++i)
				{
					Byte& index = expected[static_cast<std::size_t>(x + i)];
					index = static_cast<Byte>(random() & ((1u << bits) - 1));
					InsertIndex(run.data(), i * bits, bits, index);
				}
				EXPECT_OK(writer._setLine({x, 2, count}, PixelBuffer(static_cast<const Byte*>(run.data()), bits), 0));
				Array<Byte> grey(WIDTH);
				EXPECT_OK(greyReader._getLine({0, 2, WIDTH}, PixelBuffer(grey.data(), 8), 0));
				ASSERT_EQ(grey, expected) << bits << " bits, written " << count << " from " << x;
				Array<Byte> read(run.size());
				EXPECT_OK(reader._getLine({x, 2, count}, PixelBuffer(read.data(), bits), 0));
				for (Int i = 0; i < count; ++i)
					ASSERT_EQ(ExtractIndex(read.data(), i * bits, bits), expected[static_cast<std::size_t>(x + i)])
						<< bits << " bits, read from " << x;
			}
		}
		const Array<Byte> bytes = StoredBytes(*storage);
		const std::size_t line = bytes.size() / 3;
		EXPECT_TRUE(std::all_of(bytes.begin(), bytes.begin() + static_cast<Int>(2 * line), [](Byte byte) { return byte == 0; })) << bits;
		EXPECT_EQ(bytes.back() & ((1u << (CountOf(bytes) / 3 * 8 - WIDTH * bits)) - 1), 0u) << "bits behind the line, " << bits;
	}
}

// Long runs take several scratch runs; the far side may have any stride, also a negative one.
TEST_F(StorageTest, LongRunsBelowAByte)
{
	constexpr Int WIDTH = 9001;
	const PixelFormat format = MakeBitFormat(ids::PIXELFORMAT_INDEXED_U1BIT);
	const ImagePixelStorageRef storage = MakeStorage(WIDTH, 1, format);
	Array<Byte> bits(static_cast<std::size_t>(BytesOf(WIDTH)));
	std::mt19937 random(2);
	for (Byte& byte : bits)
		byte = static_cast<Byte>(random());
	EXPECT_OK(Writer(*storage, format)._setLine({3, 0, WIDTH - 3}, PixelBuffer(static_cast<const Byte*>(bits.data()), 1), 0));
	Array<Byte> grey(WIDTH);
	const PixelBuffer backwards(&grey[WIDTH - 1], -8);
	EXPECT_OK(Reader(*storage, GetPixelFormat(ids::PIXELFORMAT_GREY_U8))._getLine({5, 0, WIDTH - 5}, backwards, 0));
	for (Int i = 0; i < WIDTH - 5; ++i)
		ASSERT_EQ(grey[static_cast<std::size_t>(WIDTH - 1 - i)], ExtractIndex(bits.data(), i + 2, 1)) << i;
}

TEST_F(StorageTest, LinesArePackedWithoutPadding)
{
	const PixelFormat bit = MakeBitFormat(ids::PIXELFORMAT_INDEXED_U1BIT);
	const ImagePixelStorageRef storage = MakeStorage(9, 4, GetPixelFormat(ids::PIXELFORMAT_RGB_U8));
	EXPECT_EQ(StoredBytes(*storage).size(), 9u * 3 * 4);
	Array<Byte> bytes(2, 0xFF);
	const ImagePixelStorageRef bits = MakeStorage(9, 2, bit);
	EXPECT_OK(Writer(*bits, bit)._setLine({0, 1, 9}, PixelBuffer(bytes.data(), 1), 0));
	EXPECT_EQ(StoredBytes(*bits), (Array<Byte>{0, 0, 0xFF, 0x80}));
	Array<Byte> component(2);
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED, bits->GetComponent(0, {0, 0, 2}, component.data(), 1));
}

TEST_F(StorageTest, Components)
{
	const ImagePixelStorageRef storage = MakeStorage(3, 2, GetPixelFormat(ids::PIXELFORMAT_RGB_U8));
	const Byte green[] = {1, 9, 2, 9, 3};
	EXPECT_OK(storage->SetComponent(1, {0, 1, 3}, green, 2));
	EXPECT_EQ(StoredBytes(*storage), (Array<Byte>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0}));
	Byte read[] = {7, 7, 7, 7};
	EXPECT_OK(storage->GetComponent(1, {1, 1, 2}, read, 3));
	EXPECT_EQ(std::to_array(read), std::to_array<Byte>({2, 7, 7, 3}));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, storage->GetComponent(3, {0, 0, 1}, read, 1));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, storage->GetComponent(-1, {0, 0, 1}, read, 1));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, storage->GetComponent(0, {2, 0, 2}, read, 1));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, storage->SetComponent(0, {0, 2, 1}, read, 1));
	EXPECT_OK(storage->GetComponent(0, {99, 99, 0}, read, 1));
}

TEST_F(StorageTest, InitChecksAndKeeps)
{
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	const ImagePixelStorageRef storage = MakeStorage(4, 1, grey);
	const Byte pixels[] = {1, 2, 3, 4};
	EXPECT_OK(Writer(*storage, grey)._setLine({0, 0, 4}, PixelBuffer(pixels, 8), 0));
	EXPECT_OK(storage->Init(3, 2, grey, {}));
	EXPECT_EQ(StoredBytes(*storage), (Array<Byte>{1, 2, 3, 4, 0, 0}));
	EXPECT_OK(storage->Init(1, 2, grey, {}));
	EXPECT_OK(storage->Init(3, 1, grey, {}));
	EXPECT_EQ(StoredBytes(*storage), (Array<Byte>{1, 2, 0}));

	for (const Id& id : {ids::IMAGEPIXELSTORAGECLASS_NORMAL, ids::IMAGEPIXELSTORAGECLASS_NODATA})
	{
		const ImagePixelStorageRef other = MakeStorage(2, 2, grey, id);
		EXPECT_ERROR(errorids::ILLEGALARGUMENT, other->Init(1, 1, {}, {}));
		EXPECT_EQ(other->GetWidth(), 0);
		EXPECT_FALSE(other->GetPixelFormat());
		EXPECT_ERROR(errorids::ILLEGALARGUMENT, other->Init(-1, 1, grey, {}));
		EXPECT_ERROR(errorids::ILLEGALARGUMENT, other->Init(1, -1, grey, {}));
		EXPECT_ERROR(errorids::OUTOFMEMORY, other->Init(INT64_MAX, 1, grey, {}));
	}
	EXPECT_ERROR(errorids::OUTOFMEMORY, storage->Init(INT64_MAX / 16, INT64_MAX / 16, grey, {}));
	EXPECT_EQ(storage->GetHeight(), 0);
	EXPECT_ERROR(errorids::ILLEGALSTATE, storage->SetPixelHandler(grey, grey->GetChannelOffsets(), {}, {}, SETPIXELHANDLERFLAGS::NONE, {}));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, storage->GetPixelHandler({}, {}, {}, {}, GETPIXELHANDLERFLAGS::NONE));
}

TEST_F(StorageTest, NoData)
{
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	const ImagePixelStorageRef storage = MakeStorage(3, 2, grey, ids::IMAGEPIXELSTORAGECLASS_NODATA);
	Byte pixel[3] = {};
	EXPECT_OK(Writer(*storage, grey)._setLine({0, 0, 3}, PixelBuffer(static_cast<const Byte*>(pixel), 8), 0));
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED,
				 Reader(*storage, grey)._getLine({0, 0, 1}, PixelBuffer(static_cast<Byte*>(pixel), 8), 0));
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED, storage->GetComponent(0, {0, 0, 1}, pixel, 1));
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED, storage->SetComponent(0, {0, 0, 1}, pixel, 1));
	const ImagePixelStorageRef indices =
		MakeStorage(1, 1, MakeBitFormat(ids::PIXELFORMAT_INDEXED_U2BIT), ids::IMAGEPIXELSTORAGECLASS_NODATA);
	EXPECT_FALSE(indices->SetPixelHandler(grey, grey->GetChannelOffsets(), {}, {}, SETPIXELHANDLERFLAGS::NONE, {}).IsOk())
		<< "the conversion is asked for";
	EXPECT_TRUE(storage->IsEqual(*MakeStorage(3, 2, grey, ids::IMAGEPIXELSTORAGECLASS_NODATA)));
	EXPECT_FALSE(storage->IsEqual(*MakeStorage(2, 3, grey, ids::IMAGEPIXELSTORAGECLASS_NODATA)));
	EXPECT_FALSE(storage->IsEqual(*MakeStorage(3, 2, grey)));
}

TEST_F(StorageTest, EqualityIsThatOfThePixels)
{
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	const ImagePixelStorageRef a = MakeStorage(2, 1, grey);
	const ImagePixelStorageRef b = MakeStorage(2, 1, grey);
	EXPECT_TRUE(a->IsEqual(*b));
	EXPECT_EQ(a->GetHashCodeImpl(), b->GetHashCodeImpl());
	const Byte pixel[] = {1};
	EXPECT_OK(Writer(*b, grey)._setLine({1, 0, 1}, PixelBuffer(pixel, 8), 0));
	EXPECT_FALSE(a->IsEqual(*b));
	EXPECT_NE(a->GetHashCodeImpl(), b->GetHashCodeImpl());
	EXPECT_FALSE(a->IsEqual(*MakeStorage(1, 2, grey)));
	EXPECT_FALSE(a->IsEqual(*MakeStorage(2, 1, GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8))));
	EXPECT_TRUE(b->IsEqual(*Must(b->CloneObject())));
}

/// Stores what a normal storage stores; the members need not fit.
Array<Byte> StoreMembers(Int width, Int height, Int bytesPerLine, Array<BITS> offsets, Id format, Array<Byte> data)
{
	DataSerializeWriter writer;
	BITS bits = offsets.back();
	Int channels = CountOf(offsets) - 1;
	EXPECT_OK(writer.DescribeElement("_width", width));
	EXPECT_OK(writer.DescribeElement("_height", height));
	EXPECT_OK(writer.DescribeElement("_bytesPerLine", bytesPerLine));
	EXPECT_OK(writer.DescribeElement("_bitsPerPixel", bits));
	EXPECT_OK(writer.DescribeElement("_channels", channels));
	EXPECT_OK(writer.DescribeElement("_channelOffsets", offsets));
	EXPECT_OK(writer.DescribeElement("_pixelFormatId", format));
	EXPECT_OK(writer.DescribeElement("_data", data));
	return Array<Byte>(writer.GetBytes().begin(), writer.GetBytes().end());
}

// Dynamic formats share one class. A format that no module has made yet is made from the channels in its id.
TEST_F(StorageTest, StoredDynamicFormats)
{
	const auto roundTrip = [](const Array<Byte>& bytes)
	{
		const ImagePixelStorageRef read = Make<ImagePixelStorageInterface>(ids::IMAGEPIXELSTORAGECLASS_NORMAL);
		DataSerializeReader reader(bytes);
		EXPECT_OK(read->DescribeIO(reader));
		return read->GetPixelFormat();
	};
	const ImageChannel channels[] = {GetImageChannel(CHANNELTYPE::RED, GetDataType<UChar>()),
									 GetImageChannel(CHANNELTYPE::DEPTH, GetDataType<Float32>())};
	const PixelFormat format = Must(FindOrCreatePixelFormat(channels));
	DataSerializeWriter writer;
	EXPECT_OK(MakeStorage(2, 1, format)->DescribeIO(writer));
	EXPECT_EQ(roundTrip(Array<Byte>(writer.GetBytes().begin(), writer.GetBytes().end())), format);

	const PixelFormat made =
		roundTrip(StoreMembers(1, 1, 3, {0, 8, 24}, "net.torvi.image.pixelformat.{uchar#Green,uint16#Depth}", {1, 2, 3}));
	ASSERT_TRUE(made);
	EXPECT_EQ(made->GetChannels()[1], GetImageChannel(CHANNELTYPE::DEPTH, GetDataType<UInt16>()));

	for (const Id id : {Id("net.torvi.image.pixelformat.{uchar#Green,uint16#Nothing}"), Id("net.torvi.image.pixelformat.{}"),
						Id("net.torvi.image.pixelformat.{uchar#Green,}"), Id("net.torvi.image.pixelformat.{"), Id("")})
	{
		const ImagePixelStorageRef read = Make<ImagePixelStorageInterface>(ids::IMAGEPIXELSTORAGECLASS_NORMAL);
		const Array<Byte> bytes = StoreMembers(1, 1, 3, {0, 8, 24}, id, {1, 2, 3});
		DataSerializeReader reader(bytes);
		EXPECT_ERROR(errorids::ILLEGALSTATE, read->DescribeIO(reader));
	}
}

TEST_F(StorageTest, BadStoredFormsAreErrors)
{
	const Id grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8)->GetClassId();
	const Array<Byte> good = StoreMembers(2, 1, 2, {0, 8}, grey, {1, 2});
	const struct
	{
		const char* _name;
		Array<Byte> _bytes;
	} CASES[] = {
		{"data too short", StoreMembers(2, 1, 2, {0, 8}, grey, {1})},
		{"data too long", StoreMembers(2, 1, 2, {0, 8}, grey, {1, 2, 3})},
		{"negative width", StoreMembers(-2, 1, 2, {0, 8}, grey, {})},
		{"wrong line", StoreMembers(2, 1, 1, {0, 8}, grey, {1})},
		{"wrong offsets", StoreMembers(2, 1, 2, {4, 8}, grey, {1, 2})},
		{"wrong bits", StoreMembers(2, 1, 2, {0, 16}, grey, {1, 2})},
		{"more channels", StoreMembers(2, 1, 2, {0, 8, 8}, grey, {1, 2})},
	};
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	const ImagePixelStorageRef storage = MakeStorage(1, 1, format);
	for (const auto& test : CASES)
	{
		SCOPED_TRACE(test._name);
		DataSerializeReader reader(test._bytes);
		EXPECT_ERROR(errorids::ILLEGALSTATE, storage->DescribeIO(reader));
	}
	const Array<Byte> unknownFormat = StoreMembers(2, 1, 2, {0, 8}, "net.torvi.image.no.such.format", {1, 2});
	DataSerializeReader unknown(unknownFormat);
	const Result<void> result = storage->DescribeIO(unknown);
	EXPECT_EQ(result.GetError().GetMessage(), "Illegal pixel format: net.torvi.image.no.such.format.");
	for (std::size_t length = 0; length < good.size(); ++length)
	{
		DataSerializeReader reader(Block<const Byte>(good).first(length));
		EXPECT_FALSE(storage->DescribeIO(reader).IsOk()) << length;
	}
	EXPECT_TRUE(storage->IsEqual(*MakeStorage(1, 1, format))) << "failures change nothing";
	DataSerializeReader reader(good);
	EXPECT_OK(storage->DescribeIO(reader));
	EXPECT_EQ(StoredBytes(*storage), (Array<Byte>{1, 2}));
}

} // namespace

} // namespace torvi
