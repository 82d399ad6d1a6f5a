// Photoshop documents, in the ordinary form and the large one: header, palette, image resources, layers, and the picture that all layers
// merge into. The merged picture is the root of a tree of streams, with alpha channels, layers, folders and masks below it. Big-endian
// throughout. The parts of the file stand in psd_document, psd_layers, psd_channels and psd_pixels.
#include "media_io/media_io_psd.h"

#include "host/byteorder.h"
#include "host/job.h"
#include "media_io/psd_pixels.h"
#include "mediasession/media_stream_impl.h"
#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

/// The streams of the format; they behave as all streams of pixels.
class MediaStreamImageDataPsdImportImpl final : public MediaStreamImageDataImportImpl
{
};

class MediaStreamImageLayerFolderPsdImpl final : public MediaStreamImageDataImportImpl
{
};

constexpr ImporterTraits PSD_IMPORTER = {._byteOrder = ByteOrder::BIGENDIAN, ._workName = "PSD image 1", ._analyzesOnce = true};

Result<void> CheckCancelled()
{
	TORVI_CHECK(!IsCurrentJobCancelled(), OperationCancelledError());
	return OK;
}

class PsdImportImpl : public ImageImportBase
{
public:
	explicit PsdImportImpl(UInt16 version) : ImageImportBase(PSD_IMPORTER), _version(version) {}
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

private:
	void ResetState() override { _state = {}; }
	Result<void> DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams) override;
	Result<void> ReadStreams(BinaryReader& reader, ImportRun& run) override;

	Result<void> ReadSections(BinaryReader& reader);
	Result<void> CheckChannelCount(const BinaryReader& reader) const;
	Result<void> DescribeExif(StreamTreeBuilder& streams);
	Result<void> DescribePicture(StreamTreeBuilder& streams);
	Result<void> DescribeAlphas(StreamTreeBuilder& streams);

	/// What the file says; nothing of it stays after Close.
	struct State
	{
		PsdDocument _document;
		PsdResources _resources;
		PsdLayers _layers;
		Int _mergedPosition = 0;
		PsdMergedStreams _merged;
	};

	UInt16 _version;
	State _state;
};

template <UInt16 VERSION>
class PsdVersionImportImpl final : public PsdImportImpl
{
public:
	PsdVersionImportImpl() : PsdImportImpl(VERSION) {}
};

Result<void> PsdImportImpl::Close(Block<const MediaConverterRef> inputs)
{
	ResetState();
	return ImageImportBase::Close(inputs);
}

Result<void> PsdImportImpl::DescribeStreams(BinaryReader& reader, StreamTreeBuilder& streams)
{
	TORVI_TRY(ReadSections(reader));
	TORVI_TRY(CheckCancelled());
	TORVI_TRY(DescribeExif(streams));
	TORVI_TRY(DescribePicture(streams));
	TORVI_TRY(DescribeAlphas(streams));
	return PublishPsdLayers(streams, _state._merged._picture, _state._document, _state._resources._profile, _state._layers);
}

Result<void> PsdImportImpl::ReadSections(BinaryReader& reader)
{
	PsdDocument& document = _state._document;
	PsdResources& resources = _state._resources;
	document = TORVI_TRY(ReadPsdHeader(reader, _version));
	document._url = GetUrl();
	resources._url = GetUrl();
	TORVI_TRY(CheckChannelCount(reader));
	PsdPalette palette = TORVI_TRY(ReadPsdPalette(reader, document));
	resources._colorCount = palette._colorCount;
	resources._alphas.resize(static_cast<std::size_t>(document.GetExtraChannels()));
	TORVI_TRY(ReadPsdResourceSection(reader, resources));
	palette._colorCount = resources._colorCount;
	document._format = TORVI_TRY(MakePsdPaletteFormat(document, palette, resources._transparentIndex));
	_state._layers = TORVI_TRY(ReadPsdLayerSection(reader, document, resources._layerGroups, _state._mergedPosition));
	return OK;
}

/// Each channel becomes a stream. Documents have 56 at most; a file that claims more must be large enough for it.
Result<void> PsdImportImpl::CheckChannelCount(const BinaryReader& reader) const
{
	constexpr Int MOST_CHANNELS = 56;
	const Int needed = (_state._document._channelCount - MOST_CHANNELS) * PSD_BYTES_PER_STREAM;
	TORVI_CHECK(needed <= reader.GetRemaining(), EndOfDataError(needed - reader.GetRemaining()));
	return OK;
}

/// The block is parsed when somebody wants it; one that cannot be parsed is no EXIF data. Without the component that parses there is none.
Result<void> PsdImportImpl::DescribeExif(StreamTreeBuilder& streams)
{
	const ClassRef exifClass = g_torvi->FindClass(ids::CLASS_EXIFSTATIC);
	if (_state._resources._exif.empty() || !exifClass)
		return OK;
	const auto stream = TORVI_TRY(CreateObject<MediaStreamExifDataInterface>(ids::CLASS_MEDIASTREAMEXIFDATA));
	return streams.AddExif(stream,
						   [this, stream, exifClass]() -> Result<void>
						   {
							   const auto service = TORVI_TRY(exifClass->Create<ExifStaticInterface>());
							   Result<ExifRef> exif = service->OpenFromMemory(_state._resources._exif);
							   if (!exif.IsOk() && exif.GetError().GetId() != errorids::OUTOFMEMORY)
								   return OK;
							   return stream->HandleExifData(TORVI_TRY(std::move(exif)));
						   });
}

Result<void> PsdImportImpl::DescribePicture(StreamTreeBuilder& streams)
{
	const PsdDocument& document = _state._document;
	const PsdResources& resources = _state._resources;
	const Bool hasTransparency = _state._layers._hasTransparency && !resources._alphas.empty();
	PsdMergedStreams& merged = _state._merged;
	merged._hasTransparency = hasTransparency && document._alphaFormat;
	merged._picture = TORVI_TRY(streams.AddImage({
		._pixelFormat = merged._hasTransparency ? document._alphaFormat : document._format,
		._width = document._width,
		._height = document._height,
		._subImageIndex = 0,
		._colorProfile = resources._profile,
		._streamClass = ids::CLASS_MEDIASTREAMIMAGEDATAPSDIMPORT,
		._deliveryName = "PSD image 2",
	}));
	TORVI_TRY(streams.Set<Float64>(merged._picture, ids::MEDIAFORMAT_DPI, resources._dpi));
	TORVI_TRY(streams.Set<Float64>(merged._picture, ids::MEDIAFORMAT_ASPECTRATIO, resources._aspectRatio));
	TORVI_TRY(streams.Set<Bool>(merged._picture, ids::MEDIAFORMAT_LAYERALPHA, hasTransparency));
	if (!hasTransparency)
		return OK;
	if (!merged._hasTransparency)
		merged._alphas.push_back(-1); // a mode without alpha has no place for it
	return streams.Set<String>(merged._picture, ids::MEDIAFORMAT_ALPHANAME, resources._alphas.front()._name);
}

Result<void> PsdImportImpl::DescribeAlphas(StreamTreeBuilder& streams)
{
	constexpr UInt32 STRAIGHT = 2;
	const PsdDocument& document = _state._document;
	PsdMergedStreams& merged = _state._merged;
	const ImportStreamInfo info = {
		._type = MediaStreamType::ALPHA,
		._pixelFormat = document._channelFormat,
		._width = document._width,
		._height = document._height,
		._streamClass = ids::CLASS_MEDIASTREAMIMAGEDATAPSDIMPORT,
	};
	const std::size_t first = merged._hasTransparency ? 1 : merged._alphas.size();
	for (std::size_t i = first; i < _state._resources._alphas.size(); ++i)
	{
		const StreamHandle alpha = TORVI_TRY(streams.AddChild(merged._picture, info, ImportWork::OFPARENT));
		TORVI_TRY(streams.Set<UInt32>(alpha, ids::MEDIAFORMAT_ALPHATYPE, STRAIGHT));
		TORVI_TRY(streams.Set<String>(alpha, ids::MEDIAFORMAT_ALPHANAME, _state._resources._alphas[i]._name));
		merged._alphas.push_back(alpha);
	}
	return OK;
}

Result<void> PsdImportImpl::ReadStreams(BinaryReader& reader, ImportRun& run)
{
	TORVI_TRY(ReadPsdLayerPixels(reader, run, _state._document, _state._layers));
	TORVI_TRY(ReadPsdMergedPixels(reader, run, _state._document, _state._merged, _state._mergedPosition));
	return CheckCancelled();
}

/// Whether a file begins with the signature and a version.
Result<Bool> DetectVersion(const InputStreamRef& stream, UInt16 version)
{
	std::array<Byte, 6> bytes;
	if (TORVI_TRY(stream->ReadEOS(bytes)) < CountOf(bytes))
		return false;
	return LoadNumber<UInt32>(bytes.data(), ByteOrder::BIGENDIAN) == PSD_SIGNATURE &&
		   LoadNumber<UInt16>(bytes.data() + 4, ByteOrder::BIGENDIAN) == version;
}

} // namespace

Result<Bool> DetectPsd(const InputStreamRef& stream)
{
	return DetectVersion(stream, PSD_VERSION);
}

Result<Bool> DetectPsb(const InputStreamRef& stream)
{
	return DetectVersion(stream, PSB_VERSION);
}

Result<ObjectRef> CreatePsdImporter()
{
	return CreateComponent<PsdVersionImportImpl<PSD_VERSION>>();
}

Result<ObjectRef> CreatePsbImporter()
{
	return CreateComponent<PsdVersionImportImpl<PSB_VERSION>>();
}

Result<void> RegisterPsdStreams(Module& module)
{
	TORVI_TRY(module.AddClass<MediaStreamImageDataPsdImportImpl>(ids::CLASS_MEDIASTREAMIMAGEDATAPSDIMPORT,
																 ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT));
	TORVI_TRY(module.AddClass<MediaStreamImageLayerFolderPsdImpl>(ids::CLASS_MEDIASTREAMIMAGELAYERFOLDERPSD,
																  ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT));
	return OK;
}

} // namespace torvi
