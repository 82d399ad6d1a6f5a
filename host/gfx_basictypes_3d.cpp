// What the three-dimensional values store, and their registration.
#include "host/gfx_basictypes_3d.h"

#include "host/dataserialize.h"
#include "host/module.h"

namespace torvi
{

template <class T>
Result<void> DrawPoint3d<T>::DescribeIO(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("x", x));
	TORVI_TRY(serializer.DescribeElement("y", y));
	return serializer.DescribeElement("z", z);
}

template <class T>
Result<void> DrawDimension3d<T>::DescribeIO(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("width", width));
	TORVI_TRY(serializer.DescribeElement("height", height));
	return serializer.DescribeElement("depth", depth);
}

template <class T>
Result<void> DrawVolume<T>::DescribeIO(DataSerialize& serializer)
{
	TORVI_TRY(serializer.DescribeElement("position", position));
	return serializer.DescribeElement("size", size);
}

template struct DrawPoint3d<Int>;
template struct DrawPoint3d<Float>;
template struct DrawDimension3d<Int>;
template struct DrawDimension3d<Float>;
template struct DrawVolume<Int>;
template struct DrawVolume<Float>;

Result<void> RegisterDraw3dTypes(Module& module)
{
	TORVI_TRY(module.AddDataType<DrawPoint3dInt>());
	TORVI_TRY(module.AddDataType<DrawPoint3dFloat>());
	TORVI_TRY(module.AddDataType<DrawDimension3dInt>());
	TORVI_TRY(module.AddDataType<DrawDimension3dFloat>());
	TORVI_TRY(module.AddDataType<DrawVolumeInt>());
	return module.AddDataType<DrawVolumeFloat>();
}

} // namespace torvi
