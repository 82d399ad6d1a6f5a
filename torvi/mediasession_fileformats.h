// The file formats of the media session: handlers that make importers, and the ids of all formats, handlers, importers and exporters.
#pragma once

#include "host/fileformat.h"
#include "torvi/mediasession_session.h"

namespace torvi
{

/// A handler whose CreateHandler gives a MediaInputRef.
class TORVI_EXPORT MediaSessionFileFormatHandlerInterface : public virtual FileFormatHandlerInterface
{
};

namespace ids
{
inline constexpr Id CLASS_FILEFORMATIMAGEBASE = "net.torvi.image.class.fileformatimagebase";
/// Exporter classes.
inline constexpr Id REGISTRY_IMAGESAVERCLASSES = "net.torvi.image.registry.imagesaverclasses";

inline constexpr Id FILEFORMAT_BMP = "net.torvi.fileformat.imagebmp";
inline constexpr Id FILEFORMATHANDLER_BMP = "net.torvi.fileformathandler.imageloaderbmp";
inline constexpr Id CLASS_BMPIMPORT = "net.torvi.mediasession.bmp.import";
inline constexpr Id CLASS_BMPEXPORT = "net.torvi.mediasession.bmp.export";

inline constexpr Id FILEFORMAT_PNG = "net.torvi.fileformat.imagepng";
inline constexpr Id FILEFORMATHANDLER_PNG = "net.torvi.fileformathandler.imageloaderpng";
inline constexpr Id CLASS_PNGIMPORT = "net.torvi.mediasession.png.import";
inline constexpr Id CLASS_PNGEXPORT = "net.torvi.mediasession.png.export";
/// The streams of PNG importers; they behave as all streams of pictures do.
inline constexpr Id CLASS_MEDIASTREAMIMAGEDATAIMPORTPNG = "net.torvi.image.class.mediastreamimagedataimportpng";
inline constexpr Id MODULEINFO_LIBPNG = "net.torvi.moduleinfo.libpng";

inline constexpr Id FILEFORMAT_JPG = "net.torvi.fileformat.imagejpg";
inline constexpr Id FILEFORMATHANDLER_JPG = "net.torvi.fileformathandler.imageloaderjpg";
inline constexpr Id CLASS_JPGIMPORT = "net.torvi.mediasession.jpg.import";
inline constexpr Id CLASS_JPGEXPORT = "net.torvi.mediasession.jpg.export";
/// The streams of JPEG importers; they behave as all streams of pictures and of EXIF data do.
inline constexpr Id CLASS_MEDIASTREAMIMAGELAYERJPGIMPORT = "net.torvi.image.class.mediastreamimagelayerjpgimport";
inline constexpr Id CLASS_MEDIASTREAMEXIFDATAJPG = "net.torvi.image.class.mediastreamexifdatajpg";
inline constexpr Id MODULEINFO_JPEGLIB = "net.torvi.moduleinfo.jpeglib";
inline constexpr Id FILEFORMAT_PSD = "net.torvi.fileformat.imagepsd";
inline constexpr Id FILEFORMATHANDLER_PSD = "net.torvi.fileformathandler.imageloaderpsd";
inline constexpr Id CLASS_PSDIMPORT = "net.torvi.mediasession.psd.import";
inline constexpr Id FILEFORMAT_PSB = "net.torvi.fileformat.imagepsb";
inline constexpr Id FILEFORMATHANDLER_PSB = "net.torvi.fileformathandler.imageloaderpsb";
inline constexpr Id CLASS_PSBIMPORT = "net.torvi.mediasession.psb.import";
/// The streams of both: pictures, alpha channels, layers and masks, and folders.
inline constexpr Id CLASS_MEDIASTREAMIMAGEDATAPSDIMPORT = "net.torvi.image.class.mediastreamimagedatapsdimport";
inline constexpr Id CLASS_MEDIASTREAMIMAGELAYERFOLDERPSD = "net.torvi.image.class.mediastreamimagelayerfolderpsd";
} // namespace ids

} // namespace torvi

TORVI_DATATYPE(torvi::FileFormatRef, "net.torvi.interface.fileformat")
