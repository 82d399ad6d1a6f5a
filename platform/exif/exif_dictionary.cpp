// The block gets the one head that the library knows, and each of its directories a range of keys.
#include "platform/exif/exif_dictionary.h"

#include "platform/exif/exif_library.h"
#include "platform/exif/exif_value.h"
#include "torvi/exif.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr std::string_view HEAD("Exif\0\0", 6);
constexpr std::string_view TIFF_HEADS[] = {{"II*\0", 4}, {"MM\0*", 4}};

Bool BeginsWith(Block<const Byte> data, std::string_view text) noexcept
{
	return data.size() >= text.size() && std::equal(text.begin(), text.end(), data.begin());
}

/// The library takes what has no TIFF head for a block without tags, and looks for a block inside of what has no EXIF head.
Result<Array<Byte>> MakeBlock(Block<const Byte> data)
{
	const Block<const Byte> tiff = HasExifHead(data) ? data.subspan(std::min(data.size(), HEAD.size())) : data;
	TORVI_CHECK(std::ranges::any_of(TIFF_HEADS, [&](std::string_view head) { return BeginsWith(tiff, head); }),
				FileFormatError("The EXIF data does not begin like a TIFF file."));
	const Block<const Byte> read = tiff.first(std::min(tiff.size(), static_cast<std::size_t>(LONGEST_EXIF_BLOCK) - HEAD.size()));
	Array<Byte> block(HEAD.begin(), HEAD.end());
	block.insert(block.end(), read.begin(), read.end());
	return block;
}

/// Adds the tags of a parsed block, directory by directory.
class TagReader
{
public:
	TagReader(ExifData& data, DataDictionaryObjectImpl& tags)
		: _data(data), _tags(tags),
		  _order(exif_data_get_byte_order(&data) == EXIF_BYTE_ORDER_INTEL ? ByteOrder::LITTLEENDIAN : ByteOrder::BIGENDIAN)
	{
	}

	Result<void> AddDirectory(ExifIfd ifd, ExifDirectory directory);
	Result<void> AddThumbnail();

private:
	Result<Data> MakeValue(const ExifEntry& entry, ExifIfd ifd) const;

	ExifData& _data;
	DataDictionaryObjectImpl& _tags;
	ByteOrder _order;
};

/// Empty for what has no place in the dictionary. Only the first directory says how the picture is turned, in any width of a whole number.
Result<Data> TagReader::MakeValue(const ExifEntry& entry, ExifIfd ifd) const
{
	if (entry.tag != EXIF_TAG_ORIENTATION || ifd == EXIF_IFD_1)
		return MakeExifValue(entry, _order);
	const std::optional<UInt16> orientation = GetFirstExifUInt16(entry, _order);
	return orientation && ifd == EXIF_IFD_0 ? Data::Make(*orientation) : Data();
}

Result<void> TagReader::AddDirectory(ExifIfd ifd, ExifDirectory directory)
{
	const ExifContent& content = *_data.ifd[ifd];
	for (const ExifEntry* const entry : Block<ExifEntry* const>(content.entries, content.count))
	{
		const InternedId key = MakeExifTag(static_cast<UInt64>(entry->tag), directory);
		Data value = TORVI_TRY(MakeValue(*entry, ifd));
		if (!value.IsEmpty() && _tags.GetDictionary().FindData(key) == nullptr)
			TORVI_TRY(_tags.SetData(key, std::move(value)));
	}
	return OK;
}

/// The file says where it lies; here its bytes stand in the place of their position.
Result<void> TagReader::AddThumbnail()
{
	if (_data.data == nullptr || _data.size == 0)
		return OK;
	return _tags.Set(MakeExifTag(EXIF_TAG_JPEG_INTERCHANGE_FORMAT, ExifDirectory::THUMBNAIL),
					 Array<Byte>(_data.data, _data.data + _data.size));
}

} // namespace

Bool HasExifHead(Block<const Byte> data) noexcept
{
	return data.size() > 4 && BeginsWith(data, HEAD.substr(0, 4));
}

Result<void> ReadExifTags(Block<const Byte> data, DataDictionaryObjectImpl& tags)
{
	const Array<Byte> block = TORVI_TRY(MakeBlock(data));
	ExifLibraryRun run;
	TagReader reader(*TORVI_TRY(run.Load(block)), tags);
	TORVI_TRY(reader.AddDirectory(EXIF_IFD_0, ExifDirectory::PICTURE));
	TORVI_TRY(reader.AddDirectory(EXIF_IFD_EXIF, ExifDirectory::PICTURE));
	TORVI_TRY(reader.AddDirectory(EXIF_IFD_GPS, ExifDirectory::GPS));
	TORVI_TRY(reader.AddDirectory(EXIF_IFD_INTEROPERABILITY, ExifDirectory::INTEROPERABILITY));
	TORVI_TRY(reader.AddDirectory(EXIF_IFD_1, ExifDirectory::THUMBNAIL));
	TORVI_TRY(reader.AddThumbnail());
	TORVI_CHECK(!tags.GetDictionary().IsEmpty(), FileFormatError("The EXIF data has no tag that can be read."));
	return OK;
}

} // namespace torvi
