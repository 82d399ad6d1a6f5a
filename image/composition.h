// Where composition joins the images: the handler that reads several layers as one picture. Images ask for it when they have no pixels of
// their own, when masks apply to them, and when a layer set picks more than one layer.
#pragma once

#include "torvi/gfx_image.h"

namespace torvi
{

struct MergeRequest
{
	Array<ImageBaseRef> _layers; ///< bottom first
	ImageBaseRef _parent;        ///< the image that shows them; its profile is that of the merged pixels
	Bool _withMasks = false;     ///< combine the merged layers with the parent's enabled masks
	PixelFormat _dstFormat;
	ChannelOffsets _dstChannelOffsets;
	ColorProfile _dstColorProfile;
	GETPIXELHANDLERFLAGS _flags = GETPIXELHANDLERFLAGS::NONE;
};

/// A reader for one thread at a time that keeps the layers and the parent alive. No layers read as zero bytes. Lists with layers have no
/// implementation yet and are an UnsupportedOperationError. IllegalArgumentError for a null format.
Result<GetPixelHandlerStruct> MakeMergedHandler(const MergeRequest& request);

} // namespace torvi
