// What the folder registers, in load order.
#include "mediasession/registration.h"

#include "host/module.h"

namespace torvi
{

namespace
{

constexpr RegistrationStep STEPS[] = {
	{"session", &RegisterMediaSessionObject},
	{"stream formats", &RegisterMediaStreamFormats},
	{"streams", &RegisterMediaStreams},
	{"converters", &RegisterMediaConverters},
	{"url output", &RegisterMediaOutputUrl}, // built from the converters
	{"texture output", &RegisterMediaOutputTexture},
	{"texture input", &RegisterMediaTextureExport},
	{"texture bridge", &RegisterMediaTextureBridge},
};

} // namespace

Result<void> RegisterMediaSession(Module& module)
{
	return RunRegistration(module, STEPS);
}

} // namespace torvi
