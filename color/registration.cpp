// The table of contents of this folder, in load order.
#include "color/registration.h"

#include "color/builtin_profiles.h"
#include "color/color_conversion_stage.h"
#include "color/gfx_image_colorprofile_convert_impl.h"
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

void DropConversions()
{
	const auto conversions = FindDeclared<ColorProfileConvertStaticImpl>(ids::INTERFACE_COLORPROFILECONVERT);
	if (conversions)
		conversions->Clear();
}

/// The conversions hold profiles, so they are dropped first at the end.
Result<void> RegisterConversions(Module& module)
{
	HostServices& host = module.GetHost();
	const auto conversions = TORVI_TRY(NewObject<ColorProfileConvertStaticImpl>());
	TORVI_TRY(module.OnEnd(&DropConversions));
	TORVI_TRY(host.DeclareObject(ids::INTERFACE_COLORPROFILECONVERT, conversions));
	return host.DeclareObject(ids::INTERFACE_COLORCONVERSIONSTAGE, TORVI_TRY(NewObject<ColorConversionStageImpl>(conversions)));
}

/// What graphics processors do is a host's affair; here are the places for it.
Result<void> RegisterGpuConversions(Module& module)
{
	HostServices& host = module.GetHost();
	for (const Id& registry : {ids::REGISTRY_COLORPROFILEGPU, ids::REGISTRY_COLORPROFILEGPUSHADERGENERATOR})
		static_cast<void>(TORVI_TRY(host.GetRegistry(registry)));
	return host.DeclareObject(ids::INTERFACE_LEGACYGPUPROCESSOR, TORVI_TRY(NewObject<ColorProfileLegacyProcessorImpl>()));
}

constexpr RegistrationStep STEPS[] = {
	{"lcms2", &StartLibrary}, // its memory must be routed before anything else of it is called
	{"colour profiles", &RegisterProfiles},
	{"built-in profiles", &RegisterBuiltInProfiles},
	{"conversions of profiles", &RegisterConversions},
	{"conversions on graphics processors", &RegisterGpuConversions},
};

} // namespace

Result<void> RegisterColor(Module& module)
{
	return RunRegistration(module, STEPS);
}

} // namespace torvi
