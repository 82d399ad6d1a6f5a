// EXIF data of pictures (Exif 2.3, CIPA DC-008): the reference to a parsed block, the service of the host that parses, and the stream that
// hands a block from an input to an output. A host without the service reads pictures as if they had no such data.
#pragma once

#include "torvi/mediasession_stream.h"

namespace torvi
{

/// A parsed EXIF block; tags are read with GetData, under MakeExifTag of their numbers.
class TORVI_EXPORT ExifInterface : public virtual DataDictionaryObjectInterface
{
public:
	/// All tags, under the same keys.
	virtual Result<DataDictionary> GetExifDictionary() const = 0;
};

using ExifRef = Ref<ExifInterface>;

/// Whose tags they are: the same number means another thing in another directory of the block.
enum class ExifDirectory
{
	PICTURE = 0, ///< of the picture and how it was taken: the first directory (0th IFD) and the Exif IFD
	THUMBNAIL = 1,
	GPS = 2,
	INTEROPERABILITY = 3
};

/// The key of a tag by its number in the block; for tags of the picture it is that number.
constexpr InternedId MakeExifTag(UInt64 tag, ExifDirectory directory = ExifDirectory::PICTURE) noexcept
{
	return InternedId::FromNumber(static_cast<UInt64>(directory) << 16 | tag);
}

/// The parser of EXIF blocks; the class ids::CLASS_EXIFSTATIC of the host. Any number of threads may use one.
class TORVI_EXPORT ExifStaticInterface : public virtual ObjectInterface
{
public:
	/// `data` is a TIFF structure, with or without "Exif" and two bytes before it. An error for data without one readable tag.
	virtual Result<ExifRef> OpenFromMemory(Block<const Byte> data) const = 0;
	/// The first EXIF block of a JPEG file. An error if there is none.
	virtual Result<ExifRef> OpenJpgFromUrl(const Url& url) const = 0;
};

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
inline constexpr Id CLASS_EXIFSTATIC = "net.torvi.image.interface.exifstatic";
inline constexpr Id CLASS_MEDIASTREAMEXIFDATA = "net.torvi.image.class.mediastreamexifdata";
} // namespace ids

/// How a picture is to be turned; UInt16 of 1 to 8.
inline constexpr InternedId EXIFTAG_ORIENTATION = MakeExifTag(274);

} // namespace torvi

TORVI_DATATYPE(torvi::ExifRef, "net.torvi.image.interface.exif")
