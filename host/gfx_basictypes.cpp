// What the two-dimensional values store, and their registration.
#include "host/gfx_basictypes.h"

#include "host/dataserialize.h"
#include "host/ids.h"
#include "host/module.h"

namespace torvi
{

template <class T>
Result<void> Vector2d<T>::DescribeIO(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("x", x));
	return serializer.DescribeElement("y", y);
}

template <class T>
Result<void> DrawDimension<T>::DescribeIO(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("width", width));
	return serializer.DescribeElement("height", height);
}

template <class T>
Result<void> DrawRect<T>::DescribeIO(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("position", position));
	return serializer.DescribeElement("size", size);
}

Result<void> UpdateRegion::DescribeIO(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("x1", x1));
	TORVI_TRY(serializer.DescribeElement("y1", y1));
	TORVI_TRY(serializer.DescribeElement("x2", x2));
	return serializer.DescribeElement("y2", y2);
}

template struct Vector2d<Int>;
template struct Vector2d<Float>;
template struct DrawDimension<Int>;
template struct DrawDimension<Float>;
template struct DrawRect<Int>;
template struct DrawRect<Float>;

namespace
{

Result<void> CheckVectorType(Module& module, DataType type)
{
	const RegistryRef types = TORVI_TRY(module.GetHost().GetRegistry(ids::REGISTRY_DATATYPES));
	TORVI_CHECK(types->Find(type.GetId()), UnregisteredDataTypeError("The data type @ is not registered.", type.GetId()));
	return OK;
}

} // namespace

Result<void> RegisterVectorTypes(Module& module)
{
	TORVI_TRY(module.AddDataType<Vector2dInt>());
	return module.AddDataType<Vector2dFloat>();
}

Result<void> RegisterDrawTypes(Module& module)
{
	TORVI_TRY(CheckVectorType(module, GetDataType<Vector2dInt>()));
	TORVI_TRY(CheckVectorType(module, GetDataType<Vector2dFloat>()));
	TORVI_TRY(module.AddDataType<DrawDimensionInt>());
	TORVI_TRY(module.AddDataType<DrawDimensionFloat>());
	TORVI_TRY(module.AddDataType<DrawRectInt>());
	TORVI_TRY(module.AddDataType<DrawRectFloat>());
	return module.AddDataType<UpdateRegion>();
}

} // namespace torvi
