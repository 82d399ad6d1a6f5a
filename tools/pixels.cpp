// torvi-image pixels: the rows of a picture in any pixel format, top row first, with nothing around them.
#include "tools/picture.h"

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

Result<void> WriteRows(const PictureReader& reader, const Url& url)
{
	const OutputStreamRef stream = TORVI_TRY(url.OpenOutputStream());
	Array<Byte> line(static_cast<std::size_t>(reader.GetBytesPerLine()));
	for (Int y = 0; y < reader.GetHeight(); ++y)
	{
		TORVI_TRY(CheckInterrupt(ProgressRef()));
		std::ranges::fill(line, Byte(0)); // bits behind the last pixel of a row
		TORVI_TRY(reader.ReadLine(y, line));
		TORVI_TRY(stream->Write(line));
	}
	return stream->Close();
}

Result<void> RunPixels(const PixelsOptions& options)
{
	const PixelFormat format = TORVI_TRY(ParsePixelFormat(options._format));
	const ColorProfile profile = TORVI_TRY(ParseProfile(options._profile));
	const ImageTextureRef texture = TORVI_TRY(LoadPicture(TORVI_TRY(OpenInput(options._in)), options._in, options._choice));
	const ImageBaseRef image = TORVI_TRY(GetFirstImage(texture));
	const LayerSet part = TORVI_TRY(MakeLayerSet(image, options._choice));
	const auto alpha = options._alpha == "none" ? PictureReader::Alpha::NONE : PictureReader::Alpha::FIRST;
	const PictureReader reader =
		TORVI_TRY(PictureReader::Open(image, format, profile, alpha, ChoosesPart(options._choice) ? &part : nullptr));
	return WriteOutput(options._out, [&](const Url& url) { return WriteRows(reader, url); });
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
