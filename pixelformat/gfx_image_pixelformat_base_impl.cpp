// Sizes, text forms and comparison of pixel formats. The lookup of conversions is in gfx_image_pixelformat_lookup.cpp.
#include "pixelformat/gfx_image_pixelformat_base_impl.h"

#include "pixelformat/gfx_image_channels.h"

#include <atomic>
#include <limits>

namespace torvi
{

namespace
{

UInt64 NextUniqueId()
{
	static std::atomic<UInt64> s_lastId{0};
	return s_lastId.fetch_add(1, std::memory_order_relaxed) + 1;
}

Bool IsAlignment(Int alignment)
{
	return alignment > 0 && (alignment & (alignment - 1)) == 0;
}

/// The bytes of a line; empty where they can not be counted.
std::optional<Int> BytesPerLine(Int width, BITS bitsPerPixel, Int alignment)
{
	BITS bits = 0;
	Int bytes = 0;
	if (__builtin_mul_overflow(width, bitsPerPixel, &bits) || bits > std::numeric_limits<BITS>::max() - 7)
		return std::nullopt;
	if (__builtin_add_overflow(BytesOf(bits), alignment - 1, &bytes))
		return std::nullopt;
	return bytes & -alignment;
}

const char* LabelOf(CHANNELTYPE type)
{
	switch (type)
	{
	case CHANNELTYPE::RED:
		return "R";
	case CHANNELTYPE::GREEN:
		return "G";
	case CHANNELTYPE::BLUE:
		return "B";
	case CHANNELTYPE::ALPHA:
		return "A";
	case CHANNELTYPE::CMYK_C:
	case CHANNELTYPE::CMYK_IC:
		return "C";
	case CHANNELTYPE::CMYK_M:
	case CHANNELTYPE::CMYK_IM:
		return "M";
	case CHANNELTYPE::CMYK_Y:
	case CHANNELTYPE::CMYK_IY:
		return "Y";
	case CHANNELTYPE::CMYK_K:
	case CHANNELTYPE::CMYK_IK:
		return "K";
	case CHANNELTYPE::GREY:
		return "Grey";
	case CHANNELTYPE::DEPTH:
	case CHANNELTYPE::DEPTHBACK:
		return "Depth";
	default:
		return "";
	}
}

Result<ObjectRef> CreateAbstract()
{
	return IllegalStateError("Pixel formats are made from the classes of their families.");
}

} // namespace

PixelFormatBaseImpl::PixelFormatBaseImpl() : _uniqueId(NextUniqueId()) {}

PixelFormatBaseImpl::PixelFormatBaseImpl(const PixelFormatBaseImpl& other)
	: ObjectInterface(other), PixelFormatInterface(other), _group(other._group), _shortName(other._shortName), _uniqueId(NextUniqueId())
{
}

Result<void> PixelFormatBaseImpl::Init(const PixelFormatGroup& group, CString shortName)
{
	TORVI_CHECK(group, IllegalArgumentError("A pixel format needs a group."));
	_group = group;
	_shortName = shortName;
	return OK;
}

Result<Byte*> PixelFormatBaseImpl::CreatePix(Int width, Int height, Int lineAlignment) const
{
	TORVI_CHECK(width >= 0 && height >= 0, IllegalArgumentError("A block of @ x @ pixels can not be made.", width, height));
	TORVI_CHECK(IsAlignment(lineAlignment), IllegalArgumentError("The alignment of lines must be a power of two, not @.", lineAlignment));
	const std::optional<Int> lineBytes = BytesPerLine(width, GetBitsPerPixel(), lineAlignment);
	Int bytes = 0;
	TORVI_CHECK(lineBytes && !__builtin_mul_overflow(*lineBytes, height, &bytes), OutOfMemoryError());
	auto* const pixels = static_cast<Byte*>(Alloc(bytes));
	TORVI_CHECK(pixels != nullptr, OutOfMemoryError());
	return pixels;
}

BITS PixelFormatBaseImpl::GetBitsPerPixel() const
{
	return GetChannelOffsets()[static_cast<std::size_t>(GetChannelCount())];
}

Int PixelFormatBaseImpl::GetBytesPerLine(Int width, Int lineAlignment) const
{
	const Int alignment = IsAlignment(lineAlignment) ? lineAlignment : 1;
	return BytesPerLine(width, GetBitsPerPixel(), alignment).value_or(std::numeric_limits<Int>::max() & -alignment);
}

Result<AlphaPixelFormat> PixelFormatBaseImpl::GetAlphaPixelFormat() const
{
	return FunctionNotImplementedError("@ has no format of its alpha.", *this);
}

ColorProfile PixelFormatBaseImpl::GetDefaultColorProfile() const
{
	return GetBuiltInColorProfile(ids::COLORPROFILE_NONE);
}

Result<void> PixelFormatBaseImpl::ConvertPixelFromSlow(const PixelBuffer& destination, Int count, const PixelBuffer& source,
													   const ColorProfile* srcProfile, ColorProfile* dstProfile, Bool forceProfiles,
													   UInt32 convertFlags) const
{
	TORVI_CHECK(source._format, IllegalArgumentError("srcformat must not be nullptr."));
	const ChannelOffsets& srcOffsets = source._channelOffsets != nullptr ? *source._channelOffsets : source._format->GetChannelOffsets();
	Bool isColorConverted = false;
	const ConvertPixelFunc function = TORVI_TRY(
		GetConvertPixelFunc(source._format, srcOffsets, OffsetsOf(destination), srcProfile, dstProfile, forceProfiles, isColorConverted));
	return function(destination, count, source, convertFlags);
}

Bool PixelFormatBaseImpl::IsIdenticalPixel(const PixelBuffer& pixel1, const PixelBuffer& pixel2, UChar threshold) const
{
	const Block<const ImageChannel> channels = GetChannels();
	const ChannelOffsets& offsets1 = OffsetsOf(pixel1);
	const ChannelOffsets& offsets2 = OffsetsOf(pixel2);
	if (offsets1.size() != channels.size() + 1 || offsets2.size() != channels.size() + 1)
		return false;
	for (std::size_t i = 0; i < channels.size(); ++i)
	{
		const Bool isUsed = channels[i]->GetChannelType()->GetType() != CHANNELTYPE::UNUSED;
		if (isUsed &&
			!channels[i]->IsIdenticalComponent(pixel1._pixel + BytesOf(offsets1[i]), pixel2._pixel + BytesOf(offsets2[i]), threshold))
			return false;
	}
	return true;
}

Result<ConvertPixelFunc> PixelFormatBaseImpl::GetConvertPixelToFunc(const PixelFormat&, const ChannelOffsets&, const ChannelOffsets&, Bool,
																	Bool&) const
{
	return ConvertPixelFunc();
}

String PixelFormatBaseImpl::ToString(std::string_view) const
{
	const Block<const ImageChannel> channels = GetChannels();
	const BITS perChannel = channels.empty() ? 0 : GetBitsPerPixel() / CountOf(channels);
	Bool isUniform = true;
	for (const ImageChannel& channel : channels)
		isUniform &= channel->GetChannelBits() == perChannel;
	String text;
	for (const ImageChannel& channel : channels)
	{
		const std::string_view label = LabelOf(channel->GetChannelType()->GetType());
		text += label;
		if (!isUniform && !label.empty())
			text += NumberToString(channel->GetChannelBits());
	}
	return isUniform && perChannel > 0 ? text + NumberToString(perChannel) : text;
}

ColorProfile PixelFormatBaseImpl::DefaultProfileOf(const ColorSpace& colorSpace, DataType dataType)
{
	const std::optional<ValueType> type = ValueTypeOf(dataType);
	if (!colorSpace)
		return ColorProfile();
	if (!type)
		return GetBuiltInColorProfile(ids::COLORPROFILE_NONE);
	const Bool isFloat = *type >= ValueType::F16;
	return isFloat ? colorSpace->GetDefaultLinearColorProfile() : colorSpace->GetDefaultNonlinearColorProfile();
}

const ChannelOffsets& PixelFormatBaseImpl::OffsetsOf(const PixelBuffer& buffer) const
{
	return buffer._channelOffsets != nullptr ? *buffer._channelOffsets : GetChannelOffsets();
}

Result<void> RegisterPixelFormatBase(Module& module)
{
	TORVI_TRY(module.AddClass(ids::CLASS_PIXELFORMATBASE, Id(), {{ids::CLASS_PIXELFORMATBASE, &CreateAbstract}}));
	return OK;
}

} // namespace torvi
