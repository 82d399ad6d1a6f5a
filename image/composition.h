// Where composition joins the images: the handler that reads several layers as one picture. Images ask for it when they have no pixels of
// their own, when masks apply to them, and when a layer set picks more than one layer.
#pragma once

#include "torvi/gfx_image.h"

namespace torvi
{

struct MergeRequest
{
	Array<ImageBaseRef> _layers; ///< bottom first; each takes part, whatever its own keys say about that
	ImageBaseRef _parent;        ///< the image that shows them; its profile is that of the merged pixels
	Bool _withMasks = false;     ///< combine the merged layers with the parent's enabled masks
	PixelFormat _dstFormat;      ///< pixels are delivered in its own layout
	ColorProfile _dstColorProfile;
	GETPIXELHANDLERFLAGS _flags = GETPIXELHANDLERFLAGS::NONE;
};

/// A reader for one thread at a time that keeps the layers and the parent alive. No layers read as zero bytes; so do pixels where no layer
/// is. Positions are not tested against the parent's size. IllegalArgumentError for a null format; IllegalStateError for layers that are
/// nested in more than LAYER_NESTING_LIMIT levels, and for a blend mode that is not registered; the errors of the layers' handlers, of
/// their blend modes and of the conversion to the format.
Result<GetPixelHandlerStruct> MakeMergedHandler(const MergeRequest& request);

} // namespace torvi
