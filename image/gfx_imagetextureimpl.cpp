// Textures: the top of a picture's tree. Size, format, profile and pixels are those of an image below, the first one unless a layer set
// names another. Files are read and written by the media session.
#include "image/gfx_imagebaseimpl.h"
#include "image/registration.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_session.h"

namespace torvi
{

namespace
{

/// The name by which a layer set picks an image: its own, or "#1" for the first picture of a file, "#2" for the second.
String GetPictureName(const ImageBaseInterface& image)
{
	String name = image.GetOr<String>(ids::IMAGE_NAME, {});
	return !name.empty() ? name : Format("#@", image.GetOr<Int>(ids::IMAGE_SUBIMAGEINDEX, 0) + 1);
}

Result<Ref<MediaTextureBridgeInterface>> FindBridge()
{
	Ref<MediaTextureBridgeInterface> bridge = FindDeclared<MediaTextureBridgeInterface>(ids::INTERFACE_MEDIATEXTUREBRIDGE);
	TORVI_CHECK(bridge, IllegalStateError("Files can not be loaded or saved, there is no media session."));
	return bridge;
}

class ImageTextureImpl final : public ImageBaseImpl, public virtual ImageTextureInterface
{
public:
	Int GetWidth() const override { return AskFirstImage(&ImageBaseInterface::GetWidth); }
	Int GetHeight() const override { return AskFirstImage(&ImageBaseInterface::GetHeight); }
	Int GetChannelCount() const override { return AskFirstImage(&ImageBaseInterface::GetChannelCount); }
	PixelFormat GetPixelFormat() const override { return AskFirstImage(&ImageBaseInterface::GetPixelFormat); }

	Result<Data> GetData(const InternedId& key) const override
	{
		if (key == ids::IMAGE_TYPE)
			return Data::Make<Int32>(static_cast<Int32>(ImageType::TEXTURE));
		if (key != ids::IMAGE_COLORPROFILE)
			return ImageBaseImpl::GetData(key);
		const ImageBaseRef image = GetFirstImage();
		return image ? image->GetData(key) : Data::Make(ColorProfile());
	}

	Result<GetPixelHandlerStruct> GetPixelHandler(const PixelFormat& dstFormat, const ChannelOffsets& dstChannelOffsets,
												  const ColorProfile& dstColorProfile, GETPIXELHANDLERFLAGS flags,
												  const LayerSet* layerSet) override
	{
		return NoThrow(
			[&]() -> Result<GetPixelHandlerStruct>
			{
				const ImageBaseRef image = layerSet != nullptr ? FindPicture(layerSet->GetSelectedImage()) : GetFirstImage();
				TORVI_CHECK(image, IllegalArgumentError("Illegal argument: Condition image not fulfilled. "));
				return image->GetPixelHandler(dstFormat, dstChannelOffsets, dstColorProfile, flags, layerSet);
			});
	}

	Result<MediaSessionRef> Load(const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags, const ClassRef& storageClass,
								 const LayerSet* layerSet) override
	{
		return TORVI_TRY(FindBridge())->Load(ImageTextureRef(this), url, targetTime, flags, storageClass, layerSet);
	}

	Result<void> Save(const MediaOutputUrlRef& output, MEDIASESSIONFLAGS flags, MediaSessionRef* session) override
	{
		return TORVI_TRY(FindBridge())->Save(ImageTextureRef(this), output, flags, session);
	}

	Result<ObjectRef> CloneObject() const override { return CloneByCopy(*this); }

protected:
	Result<void> CheckChild(IMAGEHIERARCHY branch, const ImageBaseRef& child) const override
	{
		return CheckChildIs<ImageInterface>(branch, child, {IMAGEHIERARCHY::IMAGE});
	}

private:
	ImageBaseRef GetFirstImage() const { return Cast<ImageBaseInterface>(GetFirstChild(static_cast<Int32>(IMAGEHIERARCHY::IMAGE))); }

	/// 0 or null without an image.
	template <class T>
	T AskFirstImage(T (ImageBaseInterface::*question)() const) const
	{
		const ImageBaseRef image = GetFirstImage();
		return image ? ((*image).*question)() : T();
	}

	/// The first image of that name, without regard to case; the first image if none is named so, or the name is empty.
	ImageBaseRef FindPicture(const String& name) const
	{
		ImageBaseRef first = GetFirstImage();
		if (name.empty())
			return first;
		for (const ImageBaseRef& image : GetImageChildren(*this, IMAGEHIERARCHY::IMAGE))
		{
			if (ComparePart(GetPictureName(*image), name, StringCompareMode::CASEINSENSITIVE) == 0)
				return image;
		}
		return first;
	}
};

} // namespace

Result<ImageTextureRef> LoadTexture(const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags, const ClassRef& storageClass,
									const LayerSet* layerSet)
{
	TORVI_CHECK(!url.IsEmpty(), IllegalArgumentError("A texture can not be loaded from an empty url."));
	ImageTextureRef texture = TORVI_TRY(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
	TORVI_TRY(texture->Load(url, targetTime, flags, storageClass, layerSet));
	return texture;
}

Result<void> RegisterImageTexture(Module& module)
{
	return module.AddToRegistry(ids::REGISTRY_IMAGETEXTURECLASSES,
								TORVI_TRY(module.AddClass<ImageTextureImpl>(ids::IMAGETEXTURECLASS_TEXTURE, ids::IMAGEBASECLASS_BASE)));
}

} // namespace torvi
