// Registration services.
#include "host/module.h"

#include "host/ids.h"
#include "host/job.h"

namespace torvi
{

namespace
{

/// What the registry of data types holds.
class DataTypeObject final : public ObjectInterface
{
public:
	explicit DataTypeObject(DataType type) : _type(type) {}
	DataType GetType() const noexcept { return _type; }
	String ToString(std::string_view) const override { return MakeString(_type.GetId().GetText()); }

private:
	DataType _type;
};

} // namespace

Result<ClassRef> Module::AddClass(const Id& id, const Id& base, std::initializer_list<ClassComponent> components)
{
	ClassRef baseRecord;
	if (!base.IsEmpty())
		baseRecord = TORVI_TRY(_host.GetClass(base));
	ClassRef record = TORVI_TRY(NewObject<Class>(id, baseRecord));
	for (const ClassComponent& component : components)
		TORVI_TRY(record->AddComponent(component));
	TORVI_TRY(record->Finalize());
	TORVI_TRY(_host.RegisterClass(record));
	return record;
}

Result<void> Module::AddObject(const Id& registry, const Id& id, ObjectRef object)
{
	TORVI_TRY(TORVI_TRY(_host.GetRegistry(registry))->InsertEntry(id, object));
	return _host.DeclareObject(id, std::move(object));
}

Result<void> Module::AddToRegistry(const Id& registry, const ClassRef& record)
{
	return TORVI_TRY(_host.GetRegistry(registry))->InsertEntry(record->GetId(), record);
}

Result<void> Module::AddDataType(DataType type)
{
	ObjectRef object = TORVI_TRY(NewObject<DataTypeObject>(type));
	return TORVI_TRY(_host.GetRegistry(ids::REGISTRY_DATATYPES))->InsertEntry(type.GetId(), std::move(object));
}

Result<void> Module::OnEnd(void (*function)())
{
	return NoThrow(
		[&]() -> Result<void>
		{
			_atEnd.push_back(function);
			return OK;
		});
}

void Module::RunEnd() noexcept
{
	JobQueue::End(); // while jobs run, all that they use is there
	while (!_atEnd.empty())
	{
		void (*const function)() = _atEnd.back();
		_atEnd.pop_back();
		function();
	}
}

Result<void> RunRegistration(Module& module, Block<const RegistrationStep> steps)
{
	for (const RegistrationStep& step : steps)
	{
		Result<void> result = NoThrow([&]() { return step._register(module); });
		if (!result.IsOk())
			return IllegalStateError("The registration step \"@\" ended with an error.", step._name).SetCause(result.TakeError()).Share();
	}
	return OK;
}

Result<DataType> FindDataType(const Id& id)
{
	TORVI_CHECK(g_torvi != nullptr, IllegalStateError("The module is not started."));
	const Ref<DataTypeObject> object = Cast<DataTypeObject>(TORVI_TRY(g_torvi->GetRegistry(ids::REGISTRY_DATATYPES))->Find(id));
	TORVI_CHECK(object, UnregisteredDataTypeError("The data type @ is not registered.", id));
	return object->GetType();
}

} // namespace torvi
