// What a stream holds, and the copy of it that belongs to one sample.
#include "host/module.h"
#include "mediasession/registration.h"
#include "torvi/mediasession_stream.h"

namespace torvi
{

namespace
{

class MediaStreamFormatImpl : public DataDictionaryObjectImpl, public virtual MediaStreamFormatInterface
{
};

class MediaStreamPropertiesImpl final : public MediaStreamFormatImpl, public virtual MediaStreamPropertiesInterface
{
public:
	Result<void> Init(const MediaStreamFormat& format) override;
	Result<void> Init(const MediaStreamRef& stream) override;
};

Result<void> MediaStreamPropertiesImpl::Init(const MediaStreamFormat& format)
{
	TORVI_CHECK(format, NullptrError());
	for (const DataDictionary::Entry& entry : format->InitIterator())
		TORVI_TRY(SetData(entry._key, entry._value));
	return OK;
}

Result<void> MediaStreamPropertiesImpl::Init(const MediaStreamRef& stream)
{
	TORVI_CHECK(stream, NullptrError());
	return Init(stream->GetFormat(stream->GetSelectedFormat()));
}

} // namespace

Result<void> RegisterMediaStreamFormats(Module& module)
{
	TORVI_TRY(module.AddClass<MediaStreamFormatImpl>(ids::CLASS_MEDIASTREAMFORMAT));
	TORVI_TRY(module.AddClass<MediaStreamPropertiesImpl>(ids::CLASS_MEDIASTREAMPROPERTIES, ids::CLASS_MEDIASTREAMFORMAT));
	return OK;
}

} // namespace torvi
