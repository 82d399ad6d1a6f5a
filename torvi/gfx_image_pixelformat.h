// Pixel formats: how one pixel lies in memory, which channels it has, and how runs of pixels of one format become runs of another.
// All objects declared here are made when the module starts (dynamic and indexed formats also later), never change after they have
// been handed out, and may be used from any thread.
#pragma once

#include "host/datatype.h"
#include "host/delegate.h"
#include "host/halffloat_datatype.h"
#include "host/registry.h"
#include "torvi/gfx_image_colorprofile.h"

namespace torvi
{

class ImageChannelInterface;
class ImageChannelTypeInterface;
class PixelFormatGroupInterface;
class PixelFormatInterface;

using ImageChannel = Ref<ImageChannelInterface>;
using ImageChannelType = Ref<ImageChannelTypeInterface>;
using PixelFormatGroup = Ref<PixelFormatGroupInterface>;
using PixelFormat = Ref<PixelFormatInterface>;

/// What a channel's number means. The values and their texts are persistent.
enum class CHANNELTYPE : UInt32
{
	RED = 0,
	GREEN = 1,
	BLUE = 2,
	ALPHA = 3,
	GREY = 4,
	UNKNOWN = 5,
	UNUSED = 6,
	CMYK_C = 7,
	CMYK_M = 8,
	CMYK_Y = 9,
	CMYK_K = 10,
	CMYK_IC = 11,
	CMYK_IM = 12,
	CMYK_IY = 13,
	CMYK_IK = 14,
	DEPTH = 15,
	DEPTHBACK = 16,
	MATERIALID = 17,
	NODEID = 18,
	UVU = 19,
	UVV = 20,
	NORMAL = 21,
	REALPIX = 22,
	COVERAGE = 23,
	BG = 24,
	NODERENDERID = 25,
	COLOR = 26, ///< has no channel type object
	TRANSPARENCY = 27,
	VELOCITY = 28,
	WEIGHT = 29,
	MASK = 30,
};

/// A colour model and its two default profiles. Five exist; they are compared by identity.
class TORVI_EXPORT ColorSpaceInterface : public virtual ObjectInterface
{
public:
	/// For integer samples.
	virtual ColorProfile GetDefaultNonlinearColorProfile() const = 0;
	/// For float samples.
	virtual ColorProfile GetDefaultLinearColorProfile() const = 0;
};

/// What a number means. One object exists for each type.
class TORVI_EXPORT ImageChannelTypeInterface : public virtual ObjectInterface
{
public:
	/// The value of a channel of this type for which a source has none, on the unsigned 8-bit scale.
	virtual UChar GetDefaultFillValue() const = 0;
	/// Null for types without one.
	virtual ColorSpace GetColorSpace() const = 0;
	/// The channel of this type with one of the nine data types; null for another. Two calls give the same object.
	virtual ImageChannel GetChannel(DataType dataType) const = 0;

	/// The enumeration value; beside the text, for tables.
	virtual CHANNELTYPE GetType() const = 0;
};

/// A channel type with a data type. One object exists for each pair, so channels are compared by identity.
class TORVI_EXPORT ImageChannelInterface : public virtual ObjectInterface
{
public:
	virtual BITS GetChannelBits() const = 0;
	virtual ImageChannelType GetChannelType() const = 0;
	virtual DataType GetDataType() const = 0;
	/// Whether two channel values, at `a` and `b` in memory (not aligned), differ by at most `threshold`, which is on the 8-bit scale.
	virtual Bool IsIdenticalComponent(const Byte* a, const Byte* b, UChar threshold) const = 0;
};

/// The formats of one channel layout.
class TORVI_EXPORT PixelFormatGroupInterface : public virtual ObjectInterface
{
public:
	/// The members, in order of registration; each entry is a PixelFormatInterface. Members that are added while one walks are seen.
	virtual Registry::Iterator GetEntries() const = 0;
};

/// The bit offset of each channel inside a pixel, in channel order, and as one more entry the bits per pixel.
using ChannelOffsets = Block<const BITS>;

/// A run of pixels handed to a conversion. It owns nothing.
struct PixelBuffer
{
	PixelBuffer() = default;
	PixelBuffer(Byte* pixel, BITS stride, const ChannelOffsets* channelOffsets = nullptr, PixelFormat format = {})
		: _pixel(pixel), _stride(stride), _channelOffsets(channelOffsets), _format(std::move(format))
	{
	}
	/// A source run, which is only read.
	PixelBuffer(const Byte* pixel, BITS stride, const ChannelOffsets* channelOffsets = nullptr, PixelFormat format = {})
		: PixelBuffer(const_cast<Byte*>(pixel), stride, channelOffsets, std::move(format))
	{
	}

	Byte* _pixel = nullptr;
	BITS _stride = 0; ///< from one pixel to the next; may be 0 or negative
	const ChannelOffsets* _channelOffsets = nullptr;
	PixelFormat _format;
};

/// Converts `count` pixels. Only the pixel pointers and strides of the buffers are read: formats and offsets were fixed when the function
/// was made. A count of 0 or less does nothing and succeeds. Source and destination do not overlap unless told otherwise. Any thread.
using ConvertPixelFunc = Delegate<Result<void>(const PixelBuffer& destination, Int count, const PixelBuffer& source, UInt32 flags)>;

/// A pixel format's channel `alpha` as a format of its own, and where it lies.
struct AlphaPixelFormat
{
	PixelFormat _format;
	Int _byteOffset = 0; ///< in the pixel
};

class TORVI_EXPORT PixelFormatInterface : public virtual ObjectInterface
{
public:
	/// Called once by the maker. IllegalArgumentError for a null group. The text must live as long as the format.
	virtual Result<void> Init(const PixelFormatGroup& group, CString shortName) = 0;
	/// The channels, lowest offset first; empty for packed, RGBE, YUV and indexed formats.
	virtual Block<const ImageChannel> GetChannels() const = 0;
	virtual PixelFormatGroup GetPixelFormatGroup() const = 0;
	/// A block of `height` lines of GetBytesPerLine bytes, not cleared, to be freed with Free. IllegalArgumentError for negative sizes or
	/// an alignment that is no power of two, out-of-memory error where it does not fit.
	virtual Result<Byte*> CreatePix(Int width, Int height, Int lineAlignment) const = 0;
	virtual Int GetChannelCount() const = 0;
	/// GetChannelCount entries and the bits per pixel.
	virtual const ChannelOffsets& GetChannelOffsets() const = 0;
	virtual BITS GetBitsPerPixel() const = 0;
	/// Bytes of a line of `width` pixels, rounded up to `lineAlignment`, a power of two.
	virtual Int GetBytesPerLine(Int width, Int lineAlignment) const = 0;
	virtual Int GetPackedPixelCount() const = 0;
	virtual Bool HasAlpha() const = 0;
	/// IllegalArgumentError or FunctionNotImplementedError for formats without alpha, or whose alpha has no format of its own.
	virtual Result<AlphaPixelFormat> GetAlphaPixelFormat() const = 0;
	/// Null for formats whose channels have none.
	virtual ColorSpace GetColorSpace() const = 0;
	/// The profile that pixels of this format have unless told otherwise.
	virtual ColorProfile GetDefaultColorProfile() const = 0;

	/// A function that converts from `srcFormat` to this format; found or built once and remembered. `srcProfile` and `dstProfile` may be
	/// null and may point to the empty profile; `dstProfile` is in and out: afterwards it is the profile of the converted pixels.
	/// `isColorConverted` is set by the caller to false and becomes true when the function includes a conversion of profiles; such
	/// functions are not remembered. The first form uses flags 1, black point compensation. Errors: IllegalArgumentError "srcformat must
	/// not be nullptr."; IllegalStateError "No pixel conversion found from '@' to '@'"; out of memory. The function may be kept and run on
	/// any thread.
	virtual Result<ConvertPixelFunc> GetConvertPixelFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
														 const ChannelOffsets& dstOffsets, const ColorProfile* srcProfile,
														 ColorProfile* dstProfile, Bool forceProfiles, Bool& isColorConverted) const = 0;
	virtual Result<ConvertPixelFunc> GetConvertPixelFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
														 const ChannelOffsets& dstOffsets, const ColorProfile* srcProfile,
														 ColorProfile* dstProfile, Bool forceProfiles, UInt32 flags,
														 Bool& isColorConverted) const = 0;
	/// Looks the function up by the formats and offsets of the buffers, runs it once and drops it.
	virtual Result<void> ConvertPixelFromSlow(const PixelBuffer& destination, Int count, const PixelBuffer& source,
											  const ColorProfile* srcProfile, ColorProfile* dstProfile, Bool forceProfiles,
											  UInt32 convertFlags) const = 0;
	/// Whether two pixels of this format, each at its own offsets, differ in no channel by more than `threshold` on the 8-bit scale.
	/// Channels of type unused do not count.
	virtual Bool IsIdenticalPixel(const PixelBuffer& pixel1, const PixelBuffer& pixel2, UChar threshold) const = 0;
	/// The pixel's channel values as text.
	virtual String PixToString(const Byte* pixel) const = 0;

	/// What this format, as destination or as source, converts directly; the empty function where it does not. For
	/// GetConvertPixelFunc, which all others call: without memory these may throw std::bad_alloc.
	virtual Result<ConvertPixelFunc> GetConvertPixelFromFunc(const PixelFormat& srcFormat, const ChannelOffsets& srcOffsets,
															 const ChannelOffsets& dstOffsets, Bool fastLayout,
															 Bool& isColorConverted) const = 0;
	virtual Result<ConvertPixelFunc> GetConvertPixelToFunc(const PixelFormat& dstFormat, const ChannelOffsets& dstOffsets,
														   const ChannelOffsets& srcOffsets, Bool fastLayout,
														   Bool& isColorConverted) const = 0;
	virtual CString GetShortName() const = 0;

	/// A number that no other format of this process has had, which stands for the format in caches.
	virtual UInt64 GetUniqueId() const = 0;
};

/// Formats that select rows of a colour table. Each picture with a palette has its own format object, made from one of the nine classes.
/// The table is set before the format is handed out; a change while a conversion runs on another thread must be kept apart by the caller.
class TORVI_EXPORT PixelFormatIndexedColorInterface : public virtual ObjectInterface
{
public:
	/// A table of `count` rows of `format`, all zero. A count of 0 drops the table; IllegalArgumentError below 0.
	virtual Result<void> InitColorTable(Int count, const PixelFormat& format) = 0;
	virtual PixelFormat GetColorTablePixelFormat() const = 0;
	virtual Int GetColorTableSize() const = 0;
	/// Writes or reads one row. IllegalArgumentError for an index outside the table or a buffer of another format.
	virtual Result<void> SetIndex(Int index, const PixelBuffer& color) = 0;
	virtual Result<void> GetIndex(Int index, const PixelBuffer& color) const = 0;
};

using PixelFormatIndexedColorRef = Ref<PixelFormatIndexedColorInterface>;

/// Formats that are defined by a list of channels.
class TORVI_EXPORT PixelFormatDynamicInterface : public virtual PixelFormatInterface
{
public:
	/// Appends a channel; only while the format is being made. NullptrError for a null channel; IllegalStateError "PixelFormat belongs to
	/// two different color spaces: @, @".
	virtual Result<void> AddChannel(const ImageChannel& channel) = 0;
};

/// Static: declared under ids::PIXELFORMATS.
class TORVI_EXPORT PixelFormatsInterface : public virtual ObjectInterface
{
public:
	/// The one format that has exactly these channels in this order: a fixed one if there is one, else a dynamic one, which is made on the
	/// first call and lives until the module ends. A failure is remembered for the list. IllegalArgumentError "FindOrCreatePixelFormat()
	/// needs at least 1 channel.".
	virtual Result<PixelFormat> FindOrCreatePixelFormat(Block<const ImageChannel> channels) = 0;
};

namespace ids
{
inline constexpr Id INTERFACE_PIXELFORMATS = "net.torvi.image.interface.pixelformats";
inline constexpr Id CLASS_PIXELFORMATBASE = "net.torvi.image.class.pixelformatbase";
inline constexpr Id CLASS_PIXELFORMATDYNAMIC = "net.torvi.image.class.pixelformatdynamic";
inline constexpr Id REGISTRY_PIXELFORMATGROUPS = "net.torvi.image.registry.pixelformats";
inline constexpr Id REGISTRY_IMAGECHANNELTYPES = "net.torvi.image.registry.imagechanneltypes";
inline constexpr Id REGISTRY_COLORSPACES = "net.torvi.image.registry.colorspaces";
inline constexpr Id REGISTRY_DYNAMIC = "net.torvi.image.registry.dynamic";

inline constexpr Id COLORSPACE_RGB = "net.torvi.image.colorspace.rgb";
inline constexpr Id COLORSPACE_GREY = "net.torvi.image.colorspace.grey";
inline constexpr Id COLORSPACE_CMYK = "net.torvi.image.colorspace.cmyk";
inline constexpr Id COLORSPACE_YUV = "net.torvi.image.colorspace.yuv";
inline constexpr Id COLORSPACE_ALPHA = "net.torvi.image.colorspace.alpha";
} // namespace ids

inline Bool ColorProfile::CheckCompatiblePixelFormat(const PixelFormatInterface& format) const
{
	return IsEmpty() || GetColorSpace() == format.GetColorSpace();
}

inline ColorSpace ColorProfile::GetColorSpace() const
{
	return _record ? _record->GetColorSpace() : ColorSpace();
}

/// Static: the place where colour management joins the conversion lookup, declared under ids::INTERFACE_COLORCONVERSIONSTAGE. Without a
/// declared stage no profiles are converted.
class TORVI_EXPORT ColorConversionStageInterface : public virtual ObjectInterface
{
public:
	/// Called by the lookup of `dstFormat` before it searches, unless both profiles are empty. A set function ends the lookup; the stage
	/// has then set `isColorConverted`. With the empty function the lookup goes on with what the stage has left in `srcProfile`,
	/// `*dstProfile` and `isColorConverted`. `dstProfile` may be null.
	virtual Result<ConvertPixelFunc> FindConversion(const PixelFormatInterface& dstFormat, const PixelFormat& srcFormat,
													const ChannelOffsets& srcOffsets, const ChannelOffsets& dstOffsets,
													ColorProfile& srcProfile, ColorProfile* dstProfile, Bool forceProfiles, UInt32 flags,
													Bool& isColorConverted) = 0;
};

namespace ids
{
inline constexpr Id INTERFACE_COLORCONVERSIONSTAGE = "net.torvi.image.interface.colorconversionstage";
} // namespace ids

/// The published format of that id (see ids_formats.h); null if there is none or the module is not started. Any thread.
inline PixelFormat GetPixelFormat(const Id& id)
{
	return FindDeclared<PixelFormatInterface>(id);
}

/// The channel of a type and a data type; null if one of them does not exist.
TORVI_EXPORT ImageChannel GetImageChannel(CHANNELTYPE type, DataType dataType);

/// FindOrCreatePixelFormat of the declared PixelFormats object.
inline Result<PixelFormat> FindOrCreatePixelFormat(Block<const ImageChannel> channels)
{
	const Ref<PixelFormatsInterface> formats = FindDeclared<PixelFormatsInterface>(ids::INTERFACE_PIXELFORMATS);
	TORVI_CHECK(formats, IllegalStateError("The module is not started."));
	return formats->FindOrCreatePixelFormat(channels);
}

} // namespace torvi

TORVI_DATATYPE(torvi::PixelFormat, "net.torvi.image.interface.pixelformat")
