// The media session's classes, as the module registers them.
#pragma once

#include "host/result.h"

namespace torvi
{

class Module;

/// Registers the whole folder. Images must be there before a texture is loaded, not before this call.
Result<void> RegisterMediaSession(Module& module);

// The steps of it, one per file.
Result<void> RegisterMediaSessionObject(Module& module);
Result<void> RegisterMediaStreamFormats(Module& module);
Result<void> RegisterMediaStreams(Module& module);
Result<void> RegisterMediaConverters(Module& module);
Result<void> RegisterMediaOutputUrl(Module& module);
Result<void> RegisterMediaOutputTexture(Module& module);
Result<void> RegisterMediaTextureExport(Module& module);
Result<void> RegisterMediaTextureBridge(Module& module);

} // namespace torvi
