// One implementation is all modes: an object is the mode of which its class has the id.
#include "pixelblend/gfx_image_pixelblend_impl.h"

#include "host/datatype.h"
#include "pixelblend/blend_handler.h"
#include "torvi/ids_formats.h"

#include <algorithm>

namespace torvi
{

namespace
{

class ImagePixelBlendImpl final : public ImagePixelBlendInterface
{
public:
	Result<void> InitObject() override
	{
		const Block<const BlendMode> modes = GetBlendModes();
		const auto found = std::ranges::find(modes, GetClassId(), &BlendMode::_id);
		TORVI_CHECK(found != modes.end(), IllegalStateError("There is no blend mode @.", GetClassId()));
		_mode = &*found;
		return OK;
	}

	Result<BlendPixelHandler> GetBlendPixelHandler(const PixelFormat& backgroundFormat, const ChannelOffsets& backgroundOffsets,
												   const PixelFormat& foregroundFormat, const ChannelOffsets& foregroundOffsets,
												   Float64 opacity) const override
	{
		return MakeBlendPixelHandler(*_mode, backgroundFormat, backgroundOffsets, foregroundFormat, foregroundOffsets, opacity);
	}

private:
	const BlendMode* _mode = nullptr;
};

class ImagePixelBlendTemplateStaticImpl final : public ImagePixelBlendStaticInterface
{
public:
	Result<PixelFormat> GetOptimalPixelFormat(Block<const PixelFormat> formats) const override
	{
		Bool isDouble = false;
		for (const PixelFormat& format : formats)
		{
			TORVI_CHECK(format, NullptrError("A pixel format is missing."));
			const Block<const ImageChannel> channels = format->GetChannels();
			isDouble = isDouble || (!channels.empty() && channels.front()->GetDataType() == GetDataType<Float64>());
		}
		PixelFormat optimal = GetPixelFormat(isDouble ? ids::PIXELFORMAT_RGBA_F64 : ids::PIXELFORMAT_RGBA_F32);
		TORVI_CHECK(optimal, IllegalStateError("The module is not started."));
		return optimal;
	}
};

} // namespace

Result<void> RegisterBlendModes(Module& module)
{
	for (const BlendMode& mode : GetBlendModes())
	{
		const ClassRef record = TORVI_TRY(module.AddClass<ImagePixelBlendImpl>(mode._id));
		TORVI_TRY(module.AddObject(ids::REGISTRY_BLENDMODES, mode._id, TORVI_TRY(record->Create())));
	}
	return OK;
}

Result<void> RegisterBlendStatic(Module& module)
{
	return module.GetHost().DeclareObject(ids::INTERFACE_IMAGEPIXELBLEND, TORVI_TRY(NewObject<ImagePixelBlendTemplateStaticImpl>()));
}

} // namespace torvi
