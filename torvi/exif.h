// EXIF data of pictures: the reference to a parsed block, and the stream that hands one from an input to an output.
#pragma once

#include "torvi/mediasession_stream.h"

namespace torvi
{

/// A parsed EXIF block; tags are read with GetData.
class TORVI_EXPORT ExifInterface : public virtual DataDictionaryObjectInterface
{
};

using ExifRef = Ref<ExifInterface>;

class MediaStreamExifDataInterface;
using MediaStreamExifDataRef = Ref<MediaStreamExifDataInterface>;

/// The EXIF data of a file.
class TORVI_EXPORT MediaStreamExifDataInterface : public virtual MediaStreamInterface
{
public:
	using ExifDelegate = Delegate<Result<void>(const MediaStreamExifDataRef& stream, const ExifRef& exif)>;

	/// The output's call; replaces an earlier one.
	virtual Result<void> SetCallbackHandler(const ExifDelegate& handler) = 0;
	/// The input's calls. NullptrError without a callback.
	virtual Result<void> HandleExifData(const ExifRef& exif) = 0;
	virtual Result<void> FinishStream() = 0;
};

namespace ids
{
inline constexpr Id CLASS_MEDIASTREAMEXIFDATA = "net.torvi.image.class.mediastreamexifdata";
} // namespace ids

} // namespace torvi

TORVI_DATATYPE(torvi::ExifRef, "net.torvi.image.interface.exif")
