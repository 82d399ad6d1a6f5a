// Start and end of the module under test, and loading and saving in memory.
#include "tests/mediasession/test_format_fixture.h"

#include "color/registration.h"
#include "host/registration.h"
#include "image/registration.h"
#include "mediasession/image_format.h"
#include "mediasession/registration.h"
#include "pixelblend/registration.h"
#include "pixelformat/registration.h"
#include "torvi/gfx_image.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

namespace torvi::test
{

MediaModule::MediaModule(RegisterFormats registerFormats) : _result(OK)
{
	_result = Start(registerFormats);
}

MediaModule::~MediaModule()
{
	_module.RunEnd();
	_services.Clear();
	g_torvi = nullptr;
}

Result<void> MediaModule::Start(RegisterFormats registerFormats)
{
	TORVI_TRY(_services.Init());
	g_torvi = &_services;
	TORVI_TRY(RegisterHost(_module));
	TORVI_TRY(RegisterPixelFormats(_module));
	TORVI_TRY(RegisterColor(_module));
	TORVI_TRY(RegisterPixelBlend(_module));
	TORVI_TRY(RegisterImages(_module));
	TORVI_TRY(RegisterMediaSession(_module));
	return registerFormats(_module);
}

Url MakeMemoryUrl(Block<const Byte> bytes, std::string_view name)
{
	const Ref<IoMemory> memory = TORVI_MUST(NewObject<IoMemory>(Array<Byte>(bytes.begin(), bytes.end())));
	return TORVI_MUST(memory->GetUrl(name));
}

Result<ImageTextureRef> LoadFile(const Url& url)
{
	return LoadTexture(url, TimeValue(), MEDIASESSIONFLAGS::NONE, ClassRef(), nullptr);
}

ImageBaseRef GetPicture(const ImageTextureRef& texture, Int index)
{
	const Array<ImageBaseRef> pictures = GetImageChildren(*texture, IMAGEHIERARCHY::IMAGE);
	return index < CountOf(pictures) ? pictures[static_cast<std::size_t>(index)] : ImageBaseRef();
}

namespace
{

/// Reads all lines in `format` into the pixels, from `offset` on, four bytes apart.
Result<void> ReadLines(const ImageBaseRef& image, const Id& format, std::size_t offset, PixelArray& pixels)
{
	const PixelFormat pixelFormat = GetPixelFormat(format);
	TORVI_CHECK(pixelFormat, NullptrError());
	const GetPixelHandlerStruct reader = TORVI_TRY(
		image->GetPixelHandler(pixelFormat, pixelFormat->GetChannelOffsets(), ColorProfile(), GETPIXELHANDLERFLAGS::NOMASKS, nullptr));
	for (Int y = 0; y < pixels._height; ++y)
	{
		Byte* line = pixels._bytes.data() + static_cast<std::size_t>(y * pixels._width * 4) + offset;
		TORVI_TRY(reader._getLine({0, y, pixels._width}, PixelBuffer(line, 32), 0));
	}
	return OK;
}

} // namespace

Result<PixelArray> ReadPixels(const ImageBaseRef& image)
{
	TORVI_CHECK(image, NullptrError("There is no such picture."));
	PixelArray pixels{image->GetWidth(), image->GetHeight(), {}};
	pixels._bytes.resize(static_cast<std::size_t>(pixels._width * pixels._height * 4));
	if (pixels._bytes.empty())
		return pixels;
	TORVI_TRY(ReadLines(image, ids::PIXELFORMAT_RGBA_U8, 0, pixels));
	const Array<ImageBaseRef> alphas = GetImageChildren(*image, IMAGEHIERARCHY::ALPHA);
	if (!image->GetPixelFormat()->HasAlpha() && !alphas.empty())
		TORVI_TRY(ReadLines(alphas.front(), ids::PIXELFORMAT_ALPHA_U8, 3, pixels));
	return pixels;
}

Result<PixelArray> LoadPixels(const Url& url)
{
	return ReadPixels(GetPicture(TORVI_TRY(LoadFile(url)), 0));
}

Result<void> SaveFile(const ImageTextureRef& texture, const Id& exporter, const Url& url)
{
	const MediaOutputUrlRef output = TORVI_TRY(CreateObject<MediaOutputUrlInterface>(exporter));
	TORVI_TRY(output->SetOutputUrl(url));
	return texture->Save(output, MEDIASESSIONFLAGS::NONE, nullptr);
}

Result<MediaStreamFormat> DescribePicture(const Id& importerClass, Block<const Byte> bytes)
{
	const auto importer = TORVI_TRY(CreateObject<UrlImporterInterface>(importerClass));
	importer->SetUrl(MakeMemoryUrl(bytes));
	TORVI_TRY(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	const MediaStreamRef stream = TORVI_TRY(importer->GetOutputStreams(false)).at(0);
	return stream->GetFormat(stream->GetSelectedFormat());
}

SavedFile SaveToMemory(const ImageTextureRef& texture, const Id& exporter, const DataDictionary& settings)
{
	const Ref<IoMemory> memory = TORVI_MUST(NewObject<IoMemory>());
	if (!settings.IsEmpty())
		TORVI_MUST(texture->Set<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, settings));
	SavedFile file;
	file._result = SaveFile(texture, exporter, TORVI_MUST(memory->GetUrl()));
	file._bytes.assign(memory->GetBytes().begin(), memory->GetBytes().end());
	return file;
}

Result<ImageTextureRef> MakeTexture(const Id& pixelFormat, Int width, Int height, Block<const Byte> lines)
{
	const PixelFormat format = GetPixelFormat(pixelFormat);
	TORVI_CHECK(format, NullptrError());
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto image = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	const ClassRef storage = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL));
	TORVI_TRY(image->Init(width, height, storage, format, {}));
	TORVI_TRY(texture->AddChildren(IMAGEHIERARCHY::IMAGE, image, nullptr));
	SetPixelHandlerStruct writer =
		TORVI_TRY(image->SetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	const Int bytesPerLine = format->GetBytesPerLine(width, 1);
	for (Int y = 0; y < height && !lines.empty(); ++y)
		TORVI_TRY(writer.SetLine({0, y, width}, PixelBuffer(lines.data() + y * bytesPerLine, format->GetBitsPerPixel()), 0));
	TORVI_TRY(writer.Free());
	return texture;
}

std::string TextOf(const Error& error)
{
	if (!error)
		return {};
	const Error& cause = error.GetInnermostCause();
	return std::string(cause.GetId().GetText()) + ": " + std::string(cause.GetMessage());
}

} // namespace torvi::test
