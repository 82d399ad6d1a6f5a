// Reading of PSD and PSB files.
#include "media_io/media_io_psd.h"
#include "media_io/psd_blend_keys.h"
#include "media_io/registration.h"
#include "tests/media_io/fault_checks.h"
#include "tests/media_io/sample_files.h"
#include "tests/support/failing_url.h"
#include "torvi/exif.h"
#include "torvi/gfx_image.h"
#include "torvi/gfx_image_pixelblend.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_errors.h"

#include <cmath>
#include <cstring>
#include <set>

namespace torvi::test
{

namespace
{

using PsdTest = MediaTest<&RegisterMediaFormats>;
using SlowPsdTest = MediaTest<&RegisterMediaFormats>;
using DataPsdTest = MediaTest<&RegisterMediaFormats>;

TEST_F(PsdTest, SampleFiles)
{
	CheckSampleFiles("psd");
}

TEST_F(PsdTest, DamagedFiles)
{
	CheckCutAndFlippedFiles("psd", 256, 60, 5);
}

TEST_F(SlowPsdTest, DamagedFilesThroughout)
{
	CheckCutAndFlippedFiles("psd", 2048, 2048, 1);
}

TEST_F(DataPsdTest, RealFiles)
{
	CheckCorpus("psd", 43);
}

template <class T>
T GetOr(const ImageBaseRef& image, const Id& key, T fallback)
{
	return image->Get<T>(key).ValueOr(fallback);
}

std::string BoundsOf(const ImageBaseRef& image)
{
	const auto side = [&](const Id& key) { return std::to_string(GetOr<Int>(image, key, -99)); };
	return side(ids::IMAGE_LAYER_BOUNDINGBOX_X) + "," + side(ids::IMAGE_LAYER_BOUNDINGBOX_Y) + " " + side(ids::IMAGE_LAYER_BOUNDINGBOX_W) +
		   "x" + side(ids::IMAGE_LAYER_BOUNDINGBOX_H);
}

/// A line for each layer: kind, name, mode, opacity and fill of 255, flags, bounds, group, filter, masks with the value around them.
void DescribeLayers(const ImageBaseRef& parent, const std::string& indent, std::string& text)
{
	for (const ImageBaseRef& layer : GetImageChildren(*parent, IMAGEHIERARCHY::LAYER))
	{
		const auto type = static_cast<ImageType>(GetOr<Int32>(layer, ids::IMAGE_TYPE, 0));
		const bool isFolder = type == ImageType::FOLDER;
		const std::string mode(GetOr(layer, ids::IMAGE_LAYER_BLENDMODE, ImagePixelBlend())->GetClassId().GetText());
		const auto percent = [&](const Id& key) { return std::to_string(std::lround(GetOr(layer, key, -1.0) * 255.0)); };
		text += indent + (isFolder ? "folder " : type == ImageType::FILTER ? "filter " : "layer ");
		text += GetOr(layer, ids::IMAGE_NAME, String()).c_str();
		text +=
			" " + mode.substr(mode.rfind('.') + 1) + " " + percent(ids::IMAGE_LAYER_OPACITY) + "/" + percent(ids::IMAGE_LAYER_FILLOPACITY);
		text += GetOr(layer, ids::IMAGE_LAYER_ENABLED, false) ? "" : " hidden";
		text += GetOr(layer, ids::IMAGE_LAYER_TRANSPARENCYPROTECTED, true) ? " protected" : "";
		text += GetOr(layer, ids::IMAGE_LAYER_ISOPEN, false) ? " open" : "";
		text += isFolder ? " around " + std::to_string(GetOr<UChar>(layer, ids::IMAGE_LAYER_MASKDEFCOLOR, 99)) : " " + BoundsOf(layer);
		text += " #" + std::to_string(GetOr<Int>(layer, ids::IMAGE_LAYER_LAYERGROUP, -1));
		if (const Int filter = GetOr<Int>(layer, ids::IMAGE_LAYER_PSD_FILTERID, 0); filter != 0)
		{
			const auto data = GetOr(layer, ids::IMAGE_LAYER_PSD_DATA, Array<Char>());
			text += " " + std::string{Char(filter >> 24), Char(filter >> 16), Char(filter >> 8), Char(filter)};
			text += "=" + std::string(data.begin(), data.end());
		}
		for (const ImageBaseRef& mask : GetImageChildren(*layer, IMAGEHIERARCHY::MASK))
			text += " mask " + BoundsOf(mask) + " around " + std::to_string(GetOr<UChar>(mask, ids::IMAGE_LAYER_MASKDEFCOLOR, 99));
		text += "\n";
		DescribeLayers(layer, indent + "  ", text);
	}
}

std::string DescribeFile(const std::string& name)
{
	const Result<ImageTextureRef> texture = LoadFile(MakeMemoryUrl(GetSampleFile("psd", name)));
	std::string text = TextOf(texture.GetError());
	if (texture.IsOk())
		DescribeLayers(GetPicture(texture.GetValue(), 0), "", text);
	return text;
}

constexpr const char* LAYERS = "layer Background over 255/255 protected 0,0 12x9 #0\n"
							   "folder Group passfolder 200/255 open around 7 #3 mask 2,1 7x7 around 7\n"
							   "  layer H\u00E4nging multiply 128/64 hidden -3,-2 10x7 #3 mask 1,2 5x2 around 255\n"
							   "  filter Invert over 255/255 0,0 0x0 #3 levl=more\n"
							   "  layer Outside over 255/255 20,2 4x3 #3\n"
							   "layer Top screen 255/255 0,0 12x9 #4\n";

TEST_F(PsdTest, LayersHangInGroups)
{
	struct Case
	{
		const char* _file;
		std::string _tree;
	};
	const auto layer = [](const char* text) { return std::string("layer ") + text + " over 255/255 0,0 0x0 #0\n"; };
	const auto folder = [](const char* text) { return std::string("folder ") + text + " over 255/255"; };
	const Case cases[] = {
		{"layers-8.psd", LAYERS},
		{"layers-16.psd", LAYERS},
		{"layers-32.psd", LAYERS},
		{"layers-8.psb", LAYERS},
		{"layers-16.psb", LAYERS},
		{"layers-32.psb", LAYERS},
		{"groups-nested.psd",
		 folder("A") + " open around 0 #0\n  " + folder("B") + " around 0 #0\n    " + layer("c") + "  " + layer("d") + layer("e")},
		{"groups-unclosed.psd", folder("a") + " around 0 #0\n  " + layer("b") + "  " + folder("c") + " around 0 #0\n    " + layer("d")},
		{"groups-unopened.psd", layer("a") + layer("d") + layer("e")},
		{"groups-other-type.psd", folder("c") + " around 0 #0\n  " + layer("b") + layer("d")},
		{"layers-clear.psd", "layer wide over 255/255 0,0 1073741824x0 #0\n"
							 "layer other over 255/255 0,0 1x1 #0\n"
							 "layer turned over 255/255 5,5 -3x-4 #0 mask 6,4 0x0 around 0\n"
							 "filter filter over 255/255 0,0 1x1 #0 nvrt=data\n"},
	};
	for (const Case& test : cases)
		EXPECT_EQ(DescribeFile(test._file), test._tree) << test._file;
}

/// The rule of the samples in layers-*.ps?, as bytes of a depth.
std::vector<Byte> SampleBytes(Int layer, Int channel, Int x, Int y, Int depth)
{
	const auto value = static_cast<UInt16>(layer * 3701 + channel * 6101 + x * 7013 + y * 1301);
	const auto real = static_cast<Float32>(value) / 65536.0f;
	std::vector<Byte> bytes(static_cast<std::size_t>(depth / 8));
	if (depth == 8)
		bytes[0] = static_cast<Byte>(value >> 8);
	else
		std::memcpy(bytes.data(), depth == 16 ? static_cast<const void*>(&value) : &real, bytes.size());
	return bytes;
}

struct Rect
{
	Int _left;
	Int _top;
	Int _right;
	Int _bottom;
};

/// Compares a channel of an image, pixel by pixel, with the samples of a rectangle; around it all is 0.
void CheckChannel(const ImageBaseRef& image, Int index, Int layer, Int channel, const Rect& rect, Int depth)
{
	std::vector<Byte> bytes(static_cast<std::size_t>(depth / 8));
	for (Int y = 0; y < image->GetHeight(); ++y)
	{
		for (Int x = 0; x < image->GetWidth(); ++x)
		{
			TORVI_MUST(image->GetComponent(index, {x, y, 1}, bytes.data(), depth / 8));
			const bool isInside = x >= rect._left && x < rect._right && y >= rect._top && y < rect._bottom;
			const auto wanted =
				isInside ? SampleBytes(layer, channel, x - rect._left, y - rect._top, depth) : std::vector<Byte>(bytes.size());
			ASSERT_EQ(bytes, wanted) << "layer " << layer << ", channel " << channel << " at " << x << ", " << y;
		}
	}
}

void CheckLayer(const ImageBaseRef& image, Int layer, const Rect& rect, Int depth)
{
	const Int first = image->GetPixelFormat()->HasAlpha() ? -1 : 0;
	for (Int index = 0; index < image->GetChannelCount(); ++index)
		CheckChannel(image, index, layer, first + index, rect, depth);
}

TEST_F(PsdTest, PixelsOfLayersAndMasks)
{
	for (const char* name : {"layers-8.psd", "layers-16.psd", "layers-32.psd", "layers-8.psb", "layers-16.psb", "layers-32.psb"})
	{
		SCOPED_TRACE(name);
		const Int depth = std::atoi(name + 7);
		const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeMemoryUrl(GetSampleFile("psd", name))));
		const auto layers = GetImageChildren(*GetPicture(texture, 0), IMAGEHIERARCHY::LAYER);
		const auto inside = GetImageChildren(*layers.at(1), IMAGEHIERARCHY::LAYER);
		CheckLayer(layers.at(0), 0, {0, 0, 12, 9}, depth);
		CheckLayer(inside.at(0), 2, {-3, -2, 7, 5}, depth);
		CheckLayer(inside.at(2), 4, {20, 2, 24, 5}, depth);
		CheckLayer(layers.at(2), 6, {0, 0, 12, 9}, depth);
		CheckChannel(GetImageChildren(*inside.at(0), IMAGEHIERARCHY::MASK).at(0), 0, 2, -2, {0, 0, 5, 2}, depth);
		CheckChannel(GetImageChildren(*layers.at(1), IMAGEHIERARCHY::MASK).at(0), 0, 5, -2, {0, 0, 7, 7}, depth);
	}
}

/// The pixels that each stream of a file is given, as text, when those of `subset` are wanted; "" for the others.
std::vector<std::string> TakeStreams(const Url& url, const Id& importerClass, UInt32 subset)
{
	const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(importerClass));
	importer->SetUrl(url);
	TORVI_MUST(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	const Array<MediaStreamRef> streams = TORVI_MUST(importer->GetOutputStreams(true));
	std::vector<std::string> taken(streams.size());
	std::vector<std::vector<BITS>> planes(streams.size()); // delegates hold references: they are small
	for (std::size_t i = 0; i < streams.size(); ++i)
	{
		const auto stream = Cast<MediaStreamImageDataImportInterface>(streams[i]);
		if ((subset >> i & 1) == 0 || !stream)
			continue;
		std::string& text = taken[i];
		const auto note = [&text](const char* call)
		{
			return [&text, call](const MediaStreamImageDataImportRef&, const MediaStreamProperties&) -> Result<void>
			{
				text += call;
				return OK;
			};
		};
		TORVI_MUST(stream->SubscribeStream(stream->GetSelectedFormat()));
		TORVI_MUST(stream->SetCallbackHandler(
			note("init"),
			[&text, &channels = planes[i]](const MediaStreamImageDataImportRef&, const MediaStreamProperties&,
										   const ChannelOffsets& offsets, SETPIXELHANDLERFLAGS) -> Result<SetPixelHandlerStruct>
			{
				channels.assign(offsets.begin(), offsets.begin() + std::max<std::ptrdiff_t>(1, std::ssize(offsets) - 1));
				SetPixelHandlerStruct record;
				record._setLine = [&text, &channels](const ImagePos& pos, const PixelBuffer& source, UInt32) -> Result<void>
				{
					text += "\n" + std::to_string(pos._y) + ":";
					for (const BITS channel : channels)
					{
						const Byte* first = source._pixel + channel / 8;
						text.append(first, first + BytesOf(pos._count * source._stride));
					}
					return OK;
				};
				return record;
			},
			note("finish")));
	}
	TORVI_MUST(importer->PrepareExecute({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	const Result<void> result = importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE);
	EXPECT_TRUE(result.IsOk()) << TextOf(result.GetError());
	return taken;
}

/// Each stream alone, and all from a file that cannot seek, get what they get together.
TEST_F(PsdTest, DeliversEverySubsetOfItsStreams)
{
	for (const char* name : {"layers-8.psd", "layers-16.psb", "layers-32.psb", "rgb8-alphas.psd", "rgb8-transparency.psd", "grey8-raw.psd"})
	{
		SCOPED_TRACE(name);
		const std::vector<Byte> bytes = GetSampleFile("psd", name);
		const Id importer = std::string_view(name).ends_with("psb") ? ids::CLASS_PSBIMPORT : ids::CLASS_PSDIMPORT;
		const std::vector<std::string> whole = TakeStreams(MakeMemoryUrl(bytes), importer, ~0u);
		EXPECT_EQ(TakeStreams(MakeFailingUrl(bytes, {._canSeek = false}), importer, ~0u), whole);
		for (std::size_t i = 0; i < whole.size(); ++i)
		{
			const std::vector<std::string> one = TakeStreams(MakeMemoryUrl(bytes), importer, 1u << i);
			for (std::size_t k = 0; k < whole.size(); ++k)
				EXPECT_EQ(one[k], k == i ? whole[k] : "") << i << ", " << k;
		}
	}
}

TEST_F(PsdTest, LayersWithoutLinesBeginAndEnd)
{
	const std::vector<std::string> taken = TakeStreams(MakeMemoryUrl(GetSampleFile("psd", "layers-clear.psd")), ids::CLASS_PSDIMPORT, ~0u);
	const std::vector<std::string> wanted = {"initfinish", "initfinish", "initfinish", "", "initfinish"}; // a mask without a size has none
	EXPECT_EQ(std::vector<std::string>(taken.begin() + 1, taken.end()), wanted);
}

TEST_F(PsdTest, Faults)
{
	CheckLoadFaults("psd", ids::CLASS_PSDIMPORT, {"rgb8-alphas.psd"});
	CheckLoadFaults("psd", ids::CLASS_PSBIMPORT, {"layers-16.psb"});
}

TEST_F(SlowPsdTest, MoreFaults)
{
	CheckLoadFaults("psd", ids::CLASS_PSDIMPORT, {"layers-8.psd", "groups-nested.psd"});
	CheckLoadFaults("psd", ids::CLASS_PSBIMPORT, {"layers-32.psb"});
}

/// A grey picture with one resource, from its id on.
Url MakeUrlWithResource(const std::vector<Byte>& resource)
{
	constexpr std::ptrdiff_t SECTION = 30; // behind the header and an empty palette
	const std::vector<Byte> plain = GetSampleFile("psd", "grey8-raw.psd");
	std::vector<Byte> bytes(plain.begin(), plain.begin() + SECTION);
	bytes.insert(bytes.end(), {0, 0, 0, static_cast<Byte>(4 + resource.size()), '8', 'B', 'I', 'M'});
	bytes.insert(bytes.end(), resource.begin(), resource.end());
	bytes.insert(bytes.end(), plain.begin() + SECTION + 4, plain.end());
	return MakeMemoryUrl(bytes);
}

/// The numbers of the merged picture and its alpha channels, which the pixels do not show.
TEST_F(PsdTest, PublishesWhatTheResourcesSay)
{
	struct Case
	{
		std::vector<Byte> _resource; ///< 1005 or 1064, from its id on
		Float64 _dpi;
		Float64 _aspectRatio;
	};
	const Case cases[] = {
		{{3, 0xED, 0, 0, 0, 0, 0, 16, 0, 72, 0, 0, 0, 1, 0, 1, 0, 72, 0, 0, 0, 1, 0, 1}, 72.0, 1.0},
		{{3, 0xED, 0, 0, 0, 0, 0, 16, 0, 72, 0, 0, 0, 2, 0, 1, 0, 36, 0, 0, 0, 2, 0, 1}, 72.0 * 2.54, 0.5},
		{{3, 0xED, 0, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0, 1, 0, 1, 0, 72, 0, 0, 0, 1, 0, 1}, 0.0, 1.0},
		{{4, 0x28, 0, 0, 0, 0, 0, 12, 0, 0, 0, 2, 0x3F, 0xF8, 0, 0, 0, 0, 0, 0}, 0.0, 1.5},
		{{4, 0x28, 0, 0, 0, 0, 0, 12, 0, 0, 0, 2, 0x7F, 0xF8, 0, 0, 0, 0, 0, 0}, 0.0, 1.0}, // no number
	};
	for (const Case& test : cases)
	{
		const ImageBaseRef picture = GetPicture(TORVI_MUST(LoadFile(MakeUrlWithResource(test._resource))), 0);
		EXPECT_EQ(GetOr(picture, ids::IMAGE_DPI, 0.0), test._dpi);
		EXPECT_EQ(GetOr(picture, ids::IMAGE_ASPECTRATIO, 0.0), test._aspectRatio);
	}
	struct Names
	{
		const char* _file;
		const char* _picture;
		std::vector<String> _alphas;
	};
	const String first = MakeString("Fir\u015Dt"), second = MakeString("Old");
	for (const Names& test : {Names{"rgb8-alphas.psd", "", {first, second}}, {"rgb8-transparency.psd", first.c_str(), {second}}})
	{
		const ImageBaseRef picture = GetPicture(TORVI_MUST(LoadFile(MakeMemoryUrl(GetSampleFile("psd", test._file)))), 0);
		EXPECT_EQ(GetOr(picture, ids::IMAGE_ALPHANAME, String()), test._picture);
		std::vector<String> names;
		for (const ImageBaseRef& alpha : GetImageChildren(*picture, IMAGEHIERARCHY::ALPHA))
			names.push_back(GetOr(alpha, ids::IMAGE_ALPHANAME, String()));
		EXPECT_EQ(names, test._alphas) << test._file;
	}
}

class TestExif final : public DataDictionaryObjectImpl, public virtual ExifInterface
{
public:
	Result<DataDictionary> GetExifDictionary() const override { return DataDictionary(); }
};

/// Stands in for the component that parses: takes blocks that begin with "II", and keeps their length.
class TestExifStatic final : public virtual ExifStaticInterface
{
public:
	Result<ExifRef> OpenFromMemory(Block<const Byte> data) const override
	{
		TORVI_CHECK(!data.empty() && data[0] == 'I', IllegalArgumentError());
		const auto exif = TORVI_TRY(NewObject<TestExif>());
		TORVI_TRY(exif->Set<UInt16>(EXIFTAG_ORIENTATION, static_cast<UInt16>(data.size())));
		return ExifRef(exif);
	}
	Result<ExifRef> OpenJpgFromUrl(const Url&) const override { return FunctionNotImplementedError(); }
};

Result<void> RegisterFormatsAndExif(Module& module)
{
	TORVI_TRY(module.AddClass<TestExifStatic>(ids::CLASS_EXIFSTATIC));
	return RegisterMediaFormats(module);
}

using ExifPsdTest = MediaTest<&RegisterFormatsAndExif>;

std::size_t GetExifLength(const std::vector<Byte>& resource)
{
	const ImageTextureRef texture = TORVI_MUST(LoadFile(MakeUrlWithResource(resource)));
	const Result<ExifRef> exif = texture->Get<ExifRef>(ids::IMAGE_EXIFDATA);
	return exif.IsOk() ? exif.GetValue()->GetOr<UInt16>(EXIFTAG_ORIENTATION, 0) : 0;
}

constexpr Byte EXIF_RESOURCES[][14] = {{4, 0x22, 0, 0, 0, 0, 0, 5, 'I', 'I', '*', 0, 9}, {4, 0x23, 0, 0, 0, 0, 0, 4, 'b', 'a', 'd', '!'}};

TEST_F(ExifPsdTest, HandsOnWhatCanBeParsed)
{
	EXPECT_EQ(GetExifLength({std::begin(EXIF_RESOURCES[0]), std::end(EXIF_RESOURCES[0])}), 5u);
	EXPECT_EQ(GetExifLength({std::begin(EXIF_RESOURCES[1]), std::end(EXIF_RESOURCES[1])}), 0u);
}

TEST_F(PsdTest, LoadsWithoutTheComponentThatParsesExif)
{
	EXPECT_EQ(GetExifLength({std::begin(EXIF_RESOURCES[0]), std::end(EXIF_RESOURCES[0])}), 0u);
}

/// A session that reads a sample file into a texture. `watch` is told of the progress and holds no state.
template <class Watch>
MediaSessionRef MakeSession(const Ref<UrlImporterInterface>& importer, const char* name, const Watch& watch)
{
	const auto output = TORVI_MUST(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	const auto texture = TORVI_MUST(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	TORVI_MUST(output->SetOutputTexture(texture, TORVI_MUST(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL))));
	importer->SetUrl(MakeMemoryUrl(GetSampleFile("psd", name)));
	const auto session = TORVI_MUST(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
	TORVI_MUST(session->ConnectMediaConverter(importer, output));
	TORVI_MUST(TORVI_MUST(session->GetProgress()->ObservableProgressNotification())->AddObserver(watch));
	return session;
}

TEST_F(PsdTest, DropsWhatLiesAboveThePictureInPieces)
{
	const Url url = MakeMemoryUrl(GetSampleFile("psd", "layer-above.psd"));
	EXPECT_EQ(TakeStreams(url, ids::CLASS_PSDIMPORT, ~0u).at(1), "init\n0:\xC8"
																 "finish");
	static int reports;
	reports = 0;
	const auto watch = [](const ProgressRef&) -> Result<void>
	{
		constexpr int MORE_THAN_ROWS_GIVE = 12; // the layer has one row in the picture, which has one too
		TORVI_CHECK(++reports <= MORE_THAN_ROWS_GIVE, OperationCancelledError());
		return OK;
	};
	const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(ids::CLASS_PSDIMPORT));
	const Result<void> result = MakeSession(importer, "layer-above.psd", watch)->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE);
	EXPECT_EQ(result.GetError().GetId(), errorids::OPERATIONCANCELLED);
}

TEST_F(PsdTest, ReportsTwoJobsForEachPictureAndAnalyzesOnce)
{
	static std::set<std::string> names;
	names.clear();
	const auto watch = [](const ProgressRef& progress) -> Result<void>
	{
		names.insert(progress->ToString().c_str());
		return OK;
	};
	const auto importer = TORVI_MUST(CreateObject<UrlImporterInterface>(ids::CLASS_PSDIMPORT));
	const MediaSessionRef session = MakeSession(importer, "layers-8.psd", watch);
	TORVI_MUST(session->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE));
	EXPECT_EQ(names, (std::set<std::string>{"PSD image 1", "PSD image 2", "PSD layer 1", "PSD layer 2", "PSD mask 1"}));
	EXPECT_EQ(session->GetProgress()->GetProgress(), 1.0);

	const Array<MediaStreamRef> streams = TORVI_MUST(importer->GetOutputStreams(true));
	TORVI_MUST(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	EXPECT_EQ(TORVI_MUST(importer->GetOutputStreams(true)), streams);
	EXPECT_EQ(importer->PrepareExecute({}, TimeValue(), MEDIASESSIONFLAGS::NONE).GetError().GetId(), errorids::MEDIASTREAMEOF);
	TORVI_MUST(importer->Close({}));
	EXPECT_FALSE(importer->Execute({}, TimeValue(), MEDIASESSIONFLAGS::NONE).IsOk());
	TORVI_MUST(importer->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE));
	EXPECT_NE(TORVI_MUST(importer->GetOutputStreams(true)), streams);
}

TEST_F(PsdTest, DetectsByVersion)
{
	std::vector<Byte> bytes = GetSampleFile("psd", "grey8-raw.psd");
	bytes.resize(6);
	for (const Byte version : {Byte(1), Byte(2), Byte(3)})
	{
		bytes[5] = version;
		const Url url = MakeMemoryUrl(bytes);
		const auto detect = [&](const Id& format)
		{ return TORVI_MUST(FindDeclared<FileFormatInterface>(format)->Detect(url, TORVI_MUST(url.OpenInputStream()))); };
		EXPECT_EQ(detect(ids::FILEFORMAT_PSD), version == 1);
		EXPECT_EQ(detect(ids::FILEFORMAT_PSB), version == 2);
	}
	const Error error = DescribePicture(ids::CLASS_PSDIMPORT, GetSampleFile("psd", "rgb8-packed.psb")).TakeError();
	EXPECT_EQ(error.GetId(), errorids::MEDIASESSIONWRONGTYPE);
}

TEST_F(PsdTest, BlendKeysGoBothWays)
{
	const auto isDeclared = [](const Id& mode) { return static_cast<bool>(FindDeclared<ImagePixelBlendInterface>(mode)); };
	for (const UInt32 key : {PsdKey("norm"), PsdKey("diss"), PsdKey("dark"), PsdKey("mul "), PsdKey("idiv"), PsdKey("lbrn"), PsdKey("lite"),
							 PsdKey("scrn"), PsdKey("div "), PsdKey("lddg"), PsdKey("over"), PsdKey("sLit"), PsdKey("hLit"), PsdKey("lLit"),
							 PsdKey("pLit"), PsdKey("hMix"), PsdKey("diff"), PsdKey("smud"), PsdKey("pass")})
	{
		EXPECT_TRUE(isDeclared(FindPsdBlendMode(key))) << key;
		EXPECT_EQ(FindPsdBlendKey(FindPsdBlendMode(key)), key) << key;
	}
	for (const UInt32 key : {PsdKey("hue "), PsdKey("sat "), PsdKey("colr"), PsdKey("lum ")})
	{
		EXPECT_NE(FindPsdBlendMode(key), ids::BLENDMODE_OVER) << key;
		EXPECT_EQ(FindPsdBlendKey(FindPsdBlendMode(key)), PSD_BLENDKEY_NORMAL) << key;
	}
	EXPECT_EQ(FindPsdBlendMode(PsdKey("add ")), ids::BLENDMODE_ADD);
	EXPECT_EQ(FindPsdBlendKey(ids::BLENDMODE_ADD), PsdKey("lddg"));
	EXPECT_EQ(FindPsdBlendMode(PsdKey("vLit")), ids::BLENDMODE_OVER);
	EXPECT_EQ(FindPsdBlendKey(ids::BLENDMODE_VIVIDLIGHT), PSD_BLENDKEY_NORMAL);
}

} // namespace

} // namespace torvi::test
