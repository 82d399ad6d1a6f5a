// The common part of all file exporters.
#include "mediasession/mediasession_urloutput.h"

#include "host/description.h"
#include "host/module.h"
#include "mediasession/registration.h"

namespace torvi
{

Result<void> MediaOutputUrlImpl::SetOutputUrl(const Url& url)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			_url = url;
			return OK;
		});
}

Result<FileFormatRef> MediaOutputUrlImpl::GetFileFormat() const
{
	return FunctionNotImplementedError();
}

Result<Bool> MediaOutputUrlImpl::EditSystemOptions(DataDictionary&, const EditDelegate&)
{
	return FunctionNotImplementedError();
}

Result<DrawDimensionInt> MediaOutputUrlImpl::CheckBitmapSize(const DataDictionary&, const DrawDimensionInt& size) const
{
	return size;
}

Result<void> MediaOutputUrlImpl::CheckResolution(Int width, Int height) const
{
	if (width != 0 && height != 0)
	{
		const Int limit = TORVI_TRY(Get<Int>(ids::MEDIAOUTPUT_MAXIMALIMAGERESOLUTION));
		TORVI_CHECK(width <= limit && height <= limit, IllegalArgumentError("Maximum resolution exceeded."));
	}
	TORVI_CHECK(width > 0 && height > 0, IllegalArgumentError("resolution must not be 0."));
	return OK;
}

Result<Data> FindExportSetting(const DataDictionary& settings, const Id& description, const Id& key)
{
	if (const Data* value = settings.FindData(key))
		return *value;
	const DataDictionary* entry = TORVI_TRY(DataDescriptionDatabase::LoadDescription(description))->GetEntry(key);
	TORVI_CHECK(entry != nullptr, KeyNotFoundError("The description @ has no entry @.", description, key));
	return entry->GetData(ids::DESCRIPTION_DEFAULTVALUE);
}

Result<void> RegisterMediaOutputUrl(Module& module)
{
	TORVI_TRY(module.AddClass<MediaOutputUrlImpl>(ids::CLASS_MEDIAOUTPUTURLBASE, ids::CLASS_MEDIAOUTPUTBASE));
	return OK;
}

} // namespace torvi
