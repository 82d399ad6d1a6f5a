// The table of contents of the host's registration.
#include "host/registration.h"

#include "host/description.h"
#include "host/fileformat.h"
#include "host/gfx_basictypes_3d.h"
#include "host/halffloat_datatype.h"
#include "host/ids.h"
#include "host/observable.h"
#include "host/timevalue.h"
#include "host/url.h"
#include "host/zipstream.h"

namespace torvi
{

namespace
{

/// Counts of bits have an id of their own, by which the data type can be looked up; as a C++ type they are Int64, and as such they are
/// stored.
constexpr DataTypeRecord BITS_RECORD = []()
{
	DataTypeRecord record = detail::MakeDataTypeRecord<BITS>();
	record._id = "net.torvi.image.bits";
	return record;
}();

template <class... T>
Result<void> AddDataTypes(Module& module)
{
	Result<void> result = OK;
	static_cast<void>(((result = module.AddDataType<T>()).IsOk() && ...));
	return result;
}

Result<void> RegisterNumbers(Module& module)
{
	TORVI_TRY((AddDataTypes<Bool, Char, UChar, Int16, UInt16, Int32, UInt32, Int64, UInt64, HalfFloat, Float32, Float64>(module)));
	return module.AddDataType(DataType(BITS_RECORD));
}

Result<void> RegisterValues(Module& module)
{
	return AddDataTypes<String, Id, DataType, ObjectRef, Data, DataDictionary, TimeValue, Url>(module);
}

Result<void> RegisterArrays(Module& module)
{
	return AddDataTypes<Array<Byte>, Array<Char>, Array<Int64>, Array<String>, Array<DataType>, Array<Data>, Array<DataDictionary>>(module);
}

Result<void> RegisterObservable(Module& module)
{
	TORVI_TRY(module.AddClass(ids::CLASS_OBSERVABLE, Id(), {{ids::COMPONENT_OBSERVABLECOMBINERRUNALL, &CreateComponent<Observable<>>}}));
	return OK;
}

Result<void> RegisterDescriptions(Module& module)
{
	return module.OnEnd([]() { DataDescriptionDatabase::Clear(); });
}

constexpr RegistrationStep STEPS[] = {
	{"numbers", &RegisterNumbers},
	{"values", &RegisterValues},
	{"arrays", &RegisterArrays},
	{"vectors", &RegisterVectorTypes}, // rectangles are made of them
	{"draw types", &RegisterDrawTypes},
	{"draw types in three dimensions", &RegisterDraw3dTypes},
	{"observable class", &RegisterObservable},
	{"file format class", &RegisterFileFormatBase},
	{"zip conversions", &RegisterZipConversions},
	{"descriptions", &RegisterDescriptions},
};

} // namespace

Result<void> RegisterHost(Module& module)
{
	return RunRegistration(module, STEPS);
}

} // namespace torvi
