// The texture input: what a texture is saved from.
#pragma once

#include "torvi/mediasession_session.h"

namespace torvi
{

/// An input that offers the tree of a texture as streams, from which a file exporter pulls its lines.
class MediaTextureExportInterface : public virtual MediaInputInterface
{
public:
	/// Before the first Analyze.
	virtual void SetTexture(const ImageTextureRef& texture) = 0;
};

} // namespace torvi
