// The drawing geometry values.
#include "expect_out_of_memory.h"

#include "host/gfx_basictypes_3d.h"
#include "host/registration.h"

#include <cmath>

namespace torvi::test
{
namespace
{

TEST(Geometry, Texts)
{
	EXPECT_EQ(DrawRectInt().ToString(), "((0,0),(0,0))");
	EXPECT_EQ((DrawRectFloat{{0.5, -1.0}, {3.0, 4.25}}.ToString()), "((0.5,-1),(3,4.25))");
	EXPECT_EQ((DrawDimensionInt{-3, 4}.ToString()), "(-3,4)");
	EXPECT_EQ((DrawVolumeInt{{1, 2, 3}, {4, 5, 6}}.ToString()), "((1, 2, 3), (4, 5, 6))");
	EXPECT_EQ((DrawPoint3dFloat{0.5, 1.0, 2.0}.ToString()), "(0.5, 1, 2)");
	EXPECT_EQ((UpdateRegion{1, 2, 3, 4}.ToString()), "(1,2,3,4)");
}

/// The mix of one number, written from its rule: all shifts logical, the right-hand sides with the old value.
UInt64 Mix(Int value)
{
	UInt64 v = static_cast<UInt64>(value);
	v = v ^ (v >> 32);
	v = v ^ (v >> 12) ^ (v >> 20);
	return v ^ (v >> 4) ^ (v >> 7);
}

TEST(Geometry, Hashes)
{
	constexpr UInt64 FACTOR = 0xBF58476D1CE4E5B9u;
	const UInt64 two = FACTOR * Mix(-7) + Mix(1'000'000'007) + 1;
	EXPECT_EQ((DrawDimensionInt{-7, 1'000'000'007}.GetHashCode()), two);
	EXPECT_EQ((DrawPoint3dInt{-7, 1'000'000'007, 5}.GetHashCode()), FACTOR * two + Mix(5) + 1);
	EXPECT_EQ((DrawRectInt{{-7, 1'000'000'007}, {5, 6}}.GetHashCode()), (UpdateRegion{-7, 1'000'000'007, 5, 6}.GetHashCode()));
	EXPECT_EQ((DrawRectFloat{{0.0, 1.0}, {2.0, -0.0}}.GetHashCode()), (DrawRectFloat{{-0.0, 1.0}, {2.0, 0.0}}.GetHashCode()));
}

TEST(Geometry, FloatsCompareByValue)
{
	const DrawRectFloat notANumber = {{std::nan(""), 0.0}, {1.0, 1.0}};
	const DrawRectFloat copy = notANumber;
	EXPECT_FALSE(notANumber == copy);
	EXPECT_EQ((DrawDimensionFloat{0.0, 1.0}), (DrawDimensionFloat{-0.0, 1.0}));
	EXPECT_NE((DrawVolumeInt{{1, 2, 3}, {4, 5, 6}}), (DrawVolumeInt{{1, 2, 3}, {4, 5, 7}}));
}

TEST(Geometry, RegionGrowsFromEmpty)
{
	EXPECT_FALSE(UpdateRegion().IsEmpty()); // covers (0, 0)
	UpdateRegion region = UpdateRegion::MakeEmpty();
	EXPECT_TRUE(region.IsEmpty());
	region.Widen(UpdateRegion::MakeEmpty());
	region.Widen(UpdateRegion{5, 0, 3, 0});
	EXPECT_EQ(region, UpdateRegion::MakeEmpty());
	region.Widen(3, 4);
	EXPECT_EQ(region, (UpdateRegion{3, 4, 3, 4}));
	region.Widen(UpdateRegion{-1, 7, 2, 9});
	EXPECT_EQ(region, (UpdateRegion{-1, 4, 3, 9}));
}

TEST(Geometry, RectanglesNeedTheirVectors)
{
	HostServices host;
	TORVI_MUST(host.Init());
	Module module(host);
	EXPECT_EQ(ErrorIdOf(RegisterDrawTypes(module)), errorids::UNREGISTEREDDATATYPE.GetText());
}

} // namespace
} // namespace torvi::test
