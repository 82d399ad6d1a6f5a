// The errors of the media session.
#pragma once

#include "host/result.h"

namespace torvi
{

namespace errorids
{
/// The data is not of the kind that the converter takes.
inline constexpr Id MEDIASESSIONWRONGTYPE = "net.torvi.image.error.mediasessionwrongtype";
/// An input has nothing left to deliver.
inline constexpr Id MEDIASTREAMEOF = "net.torvi.image.error.mediastreameof";
/// The converter itself went wrong.
inline constexpr Id MEDIACONVERTER = "net.torvi.image.error.mediaconverter";
} // namespace errorids

TORVI_ERROR_MAKER(MediaSessionWrongTypeError, errorids::MEDIASESSIONWRONGTYPE)
TORVI_ERROR_MAKER(MediaStreamEOFError, errorids::MEDIASTREAMEOF)
TORVI_ERROR_MAKER(MediaConverterError, errorids::MEDIACONVERTER)

} // namespace torvi
