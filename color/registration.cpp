// The table of contents of this folder, in load order.
#include "color/registration.h"

#include "color/builtin_profiles.h"
#include "color/gfx_image_colorprofile_impl.h"

namespace torvi
{

namespace
{

Result<void> StartLibrary(Module&)
{
	return StartLcms();
}

Result<void> RegisterProfiles(Module& module)
{
	TORVI_TRY(module.OnEnd([]() { GetProfileMap().Clear(); }));
	TORVI_TRY(module.AddDataType<ColorProfile>());
	return module.GetHost().DeclareObject(ids::INTERFACE_COLORPROFILESTATIC, TORVI_TRY(NewObject<ColorProfileStaticImpl>()));
}

constexpr RegistrationStep STEPS[] = {
	{"lcms2", &StartLibrary}, // its memory must be routed before anything else of it is called
	{"colour profiles", &RegisterProfiles},
	{"built-in profiles", &RegisterBuiltInProfiles},
};

} // namespace

Result<void> RegisterColor(Module& module)
{
	return RunRegistration(module, STEPS);
}

} // namespace torvi
