// The implementations that inputs and outputs derive from: the weak link to a session, the published streams, the answers of a converter
// that has no others, and the selection handler of an output. Stages have no implementation here.
#pragma once

#include "torvi/ids_keys.h"
#include "torvi/mediasession_session.h"

namespace torvi
{

class TORVI_EXPORT MediaBaseImpl : public DataDictionaryObjectImpl, public virtual MediaBaseInterface
{
public:
	Result<void> ConnectToSession(const MediaSessionRef& session) override;
	MediaSessionRef GetSession() const override { return _session.Lock(); }

private:
	WeakRef<MediaSessionInterface> _session;
};

class TORVI_EXPORT MediaConverterImpl : public MediaBaseImpl, public virtual MediaConverterInterface
{
public:
	/// False for the keys of what inputs and outputs support; classes answer those that they do support before they call this.
	Result<Data> GetData(const InternedId& key) const override;
	Bool SupportImportStrategy() const override { return false; }
	Bool SupportExportStrategy() const override { return false; }
	/// IllegalStateError outside a session.
	Result<Array<MediaConverterRef>> GetInputConverter() const override;
	/// NullptrError for a null stream.
	Result<void> AddOutputStream(const MediaStreamRef& stream) override;
	/// Does nothing: streams stay until the converter publishes anew.
	Result<void> RemoveOutputStream(const MediaStreamRef&) override { return OK; }
	Result<Array<MediaStreamRef>> GetOutputStreams(Bool recursive) const override;
	/// FunctionNotImplementedError, as all stages of the base.
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Close(Block<const MediaConverterRef> inputs) override;

protected:
	/// What a converter that analyses again calls before it publishes its streams.
	void ClearOutputStreams() noexcept { _streams.clear(); }

private:
	Array<MediaStreamRef> _streams;
};

class TORVI_EXPORT MediaOutputImpl : public MediaConverterImpl, public virtual MediaOutputInterface
{
public:
	/// FunctionNotImplementedError.
	Result<void> ResetConverter() override;
	Result<void> SetSelectionHandler(const MediaSelectionHandler& handler) override;
	MediaSelectionHandler GetSelectionHandler() const override { return _selectionHandler; }
	Result<MediaOutputSelectionResult> CallSelectionHandler(const MediaStreamRef& stream, const MediaStreamFormat& format) const override;

private:
	MediaSelectionHandler _selectionHandler;
};

/// The one input of an output's stage, or IllegalStateError.
TORVI_EXPORT Result<MediaConverterRef> GetSingleInput(Block<const MediaConverterRef> inputs);

/// How an output runs a stage of its one input: with the input's own inputs.
TORVI_EXPORT Result<void> AnalyzeInput(const MediaConverterRef& input, const TimeValue& targetTime, MEDIASESSIONFLAGS flags);
TORVI_EXPORT Result<void> PrepareExecuteInput(const MediaConverterRef& input, const TimeValue& targetTime, MEDIASESSIONFLAGS flags);
TORVI_EXPORT Result<void> ExecuteInput(const MediaConverterRef& input, const TimeValue& targetTime, MEDIASESSIONFLAGS flags);
/// Closes the first input; nothing without one.
TORVI_EXPORT Result<void> CloseInput(Block<const MediaConverterRef> inputs);

} // namespace torvi
