// Layers, masks and alpha channels: images that hang below an image. A layer holds masks and layers in its turn.
#include "image/gfx_imageimpl.h"
#include "image/registration.h"

namespace torvi
{

namespace
{

class ImageLayerImpl final : public ImageImpl, public virtual ImageLayerInterface
{
public:
	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

protected:
	Result<void> CheckChild(IMAGEHIERARCHY branch, const ImageBaseRef& child) const override
	{
		return CheckChildIs<ImageLayerInterface>(branch, child, {IMAGEHIERARCHY::LAYER, IMAGEHIERARCHY::MASK});
	}
};

} // namespace

Result<void> RegisterImageLayer(Module& module)
{
	return module.AddToRegistry(ids::REGISTRY_IMAGELAYERCLASSES,
								TORVI_TRY(module.AddClass<ImageLayerImpl>(ids::IMAGELAYERCLASS_RASTER, ids::IMAGECLASS_IMAGE)));
}

} // namespace torvi
