// Composition: what merged handlers give, against literals and against a plain renderer of whole pictures.
#include "tests/image/composition_fixture.h"

#include "image/gfx_image_storage_base.h"
#include "tests/support/allocation_failure.h"

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
	const Array<Byte> grey = {128, 128, 128, FULL};
	const struct
	{
		const char* _name;
		Array<Byte> _bottom;
		Float64 _bottomOpacity;
		PlainMode _bottomMode;
		Array<Byte> _top;
		Float64 _topOpacity;
		PlainMode _topMode;
		Array<Byte> _wanted;
	} CASES[] = {
		{"translucent pixels", brown, 1.0, OVER, {0, 0, FULL, 128}, 1.0, OVER, {100, 50, 128, FULL}},
		{"translucent layer", brown, 1.0, OVER, {0, 0, FULL, FULL}, 0.5, OVER, {100, 50, 128, FULL}},
		{"nothing on top", brown, 1.0, OVER, {0, 0, FULL, 0}, 1.0, OVER, brown},
		{"multiply", grey, 1.0, OVER, {128, 64, FULL, FULL}, 1.0, MULTIPLY, {64, 32, 128, FULL}},
		{"an opaque bottom layer has no mode", grey, 1.0, MULTIPLY, {0, 0, 0, 0}, 1.0, OVER, grey},
		{"a translucent one keeps its colours", brown, 0.5, MULTIPLY, {0, 0, 0, 0}, 1.0, OVER, {200, 100, 0, 128}},
		{"half over half", {FULL, 0, 0, FULL}, 0.5, OVER, {0, 0, FULL, FULL}, 0.5, OVER, {85, 0, 170, 191}},
	};
	for (const auto& test : CASES)
	{
		const ImageRef picture = MakePicture(1, 1,
											 {With(MakeFilled(1, 1, test._bottom), test._bottomOpacity, test._bottomMode),
											  With(MakeFilled(1, 1, test._top), test._topOpacity, test._topMode)});
		EXPECT_EQ(ReadRgba(*picture, {0, 0, 1}), test._wanted) << test._name;
	}
}

TEST_F(CompositionTest, HiddenLayersTakeNoPart)
{
	const ImageRef picture = MakePicture(1, 1);
	EXPECT_EQ(ReadRgba(*picture, {0, 0, 1}), Array<Byte>(4)) << "no layer";
	const ImageLayerRef hidden = MakeFilled(1, 1, {1, 2, 3, FULL});
	EXPECT_OK(hidden->Set<Bool>(ids::IMAGE_LAYER_ENABLED, false));
	Hang(picture, LAYER, hidden);
	Hang(picture, LAYER, With(MakeFilled(1, 1, {4, 5, 6, FULL}), 0.0));
	EXPECT_EQ(ReadRgba(*picture, {0, 0, 1}), Array<Byte>(4)) << "no visible layer";
	EXPECT_OK(picture->AddChildren(LAYER, MakeFilled(1, 1, {7, 8, 9, FULL}), hidden));
	EXPECT_EQ(ReadRgba(*picture, {0, 0, 1}), (Array<Byte>{7, 8, 9, FULL}));
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

TEST_F(CompositionTest, Masks)
{
	const auto masked = [](std::initializer_list<ImageLayerRef> masks)
	{
		const ImageLayerRef layer = MakeFilled(4, 2, Array<Byte>(32, FULL));
		for (const ImageLayerRef& mask : masks)
			Hang(layer, MASK, mask);
		return layer;
	};
	const auto around = [](const ImageLayerRef& mask, UChar value)
	{
		EXPECT_OK(mask->Set<UChar>(ids::IMAGE_LAYER_MASKDEFCOLOR, value));
		return mask;
	};
	const auto disabled = [](const ImageLayerRef& mask)
	{
		EXPECT_OK(mask->Set<Bool>(ids::IMAGE_LAYER_ENABLED, false));
		return mask;
	};
	const struct
	{
		const char* _name;
		ImageLayerRef _layer;
		Array<Byte> _alphas; ///< of the lower line
	} CASES[] = {
		{"in place", masked({MakeMask(1, 1, 2, 1, {FULL, 51})}), {0, FULL, 51, 0}},
		{"on the other line", masked({MakeMask(1, 0, 2, 1, {FULL, 51})}), {0, 0, 0, 0}},
		{"white around", masked({around(MakeMask(1, 1, 2, 1, {FULL, 51}), 102)}), {102, FULL, 51, 102}},
		{"over the left edge", masked({MakeMask(-1, 1, 2, 1, {FULL, 51})}), {51, 0, 0, 0}},
		{"over the right edge", masked({MakeMask(3, 1, 2, 1, {FULL, 51})}), {0, 0, 0, FULL}},
		{"far away", masked({around(MakeMask(INT64_MIN, INT64_MAX, 2, 1, {0, 0}), FULL)}), {FULL, FULL, FULL, FULL}},
		{"disabled", masked({disabled(MakeMask(1, 1, 2, 1, {FULL, 51}))}), {FULL, FULL, FULL, FULL}},
		{"two", masked({MakeMask(1, 1, 2, 1, {FULL, 51}), MakeMask(2, 1, 2, 1, {51, 51})}), {0, 0, 10, 0}},
		{"grey says nothing", masked({MakeFilled(4, 2, Array<Byte>(8), ids::PIXELFORMAT_GREY_U8)}), {FULL, FULL, FULL, FULL}},
	};
	for (const auto& test : CASES)
	{
		const Array<Byte> pixels = ReadRgba(*test._layer, {0, 1, 4});
		for (std::size_t x = 0; x < 4; ++x)
		{
			EXPECT_EQ(pixels[4 * x + 3], test._alphas[x]) << test._name << ", " << x;
			EXPECT_EQ(pixels[4 * x], FULL) << test._name << ": colours stay";
		}
		EXPECT_EQ(Must(TryReadBytes(*test._layer, {0, 1, 4}, ids::PIXELFORMAT_RGBA_U8, nullptr, GETPIXELHANDLERFLAGS::NOMASKS)),
				  Array<Byte>(16, FULL))
			<< test._name;
		const ImageRef picture = MakePicture(4, 2, {MakeFilled(4, 2, Array<Byte>(32, FULL)), test._layer});
		EXPECT_EQ(ReadRgba(*picture, {0, 1, 4}), Array<Byte>(16, FULL)) << test._name;
	}
}

TEST_F(CompositionTest, FoldersAreLayers)
{
	const ImageLayerRef folder = With(MakeFolder(2, 1), 0.5);
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

TEST_F(CompositionTest, RunsCrossTheBordersOfTheScratchRuns)
{
	constexpr Int WIDTH = 200;
	std::mt19937 random(1);
	const auto noise = [&](std::size_t count)
	{
		Array<Byte> bytes(count);
		for (Byte& byte : bytes)
			byte = static_cast<Byte>(random());
		return bytes;
	};
	const ImageLayerRef masked = MakeFilled(WIDTH, 1, noise(4 * WIDTH));
	Hang(masked, MASK, MakeMask(60, 0, 70, 1, noise(70)));
	const ImageRef picture = MakePicture(WIDTH, 1, {MakeFilled(150, 1, noise(600)), With(masked, 0.5)});
	const Array<Byte> whole = ReadRgba(*picture, {0, 0, WIDTH});
	for (Int x = 0; x < WIDTH; ++x)
	{
		const Array<Byte> pixel = ReadRgba(*picture, {x, 0, 1});
		ASSERT_TRUE(std::equal(pixel.begin(), pixel.end(), whole.begin() + 4 * x)) << x;
	}
	EXPECT_EQ(ReadRgba(*picture, {3, 0, 65}), (Array<Byte>(whole.begin() + 12, whole.begin() + 272)));

	// Lines with gaps and lines that run backwards; the layout is the format's own, whatever offsets are asked for.
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
			ASSERT_TRUE(std::equal(pixel, pixel + 4, whole.begin() + 4 * x)) << x << ", stride " << stride;
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

/// A layer with pixels and masks is combined with them like a picture of one layer.
Rgba ShowAt(const PlainLayer& layer, Int x, Int y)
{
	if (x >= layer._width || y >= layer._height)
		return {};
	if (layer._pixels.empty())
		return ShowFolderAt(layer, x, y);
	Rgba pixel = {};
	for (std::size_t c = 0; c < 4; ++c)
		pixel[c] = layer._pixels[static_cast<std::size_t>(y * layer._width + x) * 4 + c] / 255.0;
	if (layer._masks.empty())
		return pixel;
	if (layer._opacity != 1.0)
		pixel = BlendPixel(layer._mode, {}, pixel, layer._opacity);
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

/// Counts its handlers; lines below the first fail.
class CountingStorage final : public PixelStorageBase
{
public:
	Result<void> Init(Int width, Int height, const PixelFormat& pixelFormat, Block<const Byte>) override
	{
		_shape = TORVI_TRY(PixelStorageShape::Make(width, height, pixelFormat));
		return OK;
	}
	Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat&, const ChannelOffsets&, const ColorProfile&, const ColorProfile&,
												  GETPIXELHANDLERFLAGS) override
	{
		GetPixelHandlerStruct record;
		record._getLine = [](const ImagePos& pos, const PixelBuffer&, UInt32) -> Result<void>
		{ return pos._y == 0 ? Result<void>(OK) : Result<void>(IoError("The tile is gone.")); };
		record._freeHandler = [](GetPixelHandlerStruct&) -> Result<void>
		{
			--s_open;
			return OK;
		};
		++s_open;
		return record;
	}
	Result<SetPixelHandlerStruct> SetPixelHandler(const PixelFormat&, const ChannelOffsets&, const ColorProfile&, const ColorProfile&,
												  SETPIXELHANDLERFLAGS, const RegionChangedDelegate&) override
	{
		return SetPixelHandlerStruct();
	}
	Result<void> GetComponent(Int, const ImagePos&, Byte*, Int) const override { return OK; }
	Result<void> SetComponent(Int, const ImagePos&, const Byte*, Int) override { return OK; }

	static inline Int s_open = 0;
};

constexpr Id COUNTINGSTORAGE = "net.torvi.test.countingstorage";

TEST_F(CompositionTest, HandlersOfLayersEndWithTheMergedOne)
{
	Module module(*g_torvi);
	EXPECT_OK(module.AddClass<CountingStorage>(COUNTINGSTORAGE));
	const auto makeLayer = []()
	{ return MakeImage<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER, 1, 2, ids::PIXELFORMAT_RGBA_U8, COUNTINGSTORAGE); };
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const auto open = [&](const ImageRef& picture)
	{ return picture->GetPixelHandler(format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr); };
	const ImageLayerRef folder = MakeFolder(1, 2);
	Hang(folder, LAYER, makeLayer());
	ImageRef picture = MakePicture(1, 2, {makeLayer(), folder});
	Byte pixel[4] = {};
	{
		GetPixelHandlerStruct handler = Must(open(picture));
		picture = {}; // the record keeps what it reads
		EXPECT_EQ(CountingStorage::s_open, 2);
		EXPECT_OK(handler._getLine({0, 0, 1}, PixelBuffer(pixel, 32), 0));
		EXPECT_ERROR(errorids::IO, handler._getLine({0, 1, 1}, PixelBuffer(pixel, 32), 0));
		GetPixelHandlerStruct moved = std::move(handler);
		EXPECT_OK(handler.Free());
		EXPECT_EQ(CountingStorage::s_open, 2);
		EXPECT_OK(moved.Free());
		EXPECT_EQ(CountingStorage::s_open, 0);
	}
	EXPECT_EQ(CountingStorage::s_open, 0);
	picture = MakePicture(1, 2, {makeLayer(), makeLayer(), Make<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER)});
	EXPECT_ERROR(errorids::NULLPTR, open(picture));
	EXPECT_EQ(CountingStorage::s_open, 0) << "those in front of the one that failed";
}

TEST_F(CompositionTest, MemoryRunsOut)
{
	const ImageLayerRef folder = MakeFolder(1, 1);
	Hang(folder, LAYER, MakeFilled(1, 1, {1, 2, 3, FULL}));
	Hang(folder, MASK, MakeMask(0, 0, 1, 1, {FULL}));
	const ImageRef picture = MakePicture(1, 1, {MakeFilled(1, 1, {1, 2, 3, FULL}), folder});
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const auto read = [&]() -> Result<void>
	{
		const GetPixelHandlerStruct handler =
			TORVI_TRY(picture->GetPixelHandler(format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, nullptr));
		Byte pixel[4] = {};
		return handler._getLine({0, 0, 1}, PixelBuffer(pixel, 32), 0);
	};
	const auto check = [](const Result<void>& result, Bool hasFailed)
	{
		EXPECT_EQ(result.IsOk(), !hasFailed);
		EXPECT_TRUE(result.IsOk() || result.GetError().GetId() == errorids::OUTOFMEMORY);
	};
	EXPECT_GE(test::ForEachAllocationFailure(read, check), 10) << "readers, records, scratch runs";
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

/// Notes what it is asked and converts nothing.
class StageDouble final : public ColorConversionStageInterface
{
public:
	struct Call
	{
		PixelFormat _dstFormat;
		ColorProfile _srcProfile;
		ColorProfile _dstProfile;
		Bool _forceProfiles;
	};

	Result<ConvertPixelFunc> FindConversion(const PixelFormatInterface& dstFormat, const PixelFormat&, const ChannelOffsets&,
											const ChannelOffsets&, ColorProfile& srcProfile, ColorProfile* dstProfile, Bool forceProfiles,
											UInt32, Bool&) override
	{
		_calls.push_back({PixelFormat(const_cast<PixelFormatInterface*>(&dstFormat)), srcProfile, *dstProfile, forceProfiles});
		*dstProfile = _delivered;
		return ConvertPixelFunc();
	}

	std::vector<Call> _calls;
	ColorProfile _delivered = MakePlainProfile();
};

TEST_F(CompositionTest, OnlyTheLastStepConvertsColours)
{
	const auto stage = Must(NewObject<StageDouble>());
	EXPECT_OK(g_torvi->DeclareObject(ids::INTERFACE_COLORCONVERSIONSTAGE, stage));
	const ColorProfile ofLayer = MakePlainProfile();
	const ColorProfile ofPicture = MakePlainProfile();
	const ColorProfile wanted = MakePlainProfile();
	const ImageRef picture = MakePicture(1, 1, {MakeFilled(1, 1, {1, 2, 3, FULL}), MakeFilled(1, 1, {1, 2, 3, FULL})});
	EXPECT_OK(GetImageChildren(*picture, LAYER)[0]->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, ofLayer));
	EXPECT_OK(picture->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, ofPicture));
	stage->_calls.clear();
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const GetPixelHandlerStruct handler = Must(
		picture->GetPixelHandler(format, format->GetChannelOffsets(), wanted, GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION, nullptr));
	ASSERT_FALSE(stage->_calls.empty());
	const StageDouble::Call& last = stage->_calls.back();
	EXPECT_EQ(last._dstFormat, format);
	EXPECT_EQ(last._srcProfile, ofPicture);
	EXPECT_EQ(last._dstProfile, wanted);
	EXPECT_TRUE(last._forceProfiles);
	EXPECT_EQ(handler._dstColorProfile, stage->_delivered);
	stage->_calls.pop_back();
	for (const StageDouble::Call& call : stage->_calls)
		EXPECT_TRUE(call._dstProfile.IsEmpty() && !call._forceProfiles) << "layers are read as they are";
}

} // namespace

} // namespace torvi
