// Sizes, rectangles and regions of pictures in two dimensions: plain values that travel through dictionaries, descriptions and
// observers, each a data type of the host. A new value is all 0. Int is for pixels, Float for anything finer.
#pragma once

#include "host/datatype.h"

#include <algorithm>

namespace torvi
{

class Module;

namespace detail
{
/// Folds the hashes of the numbers of a value, in order. Both zeros of a float hash alike.
template <class First, class... Rest>
UInt64 HashFields(First first, Rest... rest)
{
	UInt64 hash = HashValue(first);
	((hash = CombineHash(hash, HashValue(rest))), ...);
	return hash;
}
} // namespace detail

/// Two numbers. Text "(x,y)".
template <class T>
struct TORVI_EXPORT Vector2d
{
	T x{};
	T y{};

	friend constexpr Bool operator==(const Vector2d&, const Vector2d&) = default;
	UInt64 GetHashCode() const { return detail::HashFields(x, y); }
	String ToString(std::string_view = {}) const { return Format("(@,@)", x, y); }
	Result<void> DescribeIO(DataSerialize& serializer);
};

using Vector2dInt = Vector2d<Int>;
using Vector2dFloat = Vector2d<Float>;

/// A size. Text "(width,height)".
template <class T>
struct TORVI_EXPORT DrawDimension
{
	T width{};
	T height{};

	friend constexpr Bool operator==(const DrawDimension&, const DrawDimension&) = default;
	UInt64 GetHashCode() const { return detail::HashFields(width, height); }
	String ToString(std::string_view = {}) const { return Format("(@,@)", width, height); }
	Result<void> DescribeIO(DataSerialize& serializer);
};

using DrawDimensionInt = DrawDimension<Int>;
using DrawDimensionFloat = DrawDimension<Float>;

/// A rectangle by its upper left corner and its size. Text "((x,y),(width,height))".
template <class T>
struct TORVI_EXPORT DrawRect
{
	Vector2d<T> position;
	DrawDimension<T> size;

	friend constexpr Bool operator==(const DrawRect&, const DrawRect&) = default;
	UInt64 GetHashCode() const { return detail::HashFields(position.x, position.y, size.width, size.height); }
	String ToString(std::string_view = {}) const { return Format("(@,@)", position, size); }
	Result<void> DescribeIO(DataSerialize& serializer);
};

using DrawRectInt = DrawRect<Int>;
using DrawRectFloat = DrawRect<Float>;

/// A rectangle of pixels by its corners, all four inclusive; it is empty if x1 > x2 or y1 > y2. A new one is all 0 and so covers the pixel
/// (0, 0): a region that grows starts from MakeEmpty. Text "(x1,y1,x2,y2)".
struct TORVI_EXPORT UpdateRegion
{
	Int x1 = 0;
	Int y1 = 0;
	Int x2 = 0;
	Int y2 = 0;

	/// The empty region whose first widening sets all four sides.
	static constexpr UpdateRegion MakeEmpty() noexcept { return {INT64_MAX, INT64_MAX, INT64_MIN, INT64_MIN}; }

	constexpr Bool IsEmpty() const noexcept { return x1 > x2 || y1 > y2; }

	/// Widens the region so that it holds the point.
	constexpr void Widen(Int x, Int y) noexcept
	{
		x1 = std::min(x1, x);
		y1 = std::min(y1, y);
		x2 = std::max(x2, x);
		y2 = std::max(y2, y);
	}

	/// Widens the region so that it holds the other one; an empty one changes nothing.
	constexpr void Widen(const UpdateRegion& other) noexcept
	{
		if (other.IsEmpty())
			return;
		Widen(other.x1, other.y1);
		Widen(other.x2, other.y2);
	}

	friend constexpr Bool operator==(const UpdateRegion&, const UpdateRegion&) = default;
	UInt64 GetHashCode() const { return detail::HashFields(x1, y1, x2, y2); }
	String ToString(std::string_view = {}) const { return Format("(@,@,@,@)", x1, y1, x2, y2); }
	Result<void> DescribeIO(DataSerialize& serializer);
};

/// Enters the vectors that rectangles are made of.
Result<void> RegisterVectorTypes(Module& module);

/// Enters the types above. Unregistered-data-type error if the vectors are not there yet.
Result<void> RegisterDrawTypes(Module& module);

} // namespace torvi

TORVI_DATATYPE(torvi::Vector2dInt, "net.torvi.datatype.vector2d.int64")
TORVI_DATATYPE(torvi::Vector2dFloat, "net.torvi.datatype.vector2d.float64")
TORVI_DATATYPE(torvi::DrawDimensionInt, "net.torvi.image.drawdimensionint")
TORVI_DATATYPE(torvi::DrawDimensionFloat, "net.torvi.image.drawdimensionfloat")
TORVI_DATATYPE(torvi::DrawRectInt, "net.torvi.image.drawrectint")
TORVI_DATATYPE(torvi::DrawRectFloat, "net.torvi.image.drawrectfloat")
TORVI_DATATYPE(torvi::UpdateRegion, "net.torvi.image.updateregion")
