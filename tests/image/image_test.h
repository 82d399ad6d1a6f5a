// What the tests of the image folder share: a started host, short ways to make images and to move lines, and stand-ins for what other
// folders give images.
#pragma once

#include "image/registration.h"
#include "pixelblend/registration.h"
#include "pixelformat/registration.h"
#include "tests/support/host_scope.h"
#include "tests/support/plain_profile.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

#include <gtest/gtest.h>

namespace torvi
{

/// The value of a result that must be one.
template <class T>
T Must(Result<T> result)
{
	if (!result.IsOk())
	{
		ADD_FAILURE() << result.GetError().ToString();
		std::abort();
	}
	return result.TakeValue();
}

#define EXPECT_OK(...)                                                                                                                     \
	do                                                                                                                                     \
	{                                                                                                                                      \
		const auto expectedOk = (__VA_ARGS__);                                                                                             \
		EXPECT_TRUE(expectedOk.IsOk()) << expectedOk.GetError().ToString();                                                                \
	} while (false)

#define EXPECT_ERROR(errorId, ...)                                                                                                         \
	do                                                                                                                                     \
	{                                                                                                                                      \
		const auto expectedError = (__VA_ARGS__);                                                                                          \
		EXPECT_EQ(expectedError.GetError().GetId().GetText(), (errorId).GetText()) << expectedError.GetError().ToString();                 \
	} while (false)

class ImageTest : public testing::Test
{
protected:
	static ClassRef StorageClass(const Id& id = ids::IMAGEPIXELSTORAGECLASS_NORMAL) { return Must(g_torvi->GetClass(id)); }

	template <class T>
	static Ref<T> Make(const Id& classId)
	{
		return Must(CreateObject<T>(classId));
	}
	static ImageTextureRef MakeTexture() { return Make<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE); }

	/// An image or layer with a name and a storage.
	template <class T = ImageInterface>
	static Ref<T> MakeImage(const Id& classId, Int width, Int height, const Id& format = ids::PIXELFORMAT_GREY_U8,
							const Id& storageClass = ids::IMAGEPIXELSTORAGECLASS_NORMAL)
	{
		Ref<T> image = Make<T>(classId);
		EXPECT_OK(image->Init(width, height, StorageClass(storageClass), GetPixelFormat(format), {}));
		return image;
	}
	static ImageRef MakeImage(Int width, Int height, const Id& format = ids::PIXELFORMAT_GREY_U8)
	{
		return MakeImage<ImageInterface>(ids::IMAGECLASS_IMAGE, width, height, format);
	}
	/// A layer of one grey pixel, whose value tells it from others.
	static ImageLayerRef MakeLayer(std::string_view name, UChar value)
	{
		const ImageLayerRef layer = MakeImage<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER, 1, 1);
		if (!name.empty())
			EXPECT_OK(layer->Set<String>(ids::IMAGE_NAME, MakeString(name)));
		WriteBytes(*layer, {0, 0, 1}, {value});
		return layer;
	}

	/// Lines in the image's own format.
	static void WriteBytes(ImageBaseInterface& image, const ImagePos& pos, const Array<Byte>& bytes)
	{
		const PixelFormat format = image.GetPixelFormat();
		SetPixelHandlerStruct handler = Must(image.SetPixelHandler(format, format->GetChannelOffsets(), {}, SETPIXELHANDLERFLAGS::NONE));
		EXPECT_OK(handler.SetLine(pos, PixelBuffer(bytes.data(), format->GetBitsPerPixel()), 0));
		EXPECT_OK(handler.Free());
	}
	static Result<Array<Byte>> TryReadBytes(ImageBaseInterface& image, const ImagePos& pos, const Id& formatId = ids::PIXELFORMAT_GREY_U8,
											const LayerSet* layerSet = nullptr, GETPIXELHANDLERFLAGS flags = GETPIXELHANDLERFLAGS::NONE)
	{
		const PixelFormat format = GetPixelFormat(formatId);
		GetPixelHandlerStruct handler = TORVI_TRY(image.GetPixelHandler(format, format->GetChannelOffsets(), {}, flags, layerSet));
		Array<Byte> bytes(static_cast<std::size_t>(BytesOf(pos._count * format->GetBitsPerPixel())), 0xEE);
		TORVI_TRY(handler._getLine(pos, PixelBuffer(bytes.data(), format->GetBitsPerPixel()), 0));
		return bytes;
	}
	static Array<Byte> ReadBytes(ImageBaseInterface& image, const ImagePos& pos, const Id& formatId = ids::PIXELFORMAT_GREY_U8)
	{
		return Must(TryReadBytes(image, pos, formatId));
	}
	/// The first grey pixel that the layer set selects, or -1 if it can not be read.
	static int ReadSelected(ImageBaseInterface& image, const LayerSet& layerSet)
	{
		const Result<Array<Byte>> bytes = TryReadBytes(image, {0, 0, 1}, ids::PIXELFORMAT_GREY_U8, &layerSet);
		return bytes.IsOk() ? bytes.GetValue()[0] : -1;
	}

	static void Hang(const ImageBaseRef& parent, IMAGEHIERARCHY branch, const ImageBaseRef& child)
	{
		EXPECT_OK(parent->AddChildren(branch, child, {}));
	}

private:
	HostScope _host{&RegisterPixelFormats, &RegisterPixelBlend, &RegisterImages};
};

} // namespace torvi
