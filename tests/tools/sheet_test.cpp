// Contact sheets: layout, averaging, text, and the cells of a document that is built here.
#include "tests/image/image_test.h"
#include "tools/sheet_drawing.h"
#include "tools/sheet_layout.h"
#include "tools/sheet_reader.h"
#include "torvi/module.h"

namespace torvi::tool
{

namespace
{

TEST(SheetLayout, CellsFillAGridOnTheSheet)
{
	for (Int count = 1; count <= SHEET_CELL_LIMIT; ++count)
	{
		for (const DrawDimensionInt& drawn : {DrawDimensionInt{200, 1}, DrawDimensionInt{200, 150}, DrawDimensionInt{3, 200}})
		{
			SCOPED_TRACE(count);
			const SheetLayout layout = ArrangeCells({count, drawn, 2, 4, true});
			EXPECT_LE(layout._columns, SHEET_COLUMN_LIMIT);
			EXPECT_EQ(layout._rows, (count + layout._columns - 1) / layout._columns);
			const DrawRectInt last = layout.GetCell(count - 1);
			const DrawRectInt corner = layout.GetCell(layout._columns - 1);
			EXPECT_EQ(corner.position.x + corner.size.width + SHEET_MARGIN, layout._sheet.width);
			EXPECT_EQ(last.position.y + last.size.height, layout._footerTop);
			EXPECT_LE(layout._footerTop + SHEET_FOOTER_HEIGHT + SHEET_MARGIN, layout._sheet.height);
			EXPECT_LE(layout._thumbnail.position.x + drawn.width, layout._cell.width);
			EXPECT_LE(layout._thumbnail.position.y + drawn.height, layout._textTop);
		}
	}
}

TEST(SheetLayout, FramesFit)
{
	struct Case
	{
		DrawDimensionInt _frame;
		DrawDimensionInt _wanted;
		Int _zoom;
	};
	constexpr Int HUGE_SIDE = 300000;
	for (const Case& it :
		 {Case{{640, 480}, {200, 150}, 1}, Case{{480, 640}, {150, 200}, 1}, Case{{HUGE_SIDE, 1}, {200, 1}, 1}, Case{{16, 12}, {16, 12}, 12},
		  Case{{1, 1}, {1, 1}, 32}, Case{{0, 5}, {0, 5}, 32}, Case{{201, 201}, {200, 200}, 1}})
	{
		const DrawDimensionInt found = FitFrame(it._frame, 200);
		EXPECT_EQ(found, it._wanted);
		EXPECT_EQ(GetZoom(found, 200), it._zoom);
	}
}

Array<Byte> Average(const DrawDimensionInt& frame, const DrawDimensionInt& size, AreaAverage::Values values, const Array<Byte>& pixels)
{
	AreaAverage average(frame, size, values);
	const auto lineSize = static_cast<std::size_t>(frame.width) * 4;
	for (Int y = frame.height - 1; y >= 0; --y)
		average.AddLine(y, Block<const Byte>(pixels).subspan(static_cast<std::size_t>(y) * lineSize, lineSize));
	return average.Finish()._pixels;
}

TEST(SheetThumbnail, AveragesLightByAlpha)
{
	using enum AreaAverage::Values;
	struct Case
	{
		const char* _name;
		DrawDimensionInt _frame;
		DrawDimensionInt _size;
		AreaAverage::Values _values;
		Array<Byte> _pixels;
		Array<Byte> _wanted;
	};
	const Case cases[] = {
		{"half the light", {2, 1}, {1, 1}, SRGB, {0, 0, 0, 255, 255, 255, 255, 255}, {188, 188, 188, 255}},
		{"half the value", {2, 1}, {1, 1}, PLAIN, {0, 0, 0, 255, 255, 255, 255, 255}, {128, 128, 128, 255}},
		{"what is transparent has no colour", {1, 2}, {1, 1}, SRGB, {200, 10, 0, 255, 0, 255, 0, 0}, {200, 10, 0, 128}},
		{"shares of a pixel", {3, 1}, {2, 1}, PLAIN, {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255}, {170, 85, 0, 255, 0, 85, 170, 255}},
		{"the same downwards", {1, 3}, {1, 2}, PLAIN, {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255}, {170, 85, 0, 255, 0, 85, 170, 255}},
		{"nothing at all", {2, 2}, {1, 1}, SRGB, Array<Byte>(16), {0, 0, 0, 0}},
	};
	for (const Case& it : cases)
		EXPECT_EQ(Average(it._frame, it._size, it._values, it._pixels), it._wanted) << it._name;
}

TEST(SheetThumbnail, KeepsEveryValueOfTheSameSize)
{
	Array<Byte> pixels;
	for (int i = 0; i < 256; ++i)
		pixels.insert(pixels.end(), {static_cast<Byte>(i), static_cast<Byte>(255 - i), static_cast<Byte>(i / 2), 255});
	EXPECT_EQ(Average({16, 16}, {16, 16}, AreaAverage::Values::SRGB, pixels), pixels);
}

/// Number of pixels of the columns from `from` up to `to` that are not black.
Int CountDrawn(const Canvas& canvas, Int from, Int to)
{
	Int count = 0;
	for (Int y = 0; y < canvas.GetSize().height; ++y)
	{
		for (Int x = from; x < to; ++x)
			count += canvas.GetLine(y)[static_cast<std::size_t>(x * 3)] != 0;
	}
	return count;
}

TEST(SheetText, StaysInItsRoom)
{
	TextDrawer text;
	ASSERT_TRUE(text.HasFont());
	const TextStyle style = {13, true, {255, 255, 255}};
	const std::string longText(1000, 'w');
	for (const std::string_view written : {"sky", "\u0441\u043B\u043E\u0439 1", "\u05E9\u05DB\u05D1\u05D4", "\u0637\u0628\u0642\u0629",
										   "\u56FE\u5C42", "\xFF\xC3 broken", "line\r\nbreak", longText.c_str()})
	{
		for (const Int width : {4, 40, 200})
		{
			SCOPED_TRACE(std::string(written.substr(0, 20)) + " in " + std::to_string(width));
			Canvas canvas({300, 40}, {});
			const Int used = text.Draw(canvas, 20, 25, width, written, style);
			EXPECT_LE(used, width);
			EXPECT_EQ(used, std::min(used, text.Measure(written, style)));
			EXPECT_EQ(CountDrawn(canvas, 0, 18) + CountDrawn(canvas, 20 + width + 2, 300), 0);
			EXPECT_GT(CountDrawn(canvas, 18, 220), width == 200 ? 10 : -1);
		}
	}
	Canvas canvas({300, 40}, {});
	text.Draw(canvas, 290, 3, 200, "over the edge", style); // what lies outside is left out
	EXPECT_EQ(text.Measure("e\u0301", style), text.Measure("\u00E9", style));
}

/// A picture of 8 x 4 pixels with an alpha channel and, from the top: a folder of a hidden red and a green layer, the latter with a mask; a
/// filter; a blue layer of half opacity that hangs over the lower right corner.
class SheetDocument : public testing::Test
{
protected:
	static constexpr Int WIDTH = 8;
	static constexpr Int HEIGHT = 4;

	template <class T = ImageLayerInterface>
	static Ref<T> Make(const Id& classId, const char* name, ImageType type, const DrawDimensionInt& size, const Id& format,
					   const Array<Byte>& pixel)
	{
		const Ref<T> image = Must(CreateObject<T>(classId));
		const Id storage = pixel.empty() ? ids::IMAGEPIXELSTORAGECLASS_NODATA : ids::IMAGEPIXELSTORAGECLASS_NORMAL;
		EXPECT_OK(image->Init(size.width, size.height, Must(g_torvi->GetClass(storage)), GetPixelFormat(format), {}));
		EXPECT_OK(image->template Set<Int32>(ids::IMAGE_TYPE, static_cast<Int32>(type)));
		EXPECT_OK(image->template Set<String>(ids::IMAGE_NAME, MakeString(name)));
		SetPixelHandlerStruct writer = Must(
			image->SetPixelHandler(GetPixelFormat(format), GetPixelFormat(format)->GetChannelOffsets(), {}, SETPIXELHANDLERFLAGS::NONE));
		Array<Byte> line;
		for (Int x = 0; x < size.width; ++x)
			line.insert(line.end(), pixel.begin(), pixel.end());
		for (Int y = 0; y < size.height && !pixel.empty(); ++y)
			EXPECT_OK(writer.SetLine({0, y, size.width}, PixelBuffer(line.data(), static_cast<BITS>(pixel.size()) * 8), 0));
		EXPECT_OK(writer.Free());
		return image;
	}
	static ImageLayerRef MakeLayer(const char* name, ImageType type, const Array<Byte>& rgba)
	{
		return Make(ids::IMAGELAYERCLASS_RASTER, name, type, {WIDTH, HEIGHT}, ids::PIXELFORMAT_RGBA_U8, rgba);
	}
	static void Hang(const ImageBaseRef& parent, IMAGEHIERARCHY branch, const ImageBaseRef& child)
	{
		EXPECT_OK(parent->AddChildren(branch, child, {}));
	}
	static void SetBounds(const ImageBaseRef& image, const DrawRectInt& bounds)
	{
		EXPECT_OK(image->Set<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_X, bounds.position.x));
		EXPECT_OK(image->Set<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_Y, bounds.position.y));
		EXPECT_OK(image->Set<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_W, bounds.size.width));
		EXPECT_OK(image->Set<Int>(ids::IMAGE_LAYER_BOUNDINGBOX_H, bounds.size.height));
	}

	void SetUp() override
	{
		ASSERT_TRUE(_module.GetResult().IsOk());
		_picture = Make<ImageInterface>(ids::IMAGECLASS_IMAGE, "", ImageType::IMAGE, {WIDTH, HEIGHT}, ids::PIXELFORMAT_RGB_U8, {9, 9, 9});
		const auto blue = MakeLayer("blue", ImageType::LAYER, {0, 0, 255, 255});
		SetBounds(blue, {{6, 2}, {5, 5}});
		EXPECT_OK(blue->Set<Float64>(ids::IMAGE_LAYER_OPACITY, 0.5));
		const auto filter = MakeLayer("curves", ImageType::FILTER, {});
		EXPECT_OK(filter->Set<Int>(ids::IMAGE_LAYER_PSD_FILTERID, 0x63757276));
		const auto folder = MakeLayer("both", ImageType::FOLDER, {});
		const auto green = MakeLayer("green", ImageType::LAYER, {0, 255, 0, 255});
		const auto mask = Make(ids::IMAGELAYERCLASS_RASTER, "", ImageType::MASK, {2, 2}, ids::PIXELFORMAT_ALPHA_U8, {100});
		SetBounds(mask, {{-1, 1}, {2, 2}});
		EXPECT_OK(mask->Set<UChar>(ids::IMAGE_LAYER_MASKDEFCOLOR, 255));
		const auto red = MakeLayer("red", ImageType::LAYER, {255, 0, 0, 255});
		EXPECT_OK(red->Set<Bool>(ids::IMAGE_LAYER_ENABLED, false));
		Hang(green, IMAGEHIERARCHY::MASK, mask);
		Hang(folder, IMAGEHIERARCHY::LAYER, green);
		Hang(folder, IMAGEHIERARCHY::LAYER, red);
		for (const ImageLayerRef& layer : {blue, filter, folder})
			Hang(_picture, IMAGEHIERARCHY::LAYER, layer);
		const auto alpha = Make(ids::IMAGELAYERCLASS_RASTER, "", ImageType::IMAGE, {WIDTH, HEIGHT}, ids::PIXELFORMAT_ALPHA_U8, {50});
		EXPECT_OK(alpha->Set<String>(ids::IMAGE_ALPHANAME, MakeString("selection")));
		Hang(_picture, IMAGEHIERARCHY::ALPHA, alpha);
	}

	static std::vector<Cell> Collect(const ImageRef& picture, Int limit)
	{
		CellCollector collector(false, limit, 0);
		EXPECT_OK(collector.AddPicture(picture));
		return std::move(collector.GetCells());
	}

	ModuleScope _module;
	ImageRef _picture;
};

TEST_F(SheetDocument, CellsSayWhatTheFileSays)
{
	std::string found;
	for (const Cell& cell : Collect(_picture, 100))
	{
		found += std::to_string(static_cast<int>(cell._kind)) + "|" + cell._name + "|" + cell._facts + "|" + cell._place + "|" +
				 cell._path + "|";
		for (const Int group : cell._groups)
			found += std::to_string(group);
		found += cell._isHidden ? "|hidden\n" : "|\n";
	}
	EXPECT_EQ(found, "0|Merged picture|rgb.u8|8 \u00D7 4|||\n"
					 "1|selection|alpha.u8|8 \u00D7 4|||\n"
					 "2|both||holds 2||0|\n"
					 "3|red||8 \u00D7 4|in both|0|hidden\n"
					 "3|green||8 \u00D7 4|in both|01|\n"
					 "5|Mask|255 around it|2 \u00D7 2 at -1, 1|in green, in both|01|\n"
					 "4|curves|curv|no pixels|||\n"
					 "3|blue|50 %|5 \u00D7 5 at 6, 2|||\n");
	const ImageTextureRef texture = Must(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	Hang(texture, IMAGEHIERARCHY::IMAGE, _picture);
	EXPECT_EQ(CountCells(*texture).ToText(), "1 picture, 1 alpha channel, 1 folder, 3 layers, 1 filter, 1 mask");
	EXPECT_EQ(CountCells(*texture).GetTotal(), 8);
	EXPECT_EQ(Collect(_picture, 5).size(), 5U);
}

TEST_F(SheetDocument, ThumbnailsShowPartsInTheirPlace)
{
	struct Case
	{
		std::size_t _cell;
		Int _x;
		Int _y;
		Array<Byte> _wanted;
	};
	const std::vector<Cell> cells = Collect(_picture, 100);
	const Array<Byte> clear = {0, 0, 0, 0};
	const Case cases[] = {
		{0, 7, 3, {9, 9, 9, 255}},    // the alpha channel of a layered picture is no transparency of it
		{1, 0, 0, {50, 50, 50, 255}}, //
		{2, 0, 0, {0, 255, 0, 255}},
		{2, 0, 1, {0, 255, 0, 100}}, // composed: red is hidden, green has its mask
		{3, 0, 0, {255, 0, 0, 255}}, //
		{5, 0, 1, {100, 100, 100, 255}},
		{5, 1, 1, {255, 255, 255, 255}},
		{5, 0, 3, {255, 255, 255, 255}}, // one column hangs over
		{7, 5, 3, clear},
		{7, 7, 1, clear},
		{7, 6, 2, {0, 0, 255, 255}},
		{7, 7, 3, {0, 0, 255, 255}},
	};
	for (const Case& it : cases)
	{
		const Thumbnail thumbnail = Must(ReadThumbnail(cells[it._cell], {WIDTH, HEIGHT}));
		const Byte* pixel = thumbnail._pixels.data() + (it._y * WIDTH + it._x) * 4;
		EXPECT_EQ(Array<Byte>(pixel, pixel + 4), it._wanted) << cells[it._cell]._name << " " << it._x << " " << it._y;
	}
	EXPECT_TRUE(Must(ReadThumbnail(cells[6], {WIDTH, HEIGHT}))._pixels.empty());
}

TEST_F(SheetDocument, StripsJoinGroups)
{
	Sheet sheet = {"name", "format", "contents", Collect(_picture, 100), 3, 8};
	for (Cell& cell : sheet._cells)
		cell._thumbnail = Must(ReadThumbnail(cell, {WIDTH, HEIGHT}));
	TextDrawer text;
	const Canvas canvas = DrawSheet(sheet, text);
	Int joined[2] = {};
	constexpr Colour FIRST_STRIPS[] = {{0xE3, 0xB3, 0x41}, {0x5D, 0xA9, 0xE9}};
	const SheetLayout layout = ArrangeCells({8, {WIDTH, HEIGHT}, 2, 4, true});
	ASSERT_EQ(canvas.GetSize(), layout._sheet);
	for (Int i = 0; i + 1 < 8; ++i)
	{
		const DrawRectInt cell = layout.GetCell(i);
		const Int x = cell.position.x + cell.size.width + SHEET_GAP / 2;
		for (Int y = cell.position.y; y < cell.position.y + cell.size.height && x < canvas.GetSize().width - SHEET_MARGIN; ++y)
		{
			const Byte* pixel = canvas.GetLine(y).data() + x * 3;
			for (int c = 0; c < 2; ++c)
				joined[c] += std::equal(pixel, pixel + 3, &FIRST_STRIPS[c]._red);
		}
	}
	// Cells 2 to 5 are in the folder, 4 and 5 are the layer and its mask; ends of rows have no gap.
	EXPECT_EQ(joined[0], (3 - (5 / layout._columns - 2 / layout._columns)) * STRIP_HEIGHT);
	EXPECT_EQ(joined[1], (1 - (5 / layout._columns - 4 / layout._columns)) * STRIP_HEIGHT);
}

} // namespace

} // namespace torvi::tool
