// Streams.
#include "mediasession/media_stream_impl.h"

#include "host/module.h"
#include "mediasession/registration.h"
#include "torvi/ids_keys.h"

#include <algorithm>

namespace torvi
{

Array<Data> MediaStreamImpl::GetFormats() const
{
	Array<Data> formats;
	formats.reserve(_formats.size());
	for (const Entry& entry : _formats)
		formats.push_back(entry._id);
	return formats;
}

MediaStreamFormat MediaStreamImpl::GetFormat(const Data& id) const
{
	const auto found = std::ranges::find(_formats, id, &Entry::_id);
	return found != _formats.end() ? found->_format : MediaStreamFormat();
}

Result<void> MediaStreamImpl::SetSelectedFormat(const Data& id)
{
	const auto found = std::ranges::find(_formats, id, &Entry::_id);
	TORVI_CHECK(found != _formats.end(), IllegalArgumentError("The stream has no format of that id."));
	_selectedFormat = found->_id;
	return OK;
}

Result<void> MediaStreamImpl::AddFormat(const Data& id, const MediaStreamFormat& format)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const auto found = std::ranges::find(_formats, id, &Entry::_id);
			if (found != _formats.end())
			{
				found->_format = format;
				return OK;
			}
			_formats.push_back({id, format});
			if (_formats.size() == 1)
				_selectedFormat = id;
			return OK;
		});
}

Result<void> MediaStreamImpl::SubscribeStream(const Data& id)
{
	TORVI_TRY(SetSelectedFormat(id));
	_isSubscribed = true;
	return OK;
}

Result<void> MediaStreamImpl::UnsubscribeStream()
{
	_isSubscribed = false;
	return OK;
}

Result<void> MediaStreamImageBaseImpl::AddFormat(const Data& id, const MediaStreamFormat& format)
{
	TORVI_CHECK(format, NullptrError());
	TORVI_TRY(format->Get<UInt32>(ids::MEDIAFORMAT_TYPE));
	return MediaStreamImpl::AddFormat(id, format);
}

Result<SetPixelHandlerStruct> MediaStreamImageDataImportImpl::SetPixelStream(const MediaStreamProperties& properties,
																			 const ChannelOffsets& channelOffsets,
																			 SETPIXELHANDLERFLAGS flags)
{
	return CallPixel<SetPixelHandlerStruct>(properties, channelOffsets, flags);
}

Result<GetPixelHandlerStruct> MediaStreamImageDataExportImpl::GetPixelStream(const MediaStreamProperties& properties,
																			 const PixelFormat& dstFormat,
																			 const ChannelOffsets& dstChannelOffsets,
																			 const ColorProfile& dstColorProfile,
																			 GETPIXELHANDLERFLAGS flags)
{
	return CallPixel<GetPixelHandlerStruct>(properties, dstFormat, dstChannelOffsets, dstColorProfile, flags);
}

Result<void> MediaStreamExifDataImpl::SetCallbackHandler(const ExifDelegate& handler)
{
	_handler = handler;
	return OK;
}

Result<void> MediaStreamExifDataImpl::HandleExifData(const ExifRef& exif)
{
	const ExifDelegate handler = _handler;
	TORVI_CHECK(handler, NullptrError());
	return NoThrow([&]() { return handler(MediaStreamExifDataRef(this), exif); });
}

Result<void> RegisterMediaStreams(Module& module)
{
	TORVI_TRY(module.AddClass<MediaStreamImpl>(ids::CLASS_MEDIASTREAMBASE));
	TORVI_TRY(module.AddClass<MediaStreamImageBaseImpl>(ids::CLASS_MEDIASTREAMIMAGEBASE, ids::CLASS_MEDIASTREAMBASE));
	TORVI_TRY(module.AddClass<MediaStreamImageDataImportImpl>(ids::CLASS_MEDIASTREAMIMAGEDATAIMPORT, ids::CLASS_MEDIASTREAMIMAGEBASE));
	TORVI_TRY(module.AddClass<MediaStreamImageDataExportImpl>(ids::CLASS_MEDIASTREAMIMAGEDATAEXPORT, ids::CLASS_MEDIASTREAMIMAGEBASE));
	TORVI_TRY(module.AddClass<MediaStreamExifDataImpl>(ids::CLASS_MEDIASTREAMEXIFDATA, ids::CLASS_MEDIASTREAMBASE));
	return OK;
}

} // namespace torvi
