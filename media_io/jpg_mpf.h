// Files of several JPEG pictures (multi-picture format, CIPA DC-007): the first picture has a segment that says where the others begin.
#pragma once

#include "host/binaryreader.h"

namespace torvi
{

/// From the start of the segment's data to the byte order mark, which the offsets count from.
inline constexpr Int MULTIPICTURE_MARK_OFFSET = 4;

/// Whether the data of an application segment 2 is that of a multi-picture file.
Bool IsMultiPictureData(Block<const Byte> data);

/// The offsets of all pictures from the byte order mark, in their order; 0 stands for the start of the file. Empty where the segment names
/// none. IllegalStateError for entries of the wrong type or count, and for fields that pass the end.
Result<Array<Int>> ReadMultiPictureOffsets(Block<const Byte> data);

/// The positions of all pictures of a file; only 0 if it names none. Walks over the segments in front of the first picture's data; the
/// reader must be able to seek and stands anywhere afterwards. MediaSessionWrongTypeError "ReadApp2Marker failed." for a damaged segment.
Result<Array<Int>> FindMultiPictures(BinaryReader& reader);

} // namespace torvi
