// torvi-image blend: blends one run of raw pixels over another, in whatever formats they are.
#include "tools/command.h"
#include "tools/files.h"
#include "torvi/gfx_image_pixelblend.h"

namespace torvi::tool
{

namespace
{

struct BlendOptions
{
	std::string _background;
	std::string _foreground;
	std::string _out = "-";
	std::string _mode;
	Float64 _opacity = 1.0;
	std::string _backgroundFormat = "rgba.u8";
	std::string _foregroundFormat = "rgba.u8";
};

/// A mode by its id or the id's last part.
Result<ImagePixelBlend> FindBlendMode(const std::string& name)
{
	const RegistryRef modes = TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_BLENDMODES));
	for (const std::string& id : {name, ToStd(BLENDMODE_PREFIX) + name})
	{
		if (ImagePixelBlend mode = Cast<ImagePixelBlendInterface>(modes->Find(TORVI_TRY(InternId(id)))))
			return mode;
	}
	return IllegalArgumentError("There is no blend mode @.", name);
}

/// Packed pixels and how many there are. Bits at the end that make no whole pixel do not count.
struct RawPixels
{
	PixelFormat _format;
	Array<Byte> _bytes;

	static Result<RawPixels> Read(const std::string& file, const std::string& format)
	{
		RawPixels pixels;
		pixels._format = TORVI_TRY(ParsePixelFormat(format));
		pixels._bytes = TORVI_TRY(ReadInput(file));
		return pixels;
	}
	Int GetCount() const { return CountOf(_bytes) * 8 / _format->GetBitsPerPixel(); }
	PixelBuffer GetBuffer() const { return PixelBuffer(_bytes.data(), _format->GetBitsPerPixel()); }
};

Result<void> RunBlend(const BlendOptions& options)
{
	const ImagePixelBlend mode = TORVI_TRY(FindBlendMode(options._mode));
	RawPixels background = TORVI_TRY(RawPixels::Read(options._background, options._backgroundFormat));
	const RawPixels foreground = TORVI_TRY(RawPixels::Read(options._foreground, options._foregroundFormat));
	const Int count = background.GetCount();
	TORVI_CHECK(foreground.GetCount() == count,
				IllegalArgumentError("The background has @ pixels, the foreground has @.", count, foreground.GetCount()));
	const BlendPixelHandler handler =
		TORVI_TRY(mode->GetBlendPixelHandler(background._format, background._format->GetChannelOffsets(), foreground._format,
											 foreground._format->GetChannelOffsets(), options._opacity));
	const PixelBuffer inPlace(background._bytes.data(), background._format->GetBitsPerPixel());
	TORVI_TRY(handler._blend(inPlace, inPlace, foreground.GetBuffer(), count));
	const Block<const Byte> result(background._bytes.data(), static_cast<std::size_t>(background._format->GetBytesPerLine(count, 1)));
	return WriteBytes(options._out, [&](const ByteSink& sink) { return sink(result); });
}

} // namespace

void AddBlend(CLI::App& app, Run& run)
{
	auto options = std::make_shared<BlendOptions>();
	CLI::App* command = app.add_subcommand("blend", "Blends raw pixels over as many others.");
	command->add_option("--mode", options->_mode, "blend mode: an id or its last part; see list blend-modes")->required();
	command->add_option("--opacity", options->_opacity, "0 to 1; what the alpha of the foreground is multiplied with")
		->capture_default_str();
	command->add_option("--background-format", options->_backgroundFormat, "format of the background and of the output")
		->capture_default_str();
	command->add_option("--foreground-format", options->_foregroundFormat, "format of the foreground")->capture_default_str();
	command->add_option("BG", options->_background, "file of raw pixels, - for standard input")->required();
	command->add_option("FG", options->_foreground, "file of as many raw pixels")->required();
	command->add_option("-o,--output", options->_out, "file to write, - for standard output")->type_name("FILE");
	command->callback(
		[options, &run]()
		{
			if (!(options->_opacity >= 0.0 && options->_opacity <= 1.0)) // a range of CLI11 lets through what is no number
				throw CLI::ValidationError("--opacity", "must be 0 to 1");
			if (options->_background == "-" && options->_foreground == "-")
				throw CLI::ValidationError("FG", "standard input can not be background and foreground");
			run = [options]() { return Report(options->_background, NoThrow([&]() { return RunBlend(*options); })); };
		});
}

} // namespace torvi::tool
