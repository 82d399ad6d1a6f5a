// The import routine: finds the importer that reads a file and runs it into an output.
#include "host/crashreport.h"
#include "host/fileformat.h"
#include "mediasession/mediasession_retry.h"
#include "torvi/mediasession_session.h"

namespace torvi
{

namespace
{

/// Keeps a delegate that is too large for the closure of an observer.
class ProgressHook final : public ObjectInterface
{
public:
	explicit ProgressHook(const MediaProgressDelegate& delegate) : _delegate(delegate) {}
	Result<void> Call(const ProgressRef& progress) const { return _delegate(progress); }

private:
	MediaProgressDelegate _delegate;
};

Result<void> HookProgress(const ProgressRef& progress, const MediaProgressDelegate& delegate)
{
	TORVI_TRY(progress->InitProgress(0.25, 0.1));
	const Ref<ProgressHook> hook = TORVI_TRY(NewObject<ProgressHook>(delegate));
	TORVI_TRY(TORVI_TRY(progress->ObservableProgressNotification())
				  ->AddObserver([hook](const ProgressRef& sender) { return hook->Call(sender); }));
	return OK;
}

/// One search for an importer.
struct ImportSearch
{
	Result<Bool> Try(const FileFormatHandlerRef& handler);
	Result<MediaSessionRef> RunHandler(const FileFormatHandlerRef& handler) const;
	Result<Array<FileFormatHandlerRef>> FindHandlers();
	Error MakeNotSupportedError();

	const Url& _url;
	const TimeValue& _targetTime;
	MEDIASESSIONFLAGS _flags;
	const MediaOutputRef& _output;
	const MediaSelectionHandler& _selectionHandler;
	const MediaProgressDelegate& _progress;
	const FileFormatHandlerRef& _preferredHandler;
	FileFormatHandlerRef _skippedHandler; ///< the preferred one, once it has refused
	MediaSessionRef _session;             ///< of the handler that was accepted
	Error _lastError;                     ///< of the handler that refused last
};

Result<MediaSessionRef> ImportSearch::RunHandler(const FileFormatHandlerRef& handler) const
{
	const MediaInputRef input = Cast<MediaInputInterface>(TORVI_TRY(handler->CreateHandler(_url)));
	TORVI_CHECK(input, NullptrError());
	TORVI_TRY(_output->ResetConverter());
	TORVI_TRY(_output->SetSelectionHandler(_selectionHandler));
	MediaSessionRef session = TORVI_TRY(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
	TORVI_TRY(session->ConnectMediaConverter(input, _output));
	if (_progress)
		TORVI_TRY(HookProgress(session->GetProgress(), _progress));
	TORVI_TRY(session->Convert(_targetTime, _flags));
	return session;
}

/// Whether the handler takes the file. One whose importer says that it is of another kind is passed over, without a trace in the output.
Result<Bool> ImportSearch::Try(const FileFormatHandlerRef& handler)
{
	if (_skippedHandler && handler == _skippedHandler)
		return false;
	Result<MediaSessionRef> session = RunHandler(handler);
	if (session.IsOk())
	{
		_session = session.TakeValue();
		return true;
	}
	if (session.GetError().GetId() != errorids::MEDIASESSIONWRONGTYPE)
		return session.TakeError();
	_lastError = session.TakeError();
	if (const auto retry = Cast<MediaOutputRetryInterface>(_output))
		TORVI_TRY(retry->DiscardOutput());
	return false;
}

Result<Array<FileFormatHandlerRef>> ImportSearch::FindHandlers()
{
	if (_preferredHandler)
	{
		if (TORVI_TRY(Try(_preferredHandler)))
			return Array<FileFormatHandlerRef>{_preferredHandler};
		_skippedHandler = _preferredHandler;
	}
	const DataType types[] = {GetDataType<MediaInputRef>()};
	return FileFormatDetection::DetectAll(_url, types, 0, [this](const FileFormatHandlerRef& handler) { return Try(handler); });
}

Error ImportSearch::MakeNotSupportedError()
{
	Error error = IllegalArgumentError("Image @ is not of a supported type.", _url);
	if (_lastError)
		error.SetCause(std::move(_lastError));
	return error;
}

void ReportImport(const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	CrashReportServices::SetProperty("MediaSessionImport", url.ToString());
	CrashReportServices::SetProperty("MediaSessionImportTime", targetTime.ToString());
	CrashReportServices::SetProperty("MediaSessionImportFlags", NumberToString(static_cast<UInt64>(flags)));
}

} // namespace

Result<MediaSessionRef> MediaSessionImport(const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags,
										   const MediaOutputRef& output, const MediaSelectionHandler& selectionHandler,
										   const MediaProgressDelegate& progress, const FileFormatHandlerRef& preferredHandler,
										   const MediaFoundDelegate& found)
{
	return NoThrow(
		[&]() -> Result<MediaSessionRef>
		{
			TORVI_CHECK(output, IllegalArgumentError("An import needs an output."));
			ReportImport(url, targetTime, flags);
			ImportSearch run{url, targetTime, flags, output, selectionHandler, progress, preferredHandler, {}, {}, {}};
			const Array<FileFormatHandlerRef> handlers = TORVI_TRY(run.FindHandlers());
			if (handlers.empty() || !run._session)
				return run.MakeNotSupportedError();
			for (const FileFormatHandlerRef& handler : handlers)
			{
				if (found)
					TORVI_TRY(found(handler));
			}
			return run._session;
		});
}

} // namespace torvi
