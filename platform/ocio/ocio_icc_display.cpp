// Building a display from an ICC file. The library reads such a file as a transform from CIE XYZ under D65 to the display's
// values.
#include "platform/ocio/ocio_icc_display.h"

#include "platform/ocio/ocio_spaces.h"

#include <cstring>

namespace torvi
{

namespace
{

constexpr const char* PLAIN_VIEW = "Un-tone-mapped";

/// From the display to XYZ.
ocio::TransformRcPtr MakeIccTransform(const char* path)
{
	const ocio::FileTransformRcPtr transform = ocio::FileTransform::Create();
	transform->setSrc(path);
	transform->setInterpolation(ocio::INTERP_LINEAR);
	transform->setDirection(ocio::TRANSFORM_DIR_INVERSE);
	return transform;
}

void AddDisplaySpace(ocio::Config& config, const char* name, const ocio::TransformRcPtr& toXyz)
{
	const ocio::ColorSpaceRcPtr space = ocio::ColorSpace::Create(ocio::REFERENCE_SPACE_DISPLAY);
	space->setName(name);
	space->setTransform(toXyz, ocio::COLORSPACE_DIR_TO_REFERENCE);
	config.addColorSpace(space);
}

void AddSceneSpace(ocio::Config& config, const char* name, const ocio::TransformRcPtr& toXyz, const char* linear)
{
	const ocio::ConstColorSpaceRcPtr base = config.getColorSpace(linear);
	if (!base)
		throw ocio::Exception("The configuration has no colour space that tells what its colours are.");
	const ocio::GroupTransformRcPtr toLinear = ocio::GroupTransform::Create();
	toLinear->appendTransform(toXyz);
	toLinear->appendTransform(MakeMatrixFromXyz());
	AddSpaceOver(config, name, *base, toLinear);
}

/// The views that the configuration has for displays which it does not know.
void AddVirtualViews(ocio::Config& config, const char* display)
{
	for (int i = 0; i < config.getVirtualDisplayNumViews(ocio::VIEW_SHARED); ++i)
		config.addDisplaySharedView(display, config.getVirtualDisplayView(ocio::VIEW_SHARED, i));
	for (int i = 0; i < config.getVirtualDisplayNumViews(ocio::VIEW_DISPLAY_DEFINED); ++i)
	{
		const char* const view = config.getVirtualDisplayView(ocio::VIEW_DISPLAY_DEFINED, i);
		const char* const space = config.getVirtualDisplayViewColorSpaceName(view);
		config.addDisplayView(display, view, config.getVirtualDisplayViewTransformName(view),
							  std::strcmp(space, ocio::OCIO_VIEW_USE_DISPLAY_NAME) == 0 ? display : space,
							  config.getVirtualDisplayViewLooks(view), config.getVirtualDisplayViewRule(view),
							  config.getVirtualDisplayViewDescription(view));
	}
}

/// The views of another display that say how colours come to a display, with ours as that display.
void AddViewsLike(ocio::Config& config, const char* display, const char* other)
{
	for (const ocio::ViewType type : {ocio::VIEW_SHARED, ocio::VIEW_DISPLAY_DEFINED})
	{
		for (int i = 0; i < config.getNumViews(type, other); ++i)
		{
			const char* const view = config.getView(type, other, i);
			const char* const transform = config.getDisplayViewTransformName(other, view);
			if (*transform != 0)
				config.addDisplayView(display, view, transform, display, config.getDisplayViewLooks(other, view),
									  config.getDisplayViewRule(other, view), config.getDisplayViewDescription(other, view));
		}
	}
}

Int CountViews(const ocio::Config& config, const char* display)
{
	return Int(config.getNumViews(ocio::VIEW_SHARED, display)) + config.getNumViews(ocio::VIEW_DISPLAY_DEFINED, display);
}

} // namespace

ocio::ConstConfigRcPtr AddOcioIccDisplay(const ocio::ConstConfigRcPtr& config, const char* name, const char* iccPath, const char* linear)
{
	const ocio::TransformRcPtr toXyz = MakeIccTransform(iccPath);
	config->getProcessor(toXyz, ocio::TRANSFORM_DIR_INVERSE); // throws here, and not at the first conversion
	const ocio::ConfigRcPtr copy = config->createEditableCopy();
	const Bool isDisplayReferred = static_cast<Bool>(copy->getDefaultSceneToDisplayViewTransform());
	if (isDisplayReferred)
		AddDisplaySpace(*copy, name, toXyz);
	else
		AddSceneSpace(*copy, name, toXyz, linear);
	AddVirtualViews(*copy, name);
	if (isDisplayReferred && CountViews(*copy, name) == 0)
		AddViewsLike(*copy, name, config->getDefaultDisplay());
	if (CountViews(*copy, name) == 0)
		copy->addDisplayView(name, PLAIN_VIEW, name, "");
	return copy;
}

} // namespace torvi
