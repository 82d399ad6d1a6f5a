// torvi-image convert-pixels: raw pixels from one format into another, through the same lookup that everything else uses.
#include "tools/command.h"
#include "tools/files.h"

namespace torvi::tool
{

namespace
{

struct ConvertPixelsOptions
{
	std::string _in = "-";
	std::string _out = "-";
	std::string _from;
	std::string _to;
	std::string _fromProfile = "none";
	std::string _toProfile = "none";
	std::string _palette;
	Bool _forceProfiles = false;
	Int _fromStride = 0; ///< bytes; 0 for packed pixels
	Int _toStride = 0;
	Int _count = -1; ///< -1 for all that there are
	UInt32 _flags = 1;
};

/// An indexed format of the same class with the rows of a palette file, four bytes each.
Result<PixelFormat> MakeIndexedFormat(const PixelFormat& formatTemplate, const std::string& palette)
{
	TORVI_CHECK(Cast<PixelFormatIndexedColorInterface>(formatTemplate),
				IllegalArgumentError("@ takes no palette.", formatTemplate->GetShortName()));
	Array<Byte> rows = TORVI_TRY(ReadInput(palette));
	TORVI_CHECK(rows.size() % 4 == 0, IllegalArgumentError("A palette has four bytes a row; @ has @ bytes.", palette, rows.size()));
	PixelFormat format = TORVI_TRY(CreateObject<PixelFormatInterface>(formatTemplate->GetClassId()));
	const PixelFormatIndexedColorRef table = Cast<PixelFormatIndexedColorInterface>(format);
	const PixelFormat rowFormat = TORVI_TRY(ParsePixelFormat("rgba.u8"));
	TORVI_TRY(table->InitColorTable(CountOf(rows) / 4, rowFormat));
	for (Int i = 0; i < CountOf(rows) / 4; ++i)
	{
		const PixelBuffer row(&rows[static_cast<std::size_t>(4 * i)], rowFormat->GetBitsPerPixel(), &rowFormat->GetChannelOffsets(),
							  rowFormat);
		TORVI_TRY(table->SetIndex(i, row));
	}
	return format;
}

/// Pixels that a run of bytes holds: the last one needs no full stride.
Int CountPixels(Int bytes, BITS stride, BITS bitsPerPixel)
{
	const BITS bits = bytes * 8;
	return bits < bitsPerPixel || stride <= 0 ? 0 : (bits - bitsPerPixel) / stride + 1;
}

Result<Int> RunBytes(Int count, BITS stride, BITS bitsPerPixel)
{
	Int bits = 0;
	const Bool fits = !__builtin_mul_overflow(std::max<Int>(count - 1, 0), stride, &bits) && bits < INT64_MAX - bitsPerPixel - 7;
	TORVI_CHECK(fits, IllegalArgumentError("@ pixels do not fit into memory.", count));
	return count > 0 ? BytesOf(bits + bitsPerPixel) : 0;
}

Result<void> RunConvertPixels(const ConvertPixelsOptions& options)
{
	PixelFormat from = TORVI_TRY(ParsePixelFormat(options._from));
	const PixelFormat to = TORVI_TRY(ParsePixelFormat(options._to));
	if (!options._palette.empty())
		from = TORVI_TRY(MakeIndexedFormat(from, options._palette));
	const ColorProfile fromProfile = TORVI_TRY(ParseProfile(options._fromProfile));
	ColorProfile toProfile = TORVI_TRY(ParseProfile(options._toProfile));
	const BITS fromStride = options._fromStride > 0 ? options._fromStride * 8 : from->GetBitsPerPixel();
	const BITS toStride = options._toStride > 0 ? options._toStride * 8 : to->GetBitsPerPixel();

	const Array<Byte> source = TORVI_TRY(ReadInput(options._in));
	const Int available = CountPixels(CountOf(source), fromStride, from->GetBitsPerPixel());
	TORVI_CHECK(options._count <= available, IoError("@ pixels are asked for, the input holds @.", options._count, available));
	const Int count = options._count >= 0 ? options._count : available;
	Array<Byte> destination(static_cast<std::size_t>(TORVI_TRY(RunBytes(count, toStride, to->GetBitsPerPixel()))));

	Bool isColorConverted = false;
	const ConvertPixelFunc convert =
		TORVI_TRY(to->GetConvertPixelFunc(from, from->GetChannelOffsets(), to->GetChannelOffsets(), &fromProfile, &toProfile,
										  options._forceProfiles, options._flags, isColorConverted));
	TORVI_TRY(convert(PixelBuffer(destination.data(), toStride), count, PixelBuffer(source.data(), fromStride), options._flags));
	return WriteBytes(options._out, [&](const ByteSink& sink) { return sink(destination); });
}

} // namespace

void AddConvertPixels(CLI::App& app, Run& run)
{
	auto options = std::make_shared<ConvertPixelsOptions>();
	CLI::App* command = app.add_subcommand("convert-pixels", "Converts raw pixels from one format into another.");
	command->add_option("--from", options->_from, "format of the input: an id, its last part, or {uchar#Red,...}")->required();
	command->add_option("--to", options->_to, "format of the output")->required();
	command->add_option("--from-profile", options->_fromProfile, "profile of the input")->capture_default_str();
	command->add_option("--to-profile", options->_toProfile, "profile of the output")->capture_default_str();
	command->add_flag("--force-profiles", options->_forceProfiles, "convert profiles even where one is missing");
	command->add_option("--from-stride", options->_fromStride, "bytes from pixel to pixel of the input; default packed")
		->check(CLI::Range(Int(1), Int(1) << 20));
	command->add_option("--to-stride", options->_toStride, "the same of the output")->check(CLI::Range(Int(1), Int(1) << 20));
	command->add_option("--count", options->_count, "pixels to convert; default all")->check(CLI::NonNegativeNumber);
	command->add_option("--palette", options->_palette, "rows of an indexed input: four bytes R, G, B, A each")->type_name("FILE");
	command->add_option("--flags", options->_flags, "flags of the conversion")->capture_default_str();
	command->add_option("IN", options->_in, "file of raw pixels, - for standard input")->capture_default_str();
	command->add_option("-o,--output", options->_out, "file to write, - for standard output")->type_name("FILE");
	command->callback(
		[options, &run]()
		{
			if (options->_palette == "-" && options->_in == "-")
				throw CLI::ValidationError("--palette", "standard input can not be palette and pixels");
			run = [options]() { return Report(options->_in, NoThrow([&]() { return RunConvertPixels(*options); })); };
		});
}

} // namespace torvi::tool
