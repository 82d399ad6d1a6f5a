// What the tests of loads and saves share: a texture, a file that every handler takes, importers that publish pictures or a layered
// document, and an exporter that pulls everything.
#pragma once

#include "host/ids.h"
#include "tests/mediasession/session_fixture.h"
#include "torvi/gfx_image.h"

namespace torvi::test
{

class AnyFormat final : public FileFormatBaseImpl
{
public:
	Result<Bool> Detect(const Url&, const InputStreamRef&) const override { return true; }
};

/// A handler that takes every file and makes the importer that it was given.
class TestHandler final : public virtual MediaSessionFileFormatHandlerInterface
{
public:
	TestHandler(FileFormatRef format, ObjectRef importer) : _format(std::move(format)), _importer(std::move(importer)) {}
	Result<FileFormatRef> GetFileFormat() const override { return _format; }
	DataType GetHandlerType() const override { return GetDataType<MediaInputRef>(); }
	Result<ObjectRef> CreateHandler(const Url&) const override { return _importer; }
	Int GetDependends() const override { return 30000; }

private:
	FileFormatRef _format;
	ObjectRef _importer;
};

/// One stream of a tree, as an exporter sees it.
struct SeenStream
{
	std::string _name;
	std::string _parent;
	Int32 _branch;
	MediaStreamFormat _format;
	std::vector<int> _pixels;
};

/// Pulls every stream, in its own format.
class TestExporter final : public MediaOutputUrlImpl
{
public:
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override
	{
		return AnalyzeInput(TORVI_TRY(GetSingleInput(inputs)), time, flags);
	}
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override
	{
		return PrepareExecuteInput(TORVI_TRY(GetSingleInput(inputs)), time, flags);
	}
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override
	{
		TORVI_CHECK(!_fails, IoError("scripted"));
		const MediaConverterRef input = TORVI_TRY(GetSingleInput(inputs));
		TORVI_TRY(ExecuteInput(input, time, flags));
		_seen.clear();
		for (const MediaStreamRef& stream : TORVI_TRY(input->GetOutputStreams(true)))
			TORVI_TRY(See(Cast<MediaStreamImageDataExportInterface>(stream)));
		return OK;
	}
	Result<void> Close(Block<const MediaConverterRef> inputs) override
	{
		++_closeCount;
		return CloseInput(inputs);
	}

	std::vector<SeenStream> _seen;
	Bool _fails = false;
	Int _closeCount = 0;

private:
	Result<void> See(const MediaStreamImageDataExportRef& stream)
	{
		SeenStream seen;
		seen._format = GetFormatOf(stream);
		seen._name = seen._format->GetOr<String>(ids::MEDIAFORMAT_STREAMNAME, {}).c_str();
		if (const auto parent = Cast<MediaStreamInterface>(stream->GetParent()))
			seen._parent = GetFormatOf(parent)->GetOr<String>(ids::MEDIAFORMAT_STREAMNAME, {}).c_str();
		seen._branch = stream->GetBranch();
		const PixelFormat format = TORVI_TRY(seen._format->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT));
		const Int width = TORVI_TRY(seen._format->Get<Int>(ids::MEDIAFORMAT_WIDTH));
		GetPixelHandlerStruct handler =
			TORVI_TRY(stream->GetPixelStream({}, format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NOMASKS));
		Array<Byte> line(static_cast<std::size_t>(format->GetBytesPerLine(width, 1)));
		for (Int y = 0; y < TORVI_TRY(seen._format->Get<Int>(ids::MEDIAFORMAT_HEIGHT)); ++y)
		{
			TORVI_TRY(handler._getLine({0, y, width}, PixelBuffer(line.data(), format->GetBitsPerPixel()), 0));
			seen._pixels.insert(seen._pixels.end(), line.begin(), line.end());
		}
		_seen.push_back(std::move(seen));
		return OK;
	}
};

class TextureBridge : public SessionTest
{
protected:
	void SetUp() override
	{
		SessionTest::SetUp();
		_texture = TORVI_MUST(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
		_url = TORVI_MUST(TORVI_MUST(NewObject<IoMemory>(Array<Byte>{1, 2, 3}))->GetUrl("picture"));
	}
	void TearDown() override
	{
		_texture = nullptr;
		_formats.clear();
		SessionTest::TearDown();
	}

	FileFormatHandlerRef AddHandler(const ObjectRef& importer)
	{
		static constexpr Id HANDLERS[] = {"net.torvi.test.handler0", "net.torvi.test.handler1", "net.torvi.test.handler2"};
		_formats.push_back(TORVI_MUST(NewObject<AnyFormat>()));
		const Ref<TestHandler> handler = TORVI_MUST(NewObject<TestHandler>(_formats.back(), importer));
		TORVI_MUST(_module.AddObject(ids::REGISTRY_FILEFORMATHANDLERS, HANDLERS[_formats.size() - 1], handler));
		return handler;
	}
	Result<MediaSessionRef> Load(MEDIASESSIONFLAGS flags = MEDIASESSIONFLAGS::NONE, const Id& storage = {},
								 const LayerSet* layerSet = nullptr)
	{
		const ClassRef storageClass = storage.IsEmpty() ? ClassRef() : TORVI_MUST(_services.GetClass(storage));
		return _texture->Load(_url, TimeValue(), flags, storageClass, layerSet);
	}
	Array<ImageBaseRef> GetImages() const { return GetImageChildren(*_texture, IMAGEHIERARCHY::IMAGE); }

	ImageTextureRef _texture;
	Url _url;
	std::vector<FileFormatRef> _formats;
};

inline std::string NameOf(const ImageBaseRef& image)
{
	return image->GetOr<String>(ids::IMAGE_NAME, {}).c_str();
}

inline Result<void> PublishPictures(TestImporter& importer, Int count)
{
	for (Int i = 0; i < count; ++i)
	{
		const auto stream = MakeStream(MediaStreamType::IMAGE, 4 + i);
		TORVI_TRY(GetFormatOf(stream)->Set<Int>(ids::MEDIAFORMAT_SUBIMAGEINDEX, i));
		TORVI_TRY(importer.AddOutputStream(stream));
	}
	return OK;
}

/// A picture with a folder, a layer with a mask, a filter layer and an alpha channel.
inline Result<void> PublishLayers(TestImporter& importer)
{
	const auto image = Named(MakeStream(MediaStreamType::IMAGE, 4, 3), "picture");
	const auto folder = Below(image, Named(MakeStream(MediaStreamType::LAYERFOLDER, 4, 3), "folder"), 3);
	const auto layer = Below(folder, Named(MakeStream(MediaStreamType::RASTERLAYER, 2, 2), "layer"), 3);
	const auto mask = Below(layer, Named(MakeStream(MediaStreamType::LAYERMASK, 2, 2, GREY8), "mask"), 4);
	const auto filter = Below(image, Named(MakeStream(MediaStreamType::FILTERLAYER, 1, 1), "filter"), 3);
	const auto alpha = Below(image, Named(MakeStream(MediaStreamType::ALPHA, 4, 3, GREY8), "alpha"), 2);
	TORVI_TRY(GetFormatOf(image)->Set<Float64>(ids::MEDIAFORMAT_DPI, 72.0));
	TORVI_TRY(GetFormatOf(image)->Set<Float64>(ids::MEDIAFORMAT_ASPECTRATIO, 2.0));
	TORVI_TRY(GetFormatOf(image)->Set<Int>(ids::MEDIAFORMAT_HOTSPOTX, 3));
	TORVI_TRY(GetFormatOf(folder)->Set<Bool>(ids::MEDIAFORMAT_LAYER_ISOPEN, true));
	TORVI_TRY(GetFormatOf(layer)->Set<Float64>(ids::MEDIAFORMAT_LAYER_OPACITY, 0.25));
	TORVI_TRY(GetFormatOf(layer)->Set<Int>(ids::MEDIAFORMAT_LAYER_BOUNDINGBOX_X, -5));
	TORVI_TRY(GetFormatOf(mask)->Set<UChar>(ids::MEDIAFORMAT_LAYER_MASKDEFCOLOR, 255));
	TORVI_TRY(GetFormatOf(filter)->Set<Int>(ids::MEDIAFORMAT_LAYER_PSD_FILTERID, 0x62726974));
	TORVI_TRY(GetFormatOf(filter)->Set<Array<Char>>(ids::MEDIAFORMAT_LAYER_PSD_DATA, Array<Char>{1, -2, 3}));
	TORVI_TRY(GetFormatOf(alpha)->Set<String>(ids::MEDIAFORMAT_ALPHANAME, MakeString("Alpha 1")));
	return importer.AddOutputStream(image);
}

} // namespace torvi::test
