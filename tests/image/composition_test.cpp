// Composition: what merged handlers give, against literals and against a plain renderer of whole pictures.
#include "tests/image/composition_fixture.h"

#include <random>
#include <thread>

namespace torvi
{

namespace
{

using enum IMAGEHIERARCHY;
using enum PlainMode;

constexpr Byte FULL = 255;

TEST_F(CompositionTest, TwoLayers)
{
	const Array<Byte> brown = {200, 100, 0, FULL};
	const struct
	{
		const char* _name;
		Float64 _bottomOpacity;
		PlainMode _bottomMode;
		Array<Byte> _top;
		Float64 _topOpacity;
		PlainMode _topMode;
		Array<Byte> _wanted;
	} CASES[] = {
		{"translucent pixels", 1.0, OVER, {0, 0, FULL, 128}, 1.0, OVER, {100, 50, 128, FULL}},
		{"multiply", 1.0, OVER, {128, FULL, FULL, FULL}, 1.0, MULTIPLY, {100, 100, 0, FULL}},
		{"an opaque bottom layer has no mode", 1.0, MULTIPLY, {0, 0, 0, 0}, 1.0, OVER, brown},
		{"a translucent one keeps its colours", 0.5, MULTIPLY, {0, 0, 0, 0}, 1.0, OVER, {200, 100, 0, 128}},
		{"half over half", 0.5, OVER, {50, 100, 150, FULL}, 0.5, OVER, {100, 100, 100, 191}},
	};
	for (const auto& test : CASES)
	{
		const ImageRef picture = MakePicture(1, 1,
											 {With(MakeFilled(1, 1, brown), test._bottomOpacity, test._bottomMode),
											  With(MakeFilled(1, 1, test._top), test._topOpacity, test._topMode)});
		EXPECT_EQ(ReadRgba(*picture, {0, 0, 1}), test._wanted) << test._name;
	}
}

TEST_F(CompositionTest, EmptyPicturesClearWhatTheyAreGiven)
{
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	GetPixelHandlerStruct handler =
		Must(MakePicture(3, 1)->GetPixelHandler(grey, grey->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr));
	Byte bytes[] = {9, 9, 9, 9, 9};
	EXPECT_OK(handler._getLine({0, 0, 2}, PixelBuffer(bytes + 4, -16), 0));
	EXPECT_EQ(std::to_array(bytes), std::to_array<Byte>({9, 9, 0, 9, 0}));
	EXPECT_OK(handler._getLine({0, 0, 0}, PixelBuffer(bytes, 8), 0));
	EXPECT_EQ(bytes[0], 9);
	EXPECT_OK(handler.Free());
}

// Opacity and mode are how a layer goes into its folder; alone it reads as its pixels, with masks and without.
TEST_F(CompositionTest, OpacityOfAMaskedLayerCountsOnce)
{
	const ImageLayerRef layer = With(MakeFilled(2, 1, {9, 9, 9, FULL, 9, 9, 9, FULL}), 0.4, MULTIPLY);
	Hang(layer, MASK, MakeMask(0, 0, 1, 1, {51}));
	EXPECT_EQ(ReadRgba(*layer, {0, 0, 2}), (Array<Byte>{9, 9, 9, 51, 9, 9, 9, 0}));
	EXPECT_EQ(ReadRgba(*MakePicture(2, 1, {layer}), {0, 0, 1}), (Array<Byte>{9, 9, 9, 20}));
}

TEST_F(CompositionTest, MasksFarAwayAndWithoutAlpha)
{
	const ImageLayerRef far = MakeFilled(1, 1, {1, 2, 3, FULL});
	Hang(far, MASK, MakeMask(INT64_MIN, INT64_MAX, 1, 1, {FULL}));
	EXPECT_EQ(ReadRgba(*far, {0, 0, 1}), (Array<Byte>{1, 2, 3, 0}));
	const ImageLayerRef layer = MakeFilled(1, 1, {1, 2, 3, FULL});
	Hang(layer, MASK, MakeFilled(1, 1, {0}, ids::PIXELFORMAT_GREY_U8));
	EXPECT_EQ(ReadRgba(*layer, {0, 0, 1}), (Array<Byte>{1, 2, 3, FULL})) << "grey says nothing";
}

TEST_F(CompositionTest, FoldersAreLayersOfAnySize)
{
	const ImageLayerRef folder = With(MakeFolder(0, 0), 0.5);
	Hang(folder, LAYER, MakeFilled(2, 1, {0, 0, FULL, FULL, 0, 0, FULL, FULL}));
	Hang(folder, LAYER, MakeFilled(1, 1, {0, FULL, 0, FULL}));
	Hang(folder, MASK, MakeMask(0, 0, 1, 1, {FULL}));
	const ImageRef picture = MakePicture(2, 1, {MakeFilled(2, 1, {FULL, 0, 0, FULL, FULL, 0, 0, FULL}), folder});
	EXPECT_EQ(ReadRgba(*picture, {0, 0, 2}), (Array<Byte>{128, 128, 0, FULL, FULL, 0, 0, FULL}));
	EXPECT_EQ(Must(TryReadBytes(*picture, {0, 0, 2}, ids::PIXELFORMAT_RGBA_U8, nullptr, GETPIXELHANDLERFLAGS::NOMASKS)),
			  (Array<Byte>{128, 128, 0, FULL, 128, 0, 128, FULL}));
}

TEST_F(CompositionTest, PositionsAreNotTested)
{
	const ImageRef picture = MakePicture(2, 2, {MakeFilled(1, 1, {1, 2, 3, FULL}), MakeFilled(2, 1, {9, 9, 9, 0, 4, 5, 6, FULL})});
	EXPECT_EQ(ReadRgba(*picture, {-1, 0, 4}), (Array<Byte>{0, 0, 0, 0, 1, 2, 3, FULL, 4, 5, 6, FULL, 0, 0, 0, 0}));
	for (const ImagePos& pos : {ImagePos{0, 1, 2}, ImagePos{0, -1, 2}, ImagePos{INT64_MIN, INT64_MIN, 2}, ImagePos{INT64_MAX - 2, 0, 2}})
		EXPECT_EQ(ReadRgba(*picture, pos), Array<Byte>(8)) << pos._x << ", " << pos._y;
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, TryReadBytes(*picture, {INT64_MAX, 0, 2}, ids::PIXELFORMAT_RGBA_U8));
}

TEST_F(CompositionTest, LayerSetsMergeWhatTheyName)
{
	const auto named = [](const ImageLayerRef& layer, const char* name)
	{
		EXPECT_OK(layer->Set<String>(ids::IMAGE_NAME, MakeString(name)));
		return layer;
	};
	const ImageLayerRef hidden = named(MakeFilled(1, 1, {0, 0, FULL, 51}), "hidden");
	EXPECT_OK(hidden->Set<Bool>(ids::IMAGE_LAYER_ENABLED, false));
	const ImageLayerRef inner = MakeFolder(1, 1); // its layer has the name of a layer of the picture, which names are no business of
	Hang(inner, LAYER, named(MakeFilled(1, 1, {0, FULL, 0, FULL}), "bottom"));
	const ImageRef picture = MakePicture(1, 1, {named(MakeFilled(1, 1, {FULL, 0, 0, FULL}), "bottom"), named(inner, "folder"), hidden});
	const auto select = [](ImageBaseInterface& image, std::initializer_list<const char*> names)
	{
		LayerNames set;
		for (const char* name : names)
			set.insert(MakeString(name));
		LayerSet layerSet;
		EXPECT_OK(layerSet.SetSelectedLayers(std::move(set)));
		return Must(TryReadBytes(image, {0, 0, 1}, ids::PIXELFORMAT_RGBA_U8, &layerSet));
	};
	EXPECT_EQ(select(*picture, {}), (Array<Byte>{0, FULL, 0, FULL}));
	EXPECT_EQ(select(*picture, {"hidden", "bottom"}), (Array<Byte>{204, 0, 51, FULL}));
	EXPECT_EQ(select(*picture, {"folder", "bottom"}), (Array<Byte>{0, FULL, 0, FULL}));
	Hang(inner, MASK, MakeMask(0, 0, 1, 1, {102}));
	EXPECT_EQ(select(*inner, {"bottom"}), (Array<Byte>{0, FULL, 0, 102})) << "one layer of a masked folder";
}

// Lines with gaps and lines that run backwards; the layout is the format's own, whatever offsets are asked for.
TEST_F(CompositionTest, LinesMayLieAnywhere)
{
	constexpr Int WIDTH = 150;
	Array<Byte> pixels(4 * WIDTH, FULL);
	for (std::size_t i = 0; i < pixels.size(); i += 4)
		pixels[i] = static_cast<Byte>(i / 4);
	const ImageRef picture = MakePicture(WIDTH, 1, {MakeFilled(WIDTH, 1, pixels)});
	const PixelFormat rgba = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const BITS planes[] = {0, 8 * WIDTH, 16 * WIDTH, 24 * WIDTH, 8};
	GetPixelHandlerStruct handler = Must(picture->GetPixelHandler(rgba, ChannelOffsets(planes), {}, GETPIXELHANDLERFLAGS::NONE, nullptr));
	for (const BITS stride : {BITS(48), BITS(-48)})
	{
		Array<Byte> line(6 * WIDTH, 0xEE);
		EXPECT_OK(handler._getLine({0, 0, WIDTH}, PixelBuffer(stride > 0 ? line.data() : line.data() + 6 * (WIDTH - 1), stride), 0));
		for (Int x = 0; x < WIDTH; ++x)
		{
			const Byte* pixel = line.data() + 6 * (stride > 0 ? x : WIDTH - 1 - x);
			ASSERT_TRUE(std::equal(pixel, pixel + 4, pixels.begin() + 4 * x)) << x << ", stride " << stride;
			ASSERT_EQ(pixel[4], 0xEE) << x;
		}
	}
}

// The plain renderer: a tree of values, and what it shows at one place.

struct PlainMask
{
	Int _x, _y, _width, _height;
	UChar _around;
	Bool _enabled;
	Array<Byte> _values;
};

struct PlainLayer
{
	Int _width, _height;
	Array<Byte> _pixels; ///< rgba.u8; empty for a folder
	Float64 _opacity;
	Bool _enabled;
	PlainMode _mode;
	std::vector<PlainMask> _masks;
	std::vector<PlainLayer> _layers;
};

Rgba ShowAt(const PlainLayer& layer, Int x, Int y);

Rgba ApplyMasks(const std::vector<PlainMask>& masks, Rgba pixel, Int x, Int y)
{
	for (const PlainMask& mask : masks)
	{
		const Int maskX = x - mask._x;
		const Int maskY = y - mask._y;
		const Bool isInside = maskX >= 0 && maskX < mask._width && maskY >= 0 && maskY < mask._height;
		if (mask._enabled)
			pixel[3] *= (isInside ? mask._values[static_cast<std::size_t>(maskY * mask._width + maskX)] : mask._around) / 255.0;
	}
	return pixel;
}

Rgba ShowFolderAt(const PlainLayer& folder, Int x, Int y)
{
	Rgba result = {};
	Bool isFirst = true;
	for (const PlainLayer& layer : folder._layers)
	{
		if (!layer._enabled || layer._opacity == 0.0)
			continue;
		const Rgba pixel = ShowAt(layer, x, y);
		result = isFirst && layer._opacity == 1.0 ? pixel : BlendPixel(layer._mode, result, pixel, layer._opacity);
		isFirst = false;
	}
	return isFirst ? result : ApplyMasks(folder._masks, result, x, y);
}

Rgba ShowAt(const PlainLayer& layer, Int x, Int y)
{
	if (layer._pixels.empty())
		return ShowFolderAt(layer, x, y);
	Rgba pixel = {};
	for (std::size_t c = 0; c < 4 && x < layer._width && y < layer._height; ++c)
		pixel[c] = layer._pixels[static_cast<std::size_t>(y * layer._width + x) * 4 + c] / 255.0;
	return ApplyMasks(layer._masks, pixel, x, y);
}

class RandomTreeTest : public CompositionTest
{
protected:
	Int Pick(Int least, Int most) { return std::uniform_int_distribution<Int>(least, most)(_random); }
	Array<Byte> PickBytes(Int count)
	{
		Array<Byte> bytes(static_cast<std::size_t>(count));
		for (Byte& byte : bytes)
			byte = Pick(0, 2) == 0 ? static_cast<Byte>(255 * Pick(0, 1)) : static_cast<Byte>(Pick(0, 255));
		return bytes;
	}
	PlainMask PickMask()
	{
		const Int width = Pick(1, 90);
		const Int height = Pick(1, 3);
		return {Pick(-20, 100), Pick(-1, 1), width, height, static_cast<UChar>(Pick(0, 255)), Pick(0, 5) != 0, PickBytes(width * height)};
	}
	PlainLayer PickLayer(int levels)
	{
		static constexpr Float64 OPACITIES[] = {1.0, 1.0, 0.5, 0.3, 0.0};
		PlainLayer layer = {Pick(1, 140), Pick(1, 3), {}, OPACITIES[Pick(0, 4)], Pick(0, 5) != 0, Pick(0, 1) != 0 ? OVER : MULTIPLY,
							{},           {}};
		if (levels == 0 || Pick(0, 2) != 0)
			layer._pixels = PickBytes(layer._width * layer._height * 4);
		for (Int i = layer._pixels.empty() ? Pick(0, 4) : 0; i > 0; --i)
			layer._layers.push_back(PickLayer(levels - 1));
		for (Int i = Pick(-2, 2); i > 0; --i)
			layer._masks.push_back(PickMask());
		return layer;
	}

	static ImageLayerRef Build(const PlainLayer& plain)
	{
		const ImageLayerRef layer =
			plain._pixels.empty() ? MakeFolder(plain._width, plain._height) : MakeFilled(plain._width, plain._height, plain._pixels);
		With(layer, plain._opacity, plain._mode);
		EXPECT_OK(layer->Set<Bool>(ids::IMAGE_LAYER_ENABLED, plain._enabled));
		for (const PlainLayer& child : plain._layers)
			Hang(layer, LAYER, Build(child));
		for (const PlainMask& plainMask : plain._masks)
		{
			const ImageLayerRef mask = MakeMask(plainMask._x, plainMask._y, plainMask._width, plainMask._height, plainMask._values);
			EXPECT_OK(mask->Set<UChar>(ids::IMAGE_LAYER_MASKDEFCOLOR, plainMask._around));
			EXPECT_OK(mask->Set<Bool>(ids::IMAGE_LAYER_ENABLED, plainMask._enabled));
			Hang(layer, MASK, mask);
		}
		return layer;
	}

	std::mt19937 _random{7};
};

TEST_F(RandomTreeTest, ShowWhatThePlainRendererShows)
{
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_F64);
	for (int tree = 0; tree < 150; ++tree)
	{
		PlainLayer plain = {140, 3, {}, 1.0, true, OVER, {}, {}};
		const ImageRef picture = MakePicture(plain._width, plain._height);
		for (Int i = Pick(1, 4); i > 0; --i)
		{
			plain._layers.push_back(PickLayer(3));
			Hang(picture, LAYER, Build(plain._layers.back()));
		}
		const GetPixelHandlerStruct handler =
			Must(picture->GetPixelHandler(format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr));
		const Int first = Pick(0, 70);
		for (Int y = 0; y < plain._height; ++y)
		{
			std::vector<Rgba> line(static_cast<std::size_t>(plain._width - first));
			ASSERT_TRUE(handler._getLine({first, y, CountOf(line)}, PixelBuffer(reinterpret_cast<Byte*>(line.data()), 256), 0).IsOk());
			for (Int x = first; x < plain._width; ++x)
			{
				const Rgba wanted = ShowAt(plain, x, y);
				for (std::size_t c = 0; c < 4; ++c)
					ASSERT_NEAR(line[static_cast<std::size_t>(x - first)][c], wanted[c], 1e-12)
						<< "tree " << tree << ": " << x << ", " << y;
			}
		}
	}
}

TEST_F(RandomTreeTest, HandlersOfSeveralThreads)
{
	constexpr Int THREADS = 4;
	constexpr Int LINES = 40;
	const ImageRef picture = MakePicture(140, 3);
	for (int i = 0; i < 4; ++i)
	{
		PlainLayer layer = PickLayer(2);
		layer._enabled = true;
		Hang(picture, LAYER, Build(layer));
	}
	Array<Array<Byte>> wanted;
	for (Int y = 0; y < 3; ++y)
		wanted.push_back(ReadRgba(*picture, {0, y, 140}));
	std::array<Bool, THREADS> areSame = {};
	{
		Array<std::jthread> threads;
		for (Int thread = 0; thread < THREADS; ++thread)
			threads.emplace_back(
				[&, thread]()
				{
					const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
					const GetPixelHandlerStruct handler =
						Must(picture->GetPixelHandler(format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr));
					Array<Byte> line(560);
					Bool isSame = true;
					for (Int i = 0; i < LINES; ++i)
					{
						const Int y = (thread + i) % 3;
						isSame = handler._getLine({0, y, 140}, PixelBuffer(line.data(), 32), 0).IsOk() && isSame &&
								 line == wanted[static_cast<std::size_t>(y)];
					}
					areSame[static_cast<std::size_t>(thread)] = isSame;
				});
	}
	EXPECT_EQ(areSame, (std::array<Bool, THREADS>{true, true, true, true}));
}

TEST_F(CompositionTest, FoldersNestAsDeepAsTheLimit)
{
	ImageLayerRef top = MakeFilled(1, 1, {1, 2, 3, FULL}); // the lowest of LAYER_NESTING_LIMIT levels
	for (Int level = 1; level < LAYER_NESTING_LIMIT; ++level)
	{
		const ImageLayerRef folder = MakeFolder(1, 1);
		Hang(folder, LAYER, top);
		top = folder;
	}
	const ImageRef picture = MakePicture(1, 1, {top});
	std::jthread([&]() { EXPECT_EQ(ReadRgba(*picture, {0, 0, 1}), (Array<Byte>{1, 2, 3, FULL})); }).join();
	for (Int level = 0; level < 5000; ++level)
	{
		const ImageLayerRef folder = MakeFolder(1, 1);
		Hang(folder, LAYER, top);
		top = folder;
	}
	EXPECT_ERROR(errorids::ILLEGALSTATE, TryReadBytes(*MakePicture(1, 1, {top}), {0, 0, 1}, ids::PIXELFORMAT_RGBA_U8));
	EXPECT_OK(TryReadBytes(*MakePicture(1, 1, {MakeFilled(1, 1, {1, 2, 3, FULL})}), {0, 0, 1}, ids::PIXELFORMAT_RGBA_U8));
}

TEST_F(CompositionTest, HandlersKeepTheirLayersAndGiveTheirErrors)
{
	// Two pixels of this format share their colours: runs of an odd number of them are refused.
	ImageLayerRef layer = MakeFilled(2, 1, {FULL, FULL, FULL, FULL}, ids::PIXELFORMAT_YUV_I422A);
	const WeakRef<ImageLayerInterface> weak(layer);
	const ImageLayerRef folder = MakeFolder(2, 1);
	Hang(folder, LAYER, std::exchange(layer, {}));
	ImageRef picture = MakePicture(2, 1, {folder});
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const auto open = [&]()
	{ return picture->GetPixelHandler(format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr); };
	GetPixelHandlerStruct handler = Must(open());
	Hang(picture, LAYER, Make<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER));
	EXPECT_ERROR(errorids::NULLPTR, open());
	GetImageChildren(*folder, LAYER)[0]->Remove();
	picture = {};
	Byte pixels[8] = {};
	EXPECT_OK(handler._getLine({0, 0, 2}, PixelBuffer(pixels, 32), 0));
	EXPECT_FALSE(handler._getLine({0, 0, 1}, PixelBuffer(pixels, 32), 0).IsOk());
	EXPECT_TRUE(weak.Lock());
	EXPECT_OK(handler.Free());
	EXPECT_FALSE(weak.Lock());
}

TEST(CompositionWithoutModes, IsAnError)
{
	const HostScope host{&RegisterPixelFormats, &RegisterImages};
	const auto layer = Must(CreateObject<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER));
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	EXPECT_OK(layer->Init(1, 1, Must(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL)), grey, {}));
	EXPECT_OK(layer->AddChildren(MASK, Must(CreateObject<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER)), {}));
	EXPECT_ERROR(errorids::ILLEGALSTATE, layer->GetPixelHandler(grey, grey->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr));
}

/// Notes the profiles of the last lookup and whether earlier ones had a destination; converts nothing.
class StageDouble final : public ColorConversionStageInterface
{
public:
	Result<ConvertPixelFunc> FindConversion(const PixelFormatInterface&, const PixelFormat&, const ChannelOffsets&, const ChannelOffsets&,
											ColorProfile& srcProfile, ColorProfile* dstProfile, Bool forceProfiles, UInt32, Bool&) override
	{
		_isForcedEarlier = _isForcedEarlier || _isForced || !_dstProfile.IsEmpty();
		_srcProfile = srcProfile;
		_dstProfile = std::exchange(*dstProfile, _delivered);
		_isForced = forceProfiles;
		return ConvertPixelFunc();
	}

	ColorProfile _srcProfile;
	ColorProfile _dstProfile;
	ColorProfile _delivered = MakePlainProfile();
	Bool _isForced = false;
	Bool _isForcedEarlier = false;
};

TEST_F(CompositionTest, OnlyTheLastStepConvertsColours)
{
	const ColorProfile ofPicture = MakePlainProfile(), wanted = MakePlainProfile();
	const ImageRef picture = MakePicture(1, 1, {MakeFilled(1, 1, {1, 2, 3, FULL}), MakeFilled(1, 1, {1, 2, 3, FULL})});
	EXPECT_OK(GetImageChildren(*picture, LAYER)[0]->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, MakePlainProfile()));
	EXPECT_OK(picture->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, ofPicture));
	const auto stage = Must(NewObject<StageDouble>());
	EXPECT_OK(g_torvi->DeclareObject(ids::INTERFACE_COLORCONVERSIONSTAGE, stage));
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const GetPixelHandlerStruct handler = Must(
		picture->GetPixelHandler(format, format->GetChannelOffsets(), wanted, GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION, nullptr));
	EXPECT_EQ(stage->_srcProfile, ofPicture);
	EXPECT_EQ(stage->_dstProfile, wanted);
	EXPECT_TRUE(stage->_isForced);
	EXPECT_FALSE(stage->_isForcedEarlier) << "layers are read as they are";
	EXPECT_EQ(handler._dstColorProfile, stage->_delivered);

	// A profile of another model says nothing about the merged colours. They count as sRGB, of which there is none in this host.
	EXPECT_OK(
		picture->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, MakePlainProfile(GetPixelFormat(ids::PIXELFORMAT_GREY_U8)->GetColorSpace())));
	EXPECT_OK(
		picture->GetPixelHandler(format, format->GetChannelOffsets(), wanted, GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION, nullptr));
	EXPECT_TRUE(stage->_srcProfile.IsEmpty());
	EXPECT_EQ(stage->_dstProfile, wanted);
}

} // namespace

} // namespace torvi
