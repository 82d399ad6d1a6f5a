// Loading and saving for the commands: one picture of a file, or the structure of all, with a progress line and Ctrl-C.
#pragma once

#include "tools/command.h"
#include "torvi/gfx_image.h"
#include "torvi/mediasession_session.h"

#include <memory>

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

/// The structure of all pictures of a file, without pixels; each picture with the export settings that its file had.
Result<ImageTextureRef> LoadStructure(const Url& url);

/// A texture with the one picture that was asked for; an error if there is none of that name.
Result<ImageTextureRef> LoadPicture(const Url& url, const std::string& name, const PictureChoice& choice);

/// Where the pixels of a choice come from.
struct PicturePart
{
	ImageBaseRef _image; ///< the whole picture, or the one layer, mask or alpha channel that is wanted
	LayerSet _layers;    ///< of several layers; empty else
	Bool _isWhole = true;
};

/// Finds the part of a picture; an error for a name that is not there.
Result<PicturePart> FindPart(const ImageBaseRef& picture, const PictureChoice& choice);
Bool ChoosesPart(const PictureChoice& choice);

/// The first alpha channel of the picture's size, if the picture has no alpha of its own.
ImageBaseRef FindAlphaOf(const ImageBaseInterface& picture);

/// Where a layer or mask lies in its picture: the box that is stored, else its own size at the top left.
DrawRectInt GetBounds(const ImageBaseInterface& image);

/// LAYER, FOLDER or FILTER.
ImageType GetLayerType(const ImageBaseInterface& layer);

/// The first image of a texture.
Result<ImageBaseRef> GetFirstImage(const ImageTextureRef& texture);

/// Saves a texture through an exporter whose Url is set.
Result<void> SavePicture(const ImageTextureRef& texture, const MediaOutputUrlRef& exporter);

/// Reads lines of a part in one format. A whole picture without alpha of its own gets that of its first alpha channel that fits, where the
/// format has alpha.
class PictureReader
{
public:
	enum class Alpha
	{
		FIRST,
		NONE
	};

	/// Colours become those of `profile`, if it is not empty and the part has colours; an error where that cannot be.
	static Result<PictureReader> Open(const PicturePart& part, const PixelFormat& format, const ColorProfile& profile, Alpha alpha);
	Int GetWidth() const { return _width; }
	Int GetHeight() const { return _height; }
	/// Bytes of a packed line.
	Int GetBytesPerLine() const { return _format->GetBytesPerLine(_width, 1); }
	Result<void> ReadLine(Int y, Block<Byte> line) const;

private:
	Result<void> OpenAlpha(ImageBaseInterface& channel);
	Result<void> OpenStep(const PicturePart& part, const ColorProfile& profile);

	PixelFormat _format;
	Int _width = 0;
	Int _height = 0;
	GetPixelHandlerStruct _pixels;
	GetPixelHandlerStruct _alpha;
	Int _alphaOffset = 0;
	std::shared_ptr<const PictureReader> _step; ///< reads in a format that alpha can be written into, for _convert
	ConvertPixelFunc _convert;
};

} // namespace torvi::tool
