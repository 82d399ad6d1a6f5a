// Walks the definitions behind a conversion the way the library does, within bounds.
#include "platform/ocio/ocio_nesting.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace torvi
{

namespace
{

constexpr Int MAXIMUM_DEPTH = 64;
constexpr Int MAXIMUM_STEPS = 100'000;

/// Every definition is walked as often as it is referred to: a cycle meets the limit of the depth, repeated doubling that of the steps.
class NestingWalk
{
public:
	explicit NestingWalk(const ocio::Config& config) : _config(config), _context(config.getCurrentContext()) {}

	Result<void> WalkConversion(const char* source, const char* destination)
	{
		TORVI_TRY(WalkSpace(source));
		TORVI_TRY(WalkSpace(destination));
		return IsDisplaySpace(source) != IsDisplaySpace(destination) ? WalkView(_config.getDefaultSceneToDisplayViewTransform())
																	 : Result<void>(OK);
	}

	Result<void> WalkDisplay(const char* source, const char* display, const char* view)
	{
		const char* space = _config.getDisplayViewColorSpaceName(display, view);
		if (std::strcmp(space, ocio::OCIO_VIEW_USE_DISPLAY_NAME) == 0)
			space = display;
		TORVI_TRY(WalkView(_config.getViewTransform(_config.getDisplayViewTransformName(display, view))));
		TORVI_TRY(WalkLooks(_config.getDisplayViewLooks(display, view)));
		return WalkConversion(source, space);
	}

private:
	/// Counts the steps and the depth of what is being walked.
	class Level
	{
	public:
		explicit Level(NestingWalk& walk) : _walk(walk)
		{
			++_walk._depth;
			++_walk._steps;
		}
		Level(const Level&) = delete;
		Level& operator=(const Level&) = delete;
		~Level() { --_walk._depth; }
		Bool IsWithinBounds() const noexcept { return _walk._depth <= MAXIMUM_DEPTH && _walk._steps <= MAXIMUM_STEPS; }

	private:
		NestingWalk& _walk;
	};

	static Error NestingError()
	{
		return IllegalStateError("The definitions of the OpenColorIO configuration refer to each other without end, or too deeply.");
	}

	ocio::ConstColorSpaceRcPtr FindSpace(const char* name) const { return _config.getColorSpace(_context->resolveStringVar(name)); }

	Bool IsDisplaySpace(const char* name) const
	{
		const ocio::ConstColorSpaceRcPtr space = FindSpace(name);
		return space && space->getReferenceSpaceType() == ocio::REFERENCE_SPACE_DISPLAY;
	}

	Result<void> WalkSpace(const char* name)
	{
		if (const ocio::ConstColorSpaceRcPtr space = FindSpace(name))
		{
			TORVI_TRY(WalkTransform(space->getTransform(ocio::COLORSPACE_DIR_TO_REFERENCE)));
			return WalkTransform(space->getTransform(ocio::COLORSPACE_DIR_FROM_REFERENCE));
		}
		if (const ocio::ConstNamedTransformRcPtr named = _config.getNamedTransform(name))
		{
			TORVI_TRY(WalkTransform(named->getTransform(ocio::TRANSFORM_DIR_FORWARD)));
			return WalkTransform(named->getTransform(ocio::TRANSFORM_DIR_INVERSE));
		}
		return OK;
	}

	Result<void> WalkView(const ocio::ConstViewTransformRcPtr& view)
	{
		if (!view)
			return OK;
		TORVI_TRY(WalkTransform(view->getTransform(ocio::VIEWTRANSFORM_DIR_TO_REFERENCE)));
		return WalkTransform(view->getTransform(ocio::VIEWTRANSFORM_DIR_FROM_REFERENCE));
	}

	/// A list such as "+day, -night | day": every name in it counts.
	Result<void> WalkLooks(std::string_view looks)
	{
		constexpr std::string_view BETWEEN = ",:|+- \t\n";
		for (std::size_t start = looks.find_first_not_of(BETWEEN); start < looks.size();)
		{
			const std::size_t end = std::min(looks.find_first_of(",:|", start), looks.size());
			std::string name(looks.substr(start, end - start));
			name.erase(name.find_last_not_of(" \t\n") + 1);
			TORVI_TRY(WalkLook(_config.getLook(name.c_str())));
			start = looks.find_first_not_of(BETWEEN, end);
		}
		return OK;
	}

	Result<void> WalkLook(const ocio::ConstLookRcPtr& look)
	{
		if (!look)
			return OK;
		TORVI_TRY(WalkSpace(look->getProcessSpace()));
		TORVI_TRY(WalkTransform(look->getTransform()));
		return WalkTransform(look->getInverseTransform());
	}

	Result<void> WalkTransform(const ocio::ConstTransformRcPtr& transform)
	{
		const Level level(*this);
		TORVI_CHECK(level.IsWithinBounds(), NestingError());
		if (const auto group = std::dynamic_pointer_cast<const ocio::GroupTransform>(transform))
		{
			for (int i = 0; i < group->getNumTransforms(); ++i)
				TORVI_TRY(WalkTransform(group->getTransform(i)));
		}
		if (const auto file = std::dynamic_pointer_cast<const ocio::FileTransform>(transform))
			return CheckTable(file->getSrc());
		if (const auto conversion = std::dynamic_pointer_cast<const ocio::ColorSpaceTransform>(transform))
			return WalkConversion(conversion->getSrc(), conversion->getDst());
		if (const auto view = std::dynamic_pointer_cast<const ocio::DisplayViewTransform>(transform))
			return WalkDisplay(view->getSrc(), view->getDisplay(), view->getView());
		if (const auto look = std::dynamic_pointer_cast<const ocio::LookTransform>(transform))
		{
			TORVI_TRY(WalkLooks(look->getLooks()));
			return WalkConversion(look->getSrc(), look->getDst());
		}
		return OK;
	}

	/// The way to the table may be that of the other direction, so a missing one is not yet an error.
	Result<void> CheckTable(const char* source) const
	{
		try
		{
			return CheckRegularFile(_context->resolveFileLocation(source));
		}
		catch (const ocio::Exception&)
		{
			return OK;
		}
	}

	const ocio::Config& _config;
	ocio::ConstContextRcPtr _context;
	Int _depth = 0;
	Int _steps = 0;
};

} // namespace

Result<void> CheckOcioNesting(const ocio::Config& config, const OcioTransformNames& names)
{
	NestingWalk walk(config);
	return names._view != nullptr ? walk.WalkDisplay(names._source, names._destination, names._view)
								  : walk.WalkConversion(names._source, names._destination);
}

} // namespace torvi
