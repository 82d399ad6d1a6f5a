// How the keys of streams and those of images belong together, and the stream types and their places in the tree of images. One table each,
// read in both directions: by the texture output and by the texture input.
#pragma once

#include "torvi/gfx_image.h"
#include "torvi/mediasession_stream.h"

namespace torvi
{

/// When a key is copied.
enum class KeyGroup
{
	NAME,    ///< always, in both directions
	INDEX,   ///< always, to images only: the texture input counts itself, and saves with the options of the texture
	PROFILE, ///< to images when their structure is built and when their sample starts; always to streams
	SHAPE,   ///< aspect ratio and resolution: to images with their structure; to streams of whole pictures
	LAYER,   ///< layers, folders, filters and masks, in both directions
};

/// The place of a type of stream.
struct StreamPlace
{
	MediaStreamType _type;
	IMAGEHIERARCHY _branch; ///< below an image
	ImageType _imageType;   ///< what is stored in the image
};

/// The places of streams below others; null for a type that has none.
const StreamPlace* FindStreamPlace(MediaStreamType type);

/// The type of the stream that an image in this branch becomes; NONE where it becomes none. An image in the layer branch that says nothing
/// else is a raster layer, one in the mask branch a mask.
MediaStreamType GetStreamType(IMAGEHIERARCHY branch, ImageType imageType);

/// Whether the keys of layers belong to streams of that type.
Bool IsLayerType(MediaStreamType type);

/// Copy the keys of a group from a stream's format to an image, and back. Missing keys are skipped; a value of another type than the key's
/// is a wrong-data-type error.
Result<void> CopyKeysToImage(KeyGroup group, const DataDictionaryObjectInterface& format, DataDictionaryObjectInterface& image);
Result<void> CopyKeysToFormat(KeyGroup group, const DataDictionaryObjectInterface& image, DataDictionaryObjectInterface& format);

} // namespace torvi
