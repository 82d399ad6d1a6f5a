// torvi-image pixels: the rows of a picture in any pixel format, top row first, with nothing around them.
#include "tools/files.h"
#include "tools/picture.h"
#include "tools/watch.h"

namespace torvi::tool
{

namespace
{

struct PixelsOptions
{
	std::string _in;
	std::string _out = "-";
	std::string _format = "rgba.u8";
	std::string _alpha = "first";
	std::string _profile = "none";
	PictureChoice _choice;
};

/// Hands the rows on in blocks, so that narrow pictures do not cost a system call per row.
Result<void> WriteRows(const PictureReader& reader, const ByteSink& sink)
{
	constexpr Int BLOCK_SIZE = Int(256) << 10;
	const Int lineSize = reader.GetBytesPerLine();
	if (lineSize == 0)
		return OK;
	const Int linesAtOnce = std::clamp<Int>(BLOCK_SIZE / lineSize, 1, std::max<Int>(reader.GetHeight(), 1));
	Array<Byte> lines(static_cast<std::size_t>(linesAtOnce * lineSize));
	for (Int first = 0; first < reader.GetHeight(); first += linesAtOnce)
	{
		TORVI_TRY(CheckInterrupt());
		const Int count = std::min(linesAtOnce, reader.GetHeight() - first);
		std::ranges::fill(lines, Byte(0)); // bits behind the last pixel of a row
		for (Int i = 0; i < count; ++i)
			TORVI_TRY(reader.ReadLine(
				first + i, Block<Byte>(lines).subspan(static_cast<std::size_t>(i * lineSize), static_cast<std::size_t>(lineSize))));
		TORVI_TRY(sink(Block<const Byte>(lines).first(static_cast<std::size_t>(count * lineSize))));
	}
	return OK;
}

Result<void> RunPixels(const PixelsOptions& options)
{
	const PixelFormat format = TORVI_TRY(ParsePixelFormat(options._format));
	const ColorProfile profile = TORVI_TRY(ParseProfile(options._profile));
	const ImageTextureRef texture = TORVI_TRY(LoadPicture(TORVI_TRY(OpenInput(options._in)), options._in, options._choice));
	const ImageBaseRef image = TORVI_TRY(GetFirstImage(texture));
	const PicturePart part = TORVI_TRY(FindPart(image, options._choice));
	const auto alpha = options._alpha == "none" ? PictureReader::Alpha::NONE : PictureReader::Alpha::FIRST;
	const PictureReader reader = TORVI_TRY(PictureReader::Open(part, format, profile, alpha));
	return WriteBytes(options._out, [&](const ByteSink& sink) { return WriteRows(reader, sink); });
}

} // namespace

void AddPixels(CLI::App& app, Run& run)
{
	auto options = std::make_shared<PixelsOptions>();
	CLI::App* command = app.add_subcommand("pixels", "Writes the rows of a picture, top row first, as packed pixels.");
	command->add_option("IN", options->_in, "picture file, - for standard input")->required();
	command->add_option("-o,--output", options->_out, "file to write, - for standard output")->type_name("FILE");
	command->add_option("--as", options->_format, "pixel format of the rows")->capture_default_str()->type_name("FORMAT");
	command->add_option("--alpha", options->_alpha, "where a picture without alpha takes it from: its first alpha channel, or none")
		->check(CLI::IsMember({"first", "none"}))
		->capture_default_str();
	command->add_option("--profile", options->_profile, "profile to convert to: none, srgb, linear, or an ICC file")->capture_default_str();
	AddImageOptions(*command, options->_choice);
	AddMaskOptions(*command, options->_choice);
	command->callback([options, &run]()
					  { run = [options]() { return Report(options->_in, NoThrow([&]() { return RunPixels(*options); })); }; });
}

} // namespace torvi::tool
