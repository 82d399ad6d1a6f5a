// Points, sizes and boxes in three dimensions: plain values like those of gfx_basictypes.h. Their texts have a blank behind each comma.
#pragma once

#include "host/gfx_basictypes.h"

namespace torvi
{

/// Text "(x, y, z)".
template <class T>
struct TORVI_EXPORT DrawPoint3d
{
	T x{};
	T y{};
	T z{};

	friend constexpr Bool operator==(const DrawPoint3d&, const DrawPoint3d&) = default;
	UInt64 GetHashCode() const { return detail::HashFields(x, y, z); }
	String ToString(std::string_view = {}) const { return Format("(@, @, @)", x, y, z); }
	Result<void> DescribeIO(DataSerialize& serializer);
};

using DrawPoint3dInt = DrawPoint3d<Int>;
using DrawPoint3dFloat = DrawPoint3d<Float>;

/// Text "(width, height, depth)".
template <class T>
struct TORVI_EXPORT DrawDimension3d
{
	T width{};
	T height{};
	T depth{};

	friend constexpr Bool operator==(const DrawDimension3d&, const DrawDimension3d&) = default;
	UInt64 GetHashCode() const { return detail::HashFields(width, height, depth); }
	String ToString(std::string_view = {}) const { return Format("(@, @, @)", width, height, depth); }
	Result<void> DescribeIO(DataSerialize& serializer);
};

using DrawDimension3dInt = DrawDimension3d<Int>;
using DrawDimension3dFloat = DrawDimension3d<Float>;

/// A box by a corner and its size. Text "((x, y, z), (width, height, depth))".
template <class T>
struct TORVI_EXPORT DrawVolume
{
	DrawPoint3d<T> position;
	DrawDimension3d<T> size;

	friend constexpr Bool operator==(const DrawVolume&, const DrawVolume&) = default;
	UInt64 GetHashCode() const { return detail::HashFields(position.x, position.y, position.z, size.width, size.height, size.depth); }
	String ToString(std::string_view = {}) const { return Format("(@, @)", position, size); }
	Result<void> DescribeIO(DataSerialize& serializer);
};

using DrawVolumeInt = DrawVolume<Int>;
using DrawVolumeFloat = DrawVolume<Float>;

/// Enters the types above.
Result<void> RegisterDraw3dTypes(Module& module);

} // namespace torvi

TORVI_DATATYPE(torvi::DrawPoint3dInt, "net.torvi.image.drawpoint3dint")
TORVI_DATATYPE(torvi::DrawPoint3dFloat, "net.torvi.image.drawpoint3dfloat")
TORVI_DATATYPE(torvi::DrawDimension3dInt, "net.torvi.image.drawdimension3dint")
TORVI_DATATYPE(torvi::DrawDimension3dFloat, "net.torvi.image.drawdimension3dfloat")
TORVI_DATATYPE(torvi::DrawVolumeInt, "net.torvi.image.drawvolumeint")
TORVI_DATATYPE(torvi::DrawVolumeFloat, "net.torvi.image.drawvolumefloat")
