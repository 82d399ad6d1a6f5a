// A parsed block keeps its tags and nothing of the bytes.
#include "platform/exif/exif_static_impl.h"

#include "platform/exif/exif_dictionary.h"
#include "platform/exif/exif_jpeg.h"

namespace torvi
{

namespace
{

class ExifImpl final : public DataDictionaryObjectImpl, public ExifInterface
{
public:
	Result<DataDictionary> GetExifDictionary() const override
	{
		return NoThrow([&]() -> Result<DataDictionary> { return GetDictionary(); });
	}
};

} // namespace

Result<ExifRef> ExifStaticImpl::OpenFromMemory(Block<const Byte> data) const
{
	return NoThrow(
		[&]() -> Result<ExifRef>
		{
			const Ref<ExifImpl> exif = TORVI_TRY(NewObject<ExifImpl>());
			TORVI_TRY(ReadExifTags(data, *exif));
			return ExifRef(exif);
		});
}

Result<ExifRef> ExifStaticImpl::OpenJpgFromUrl(const Url& url) const
{
	return NoThrow([&]() -> Result<ExifRef> { return OpenFromMemory(TORVI_TRY(ReadExifOfJpeg(url))); });
}

} // namespace torvi
