// The table of contents of this folder, in the order of what needs what.
#include "pixelformat/registration.h"

#include "pixelformat/format_registration.h"
#include "pixelformat/gfx_image_channels.h"
#include "pixelformat/gfx_image_colorspace.h"
#include "pixelformat/gfx_image_pixelformat_base_impl.h"
#include "pixelformat/gfx_image_pixelformat_cmyk_impl.h"
#include "pixelformat/gfx_image_pixelformat_dynamic_impl.h"
#include "pixelformat/gfx_image_pixelformat_fixed_impl.h"
#include "pixelformat/gfx_image_pixelformat_indexed_impl.h"
#include "pixelformat/gfx_image_pixelformat_packed_impl.h"
#include "pixelformat/gfx_image_pixelformat_rgbe_impl.h"
#include "pixelformat/gfx_image_pixelformat_yuv_impl.h"

namespace torvi
{

namespace
{

Result<void> RegisterDataTypes(Module& module)
{
	return module.AddDataType<PixelFormat>();
}

constexpr RegistrationStep STEPS[] = {
	{"data types of pixels", &RegisterDataTypes},
	{"colour spaces", &RegisterColorSpaces}, // channel types name theirs
	{"channel types", &RegisterChannelTypes},
	{"pixel format groups", &RegisterPixelFormatGroups},
	{"base of pixel formats", &RegisterPixelFormatBase},
	{"fixed pixel formats", &RegisterFixedFormats},
	{"CMYK pixel formats", &RegisterCmykFormats},
	{"packed pixel formats", &RegisterPackedFormats},
	{"RGBE", &RegisterRgbeFormat},
	{"YUV pixel formats", &RegisterYuvFormats},
	{"indexed pixel formats", &RegisterIndexedFormats}, // their tables have fixed formats
	{"dynamic pixel formats", &RegisterDynamicFormats},
	{"map of channel lists", &RegisterPixelFormatMap}, // enters all formats above
};

} // namespace

Result<void> RegisterPixelFormats(Module& module)
{
	return RunRegistration(module, STEPS);
}

} // namespace torvi
