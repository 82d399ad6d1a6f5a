// torvi-image sheet: one picture that shows all pictures, layers, masks and alpha channels of a file.
#include "tools/exporter.h"
#include "tools/files.h"
#include "tools/picture.h"
#include "tools/sheet_drawing.h"
#include "tools/sheet_layout.h"
#include "tools/sheet_reader.h"
#include "tools/watch.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

#include <filesystem>
#include <set>

namespace torvi::tool
{

namespace
{

constexpr std::string_view FILEFORMAT_PREFIX = "net.torvi.fileformat.image";

struct SheetOptions
{
	std::string _in;
	std::string _out;
};

/// The format of a file, and size, pixel format and profile of its first picture.
std::string DescribeFormat(const ImageTextureInterface& texture)
{
	std::string text;
	if (const auto format = texture.GetOr<FileFormatRef>(ids::IMAGE_FILEFORMAT, FileFormatRef()))
		text = ToStd(ToUpper(ShortId(format->GetClassId().GetText(), FILEFORMAT_PREFIX))) + "  \u00B7  ";
	const ImageBaseRef first = GetImageChildren(texture, IMAGEHIERARCHY::IMAGE).front();
	text += std::to_string(first->GetWidth()) + " \u00D7 " + std::to_string(first->GetHeight());
	text += "  \u00B7  " + FormatText(*first);
	if (const auto profile = first->GetOr<ColorProfile>(ids::IMAGE_COLORPROFILE, ColorProfile()); !profile.IsEmpty())
		text += "  \u00B7  " + ToStd(profile.ToString());
	return text;
}

/// Makes the sheet of a file: its pictures are loaded one after the other, and none stays in memory when its thumbnails are made.
class SheetMaker
{
public:
	explicit SheetMaker(const std::string& file) : _file(file) {}
	Result<Sheet> Make(const Url& url);

private:
	Result<void> AddPictures(const Url& url, Int index);
	Result<void> MakeThumbnail(Cell& cell);

	const std::string& _file;
	CellCounts _counts;
	Bool _hasSeveralPictures = false;
	Sheet _sheet;
};

Result<Sheet> SheetMaker::Make(const Url& url)
{
	const ImageTextureRef structure = TORVI_TRY(LoadStructure(url));
	const Array<ImageBaseRef> pictures = GetImageChildren(*structure, IMAGEHIERARCHY::IMAGE);
	TORVI_CHECK(!pictures.empty(), IllegalStateError("The file holds no picture."));
	_hasSeveralPictures = pictures.size() > 1;
	_counts = CountCells(*structure);
	_sheet._title = _file == "-" ? "standard input" : std::filesystem::path(_file).filename().string();
	_sheet._format = DescribeFormat(*structure);
	_sheet._contents = _counts.ToText();
	_sheet._thumbnailSide = GetThumbnailSide(_counts.GetTotal());
	std::set<Int> indices;
	for (const ImageBaseRef& picture : pictures)
		indices.insert(picture->GetOr<Int>(ids::IMAGE_SUBIMAGEINDEX, 0));
	for (const Int index : indices)
		TORVI_TRY(AddPictures(url, index));
	_sheet._leftOut = std::max<Int>(_counts.GetTotal() - CountOf(_sheet._cells), 0);
	return std::move(_sheet);
}

Result<void> SheetMaker::AddPictures(const Url& url, Int index)
{
	const Int room = SHEET_CELL_LIMIT - CountOf(_sheet._cells);
	if (room <= 0)
		return OK;
	PictureChoice choice;
	choice._image = "#" + std::to_string(index + 1);
	const ImageTextureRef texture = TORVI_TRY(LoadPicture(url, _file, choice));
	CellCollector collector(_hasSeveralPictures, room, CountOf(_sheet._cells)); // no cell opens more than one group
	for (const ImageBaseRef& picture : GetImageChildren(*texture, IMAGEHIERARCHY::IMAGE))
	{
		if (picture->GetOr<Int>(ids::IMAGE_SUBIMAGEINDEX, 0) == index)
			TORVI_TRY(collector.AddPicture(picture));
	}
	for (Cell& cell : collector.GetCells())
	{
		TORVI_TRY(MakeThumbnail(cell));
		_sheet._cells.push_back(std::move(cell));
		ShowProgress(static_cast<Float64>(_sheet._cells.size()) / static_cast<Float64>(std::max<Int>(_counts.GetTotal(), 1)));
	}
	return OK;
}

/// A part that can not be read leaves its cell empty; without the picture itself there is no sheet.
Result<void> SheetMaker::MakeThumbnail(Cell& cell)
{
	const DrawDimensionInt size = FitFrame(cell._frame, _sheet._thumbnailSide);
	Result<Thumbnail> thumbnail = ReadThumbnail(cell, size);
	if (thumbnail.IsOk())
		cell._thumbnail = thumbnail.TakeValue();
	else if (cell._kind == CellKind::PICTURE || IsInterrupted())
		return thumbnail.TakeError();
	else
	{
		PrintNote(_file, "\"" + cell._name + "\" can not be shown: " + ToStd(thumbnail.GetError().GetInnermostCause().GetMessage()));
		cell._thumbnail._size = size;
	}
	cell._image = {};
	return OK;
}

/// The canvas as a texture that exporters take.
Result<ImageTextureRef> MakeTexture(const Canvas& canvas)
{
	const auto texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	const auto image = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGB_U8);
	const DrawDimensionInt size = canvas.GetSize();
	TORVI_TRY(image->Init(size.width, size.height, TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL)), format, {}));
	TORVI_TRY(image->Set<ColorProfile>(ids::IMAGE_COLORPROFILE, TORVI_TRY(ParseProfile("srgb"))));
	SetPixelHandlerStruct writer =
		TORVI_TRY(image->SetPixelHandler(format, format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
	for (Int y = 0; y < size.height; ++y)
		TORVI_TRY(writer.SetLine({0, y, size.width}, PixelBuffer(canvas.GetLine(y).data(), format->GetBitsPerPixel()), 0));
	TORVI_TRY(writer.Free());
	TORVI_TRY(texture->AddChildren(IMAGEHIERARCHY::IMAGE, image, ImageBaseRef()));
	return texture;
}

Result<void> RunSheet(const SheetOptions& options)
{
	const MediaOutputUrlRef exporter = TORVI_TRY(CreateExporter(options._out == "-" ? "png" : SuffixOf(options._out)));
	const Sheet sheet = TORVI_TRY(SheetMaker(options._in).Make(TORVI_TRY(OpenInput(options._in))));
	TextDrawer text;
	if (!text.HasFont())
		PrintNote(options._in, "There is no font, so the sheet has no names.");
	if (sheet._leftOut > 0)
		PrintNote(options._in, std::to_string(sheet._leftOut) + " of " + std::to_string(sheet._leftOut + CountOf(sheet._cells)) +
								   " cells are left out; a sheet holds " + std::to_string(SHEET_CELL_LIMIT) + ".");
	const ImageTextureRef texture = TORVI_TRY(MakeTexture(DrawSheet(sheet, text)));
	return WriteOutput(options._out,
					   [&](const Url& url) -> Result<void>
					   {
						   TORVI_TRY(exporter->SetOutputUrl(url));
						   return SavePicture(texture, exporter);
					   });
}

} // namespace

void AddSheet(CLI::App& app, Run& run)
{
	auto options = std::make_shared<SheetOptions>();
	CLI::App* command = app.add_subcommand("sheet", "Draws all pictures, layers, masks and alpha channels of a file on one sheet.");
	command->add_option("IN", options->_in, "picture file, - for standard input")->required();
	command->add_option("OUT", options->_out, "file to write, usually .png; - for standard output as PNG")->required();
	command->callback([options, &run]()
					  { run = [options]() { return Report(options->_in, NoThrow([&]() { return RunSheet(*options); })); }; });
}

} // namespace torvi::tool
