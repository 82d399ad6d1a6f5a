// Reading and writing of OCIO blobs.
#include "color/ocio_blob.h"

#include "host/binaryreader.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr std::string_view MAGIC = "ocio_profile";
constexpr UInt32 VERSION = 1;
constexpr UInt32 MAXIMUM_VERSION = 65535;
constexpr UChar UTF16_CHARACTER_SIZE = 2;

/// Short data is damage of the blob here, whatever the reader calls it.
template <class T>
Result<T> OrCorrupt(Result<T> field)
{
	TORVI_CHECK(field.IsOk(), IllegalStateError("OCIO data corrupt"));
	return field;
}

/// A text behind its length, up to its first zero byte.
Result<String> ReadName(ByteReader& reader)
{
	const UInt32 length = TORVI_TRY(OrCorrupt(reader.ReadUInt32()));
	const Block<const Byte> bytes = TORVI_TRY(OrCorrupt(reader.Take(length)));
	return String(bytes.begin(), std::ranges::find(bytes, Byte(0)));
}

Result<String> ReadPath(ByteReader& reader)
{
	const UInt32 length = TORVI_TRY(OrCorrupt(reader.ReadUInt32()));
	const UChar characterSize = TORVI_TRY(OrCorrupt(reader.ReadUChar()));
	const Block<const Byte> bytes = TORVI_TRY(OrCorrupt(reader.Take(length)));
	return characterSize == UTF16_CHARACTER_SIZE ? FromUtf16Bytes(bytes) : String();
}

void AppendUInt32(Array<Byte>& bytes, UInt32 value)
{
	for (int shift = 0; shift < 32; shift += 8)
		bytes.push_back(static_cast<Byte>(value >> shift & 0xFF));
}

void AppendName(Array<Byte>& bytes, const String& name)
{
	AppendUInt32(bytes, static_cast<UInt32>(name.size()));
	bytes.insert(bytes.end(), name.begin(), name.end());
}

} // namespace

Bool HasOcioMagic(Block<const Byte> bytes) noexcept
{
	return bytes.size() >= MAGIC.size() &&
		   std::ranges::equal(bytes.first(MAGIC.size()), MAGIC, {}, {}, [](char c) { return static_cast<Byte>(c); });
}

Result<OcioBlob> ReadOcioBlob(Block<const Byte> bytes)
{
	ByteReader reader(bytes);
	TORVI_TRY(OrCorrupt(reader.Take(CountOf(MAGIC))));
	const UInt32 version = TORVI_TRY(OrCorrupt(reader.ReadUInt32()));
	TORVI_CHECK(version >= 1 && version <= MAXIMUM_VERSION,
				IllegalStateError("OCIO data version is out of range: @ (allowed 1 to @)", version, MAXIMUM_VERSION));
	OcioBlob blob;
	blob._path = TORVI_TRY(ReadPath(reader));
	blob._name = TORVI_TRY(ReadName(reader));
	blob._secondName = TORVI_TRY(ReadName(reader));
	return blob;
}

Array<Byte> WriteOcioBlob(const OcioBlob& blob)
{
	const Array<Byte> path = ToUtf16Bytes(blob._path);
	Array<Byte> bytes(MAGIC.begin(), MAGIC.end());
	AppendUInt32(bytes, VERSION);
	AppendUInt32(bytes, static_cast<UInt32>(path.size()));
	bytes.push_back(UTF16_CHARACTER_SIZE);
	bytes.insert(bytes.end(), path.begin(), path.end());
	AppendName(bytes, blob._name);
	AppendName(bytes, blob._secondName);
	return bytes;
}

} // namespace torvi
