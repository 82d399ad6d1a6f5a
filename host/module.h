// What a folder's registration talks to while the module starts: classes, registry entries, declared objects, data types, and steps to
// undo at the end. Registration is a list of named steps that run in order; the first failure ends the start.
#pragma once

#include "host/data.h"
#include "host/registry.h"

namespace torvi
{

class TORVI_EXPORT Module
{
public:
	explicit Module(HostServices& host) : _host(host) {}

	HostServices& GetHost() const noexcept { return _host; }

	/// Registers a finished class of the components in order. `base` may be the empty id; a base that is not registered is an error.
	Result<ClassRef> AddClass(const Id& id, const Id& base, std::initializer_list<ClassComponent> components);

	/// The usual class: one implementation over a base.
	template <class Implementation>
	Result<ClassRef> AddClass(const Id& id, const Id& base = Id())
	{
		return AddClass(id, base, {{id, &CreateComponent<Implementation>}});
	}

	/// Enters an object in a registry and declares it under the same id. A class record entered so is found by its id in the registry.
	Result<void> AddObject(const Id& registry, const Id& id, ObjectRef object);

	/// Enters a class in a registry.
	Result<void> AddToRegistry(const Id& registry, const ClassRef& record);

	template <class T>
	Result<void> AddDataType()
	{
		return AddDataType(GetDataType<T>());
	}
	Result<void> AddDataType(DataType type);

	/// Calls `function` when the module ends; the latest first. It must not throw, also not without memory.
	Result<void> OnEnd(void (*function)());
	/// Lets the jobs that run or wait come to their end, then calls the functions.
	void RunEnd() noexcept;

private:
	HostServices& _host;
	Array<void (*)()> _atEnd;
};

/// One row of a folder's table of contents.
struct RegistrationStep
{
	const char* _name;
	Result<void> (*_register)(Module& module);
};

/// Runs the steps in order; an error names the step that failed and has the failure as its cause.
TORVI_EXPORT Result<void> RunRegistration(Module& module, Block<const RegistrationStep> steps);

/// The registered data type of that id; unregistered-data-type error if there is none.
TORVI_EXPORT Result<DataType> FindDataType(const Id& id);

} // namespace torvi
