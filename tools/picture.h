// Loading for the commands: one picture of a file, or the structure of all, with a progress line and Ctrl-C.
#pragma once

#include "tools/command.h"
#include "torvi/gfx_image.h"
#include "torvi/mediasession_session.h"

namespace torvi::tool
{

/// Which part of a file a user wants.
struct PictureChoice
{
	std::string _image; ///< a name, or "#N" from 1; empty for the first
	std::vector<std::string> _layers;
	std::string _mask;
	std::string _alphaChannel;
	double _time = 0.0; ///< seconds, in a movie
};

/// The options --image, --layer, --mask, --alpha-channel and --time of a command.
void AddImageOptions(CLI::App& command, PictureChoice& choice);
void AddMaskOptions(CLI::App& command, PictureChoice& choice);

/// The structure of all pictures of a file, without pixels.
Result<ImageTextureRef> LoadStructure(const Url& url);

/// A texture with the one picture that was asked for; an error if there is none of that name.
Result<ImageTextureRef> LoadPicture(const Url& url, const std::string& name, const PictureChoice& choice);

/// The layer set of a choice; checks that what it names is in the image.
Result<LayerSet> MakeLayerSet(const ImageBaseRef& image, const PictureChoice& choice);
Bool ChoosesPart(const PictureChoice& choice);

/// The first image of a texture.
Result<ImageBaseRef> GetFirstImage(const ImageTextureRef& texture);

/// Reads lines of a picture in one format, with the first alpha channel where the format has alpha and the picture has not.
class PictureReader
{
public:
	enum class Alpha { FIRST, NONE };

	static Result<PictureReader> Open(const ImageBaseRef& image, const PixelFormat& format, const ColorProfile& profile, Alpha alpha,
	                                  const LayerSet* layerSet);
	Int GetWidth() const { return _width; }
	Int GetHeight() const { return _height; }
	/// Bytes of a packed line.
	Int GetBytesPerLine() const { return _format->GetBytesPerLine(_width, 1); }
	Result<void> ReadLine(Int y, Block<Byte> line) const;

private:
	PixelFormat _format;
	Int _width = 0;
	Int _height = 0;
	GetPixelHandlerStruct _pixels;
	GetPixelHandlerStruct _alpha;
	Int _alphaOffset = 0;
};

/// From here on Ctrl-C asks running work to stop, through its progress. Gives the delegate that also draws the progress line on a terminal.
MediaProgressDelegate WatchProgress();
/// The progress of a session that runs without MediaSessionImport, such as of a save.
Result<void> CheckInterrupt(const ProgressRef& progress);
/// Ends the line, if one was drawn.
void EndProgressLine();

} // namespace torvi::tool
