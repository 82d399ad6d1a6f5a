// Pixel storages in the stored form of their images. What opens is written, comes back the same, and takes and gives pixels.
#include "fuzz/mutation.h"
#include "fuzz/target.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"

namespace torvi::fuzz
{

namespace
{

Result<Array<Byte>> Store(ImageInterface& image)
{
	DataSerializeWriter writer;
	TORVI_TRY(image.DescribeIO(writer));
	return Array<Byte>(writer.GetBytes().begin(), writer.GetBytes().end());
}

Result<ImageRef> Restore(Block<const Byte> bytes)
{
	ImageRef image = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	DataSerializeReader reader(bytes);
	TORVI_TRY(image->DescribeIO(reader));
	return image;
}

void CheckRoundTrip(ImageInterface& image)
{
	const Result<Array<Byte>> stored = Store(image);
	Require(stored.IsOk(), "A storage that was read can be stored.");
	const Result<ImageRef> again = Restore(stored.GetValue());
	Require(again.IsOk(), "A stored storage can be read.");
	const Result<Array<Byte>> storedAgain = Store(*again.GetValue());
	Require(storedAgain.IsOk() && storedAgain.GetValue() == stored.GetValue(), "A storage comes back as it was stored.");
}

/// Each line is read, once by the channel, and written back where it was.
Result<void> UsePixels(ImageInterface& image)
{
	constexpr Int LARGEST_COMPONENT = 8;
	constexpr Int MOST_PIXELS = 1 << 16; // storages without pixels may be of any size
	const Int width = image.GetWidth();
	const Int height = image.GetHeight();
	if (width == 0 || width > MOST_PIXELS || height > MOST_PIXELS / width)
		return OK;
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const ChannelOffsets offsets = format->GetChannelOffsets();
	const BITS bits = format->GetBitsPerPixel();
	const GetPixelHandlerStruct reader =
		TORVI_TRY(image.GetPixelHandler(format, offsets, ColorProfile(), GETPIXELHANDLERFLAGS::NONE, nullptr));
	SetPixelHandlerStruct writer = TORVI_TRY(image.SetPixelHandler(format, offsets, ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	Array<Byte> line(static_cast<std::size_t>(LARGEST_COMPONENT * width));
	for (Int y = 0; y < height; ++y)
	{
		for (Int channel = 0; channel < image.GetChannelCount(); ++channel)
			static_cast<void>(image.GetComponent(channel, {0, y, width}, line.data(), LARGEST_COMPONENT));
		if (reader._getLine)
			TORVI_TRY(reader._getLine({0, y, width}, PixelBuffer(line.data(), bits), 0));
		TORVI_TRY(writer.SetLine({0, y, width}, PixelBuffer(line.data(), bits), 0));
	}
	return writer.Free();
}

Result<Array<PixelFormat>> GetAllFormats()
{
	Array<PixelFormat> formats;
	const RegistryRef groups = TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_PIXELFORMATGROUPS));
	for (const PixelFormatGroup& group : groups->GetEntries<PixelFormatGroupInterface>())
	{
		for (Registry::Iterator entry = group->GetEntries(); entry.HasValue(); entry.MoveToNext())
			formats.push_back(Cast<PixelFormatInterface>(entry.GetEntry()));
	}
	return formats;
}

Result<Array<Byte>> MakeStoredImage(Dice& dice)
{
	constexpr std::size_t LARGEST_WIDTH = 20, LARGEST_HEIGHT = 5;
	const Array<PixelFormat> formats = TORVI_TRY(GetAllFormats());
	const Id storageClass = dice.OneIn(8) ? ids::IMAGEPIXELSTORAGECLASS_NODATA : ids::IMAGEPIXELSTORAGECLASS_NORMAL;
	const ImageRef image = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	const Int width = static_cast<Int>(dice.Below(LARGEST_WIDTH + 1));
	const Int height = static_cast<Int>(dice.Below(LARGEST_HEIGHT + 1));
	TORVI_TRY(image->Init(width, height, TORVI_TRY(g_torvi->GetClass(storageClass)), formats[dice.Below(formats.size())], {}));
	return Store(*image);
}

} // namespace

/// An image of any format: hardly a mutation gets a format, its layout and the number of bytes right at once.
Bytes MakeInput(Dice& dice)
{
	const Result<Array<Byte>> image = MakeStoredImage(dice);
	return image.IsOk() ? Bytes(image.GetValue().begin(), image.GetValue().end()) : Bytes();
}

} // namespace torvi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)
{
	using namespace torvi;
	fuzz::PrepareModule();
	const Result<ImageRef> image = fuzz::Restore({data, size});
	if (!image.IsOk())
		return 0;
	fuzz::CheckRoundTrip(*image.GetValue());
	static_cast<void>(fuzz::UsePixels(*image.GetValue()));
	return 0;
}
