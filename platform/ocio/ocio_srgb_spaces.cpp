// Looking for sRGB and its linear light in a configuration. One of the two is enough: the other is made from it.
#include "platform/ocio/ocio_srgb_spaces.h"

#include "platform/ocio/ocio_spaces.h"
#include "platform/ocio/ocio_transform.h"

#include <algorithm>
#include <cmath>

namespace torvi
{

namespace
{

// Names and aliases of published configurations, the plainest meaning first: pixels as they stand in files, without a view.
constexpr const char* SRGB_NAMES[] = {
	"sRGB - Texture",           "srgb_texture", "srgb_tx", "srgb_rec709_scene", "sRGB Encoded Rec.709 (sRGB)",
	"Utility - sRGB - Texture", "sRGB",         "srgb8",   "sRGB D65",          "sRGB EOTF",
};
constexpr const char* LINEAR_NAMES[] = {
	"Linear Rec.709 (sRGB)",      "lin_rec709_srgb", "lin_rec709_scene", "lin_rec709",  "lin_srgb", "Utility - Linear - sRGB",
	"Utility - Linear - Rec.709", "Linear Rec.709",  "Linear BT.709",    "Linear sRGB", "linear",
};

const char* const LINEAR_ROLES[] = {"scene_linear", "rendering", "reference"};

/// The name that the configuration itself uses; null for no such space, and for data.
const char* FindSpace(const ocio::Config& config, const char* name)
{
	const ocio::ConstColorSpaceRcPtr space = config.getColorSpace(name);
	return space && !space->isData() ? space->getName() : nullptr;
}

template <std::size_t N>
const char* FindFirst(const ocio::Config& config, const char* const (&names)[N])
{
	const auto found = std::ranges::find_if(names, [&](const char* name) { return FindSpace(config, name) != nullptr; });
	return found != std::end(names) ? FindSpace(config, *found) : nullptr;
}

/// Some colours, and what conversions make of them.
struct Samples
{
	static constexpr int COUNT = 4;
	float _values[COUNT * 3] = {0.5F, 0.5F, 0.5F, 0.8F, 0.3F, 0.1F, 0.1F, 0.2F, 0.9F, 0.02F, 0.6F, 0.3F};

	void Convert(const ocio::Processor& transform)
	{
		ocio::PackedImageDesc image(_values, COUNT, 1, 3);
		transform.getDefaultCPUProcessor()->apply(image);
	}
};

/// Whether the conversion between the two is the sRGB curve, within what tables of the curve differ by.
Bool IsLinearLightOf(const ocio::ConstConfigRcPtr& config, const char* srgb, const char* candidate)
{
	constexpr float TOLERANCE = 0.002F;
	const Result<ocio::ConstProcessorRcPtr> transform = MakeOcioTransform(config, {srgb, candidate});
	if (transform.GetError().GetId() == errorids::OUTOFMEMORY)
		throw std::bad_alloc(); // says nothing about the space
	if (!transform.IsOk())
		return false;
	Samples converted;
	converted.Convert(*transform.GetValue());
	Samples expected;
	expected.Convert(*config->getProcessor(MakeSrgbCurve(ocio::TRANSFORM_DIR_FORWARD)));
	return std::ranges::equal(converted._values, expected._values, [](float a, float b) { return std::fabs(a - b) <= TOLERANCE; });
}

/// Of the spaces that are said to be linear, one that is sRGB's light.
const char* FindLinearLightOf(const ocio::ConstConfigRcPtr& config, const char* srgb)
{
	const auto isLight = [&](const char* name)
	{
		const char* const space = FindSpace(*config, name);
		return space != nullptr && IsLinearLightOf(config, srgb, space);
	};
	if (const auto found = std::ranges::find_if(LINEAR_ROLES, isLight); found != std::end(LINEAR_ROLES))
		return FindSpace(*config, *found);
	const auto found = std::ranges::find_if(LINEAR_NAMES, isLight);
	return found != std::end(LINEAR_NAMES) ? FindSpace(*config, *found) : nullptr;
}

/// A copy of the configuration with a space over one that it has. Gives the name of the space.
String AddToCopy(ocio::ConstConfigRcPtr& config, std::string_view name, const char* base, const ocio::TransformRcPtr& toBase)
{
	const ocio::ConfigRcPtr copy = config->createEditableCopy();
	String unique = MakeUniqueSpaceName(*copy, name);
	AddSpaceOver(*copy, unique.c_str(), *config->getColorSpace(base), toBase);
	config = copy;
	return unique;
}

constexpr std::string_view SRGB_NAME = "sRGB (added)";
constexpr std::string_view LINEAR_NAME = "linear sRGB (added)";

} // namespace

OcioSrgbSpaces FindOcioSrgbSpaces(const ocio::ConstConfigRcPtr& config)
{
	OcioSrgbSpaces spaces = {config, {}, {}};
	if (const char* const srgb = FindFirst(*config, SRGB_NAMES))
	{
		spaces._srgb = MakeString(srgb);
		if (const char* const linear = FindLinearLightOf(config, srgb))
			spaces._linear = MakeString(linear);
		else
			spaces._linear = AddToCopy(spaces._config, LINEAR_NAME, srgb, MakeSrgbCurve(ocio::TRANSFORM_DIR_INVERSE));
		return spaces;
	}
	if (const char* const linear = FindFirst(*config, LINEAR_NAMES))
		spaces._linear = MakeString(linear);
	else if (FindSpace(*config, ocio::ROLE_INTERCHANGE_SCENE) != nullptr)
		spaces._linear = AddToCopy(spaces._config, LINEAR_NAME, ocio::ROLE_INTERCHANGE_SCENE, MakeMatrixToAces());
	else if (const char* const role = FindFirst(*config, LINEAR_ROLES))
		spaces._linear = MakeString(role);
	if (!spaces._linear.empty())
		spaces._srgb = AddToCopy(spaces._config, SRGB_NAME, spaces._linear.c_str(), MakeSrgbCurve(ocio::TRANSFORM_DIR_FORWARD));
	return spaces;
}

} // namespace torvi
