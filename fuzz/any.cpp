// Files of any format, on the road that torvi-image takes: found by their bytes, described, read picture by picture and layer by layer as
// composed pixels, and saved as PNG.
#include "fuzz/picture.h"
#include "fuzz/target.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

namespace torvi::fuzz
{

namespace
{

/// Bytes that are read of all images of a file. Folders in folders read the same layers again and again.
constexpr Int MOST_READ = 4 * LARGEST_PICTURE;

void Describe(const ImageBaseInterface& image)
{
	for (const DataDictionary::Entry& entry : image.InitIterator())
		static_cast<void>(entry._value.ToString());
}

Result<void> ReadLines(ImageBaseInterface& image, const LayerSet* layerSet)
{
	if (image.GetWidth() == 0)
		return OK; // it may have any number of lines
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const GetPixelHandlerStruct reader =
		TORVI_TRY(image.GetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), GETPIXELHANDLERFLAGS::NONE, layerSet));
	Array<Byte> line(static_cast<std::size_t>(format->GetBytesPerLine(image.GetWidth(), 1)));
	for (Int y = 0; y < image.GetHeight() && reader._getLine; ++y)
		TORVI_TRY(reader._getLine({0, y, image.GetWidth()}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0));
	return OK;
}

/// The layers of a picture over one another.
Result<void> ReadLayers(ImageBaseInterface& picture)
{
	LayerNames names;
	for (const ImageBaseRef& layer : GetImageChildren(picture, IMAGEHIERARCHY::LAYER))
		names.insert(layer->GetOr<String>(ids::IMAGE_NAME, String()));
	LayerSet layers;
	TORVI_TRY(layers.SetSelectedLayers(std::move(names)));
	return ReadLines(picture, &layers);
}

/// An upper bound of what it takes to read an image: its own pixels, and those of all that it may show.
Int CountReads(const ImageBaseInterface& image)
{
	constexpr Int BYTES_PER_PIXEL = 4;
	return image.GetWidth() * image.GetHeight() * BYTES_PER_PIXEL * (1 + CountOf(GetImagesBelow(image)));
}

void ReadImages(const ImageTextureInterface& texture)
{
	Int left = MOST_READ;
	for (const ImageBaseRef& image : GetImagesBelow(texture))
	{
		Describe(*image);
		const Int reads = CountReads(*image);
		if (reads > left)
			continue;
		left -= reads;
		static_cast<void>(ReadLines(*image, nullptr));
		if (image->GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::LAYER)))
			static_cast<void>(ReadLayers(*image));
	}
}

Result<void> RunFile(const Url& url)
{
	const ImageTextureRef texture = TORVI_TRY(LoadSmallPictures(url));
	if (!texture)
		return OK;
	Describe(*texture);
	ReadImages(*texture);
	return SavePictures(texture, TORVI_TRY(CreateObject<MediaOutputUrlInterface>(ids::CLASS_PNGEXPORT)));
}

} // namespace

} // namespace torvi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)
{
	torvi::fuzz::PrepareModule();
	static_cast<void>(torvi::fuzz::RunFile(torvi::fuzz::MakeFile({data, size})));
	return 0;
}
