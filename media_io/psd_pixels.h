// From the channels of PSD and PSB files to the lines of their streams: layers, masks, the merged picture and its alpha channels.
#pragma once

#include "media_io/psd_layers.h"

namespace torvi
{

/// Reads the layers and masks that are wanted, bottom first, and nothing of the others.
Result<void> ReadPsdLayerPixels(BinaryReader& reader, ImportRun& run, const PsdDocument& document, const PsdLayers& layers);

/// The streams of the picture that all layers merge into.
struct PsdMergedStreams
{
	StreamHandle _picture = -1;
	Bool _hasTransparency = false; ///< the first extra channel is the picture's alpha
	Array<StreamHandle> _alphas;   ///< of the other extra channels; -1 for one without a stream
};

/// Reads the merged picture and its alpha channels from `position` on, as far as they are wanted. Data that is compressed otherwise than
/// with PackBits leaves them cleared.
Result<void> ReadPsdMergedPixels(BinaryReader& reader, ImportRun& run, const PsdDocument& document, const PsdMergedStreams& streams,
								 Int position);

} // namespace torvi
