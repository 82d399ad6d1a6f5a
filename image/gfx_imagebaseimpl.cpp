// The base of all image objects.
#include "image/gfx_imagebaseimpl.h"

#include "image/color_transform.h"
#include "image/registration.h"
#include "torvi/ids_keys.h"

namespace torvi
{

namespace
{

Error MakeNoPixelsError()
{
	return FunctionNotImplementedError("This object has no pixels of its own.");
}

Bool IsNullProfile(const Data& data)
{
	const ColorProfile* profile = data.GetPtr<ColorProfile>();
	return profile != nullptr && profile->IsEmpty();
}

} // namespace

Result<void> ImageBaseImpl::InitBase(Int width, Int height, const PixelFormat& pixelFormat, ImageType type)
{
	TORVI_TRY(Set<Int32>(ids::IMAGE_TYPE, static_cast<Int32>(type)));
	_width = width;
	_height = height;
	_pixelFormat = pixelFormat;
	return OK;
}

Result<void> ImageBaseImpl::CheckChild(IMAGEHIERARCHY, const ImageBaseRef&) const
{
	return OK;
}

Result<void> ImageBaseImpl::AddChildren(IMAGEHIERARCHY branch, const ImageBaseRef& child, const ImageBaseRef& nextChild)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(child, IllegalArgumentError("There is no child to add."));
			TORVI_TRY(CheckChild(branch, child));
			TORVI_CHECK(!nextChild || (Cast<ImageBaseInterface>(nextChild->GetParent()) == GetSelf() &&
									   nextChild->GetBranch() == static_cast<Int32>(branch)),
						IllegalArgumentError("The next child does not hang under branch @ of this object.", branch));
			const auto insert = [&]() -> Result<void>
			{ return nextChild ? child->InsertBefore(nextChild) : child->InsertAsLastChildOf(GetSelf(), static_cast<Int32>(branch)); };
			return _regions.LinkChild(GetSelf(), child, insert);
		});
}

void ImageBaseImpl::Remove()
{
	const Ref<ImageBaseImpl> parent = Cast<ImageBaseImpl>(GetParent());
	if (parent)
		parent->_regions.UnlinkChild(*this);
	HierarchyObjectImpl::Remove();
}

Result<GetPixelHandlerStruct> ImageBaseImpl::GetPixelHandler(const PixelFormat&, const ChannelOffsets&, const ColorProfile&,
															 GETPIXELHANDLERFLAGS, const LayerSet*)
{
	return MakeNoPixelsError();
}

Result<SetPixelHandlerStruct> ImageBaseImpl::SetPixelHandler(const PixelFormat&, const ChannelOffsets&, const ColorProfile&,
															 SETPIXELHANDLERFLAGS)
{
	return MakeNoPixelsError();
}

Result<void> ImageBaseImpl::FreePixelHandler(GetPixelHandlerStruct&)
{
	return OK;
}

Result<void> ImageBaseImpl::FreePixelHandler(SetPixelHandlerStruct&)
{
	return OK;
}

Result<void> ImageBaseImpl::GetComponent(Int, const ImagePos&, Byte*, Int) const
{
	return MakeNoPixelsError();
}

Result<void> ImageBaseImpl::SetComponent(Int, const ImagePos&, const Byte*, Int)
{
	return MakeNoPixelsError();
}

Result<ImageBaseRef> ImageBaseImpl::CreateSubImagePart(const DrawRectInt& rect)
{
	TORVI_CHECK(rect == (DrawRectInt{{0, 0}, {GetWidth(), GetHeight()}}),
				UnsupportedOperationError("Sub-images other than the whole image are not available, asked for @.", rect));
	return GetSelf();
}

Result<ImageBaseRef> ImageBaseImpl::TransformColors(const ColorProfile& srcProfile, const ColorProfile& dstProfile, UInt32 flags)
{
	return NoThrow(
		[&]() -> Result<ImageBaseRef>
		{
			const ColorProfile source = !srcProfile.IsEmpty() ? srcProfile : TORVI_TRY(Get<ColorProfile>(ids::IMAGE_COLORPROFILE));
			if (!source.IsEmpty() && !dstProfile.IsEmpty())
				TORVI_TRY(TransformImageColors(*this, source, dstProfile, flags));
			return GetSelf();
		});
}

Result<Data> ImageBaseImpl::GetData(const InternedId& key) const
{
	if (key != ids::IMAGE_COLORPROFILE)
		return DataDictionaryObjectImpl::GetData(key);
	ColorProfile profile;
	Ref<const ImageBaseImpl> level(this);
	for (; level && !Cast<const ImageTextureInterface>(level); level = Cast<const ImageBaseImpl>(level->GetParent()))
	{
		const Data* stored = level->GetDictionary().FindData(key);
		if (stored != nullptr && !IsNullProfile(*stored))
			return Data(*stored);
		ColorProfile standard = level->GetStandardProfile();
		if (!standard.IsEmpty())
			profile = std::move(standard);
	}
	return Data::Make(std::move(profile));
}

Result<void> RegisterImageBase(Module& module)
{
	return module.AddToRegistry(ids::REGISTRY_IMAGEBASECLASSES, TORVI_TRY(module.AddClass<ImageBaseImpl>(ids::IMAGEBASECLASS_BASE)));
}

} // namespace torvi
