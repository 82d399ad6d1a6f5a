// The file, big-endian: "TEST", the number of streams, for each stream its type, the number of its parent from 1 (0 for a picture), width,
// height and name, then the pixels of all streams in that order: grey.u8 of pictures, rgba.u8 of layers, alpha.u8 of alpha channels and
// masks.
#include "tests/mediasession/test_format.h"

#include "mediasession/image_export.h"
#include "torvi/ids_formats.h"

namespace torvi::test
{

namespace
{

constexpr UInt32 TEST_MAGIC = 0x54455354;

Id FormatOf(MediaStreamType type)
{
	switch (type)
	{
	case MediaStreamType::IMAGE:
		return ids::PIXELFORMAT_GREY_U8;
	case MediaStreamType::LAYERFOLDER:
	case MediaStreamType::RASTERLAYER:
		return ids::PIXELFORMAT_RGBA_U8;
	default:
		return ids::PIXELFORMAT_ALPHA_U8;
	}
}

constexpr ImporterTraits TEST_IMPORTER = {._byteOrder = ByteOrder::BIGENDIAN, ._workName = "Test image"};

class TestImportImpl final : public ImageImportBase
{
public:
	TestImportImpl() : ImageImportBase(TEST_IMPORTER) {}

private:
	struct Stream
	{
		StreamHandle _handle;
		PixelFormat _format;
		Int _width;
		Int _height;
		Int GetBytesPerRow() const { return _format->GetBytesPerLine(_width, 1); }
	};
	void ResetState() override { _streams.clear(); }
	Result<void> DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams) override;
	Result<void> ReadStreams(BinaryReader& reader, ImportRun& run) override;

	Array<Stream> _streams;
};

Result<void> TestImportImpl::DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams)
{
	TORVI_CHECK(TORVI_TRY(reader.ReadUInt32()) == TEST_MAGIC, MediaSessionWrongTypeError());
	const UChar count = TORVI_TRY(reader.ReadUChar());
	Int pictures = 0;
	for (UChar i = 0; i < count; ++i)
	{
		ImportStreamInfo info;
		info._type = static_cast<MediaStreamType>(TORVI_TRY(reader.ReadUChar()));
		const UChar parent = TORVI_TRY(reader.ReadUChar());
		TORVI_CHECK(parent <= i, MediaSessionWrongTypeError("Stream @ comes before its parent @.", i, parent));
		info._pixelFormat = GetPixelFormat(FormatOf(info._type));
		info._width = TORVI_TRY(reader.ReadUInt16());
		info._height = TORVI_TRY(reader.ReadUInt16());
		if (parent == 0)
			info._subImageIndex = pictures++;
		const Bool comesAlong = info._type == MediaStreamType::ALPHA;
		const StreamHandle handle =
			parent == 0 ? TORVI_TRY(streams.AddImage(info))
						: TORVI_TRY(streams.AddChild(parent - 1, info, comesAlong ? ImportWork::OFPARENT : ImportWork::OWN));
		TORVI_TRY(streams.Set<String>(handle, ids::MEDIAFORMAT_STREAMNAME, Format("Stream @", handle)));
		_streams.push_back({handle, info._pixelFormat, info._width, info._height});
	}
	return OK;
}

Result<void> TestImportImpl::ReadStreams(BinaryReader& reader, ImportRun& run)
{
	for (const Stream& stream : _streams)
	{
		if (!run.IsWanted(stream._handle))
		{
			TORVI_TRY(reader.Skip(stream.GetBytesPerRow() * stream._height));
			continue;
		}
		PixelSink& sink = *TORVI_TRY(run.Begin(stream._handle));
		for (Int y = 0; y < stream._height; ++y)
		{
			TORVI_TRY(run.ReportProgress(stream._handle, y, stream._height));
			const Array<Byte> row = TORVI_TRY(reader.ReadArray(stream.GetBytesPerRow()));
			TORVI_TRY(sink.SetLine(y, row.data(), stream._format->GetBitsPerPixel()));
		}
		TORVI_TRY(run.Finish(stream._handle));
	}
	return OK;
}

constexpr DataType TEST_BITDEPTHS[] = {GetDataType<UChar>()};
constexpr ExporterTraits TEST_EXPORTER = {
	._fileFormat = TEST_FORMAT._fileFormat,
	._byteOrder = ByteOrder::BIGENDIAN,
	._workName = "Test image",
	._maximalImageResolution = 100,
	._maximalAlphaChannels = 1,
	._bitDepthsImage = TEST_BITDEPTHS,
};

/// Writes the picture, and its alpha stream if there is one.
class TestExportImpl final : public ImageExportBase
{
public:
	TestExportImpl() : ImageExportBase(TEST_EXPORTER) {}

private:
	Result<void> WriteFile(BinaryWriter& writer, ExportRun& run) override;
};

Result<void> WriteStreamHeader(BinaryWriter& writer, const ExportRun& run, MediaStreamType type, UChar parent)
{
	TORVI_TRY(writer.WriteUChar(static_cast<UChar>(type)));
	TORVI_TRY(writer.WriteUChar(parent));
	TORVI_TRY(writer.WriteUInt16(static_cast<UInt16>(run.GetWidth())));
	return writer.WriteUInt16(static_cast<UInt16>(run.GetHeight()));
}

Result<void> WriteLines(BinaryWriter& writer, ExportRun& run, const GetPixelHandlerStruct& lines)
{
	Array<Byte> row(static_cast<std::size_t>(run.GetWidth()));
	for (Int y = 0; y < run.GetHeight(); ++y)
	{
		TORVI_TRY(run.ReportProgress(y, run.GetHeight()));
		TORVI_TRY(lines._getLine({0, y, run.GetWidth()}, PixelBuffer(row.data(), 8), 0));
		TORVI_TRY(writer.WriteBlock(row));
	}
	return OK;
}

Result<void> TestExportImpl::WriteFile(BinaryWriter& writer, ExportRun& run)
{
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	const PixelFormat alpha = GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8);
	TORVI_TRY(writer.WriteUInt32(TEST_MAGIC));
	TORVI_TRY(writer.WriteUChar(run.HasAlphaStream() ? 2 : 1));
	TORVI_TRY(WriteStreamHeader(writer, run, MediaStreamType::IMAGE, 0));
	if (run.HasAlphaStream())
		TORVI_TRY(WriteStreamHeader(writer, run, MediaStreamType::ALPHA, 1));
	TORVI_TRY(WriteLines(writer, run, TORVI_TRY(run.OpenImage(grey, grey->GetChannelOffsets(), ColorProfile()))));
	if (run.HasAlphaStream())
		TORVI_TRY(WriteLines(writer, run, TORVI_TRY(run.OpenAlpha(alpha, alpha->GetChannelOffsets()))));
	return OK;
}

} // namespace

Result<Bool> DetectTestFormat(const InputStreamRef& stream)
{
	Byte bytes[4];
	return TORVI_TRY(stream->ReadEOS(bytes)) == 4 && TORVI_TRY(ByteReader(bytes, ByteOrder::BIGENDIAN).ReadUInt32()) == TEST_MAGIC;
}

Result<ObjectRef> CreateTestImporter()
{
	return CreateComponent<TestImportImpl>();
}

Result<ObjectRef> CreateTestExporter()
{
	return CreateComponent<TestExportImpl>();
}

Result<void> RegisterTestFormat(Module& module)
{
	TORVI_TRY(RegisterFileFormatImageBase(module));
	return RegisterImageFormat<TEST_FORMAT>(module);
}

} // namespace torvi::test
