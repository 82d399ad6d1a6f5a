// The search for handlers that fit a file.
#include "host/fileformat.h"

#include "host/ids.h"
#include "host/module.h"

#include <algorithm>

namespace torvi
{

namespace
{

/// The registered handlers of the wanted types, in the order in which they are tried.
Result<Array<FileFormatHandlerRef>> CollectHandlers(Block<const DataType> types)
{
	TORVI_CHECK(g_torvi != nullptr, IllegalStateError("The module is not started."));
	const RegistryRef registry = TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_FILEFORMATHANDLERS));
	Array<FileFormatHandlerRef> handlers = registry->GetEntries<FileFormatHandlerInterface>();
	std::erase_if(handlers, [&](const FileFormatHandlerRef& handler) { return std::ranges::count(types, handler->GetHandlerType()) == 0; });

	// Sorted by (number, place), which is stable without the memory that std::stable_sort asks the C++ library for.
	struct Place
	{
		Int _number;
		std::size_t _index;
		auto operator<=>(const Place&) const = default;
	};
	Array<Place> places;
	for (std::size_t i = 0; i < handlers.size(); ++i)
		places.push_back({handlers[i]->GetDependends(), i});
	std::ranges::sort(places);
	Array<FileFormatHandlerRef> sorted;
	for (const Place& place : places)
		sorted.push_back(handlers[place._index]);
	return sorted;
}

/// Whether the handler's format says yes to the file. A failure to read is a no.
Result<Bool> DoesFit(const FileFormatHandlerRef& handler, const Url& url)
{
	const FileFormatRef format = TORVI_TRY(handler->GetFileFormat());
	TORVI_CHECK(format, NullptrError("A file format handler has no file format."));
	const InputStreamRef stream = TORVI_TRY(url.OpenInputStream());
	Result<Bool> answer = NoThrow([&]() { return format->Detect(url, stream); });
	TORVI_CHECK(answer.IsOk() || answer.GetError().GetId() != errorids::OUTOFMEMORY, answer.TakeError());
	return std::move(answer).ValueOr(false);
}

} // namespace

Result<Bool> FileFormatBaseImpl::Detect(const Url&, const InputStreamRef&) const
{
	return FunctionNotImplementedError();
}

Result<Array<FileFormatHandlerRef>> FileFormatDetection::DetectAll(const Url& url, Block<const DataType> types, UInt32,
																   const TryHandler& tryHandler)
{
	return NoThrow(
		[&]() -> Result<Array<FileFormatHandlerRef>>
		{
			Array<FileFormatHandlerRef> fitting;
			for (const FileFormatHandlerRef& handler : TORVI_TRY(CollectHandlers(types)))
			{
				if (!TORVI_TRY(DoesFit(handler, url)) || (tryHandler && !TORVI_TRY(tryHandler(handler))))
					continue;
				fitting.push_back(handler);
				if (tryHandler)
					break;
			}
			return fitting;
		});
}

Result<void> RegisterFileFormatBase(Module& module)
{
	TORVI_TRY(module.AddClass<FileFormatBaseImpl>(ids::CLASS_FILEFORMATBASE));
	return OK;
}

} // namespace torvi
