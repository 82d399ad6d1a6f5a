// Loading and saving in fuzz targets.
#include "fuzz/picture.h"

#include "host/iomemory.h"

namespace torvi::fuzz
{

namespace
{

/// The bytes of an image's pixels; more than LARGEST_PICTURE where they do not count.
Int CountBytes(const ImageBaseInterface& image)
{
	const PixelFormat format = image.GetPixelFormat();
	const Int line = format ? BytesOf(image.GetWidth() * format->GetBitsPerPixel()) : 0;
	return line > 0 && image.GetHeight() > LARGEST_PICTURE / line ? LARGEST_PICTURE + 1 : line * image.GetHeight();
}

Bool AreSmall(const ImageTextureInterface& texture)
{
	Int bytes = 0;
	for (const ImageBaseRef& image : GetImagesBelow(texture))
	{
		bytes += CountBytes(*image);
		if (bytes > LARGEST_PICTURE)
			return false;
	}
	return true;
}

} // namespace

Array<ImageBaseRef> GetImagesBelow(const HierarchyObjectInterface& parent)
{
	constexpr IMAGEHIERARCHY BRANCHES[] = {IMAGEHIERARCHY::IMAGE, IMAGEHIERARCHY::ALPHA, IMAGEHIERARCHY::LAYER, IMAGEHIERARCHY::MASK};
	Array<ImageBaseRef> images;
	const auto append = [&](const HierarchyObjectInterface& object)
	{
		for (const IMAGEHIERARCHY branch : BRANCHES)
		{
			const Array<ImageBaseRef> children = GetImageChildren(object, branch);
			images.insert(images.end(), children.begin(), children.end());
		}
	};
	append(parent);
	for (std::size_t i = 0; i < images.size(); ++i)
		append(*ImageBaseRef(images[i]));
	return images;
}

/// Sizes are known before a pixel is read.
Result<ImageTextureRef> LoadSmallPictures(const Url& url)
{
	const ClassRef noData = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NODATA));
	const ImageTextureRef structure = TORVI_TRY(LoadTexture(url, TimeValue(), MEDIASESSIONFLAGS::RUNONLYANALYZE, noData, nullptr));
	if (!AreSmall(*structure))
		return ImageTextureRef();
	return LoadTexture(url, TimeValue(), MEDIASESSIONFLAGS::NONE, ClassRef(), nullptr);
}

Result<void> SavePictures(const ImageTextureRef& texture, const MediaOutputUrlRef& exporter)
{
	const Ref<IoMemory> memory = TORVI_TRY(NewObject<IoMemory>());
	TORVI_TRY(exporter->SetOutputUrl(TORVI_TRY(memory->GetUrl())));
	return texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr);
}

} // namespace torvi::fuzz
