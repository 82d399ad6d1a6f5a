// The table of contents of this folder. Which services there are is decided by the options of the build.
#include "platform/registration.h"

#ifdef TORVI_WITH_EXIF
#include "platform/exif/exif_static_impl.h"
#endif
#ifdef TORVI_WITH_OCIO
#include "platform/ocio/ocio_config_impl.h"
#endif

namespace torvi
{

Result<void> RegisterPlatform([[maybe_unused]] Module& module)
{
#ifdef TORVI_WITH_EXIF
	TORVI_TRY(module.AddClass<ExifStaticImpl>(ids::CLASS_EXIFSTATIC));
#endif
#ifdef TORVI_WITH_OCIO
	TORVI_TRY(module.AddClass<OcioConfigImpl>(ids::CLASS_OCIOCONFIG));
#endif
	return OK;
}

} // namespace torvi
