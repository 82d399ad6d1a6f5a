// The table of contents of this folder, in load order.
#include "pixelblend/registration.h"

#include "pixelblend/gfx_image_pixelblend_impl.h"
#include "torvi/gfx_image_pixelblend.h"

namespace torvi
{

namespace
{

Result<void> RegisterBlendDataTypes(Module& module)
{
	TORVI_TRY(module.AddDataType<ImagePixelBlend>());
	return module.AddDataType<BlendPixelHandlerRef>();
}

constexpr RegistrationStep STEPS[] = {
	{"data types of blending", &RegisterBlendDataTypes},
	{"static functions of blending", &RegisterBlendStatic},
	{"blend modes", &RegisterBlendModes},
};

} // namespace

Result<void> RegisterPixelBlend(Module& module)
{
	return RunRegistration(module, STEPS);
}

} // namespace torvi
