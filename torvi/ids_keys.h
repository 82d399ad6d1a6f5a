// Keys of the dictionaries of streams, images and converters, with the type of each value. Values have exactly these types.
#pragma once

#include "host/id.h"

namespace torvi::ids
{

// Formats and properties of streams.
inline constexpr Id MEDIAFORMAT_TYPE = "net.torvi.mediaformat.type";                   ///< UInt32, MediaStreamType
inline constexpr Id MEDIAFORMAT_SUBIMAGEINDEX = "net.torvi.mediaformat.subimageindex"; ///< Int, from 0
inline constexpr Id MEDIAFORMAT_PIXELFORMAT = "net.torvi.mediaformat.pixelformat";     ///< PixelFormat, of the lines
inline constexpr Id MEDIAFORMAT_WIDTH = "net.torvi.mediaformat.width";                 ///< Int, pixels
inline constexpr Id MEDIAFORMAT_HEIGHT = "net.torvi.mediaformat.height";               ///< Int, pixels
inline constexpr Id MEDIAFORMAT_COLORPROFILE = "net.torvi.mediaformat.colorprofile";   ///< ColorProfile; the null profile means none
inline constexpr Id MEDIAFORMAT_STREAMNAME = "net.torvi.mediaformat.streamname";       ///< String, name of the picture or layer
inline constexpr Id MEDIAFORMAT_ALPHANAME = "net.torvi.mediaformat.alphaname";         ///< String, name of an alpha channel in the file
inline constexpr Id MEDIAFORMAT_ALPHATYPE = "net.torvi.mediaformat.alphatype";         ///< UInt32: 0 unknown, 1 premultiplied, 2 straight
inline constexpr Id MEDIAFORMAT_LAYERALPHA =
	"net.torvi.mediaformat.layeralpha";                            ///< Bool: the first alpha channel of the picture is its transparency
inline constexpr Id MEDIAFORMAT_DPI = "net.torvi.mediaformat.dpi"; ///< Float64, dots per inch; 0 or missing: unknown
inline constexpr Id MEDIAFORMAT_ASPECTRATIO = "net.torvi.mediaformat.aspectratio"; ///< Float64, pixel aspect; missing reads as 1.0
inline constexpr Id MEDIAFORMAT_HOTSPOTX = "net.torvi.mediaformat.hotspotx";       ///< Int
inline constexpr Id MEDIAFORMAT_HOTSPOTY = "net.torvi.mediaformat.hotspoty";       ///< Int
inline constexpr Id MEDIAFORMAT_EXPORTSETTINGS =
	"net.torvi.mediaformat.exportsettings"; ///< DataDictionary: the file's own saving options, in the keys of its exporter
inline constexpr Id MEDIAFORMAT_VIDEO_FPS =
	"net.torvi.mediaformat.video.fps"; ///< Float64, frames per second; 0 or missing: a still picture
inline constexpr Id MEDIAFORMAT_VIDEO_DURATION = "net.torvi.mediaformat.video.duration";                           ///< TimeValue
inline constexpr Id MEDIAFORMAT_VIDEO_STARTTIME = "net.torvi.mediaformat.video.starttime";                         ///< TimeValue
inline constexpr Id MEDIAFORMAT_LAYER_ENABLED = "net.torvi.mediaformat.layer.enabled";                             ///< Bool
inline constexpr Id MEDIAFORMAT_LAYER_BLENDMODE = "net.torvi.mediaformat.layer.blendmode";                         ///< ImagePixelBlend
inline constexpr Id MEDIAFORMAT_LAYER_OPACITY = "net.torvi.mediaformat.layer.opacity";                             ///< Float64, 0 to 1
inline constexpr Id MEDIAFORMAT_LAYER_FILLOPACITY = "net.torvi.mediaformat.layer.fillopacity";                     ///< Float64, 0 to 1
inline constexpr Id MEDIAFORMAT_LAYER_TRANSPARENCYPROTECTED = "net.torvi.mediaformat.layer.transparencyprotected"; ///< Bool
inline constexpr Id MEDIAFORMAT_LAYER_LAYERGROUP = "net.torvi.mediaformat.layer.layergroup";                       ///< Int
inline constexpr Id MEDIAFORMAT_LAYER_MASKDEFCOLOR =
	"net.torvi.mediaformat.layer.maskdefcolor"; ///< UChar: grey value outside the pixels of a layer or mask
inline constexpr Id MEDIAFORMAT_LAYER_BOUNDINGBOX_X = "net.torvi.mediaformat.layer.boundingbox_x"; ///< Int, left edge in the picture
inline constexpr Id MEDIAFORMAT_LAYER_BOUNDINGBOX_Y = "net.torvi.mediaformat.layer.boundingbox_y"; ///< Int, top edge
inline constexpr Id MEDIAFORMAT_LAYER_BOUNDINGBOX_W = "net.torvi.mediaformat.layer.boundingbox_w"; ///< Int
inline constexpr Id MEDIAFORMAT_LAYER_BOUNDINGBOX_H = "net.torvi.mediaformat.layer.boundingbox_h"; ///< Int
inline constexpr Id MEDIAFORMAT_LAYER_ISOPEN = "net.torvi.mediaformat.layer.isopen";               ///< Bool
inline constexpr Id MEDIAFORMAT_LAYER_PSD_FILTERID =
	"net.torvi.mediaformat.layer.psd_filterid";                                              ///< Int, four-letter code of a filter layer
inline constexpr Id MEDIAFORMAT_LAYER_PSD_DATA = "net.torvi.mediaformat.layer.psd_data";     ///< Array<Char>, raw data of a filter layer
inline constexpr Id MEDIAFORMAT_AUDIO_SAMPLERATE = "net.torvi.mediaformat.audio.samplerate"; ///< Int
inline constexpr Id MEDIAFORMAT_AUDIO_CHANNELCOUNT = "net.torvi.mediaformat.audio.channelcount";     ///< Int
inline constexpr Id MEDIAFORMAT_AUDIO_BITSPERCHANNEL = "net.torvi.mediaformat.audio.bitsperchannel"; ///< Int
inline constexpr Id MEDIAFORMAT_AUDIO_MARKERARRAY = "net.torvi.mediaformat.audio.markerarray"; ///< array of dictionaries of these keys:
inline constexpr Id MEDIAFORMAT_AUDIO_MARKER_IDENTIFIER = "net.torvi.mediaformat.audio.marker.identifier"; ///< the number in the file
inline constexpr Id MEDIAFORMAT_AUDIO_MARKER_LABEL = "net.torvi.mediaformat.audio.marker.label";           ///< String
inline constexpr Id MEDIAFORMAT_AUDIO_MARKER_NOTE = "net.torvi.mediaformat.audio.marker.note";             ///< String
inline constexpr Id MEDIAFORMAT_AUDIO_MARKER_POSITION = "net.torvi.mediaformat.audio.marker.position";     ///< Float64, seconds

// What an input sets in the properties before FinishStream.
inline constexpr Id MEDIAPROPERTY_SAMPLETIME = "net.torvi.mediaproperty.sampletime";         ///< TimeValue
inline constexpr Id MEDIAPROPERTY_SAMPLEDURATION = "net.torvi.mediaproperty.sampleduration"; ///< TimeValue
inline constexpr Id MEDIAPROPERTY_SKIPPEDFRAMES = "net.torvi.mediaproperty.skippedframes";   ///< Int

// Images.
inline constexpr Id IMAGE_TYPE = "net.torvi.image.type";                                               ///< Int32, ImageType
inline constexpr Id IMAGE_NAME = "net.torvi.image.name";                                               ///< String; empty means none
inline constexpr Id IMAGE_ALPHANAME = "net.torvi.image.alphaname";                                     ///< String
inline constexpr Id IMAGE_COLORPROFILE = "net.torvi.image.colorprofile";                               ///< ColorProfile
inline constexpr Id IMAGE_SUBIMAGEINDEX = "net.torvi.image.subimageindex";                             ///< Int
inline constexpr Id IMAGE_HOTSPOTX = "net.torvi.image.hotspotx";                                       ///< Int
inline constexpr Id IMAGE_HOTSPOTY = "net.torvi.image.hotspoty";                                       ///< Int
inline constexpr Id IMAGE_ASPECTRATIO = "net.torvi.image.aspectratio";                                 ///< Float64
inline constexpr Id IMAGE_DPI = "net.torvi.image.dpi";                                                 ///< Float64
inline constexpr Id IMAGE_LAYER_ENABLED = "net.torvi.image.layer.enabled";                             ///< Bool
inline constexpr Id IMAGE_LAYER_BLENDMODE = "net.torvi.image.layer.blendmode";                         ///< ImagePixelBlend
inline constexpr Id IMAGE_LAYER_OPACITY = "net.torvi.image.layer.opacity";                             ///< Float64, 0 to 1
inline constexpr Id IMAGE_LAYER_FILLOPACITY = "net.torvi.image.layer.fillopacity";                     ///< Float64, 0 to 1
inline constexpr Id IMAGE_LAYER_TRANSPARENCYPROTECTED = "net.torvi.image.layer.transparencyprotected"; ///< Bool
inline constexpr Id IMAGE_LAYER_LAYERGROUP = "net.torvi.image.layer.layergroup";                       ///< Int
inline constexpr Id IMAGE_LAYER_MASKDEFCOLOR =
	"net.torvi.image.layer.maskdefcolor"; ///< UChar: grey value outside the pixels of a layer or mask
inline constexpr Id IMAGE_LAYER_BOUNDINGBOX_X = "net.torvi.image.layer.boundingbox_x"; ///< Int, left edge in the picture
inline constexpr Id IMAGE_LAYER_BOUNDINGBOX_Y = "net.torvi.image.layer.boundingbox_y"; ///< Int, top edge
inline constexpr Id IMAGE_LAYER_BOUNDINGBOX_W = "net.torvi.image.layer.boundingbox_w"; ///< Int
inline constexpr Id IMAGE_LAYER_BOUNDINGBOX_H = "net.torvi.image.layer.boundingbox_h"; ///< Int
inline constexpr Id IMAGE_LAYER_ISOPEN = "net.torvi.image.layer.isopen";               ///< Bool
inline constexpr Id IMAGE_LAYER_PSD_FILTERID = "net.torvi.image.layer.psd_filterid";   ///< Int, four-letter code of a filter layer
inline constexpr Id IMAGE_LAYER_PSD_DATA = "net.torvi.image.layer.psd_data";           ///< Array<Char>, raw data of a filter layer

// Textures; a picture keeps the saving options of its own file too.
inline constexpr Id IMAGE_EXPORTSETTINGS = "net.torvi.image.exportsettings"; ///< DataDictionary: what a save uses, in an exporter's keys

// Textures alone.
inline constexpr Id IMAGE_FILEFORMAT = "net.torvi.image.fileformat"; ///< FileFormatRef of the handler that loaded it
inline constexpr Id IMAGE_FPS = "net.torvi.image.fps";               ///< Float64
inline constexpr Id IMAGE_DURATION = "net.torvi.image.duration";     ///< TimeValue
inline constexpr Id IMAGE_SAMPLETIME = "net.torvi.image.sampletime"; ///< TimeValue of the last delivered sample
inline constexpr Id IMAGE_EXIFDATA = "net.torvi.image.exifdata";     ///< ExifRef
inline constexpr Id IMAGE_AUDIODATA = "net.torvi.image.audiodata";   ///< AudioObjectRef

// What converters answer.
inline constexpr Id MEDIAINPUT_SUPPORTS_IMAGE = "net.torvi.media.input.supports_image";                   ///< Bool
inline constexpr Id MEDIAINPUT_SUPPORTS_VIDEO = "net.torvi.media.input.supports_video";                   ///< Bool
inline constexpr Id MEDIAINPUT_SUPPORTS_AUDIO = "net.torvi.media.input.supports_audio";                   ///< Bool
inline constexpr Id MEDIAOUTPUT_SUPPORTS_IMAGE = "net.torvi.media.output.supports_image";                 ///< Bool
inline constexpr Id MEDIAOUTPUT_SUPPORTS_VIDEO = "net.torvi.media.output.supports_video";                 ///< Bool
inline constexpr Id MEDIAOUTPUT_SUPPORTS_AUDIO = "net.torvi.media.output.supports_audio";                 ///< Bool
inline constexpr Id MEDIAOUTPUT_SUPPORTS_SYSTEMOPTIONS = "net.torvi.media.output.supports_systemoptions"; ///< Bool
inline constexpr Id MEDIAOUTPUT_EMBED_COLORPROFILE = "net.torvi.media.output.embed_colorprofile";         ///< Bool
inline constexpr Id MEDIAOUTPUT_MAXIMALIMAGERESOLUTION =
	"net.torvi.media.output.maximalimageresolution"; ///< Int, largest width and height in pixels
inline constexpr Id MEDIAOUTPUT_MAXIMALLAYERRESOLUTION = "net.torvi.media.output.maximallayerresolution"; ///< Int; 0 without layers
inline constexpr Id MEDIAOUTPUT_MAXIMALALPHACHANNELS = "net.torvi.media.output.maximalalphachannels";     ///< Int
inline constexpr Id MEDIAOUTPUT_BITDEPTHSIMAGE = "net.torvi.media.output.bitdepthsimage";                 ///< Array<DataType>
inline constexpr Id MEDIAOUTPUT_BITDEPTHSLAYER = "net.torvi.media.output.bitdepthslayer"; ///< Array<DataType>; empty without layers

// Export settings, and the descriptions that hold their defaults.
inline constexpr Id EXPORT_DESCRIPTION = "net.torvi.mediasession.export";
inline constexpr Id EXPORT_QUALITY = "net.torvi.mediasession.export.quality";       ///< Float64
inline constexpr Id EXPORT_KEYFRAMES = "net.torvi.mediasession.export.keyframes";   ///< Int32
inline constexpr Id EXPORT_DATARATE = "net.torvi.mediasession.export.datarate";     ///< BytesValue
inline constexpr Id EXPORT_CUSTOMDATA = "net.torvi.mediasession.export.customdata"; ///< array: a compressor's own state
inline constexpr Id EXPORT_DISABLESRGBCONVERSION = "net.torvi.mediasession.export.disablesrgbconversion"; ///< Bool
inline constexpr Id BMPEXPORT_BITMAPINFOHEADER = "net.torvi.mediasession.bmp.export.bitmapinfoheader";    ///< Id: "V3", "V4", "V5"
inline constexpr Id PNGEXPORT_INTERLACED = "net.torvi.mediasession.png.export.interlaced";                ///< Bool
inline constexpr Id JPGEXPORT_BASELINE = "net.torvi.mediasession.jpg.export.baseline"; ///< Bool: quantisation tables of 8 bits

} // namespace torvi::ids
