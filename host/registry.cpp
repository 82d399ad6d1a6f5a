// Registries and the table of services.
#include "host/registry.h"

#include <memory>

extern "C"
{
	torvi::HostServices* g_torvi = nullptr;
}

namespace torvi
{

Registry::~Registry()
{
	while (!_entries.empty())
		_entries.pop_back();
}

Result<void> Registry::InsertEntry(const Id& id, ObjectRef object)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			TORVI_CHECK(object, IllegalArgumentError("Registry @ takes no null object for @.", _id, id));
			const std::unique_lock guard(_lock);
			TORVI_CHECK(!_indices.contains(id), IllegalArgumentError("Registry @ has an entry @ already.", _id, id));
			_entries.push_back({id, std::move(object)});
			try
			{
				_indices.emplace(id, CountOf(_entries) - 1);
			}
			catch (...)
			{
				_entries.pop_back();
				throw;
			}
			return OK;
		});
}

ObjectRef Registry::Find(const Id& id) const
{
	const std::shared_lock guard(_lock);
	const auto found = _indices.find(id);
	return found != _indices.end() ? _entries[static_cast<std::size_t>(found->second)]._object : ObjectRef();
}

Int Registry::GetCount() const
{
	const std::shared_lock guard(_lock);
	return CountOf(_entries);
}

Registry::Iterator::Iterator(Ref<const Registry> registry) : _registry(std::move(registry))
{
	Read();
}

void Registry::Iterator::MoveToNext()
{
	++_index;
	Read();
}

void Registry::Iterator::Read()
{
	const std::shared_lock guard(_registry->_lock);
	const Bool isInside = _index < CountOf(_registry->_entries);
	_entryId = isInside ? _registry->_entries[static_cast<std::size_t>(_index)]._id : Id();
	_object = isInside ? _registry->_entries[static_cast<std::size_t>(_index)]._object : ObjectRef();
}

Result<void> HostServices::Init()
{
	_classes = TORVI_TRY(NewObject<Registry>(Id("net.torvi.registry.classes")));
	_registries = TORVI_TRY(NewObject<Registry>(Id("net.torvi.registry.registries")));
	_declared = TORVI_TRY(NewObject<Registry>(Id("net.torvi.registry.declaredobjects")));
	return OK;
}

void HostServices::Clear()
{
	_declared = nullptr;
	_registries = nullptr;
	_classes = nullptr;
}

Result<void> HostServices::RegisterClass(const ClassRef& record)
{
	const Id id = record ? record->GetId() : Id();
	return _classes->InsertEntry(id, record);
}

ClassRef HostServices::FindClass(const Id& id) const
{
	return Cast<Class>(_classes->Find(id));
}

Result<ClassRef> HostServices::GetClass(const Id& id) const
{
	ClassRef record = FindClass(id);
	TORVI_CHECK(record, NullptrError("There is no class @.", id));
	return record;
}

Result<RegistryRef> HostServices::GetRegistry(const Id& id)
{
	const std::lock_guard guard(_registryLock);
	if (RegistryRef registry = Cast<Registry>(_registries->Find(id)))
		return registry;
	RegistryRef registry = TORVI_TRY(NewObject<Registry>(id));
	TORVI_TRY(_registries->InsertEntry(id, registry));
	return registry;
}

Result<void> HostServices::DeclareObject(const Id& id, ObjectRef object)
{
	return _declared->InsertEntry(id, std::move(object));
}

ObjectRef HostServices::FindDeclaredObject(const Id& id) const
{
	return _declared->Find(id);
}

/// The texts of all ids that were made at run time. They stay for the life of the process.
class IdTable
{
public:
	Result<Id> Intern(std::string_view text)
	{
		if (text.empty())
			return Id();
		return NoThrow(
			[&]() -> Result<Id>
			{
				const std::lock_guard guard(_lock);
				const Id wanted(text.data(), text.size());
				if (const auto found = _ids.find(wanted); found != _ids.end())
					return *found;
				_texts.push_back(MakeString(text));
				const Id id(_texts.back().c_str(), _texts.back().size());
				try
				{
					_ids.insert(id);
				}
				catch (...)
				{
					_texts.pop_back();
					throw;
				}
				return id;
			});
	}

private:
	std::mutex _lock;
	std::deque<String, HostAllocator<String>> _texts;
	HashSet<Id> _ids;
};

Result<Id> InternId(std::string_view text)
{
	return NoThrow(
		[&]() -> Result<Id>
		{
			static IdTable* const TABLE = std::make_unique<IdTable>().release(); // never destroyed: ids are used until the very end
			return TABLE->Intern(text);
		});
}

} // namespace torvi
