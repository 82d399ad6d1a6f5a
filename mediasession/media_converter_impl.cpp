// The bases of inputs and outputs.
#include "mediasession/media_converter_impl.h"

#include "host/module.h"
#include "mediasession/registration.h"

#include <algorithm>

namespace torvi
{

namespace
{

constexpr Id SUPPORT_KEYS[] = {
	ids::MEDIAINPUT_SUPPORTS_IMAGE,          ids::MEDIAINPUT_SUPPORTS_VIDEO,  ids::MEDIAINPUT_SUPPORTS_AUDIO,
	ids::MEDIAOUTPUT_SUPPORTS_IMAGE,         ids::MEDIAOUTPUT_SUPPORTS_VIDEO, ids::MEDIAOUTPUT_SUPPORTS_AUDIO,
	ids::MEDIAOUTPUT_SUPPORTS_SYSTEMOPTIONS,
};

/// Appends the children to the stack so that the first one lies on top.
void PushChildren(Array<MediaStreamRef>& stack, const MediaStreamInterface& parent)
{
	const std::size_t first = stack.size();
	for (const Int32 branch : parent.GetBranches())
	{
		for (const HierarchyObjectRef& child : parent.GetChildren(branch))
		{
			if (MediaStreamRef stream = Cast<MediaStreamInterface>(child))
				stack.push_back(std::move(stream));
		}
	}
	std::reverse(stack.begin() + static_cast<std::ptrdiff_t>(first), stack.end());
}

/// The trees of the streams as one list, each parent before its children. Without recursion: files decide how deep a tree is.
Array<MediaStreamRef> ListTrees(const Array<MediaStreamRef>& roots)
{
	Array<MediaStreamRef> list;
	Array<MediaStreamRef> stack(roots.rbegin(), roots.rend());
	while (!stack.empty())
	{
		list.push_back(std::move(stack.back()));
		stack.pop_back();
		PushChildren(stack, *list.back());
	}
	return list;
}

} // namespace

Result<void> MediaBaseImpl::ConnectToSession(const MediaSessionRef& session)
{
	const MediaSessionRef current = GetSession();
	TORVI_CHECK(!session || !current || current == session, IllegalStateError("The converter is part of another session."));
	_session = session;
	return OK;
}

Result<Data> MediaConverterImpl::GetData(const InternedId& key) const
{
	if (std::ranges::find(SUPPORT_KEYS, key) != std::end(SUPPORT_KEYS))
		return Data::Make<Bool>(false);
	return MediaBaseImpl::GetData(key);
}

Result<Array<MediaConverterRef>> MediaConverterImpl::GetInputConverter() const
{
	return NoThrow(
		[&]() -> Result<Array<MediaConverterRef>>
		{
			const MediaSessionRef session = GetSession();
			TORVI_CHECK(session, IllegalStateError("The converter is part of no session."));
			return session->GetInputConverters(*this);
		});
}

Result<void> MediaConverterImpl::AddOutputStream(const MediaStreamRef& stream)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(stream, NullptrError());
			_streams.push_back(stream);
			return OK;
		});
}

Result<Array<MediaStreamRef>> MediaConverterImpl::GetOutputStreams(Bool recursive) const
{
	return NoThrow([&]() -> Result<Array<MediaStreamRef>> { return recursive ? ListTrees(_streams) : _streams; });
}

Result<void> MediaConverterImpl::Analyze(Block<const MediaConverterRef>, const TimeValue&, MEDIASESSIONFLAGS)
{
	return FunctionNotImplementedError();
}

Result<void> MediaConverterImpl::PrepareExecute(Block<const MediaConverterRef>, const TimeValue&, MEDIASESSIONFLAGS)
{
	return FunctionNotImplementedError();
}

Result<void> MediaConverterImpl::Execute(Block<const MediaConverterRef>, const TimeValue&, MEDIASESSIONFLAGS)
{
	return FunctionNotImplementedError();
}

Result<void> MediaConverterImpl::Close(Block<const MediaConverterRef>)
{
	return FunctionNotImplementedError();
}

Result<void> MediaOutputImpl::ResetConverter()
{
	return FunctionNotImplementedError();
}

Result<void> MediaOutputImpl::SetSelectionHandler(const MediaSelectionHandler& handler)
{
	_selectionHandler = handler;
	return OK;
}

Result<MediaOutputSelectionResult> MediaOutputImpl::CallSelectionHandler(const MediaStreamRef& stream,
																		 const MediaStreamFormat& format) const
{
	const MediaSelectionHandler handler = _selectionHandler; // it may replace itself
	if (!handler)
		return MediaOutputSelectionResult::SELECTALL;
	return handler(stream, format);
}

Result<MediaConverterRef> GetSingleInput(Block<const MediaConverterRef> inputs)
{
	TORVI_CHECK(inputs.size() == 1 && inputs[0], IllegalStateError("An output needs one input, it has @.", inputs.size()));
	return inputs[0];
}

Result<void> AnalyzeInput(const MediaConverterRef& input, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return input->Analyze(TORVI_TRY(input->GetInputConverter()), targetTime, flags);
}

Result<void> PrepareExecuteInput(const MediaConverterRef& input, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return input->PrepareExecute(TORVI_TRY(input->GetInputConverter()), targetTime, flags);
}

Result<void> ExecuteInput(const MediaConverterRef& input, const TimeValue& targetTime, MEDIASESSIONFLAGS flags)
{
	return input->Execute(TORVI_TRY(input->GetInputConverter()), targetTime, flags);
}

Result<void> CloseInput(Block<const MediaConverterRef> inputs)
{
	if (inputs.empty())
		return OK;
	return inputs[0]->Close(TORVI_TRY(inputs[0]->GetInputConverter()));
}

Result<void> RegisterMediaConverters(Module& module)
{
	TORVI_TRY(module.AddClass<MediaBaseImpl>(ids::CLASS_MEDIABASE));
	TORVI_TRY(module.AddClass<MediaConverterImpl>(ids::CLASS_MEDIACONVERTERBASE, ids::CLASS_MEDIABASE));
	TORVI_TRY(module.AddClass<MediaOutputImpl>(ids::CLASS_MEDIAOUTPUTBASE, ids::CLASS_MEDIACONVERTERBASE));
	return OK;
}

} // namespace torvi
