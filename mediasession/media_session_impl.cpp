// The session: which inputs feed which outputs, and the stages that it runs over the outputs. It never calls an input itself.
#include "host/module.h"
#include "mediasession/registration.h"
#include "torvi/mediasession_session.h"

#include <algorithm>

namespace torvi
{

namespace
{

struct Connection
{
	MediaConverterRef _output;
	Array<MediaConverterRef> _inputs;
};

class MediaSessionImpl final : public virtual MediaSessionInterface
{
public:
	Result<void> InitObject() override;
	Result<void> ConnectMediaConverter(const MediaConverterRef& input, const MediaConverterRef& output) override;
	Result<void> Convert(const TimeValue& targetTime, MEDIASESSIONFLAGS flags) override;
	Result<void> Close() override;
	ProgressRef GetProgress() const override { return _progress; }
	Array<MediaConverterRef> GetInputConverters(const MediaConverterInterface& output) const override;

private:
	using Stage = Result<void> (MediaConverterInterface::*)(Block<const MediaConverterRef> inputs, const TimeValue& targetTime,
															MEDIASESSIONFLAGS flags);
	template <class Function>
	Result<void> ForEachOutput(Function&& function);
	Result<void> RunStage(Stage stage, const TimeValue& targetTime, MEDIASESSIONFLAGS flags);
	Result<void> CheckFree(const MediaConverterInterface& converter, const char* message) const;
	Result<void> Link(MediaConverterInterface& input, MediaConverterInterface& output);

	Array<Connection> _connections; ///< one per output, in the order of connecting
	ProgressRef _progress;
};

Result<void> MediaSessionImpl::InitObject()
{
	_progress = TORVI_TRY(CreateObject<ProgressInterface>(ids::CLASS_MEDIASESSIONPROGRESSOBJECT));
	return OK;
}

Result<void> CheckStrategies(const MediaConverterInterface& input, const MediaConverterInterface& output)
{
	TORVI_CHECK(!input.SupportImportStrategy() || output.SupportImportStrategy(),
				IllegalStateError("Output doesn't support required import strategy."));
	TORVI_CHECK(!output.SupportExportStrategy() || input.SupportExportStrategy(),
				IllegalStateError("Input doesn't support required export strategy."));
	return OK;
}

void AddInput(Array<Connection>& connections, const MediaConverterRef& input, const MediaConverterRef& output)
{
	auto found = std::ranges::find(connections, output, &Connection::_output);
	if (found == connections.end())
		found = connections.insert(found, {output, {}});
	found->_inputs.push_back(input);
}

Result<void> MediaSessionImpl::CheckFree(const MediaConverterInterface& converter, const char* message) const
{
	const MediaSessionRef session = converter.GetSession();
	TORVI_CHECK(!session || session.GetPointer() == this, IllegalArgumentError(message));
	return OK;
}

/// Links both converters to this session, or none.
Result<void> MediaSessionImpl::Link(MediaConverterInterface& input, MediaConverterInterface& output)
{
	const MediaSessionRef self(this);
	const Bool isInputNew = !input.GetSession();
	if (isInputNew)
		TORVI_TRY(input.ConnectToSession(self));
	if (output.GetSession())
		return OK;
	Result<void> result = output.ConnectToSession(self);
	if (!result.IsOk() && isInputNew)
		(void)input.ConnectToSession({});
	return result;
}

Result<void> MediaSessionImpl::ConnectMediaConverter(const MediaConverterRef& input, const MediaConverterRef& output)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(input && output && input != output, IllegalArgumentError("An input and another converter as output are needed."));
			TORVI_TRY(CheckStrategies(*input, *output));
			TORVI_TRY(CheckFree(*input, "input is already part of another session"));
			TORVI_TRY(CheckFree(*output, "output is already part of another session"));
			Array<Connection> connections = _connections; // the only thing that can fail late is memory, so the copy comes first
			AddInput(connections, input, output);
			TORVI_TRY(Link(*input, *output));
			_connections = std::move(connections);
			return OK;
		});
}

/// Calls the function for each connection. The session and the converters stay alive meanwhile, whatever the function does to them.
template <class Function>
Result<void> MediaSessionImpl::ForEachOutput(Function&& function)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const MediaSessionRef self(this);
			const Array<Connection> connections = _connections;
			for (const Connection& connection : connections)
			{
				TORVI_CHECK(connection._output, NullptrError());
				TORVI_TRY(function(connection));
			}
			return OK;
		});
}

Result<void> MediaSessionImpl::RunStage(Stage stage, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return ForEachOutput([&](const Connection& connection)
						 { return ((*connection._output).*stage)(connection._inputs, targetTime, flags); });
}

Result<void> MediaSessionImpl::Convert(const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	const MediaSessionRef self(this);
	TORVI_TRY(RunStage(&MediaConverterInterface::Analyze, targetTime, flags));
	if (HasFlag(flags, MEDIASESSIONFLAGS::RUNONLYANALYZE))
		return OK;
	TORVI_TRY(RunStage(&MediaConverterInterface::PrepareExecute, targetTime, flags));
	return RunStage(&MediaConverterInterface::Execute, targetTime, flags);
}

Result<void> MediaSessionImpl::Close()
{
	return ForEachOutput([](const Connection& connection) { return connection._output->Close(connection._inputs); });
}

Array<MediaConverterRef> MediaSessionImpl::GetInputConverters(const MediaConverterInterface& output) const
{
	const auto found =
		std::ranges::find_if(_connections, [&](const Connection& connection) { return connection._output.GetPointer() == &output; });
	return found != _connections.end() ? found->_inputs : Array<MediaConverterRef>();
}

} // namespace

Result<void> RegisterMediaSessionObject(Module& module)
{
	TORVI_TRY(module.AddClass<ProgressImpl>(ids::CLASS_MEDIASESSIONPROGRESSOBJECT));
	TORVI_TRY(module.AddClass<MediaSessionImpl>(ids::CLASS_MEDIASESSIONOBJECT));
	return OK;
}

} // namespace torvi
