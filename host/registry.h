// Registries, declared objects, and the table of host services behind g_torvi. A registry holds objects under their ids in the order of
// insertion; iterators survive insertions by other threads and see what was there when they get to it.
#pragma once

#include "host/class.h"
#include "host/lock.h"

#include <deque>

namespace torvi
{

class TORVI_EXPORT Registry final : public ObjectInterface
{
public:
	explicit Registry(const Id& id) : _id(id) {}
	/// Drops the latest entry first.
	~Registry() override;

	Id GetId() const noexcept { return _id; }

	/// Illegal-argument error for a null object or an id that stands already.
	Result<void> InsertEntry(const Id& id, ObjectRef object);
	/// The object, or null.
	ObjectRef Find(const Id& id) const;
	Int GetCount() const;

	/// Walks the entries in order of insertion.
	class TORVI_EXPORT Iterator
	{
	public:
		Iterator() noexcept = default;
		explicit Iterator(Ref<const Registry> registry);
		Bool HasValue() const noexcept { return static_cast<bool>(_object); }
		const ObjectRef& GetEntry() const noexcept { return _object; }
		Id GetEntryId() const noexcept { return _entryId; }
		void MoveToNext();

	private:
		void Read();

		Ref<const Registry> _registry;
		Int _index = 0;
		Id _entryId;
		ObjectRef _object;
	};
	Iterator CreateIterator() const { return Iterator(Ref<const Registry>(this)); }

	/// All entries of one interface, in order; others are left out.
	template <class T>
	Array<Ref<T>> GetEntries() const
	{
		Array<Ref<T>> entries;
		for (Iterator it = CreateIterator(); it.HasValue(); it.MoveToNext())
		{
			if (Ref<T> entry = Cast<T>(it.GetEntry()))
				entries.push_back(std::move(entry));
		}
		return entries;
	}

private:
	struct Entry
	{
		Id _id;
		ObjectRef _object;
	};

	Id _id;
	mutable RWLock _lock;
	std::deque<Entry, HostAllocator<Entry>> _entries;
	HashMap<Id, Int> _indices;
};

using RegistryRef = Ref<Registry>;

/// The services of one running host. Made by the module's start and emptied by its end; all operations are safe on any thread in
/// between.
class TORVI_EXPORT HostServices
{
public:
	HostServices() = default;
	HostServices(const HostServices&) = delete;
	HostServices& operator=(const HostServices&) = delete;

	/// Enters a finished class under its id. Illegal-argument error for a second class of that id.
	Result<void> RegisterClass(const ClassRef& record);
	/// The class, or null.
	ClassRef FindClass(const Id& id) const;
	/// Null-pointer error if there is no such class.
	Result<ClassRef> GetClass(const Id& id) const;

	/// The registry of that id, made empty on first use.
	Result<RegistryRef> GetRegistry(const Id& id);
	/// All classes, in order of their making.
	const Registry& GetClasses() const noexcept { return *_classes; }

	/// Publishes an object under an id of its own, so that any part of the system finds it.
	Result<void> DeclareObject(const Id& id, ObjectRef object);
	/// The declared object, or null.
	ObjectRef FindDeclaredObject(const Id& id) const;

	Result<void> Init();
	/// Drops all entries, latest registry first.
	void Clear();

private:
	RegistryRef _classes;
	RegistryRef _registries;
	RegistryRef _declared;
	std::mutex _registryLock;
};

/// The id text, interned for the life of the process. Equal texts give the same storage.
TORVI_EXPORT Result<Id> InternId(std::string_view text);

/// An object of a registered class, as the interface T.
template <class T>
Result<Ref<T>> CreateObject(const Id& classId);

/// The declared object as T; null if there is none of that id and interface.
template <class T>
Ref<T> FindDeclared(const Id& id);

} // namespace torvi

/// The services of the host that the module is linked to; null before the start and after the end of the module.
extern "C" TORVI_EXPORT torvi::HostServices* g_torvi;

namespace torvi
{

template <class T>
Result<Ref<T>> CreateObject(const Id& classId)
{
	TORVI_CHECK(g_torvi != nullptr, IllegalStateError("The module is not started."));
	return TORVI_TRY(g_torvi->GetClass(classId))->Create<T>();
}

template <class T>
Ref<T> FindDeclared(const Id& id)
{
	return g_torvi != nullptr ? Cast<T>(g_torvi->FindDeclaredObject(id)) : Ref<T>();
}

} // namespace torvi
