// The common part of all file exporters: the target, the answers of a format without options, the reading of an export setting with its
// default, and the check of a picture's size.
#pragma once

#include "mediasession/media_converter_impl.h"

namespace torvi
{

class TORVI_EXPORT MediaOutputUrlImpl : public MediaOutputImpl, public virtual MediaOutputUrlInterface
{
public:
	Bool SupportExportStrategy() const override { return true; }
	Url GetOutputUrl() const override { return _url; }
	Result<void> SetOutputUrl(const Url& url) override;
	/// FunctionNotImplementedError: each exporter gives its own.
	Result<FileFormatRef> GetFileFormat() const override;
	/// FunctionNotImplementedError.
	Result<Bool> EditSystemOptions(DataDictionary& settings, const EditDelegate& changed) override;
	/// The size unchanged.
	Result<DrawDimensionInt> CheckBitmapSize(const DataDictionary& settings, const DrawDimensionInt& size) const override;

protected:
	/// IllegalArgumentError "Maximum resolution exceeded." for a side above this exporter's ids::MEDIAOUTPUT_MAXIMALIMAGERESOLUTION, else
	/// "resolution must not be 0." for a side of 0 or less. Called before the target is opened.
	Result<void> CheckResolution(Int width, Int height) const;

private:
	Url _url;
};

/// The value of an export setting: from the settings if the key stands there, else the default of the key's entry in the description.
/// Key-not-found error if neither has it.
TORVI_EXPORT Result<Data> FindExportSetting(const DataDictionary& settings, const Id& description, const Id& key);

/// The same as a T; `fallback` if there is none or if it does not convert. The out-of-memory error is the only one.
template <class T>
Result<T> GetExportSetting(const DataDictionary& settings, const Id& description, const Id& key, T fallback)
{
	Result<Data> found = FindExportSetting(settings, description, key);
	Result<T> value = found.IsOk() ? found.GetValue().ConvertTo<T>() : Result<T>(found.TakeError());
	TORVI_CHECK(value.IsOk() || value.GetError().GetId() != errorids::OUTOFMEMORY, value.TakeError());
	return value.IsOk() ? std::move(value) : Result<T>(std::move(fallback));
}

} // namespace torvi
