// The implementations of streams, which formats derive their own stream classes from: the table of formats, the subscription, and the
// callbacks of pictures and EXIF data. A callback is called as a copy, so that it may replace itself.
#pragma once

#include "torvi/exif.h"
#include "torvi/mediasession_stream.h"

namespace torvi
{

class TORVI_EXPORT MediaStreamImpl : public DataDictionaryObjectImpl, public HierarchyObjectImpl, public virtual MediaStreamInterface
{
public:
	Array<Data> GetFormats() const override;
	MediaStreamFormat GetFormat(const Data& id) const override;
	const Data& GetSelectedFormat() const override { return _selectedFormat; }
	Result<void> SetSelectedFormat(const Data& id) override;
	Result<void> AddFormat(const Data& id, const MediaStreamFormat& format) override;
	Result<void> SubscribeStream(const Data& id) override;
	Result<void> UnsubscribeStream() override;
	Bool IsSubscribed() const override { return _isSubscribed; }

private:
	struct Entry
	{
		Data _id;
		MediaStreamFormat _format;
	};

	Data _selectedFormat;
	Array<Entry> _formats; ///< a handful, in order of adding
	Bool _isSubscribed = false;
};

class TORVI_EXPORT MediaStreamImageBaseImpl : public MediaStreamImpl, public virtual MediaStreamImageBaseInterface
{
public:
	Result<void> AddFormat(const Data& id, const MediaStreamFormat& format) override;
};

/// What pictures that are pushed and pictures that are pulled have in common.
template <class Interface>
class MediaStreamImageDataImpl : public MediaStreamImageBaseImpl, public virtual Interface
{
public:
	using SampleDelegate = typename Interface::SampleDelegate;
	using PixelDelegate = typename Interface::PixelDelegate;

	Result<void> SetCallbackHandler(const SampleDelegate& init, const PixelDelegate& pixel, const SampleDelegate& finish) override
	{
		_init = init;
		_pixel = pixel;
		_finish = finish;
		return OK;
	}
	Result<void> InitStream(const MediaStreamProperties& properties) override { return CallSample(_init, properties); }
	Result<void> FinishStream(const MediaStreamProperties& properties) override { return CallSample(_finish, properties); }

protected:
	/// The record of the pixel callback; an empty one without a callback.
	template <class Record, class... Arguments>
	Result<Record> CallPixel(const MediaStreamProperties& properties, const Arguments&... arguments)
	{
		return NoThrow(
			[&]() -> Result<Record>
			{
				const PixelDelegate pixel = _pixel;
				return pixel ? pixel(Ref<Interface>(this), properties, arguments...) : Result<Record>(Record());
			});
	}

private:
	Result<void> CallSample(SampleDelegate handler, const MediaStreamProperties& properties)
	{
		return NoThrow([&]() -> Result<void> { return handler ? handler(Ref<Interface>(this), properties) : Result<void>(OK); });
	}

	SampleDelegate _init;
	PixelDelegate _pixel;
	SampleDelegate _finish;
};

class TORVI_EXPORT MediaStreamImageDataImportImpl : public MediaStreamImageDataImpl<MediaStreamImageDataImportInterface>
{
public:
	Result<SetPixelHandlerStruct> SetPixelStream(const MediaStreamProperties& properties, const ChannelOffsets& channelOffsets,
												 SETPIXELHANDLERFLAGS flags) override;
};

class TORVI_EXPORT MediaStreamImageDataExportImpl : public MediaStreamImageDataImpl<MediaStreamImageDataExportInterface>
{
public:
	Result<GetPixelHandlerStruct> GetPixelStream(const MediaStreamProperties& properties, const PixelFormat& dstFormat,
												 const ChannelOffsets& dstChannelOffsets, const ColorProfile& dstColorProfile,
												 GETPIXELHANDLERFLAGS flags) override;
};

class TORVI_EXPORT MediaStreamExifDataImpl : public MediaStreamImpl, public virtual MediaStreamExifDataInterface
{
public:
	Result<void> SetCallbackHandler(const ExifDelegate& handler) override;
	Result<void> HandleExifData(const ExifRef& exif) override;
	Result<void> FinishStream() override { return OK; }

private:
	ExifDelegate _handler;
};

} // namespace torvi
