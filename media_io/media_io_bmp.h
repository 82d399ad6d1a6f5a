// What reader and writer of BMP files share: the row that registers the format, the numbers of the headers, and the names of their
// generations.
#pragma once

#include "mediasession/image_format.h"

namespace torvi
{

inline constexpr UInt16 BMP_MAGIC = 0x4D42; // "BM"
inline constexpr Int BMP_FILEHEADER_SIZE = 14;
inline constexpr UInt32 BMP_COREHEADER_SIZE = 12;
inline constexpr UInt32 BMP_V3HEADER_SIZE = 40;
inline constexpr UInt32 BMP_MASKHEADER_SIZE = 56;
inline constexpr UInt32 BMP_V4HEADER_SIZE = 108;
inline constexpr UInt32 BMP_V5HEADER_SIZE = 124;

inline constexpr UInt32 BMP_COMPRESSION_NONE = 0;
inline constexpr UInt32 BMP_COMPRESSION_RLE8 = 1;
inline constexpr UInt32 BMP_COMPRESSION_RLE4 = 2;
inline constexpr UInt32 BMP_COMPRESSION_MASKS = 3;

inline constexpr UInt32 BMP_COLORSPACE_SRGB = 0x73524742;
inline constexpr UInt32 BMP_COLORSPACE_EMBEDDED = 0x4D424544;
inline constexpr UInt32 BMP_INTENT_IMAGES = 4;

/// The values of ids::BMPEXPORT_BITMAPINFOHEADER.
inline constexpr Id BMP_GENERATION_V3 = "V3";
inline constexpr Id BMP_GENERATION_V4 = "V4";
inline constexpr Id BMP_GENERATION_V5 = "V5";

Result<Bool> DetectBmp(const InputStreamRef& stream);
Result<ObjectRef> CreateBmpImporter();
Result<ObjectRef> CreateBmpExporter();

inline constexpr std::string_view BMP_SUFFIXES[] = {"bmp"};

inline constexpr ImageFormatEntry BMP_FORMAT = {
	._fileFormat = ids::FILEFORMAT_BMP,
	._suffixes = BMP_SUFFIXES,
	._detect = &DetectBmp,
	._handler = ids::FILEFORMATHANDLER_BMP,
	._importer = ids::CLASS_BMPIMPORT,
	._createImporter = &CreateBmpImporter,
	._exporter = ids::CLASS_BMPEXPORT,
	._createExporter = &CreateBmpExporter,
};

} // namespace torvi
