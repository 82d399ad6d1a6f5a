// The five colour spaces. A colour space has no state; its row names the profiles that pixels of its formats have by default. Profiles are
// looked up when they are asked for, since they are registered later.
#include "pixelformat/gfx_image_colorspace.h"

#include "pixelformat/component_table.h"
#include "torvi/gfx_image_pixelformat.h"

namespace torvi
{

namespace
{

struct ColorSpaceInfo
{
	Id _id;
	Id _nonlinearProfile; // no profile where empty
	Id _linearProfile;
};

constexpr std::array<ColorSpaceInfo, 5> COLOR_SPACES = {{
	{ids::COLORSPACE_RGB, ids::COLORPROFILE_SRGB, ids::COLORPROFILE_LINEARRGB},
	{ids::COLORSPACE_GREY, ids::COLORPROFILE_SGREY, ids::COLORPROFILE_LINEARGREY},
	{ids::COLORSPACE_CMYK, ids::COLORPROFILE_CMYKDEFAULT, ids::COLORPROFILE_CMYKDEFAULT},
	{ids::COLORSPACE_YUV, ids::COLORPROFILE_YUVDEFAULT, ids::COLORPROFILE_YUVDEFAULT},
	{ids::COLORSPACE_ALPHA, Id(), Id()},
}};

class ColorSpaceImpl final : public ColorSpaceInterface
{
public:
	explicit ColorSpaceImpl(const ColorSpaceInfo& info) : _info(info) {}

	ColorProfile GetDefaultNonlinearColorProfile() const override { return GetBuiltInColorProfile(_info._nonlinearProfile); }
	ColorProfile GetDefaultLinearColorProfile() const override { return GetBuiltInColorProfile(_info._linearProfile); }

private:
	const ColorSpaceInfo& _info;
};

constexpr auto COMPONENTS = MakeComponentTable<ColorSpaceImpl, COLOR_SPACES>();

} // namespace

Result<void> RegisterColorSpaces(Module& module)
{
	for (std::size_t i = 0; i < COLOR_SPACES.size(); ++i)
	{
		const Id id = COLOR_SPACES[i]._id;
		const ClassRef record = TORVI_TRY(module.AddClass(id, Id(), {{id, COMPONENTS[i]}}));
		TORVI_TRY(module.AddObject(ids::REGISTRY_COLORSPACES, id, TORVI_TRY(record->Create())));
	}
	return OK;
}

} // namespace torvi
