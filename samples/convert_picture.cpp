// How a program uses the library: start the module, load a picture, read and change its lines, save it as a BMP file.
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"
#include "torvi/mediasession_fileformats.h"
#include "torvi/module.h"

#include <iostream>

using namespace torvi;

namespace
{

/// Mirrors each line of a picture from left to right, in 8-bit red, green, blue and alpha, whatever the format of the picture is.
Result<void> Mirror(ImageBaseInterface& image)
{
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const ChannelOffsets& offsets = format->GetChannelOffsets();
	// An empty profile converts no colours. Both handlers are given back when they go out of scope.
	const GetPixelHandlerStruct reader =
		TORVI_TRY(image.GetPixelHandler(format, offsets, ColorProfile(), GETPIXELHANDLERFLAGS::NONE, nullptr));
	SetPixelHandlerStruct writer = TORVI_TRY(image.SetPixelHandler(format, offsets, ColorProfile(), SETPIXELHANDLERFLAGS::NONE));

	const Int width = image.GetWidth();
	Array<UInt32> line(static_cast<std::size_t>(width)); // one element is one pixel of four bytes
	const PixelBuffer buffer(reinterpret_cast<Byte*>(line.data()), format->GetBitsPerPixel());
	for (Int y = 0; y < image.GetHeight(); ++y)
	{
		TORVI_TRY(reader._getLine({0, y, width}, buffer, 0));
		std::ranges::reverse(line);
		TORVI_TRY(writer.SetLine({0, y, width}, buffer, 0));
	}
	return writer.Free(); // tells observers of the picture, and says whether they agree
}

Result<void> ConvertPicture(const char* in, const char* out)
{
	// The time counts for movies only. No storage class: normal pixels in memory. No layer set: all pictures of the file.
	const ImageTextureRef texture =
		TORVI_TRY(LoadTexture(TORVI_TRY(Url::FromSystemPath(in)), TimeValue(), MEDIASESSIONFLAGS::NONE, ClassRef(), nullptr));
	for (const ImageBaseRef& image : GetImageChildren(*texture, IMAGEHIERARCHY::IMAGE))
		TORVI_TRY(Mirror(*image));

	const MediaOutputUrlRef exporter = TORVI_TRY(CreateObject<MediaOutputUrlInterface>(ids::CLASS_BMPEXPORT));
	TORVI_TRY(exporter->SetOutputUrl(TORVI_TRY(Url::FromSystemPath(out))));
	return texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr);
}

int Report(const Result<void>& result)
{
	if (result.IsOk())
		return 0;
	std::cerr << result.GetError().ToString() << "\n";
	return 1;
}

} // namespace

int main(int argumentCount, char** arguments)
{
	if (argumentCount != 3)
	{
		std::cerr << "usage: convert_picture IN OUT.bmp\n";
		return 2;
	}
	const ModuleScope module; // ends the module when it goes out of scope
	return Report(module.GetResult().IsOk() ? ConvertPicture(arguments[1], arguments[2])
											: Result<void>(module.GetResult().GetError().Share()));
}
