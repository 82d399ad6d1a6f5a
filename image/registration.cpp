// The table of contents of the image folder.
#include "image/registration.h"

#include "torvi/gfx_image.h"

namespace torvi
{

Result<void> RegisterImageDataTypes(Module& module)
{
	TORVI_TRY(module.AddDataType<LayerSet>());
	TORVI_TRY(module.AddDataType<ImageBaseRef>());
	return module.AddDataType<ImageTextureRef>();
}

Result<void> RegisterImages(Module& module)
{
	static constexpr RegistrationStep STEPS[] = {
		{"data types of images", &RegisterImageDataTypes},
		{"normal storage", &RegisterNormalStorage},
		{"no-data storage", &RegisterNoDataStorage},
		{"image base", &RegisterImageBase}, // the others are built on it
		{"image", &RegisterImage},
		{"image layer", &RegisterImageLayer},
		{"image texture", &RegisterImageTexture},
	};
	return RunRegistration(module, STEPS);
}

} // namespace torvi
