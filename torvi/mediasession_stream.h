// Streams: the units of what an input offers, each with the formats that it can be had in. An output subscribes and installs callbacks; the
// input then pushes through the stream, or, on the way to a file, the output pulls. Used from the session's thread; line writers and
// readers that a stream hands out follow the rules of gfx_image_storage.h.
#pragma once

#include "host/data.h"
#include "host/fileformat.h"
#include "host/hierarchy.h"
#include "torvi/gfx_image_storage.h"

namespace torvi
{

class MediaStreamFormatInterface;
class MediaStreamImageDataExportInterface;
class MediaStreamImageDataImportInterface;
class MediaStreamInterface;
class MediaStreamPropertiesInterface;

using MediaStreamFormat = Ref<MediaStreamFormatInterface>;
using MediaStreamProperties = Ref<MediaStreamPropertiesInterface>;
using MediaStreamRef = Ref<MediaStreamInterface>;
using MediaStreamImageDataImportRef = Ref<MediaStreamImageDataImportInterface>;
using MediaStreamImageDataExportRef = Ref<MediaStreamImageDataExportInterface>;

/// Stored under ids::MEDIAFORMAT_TYPE.
enum class MediaStreamType : UInt32
{
	NONE = 0,
	IMAGE = 1,
	ALPHA = 2,
	LAYERFOLDER = 3,
	RASTERLAYER = 4,
	FILTERLAYER = 5,
	LAYERMASK = 6,
	MIPMAP = 7,
	DEEPIMAGEDATA = 8,
};

/// The dictionary that says what a stream holds; see ids_keys.h for its keys.
class TORVI_EXPORT MediaStreamFormatInterface : public virtual DataDictionaryObjectInterface
{
};

/// The values of one sample: a copy of the stream's format that the input may change.
class TORVI_EXPORT MediaStreamPropertiesInterface : public virtual MediaStreamFormatInterface
{
public:
	/// Copies every key of the format, or of the stream's selected format.
	virtual Result<void> Init(const MediaStreamFormat& format) = 0;
	virtual Result<void> Init(const MediaStreamRef& stream) = 0;
};

class TORVI_EXPORT MediaStreamInterface : public virtual DataDictionaryObjectInterface, public virtual HierarchyObjectInterface
{
public:
	virtual Array<Data> GetFormats() const = 0;
	/// Null for an unknown id.
	virtual MediaStreamFormat GetFormat(const Data& id) const = 0;
	/// Empty before the first AddFormat.
	virtual const Data& GetSelectedFormat() const = 0;
	/// IllegalArgumentError for an unknown id.
	virtual Result<void> SetSelectedFormat(const Data& id) = 0;
	/// Stores or replaces a format. The first one is selected. Image streams need a format with a type: NullptrError, or the reading error.
	virtual Result<void> AddFormat(const Data& id, const MediaStreamFormat& format) = 0;
	virtual Result<void> SubscribeStream(const Data& id) = 0;
	virtual Result<void> UnsubscribeStream() = 0;
	virtual Bool IsSubscribed() const = 0;
};

/// The base of image streams.
class TORVI_EXPORT MediaStreamImageBaseInterface : public virtual MediaStreamInterface
{
};

/// A picture that its input pushes.
class TORVI_EXPORT MediaStreamImageDataImportInterface : public virtual MediaStreamImageBaseInterface
{
public:
	using SampleDelegate = Delegate<Result<void>(const MediaStreamImageDataImportRef& stream, const MediaStreamProperties& properties)>;
	using PixelDelegate =
		Delegate<Result<SetPixelHandlerStruct>(const MediaStreamImageDataImportRef& stream, const MediaStreamProperties& properties,
											   const ChannelOffsets& channelOffsets, SETPIXELHANDLERFLAGS flags)>;

	/// The output's call; replaces all three.
	virtual Result<void> SetCallbackHandler(const SampleDelegate& init, const PixelDelegate& pixel, const SampleDelegate& finish) = 0;
	/// The input's calls, in this order. Width, height and pixel format are taken from the properties at InitStream, the format of the
	/// lines at SetPixelStream. Without callbacks they succeed, with a record that writes nothing.
	virtual Result<void> InitStream(const MediaStreamProperties& properties) = 0;
	virtual Result<SetPixelHandlerStruct> SetPixelStream(const MediaStreamProperties& properties, const ChannelOffsets& channelOffsets,
														 SETPIXELHANDLERFLAGS flags) = 0;
	virtual Result<void> FinishStream(const MediaStreamProperties& properties) = 0;
};

/// A picture that its output pulls.
class TORVI_EXPORT MediaStreamImageDataExportInterface : public virtual MediaStreamImageBaseInterface
{
public:
	using SampleDelegate = Delegate<Result<void>(const MediaStreamImageDataExportRef& stream, const MediaStreamProperties& properties)>;
	using PixelDelegate = Delegate<Result<GetPixelHandlerStruct>(
		const MediaStreamImageDataExportRef& stream, const MediaStreamProperties& properties, const PixelFormat& dstFormat,
		const ChannelOffsets& dstChannelOffsets, const ColorProfile& dstColorProfile, GETPIXELHANDLERFLAGS flags)>;

	virtual Result<void> SetCallbackHandler(const SampleDelegate& init, const PixelDelegate& pixel, const SampleDelegate& finish) = 0;
	virtual Result<void> InitStream(const MediaStreamProperties& properties) = 0;
	virtual Result<GetPixelHandlerStruct> GetPixelStream(const MediaStreamProperties& properties, const PixelFormat& dstFormat,
														 const ChannelOffsets& dstChannelOffsets, const ColorProfile& dstColorProfile,
														 GETPIXELHANDLERFLAGS flags) = 0;
	virtual Result<void> FinishStream(const MediaStreamProperties& properties) = 0;
};

namespace ids
{
inline constexpr Id CLASS_MEDIASTREAMBASE = "net.torvi.image.class.mediastreambase";
inline constexpr Id CLASS_MEDIASTREAMIMAGEBASE = "net.torvi.image.class.mediastreamimagebase";
inline constexpr Id CLASS_MEDIASTREAMIMAGEDATAIMPORT = "net.torvi.image.class.mediastreamimagedataimport";
inline constexpr Id CLASS_MEDIASTREAMIMAGEDATAEXPORT = "net.torvi.image.class.mediastreamimagedataexport";
inline constexpr Id CLASS_MEDIASTREAMFORMAT = "net.torvi.image.class.mediastreamformat";
inline constexpr Id CLASS_MEDIASTREAMPROPERTIES = "net.torvi.image.class.mediastreamproperties";
} // namespace ids

} // namespace torvi
