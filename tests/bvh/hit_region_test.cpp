#include "bvh/hit_region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "geometry/predicates.h"
#include "geometry/vector.h"
#include "support/vec.h"

namespace
{

/// Calls `test` with samplers and the number of the draw.
template <class Test>
void ForDraws(int count, Test test)
{
    const Draws draw(1);
    for (int n = 0; n < count && !testing::Test::HasFailure(); ++n) test(draw, n);
}

void Store(const Point3& from, float* to)
{
    for (std::size_t r = 0; r < 3; ++r) to[r] = float(from[r]);
}

// The tip is corner 0. The point lies where floats put it about the axis, where rounding decides,
// and as far off the plane as a carried one can.
TEST(HitRegion, HoldsPointsThatRoundingLetsInsideBeyondTheTipOfASliver)
{
    int beyond = 0;
    ForDraws(300000, [&](const Sampler& draw, int n) {
        const double length = draw.Size(1e-3, 1e3), width = length * draw.Size(1e-5, 1),
                     offset = draw.Size(1e-2, 1e5), height = draw.Below(2) ? 0 : 2.99e-4;
        const Frame axes = AnyFrame(draw);
        const Point3 tip = Sum({}, AnyPoint(draw), offset), base = Sum(tip, axes[0], length),
                     middle = Sum(base, axes[1], 0.5 * width);
        float corner[3][3], point[3];
        Store(tip, corner[0]);
        Store(base, corner[1]);
        Store(Sum(base, axes[1], width), corner[2]);
        const Point3 off = Sum(tip, axes[2], draw.Below(2) ? height : -height);
        Store(Sum(off, Sum(middle, tip, -1), -double(draw.Size(1e-5, 1e-2))), point);
        double maxCoordinate = 0;
        for (const auto& one : corner)
            for (const float x : one) maxCoordinate = std::max(maxCoordinate, std::fabs(double(x)));
        float plane[4];
        HitRegion region;
        if (!CalcPlane(corner[0], 3, plane) ||
            !CalcHitRegion(corner, plane, maxCoordinate, region) ||
            !PointInsideTriangle(corner, plane, point, kContact))
            return;
        for (int r = 0; r < 3; ++r) {
            ASSERT_GE(point[r], region.box[r]) << n;
            ASSERT_LE(point[r], region.box[r + 3]) << n;
        }
        double nearest = HUGE_VAL; // above or below a corner of the hull, which is flat
        for (int c = 0; c < region.corners; ++c) {
            const Point3 up = Sum(Widened(point), Widened(region.corner[c]), -1);
            nearest = std::min(nearest, std::fabs(Product(Widened(plane), up)));
        }
        ASSERT_LE(nearest, region.pad) << n;
        ++beyond;
    });
    EXPECT_GT(beyond, 1000);
}

TEST(HitRegion, HoldsPointsWhereAnEdgeInThePlaneCrossesASide)
{
    int crossed = 0;
    ForDraws(100000, [&](const Sampler& draw, int n) {
        const Frame axes = AnyFrame(draw);
        const double length = draw.Size(0.1, 100), T = kContact;
        // Nearly along the side, where rounding moves the nearest points along both lines.
        const Point3 way = Sum(axes[0], axes[1], draw.Size(4e-4, 1));
        const Point3 from = AnyPoint(draw), to = Sum(from, axes[0], length),
                     third = Sum(Sum(from, axes[0], 0.5 * length), axes[1], -length),
                     at = Sum(from, axes[0], length * draw.Size(1e-4, 0.5)),
                     beside = Sum(at, axes[1], T * draw.Between(-1, 1)),
                     raised = Sum(beside, axes[2], T * draw.Between(-1, 1)),
                     flat = Sum({}, way, length);
        float corner[3][3], edge[2][3], out[6], plane[4];
        Store(from, corner[0]);
        Store(to, corner[1]);
        Store(third, corner[2]);
        Store(Sum(raised, flat), edge[0]);
        Store(Sum(raised, flat, -1), edge[1]);
        HitRegion region;
        if (!CalcPlane(corner[0], 3, plane) || !CalcHitRegion(corner, plane, 1 + length, region) ||
            std::fabs(dot(plane, edge[0]) + plane[3]) > T ||
            std::fabs(dot(plane, edge[1]) + plane[3]) > T ||
            LengthOf(Normal(flat, axes[0])) * 2 * length < 4e-3 || // parallel
            !SegmentsIntersecting(edge[0], edge[1], corner[0], corner[1], kContact, out))
            return;
        for (int r = 0; r < 3; ++r) {
            ASSERT_GE(out[r], region.box[r]) << n;
            ASSERT_LE(out[r], region.box[r + 3]) << n;
        }
        ++crossed;
    });
    EXPECT_GT(crossed, 10000);
}

// Of a right triangle near the limits of what is plain, at any distance from the origin, in a solid
// that is as large or much larger.
TEST(HitRegion, ReachesNoFartherThanItsMargins)
{
    double farthest = 0, mostTilted = 0;
    ForDraws(300000, [&](const Sampler& draw, int n) {
        const double length = draw.Size(1e-3, 1e2), width = length * draw.Size(1.0 / 64, 2),
                     offset = draw.Below(2) ? draw.Size(1e-2, 1e7) : 0;
        const Frame axes = AnyFrame(draw);
        const Point3 from = Sum({}, AnyPoint(draw), offset), to = Sum(from, axes[0], length);
        float corner[3][3], plane[4], normal[3];
        Store(from, corner[0]);
        Store(to, corner[1]);
        Store(Sum(draw.Below(2) ? from : to, axes[1], width), corner[2]);
        double longest = 0, maxCoordinate = 0;
        for (int c = 0; c < 3; ++c) {
            longest = std::max(longest, distance(corner[c], corner[(c + 1) % 3]));
            for (const float x : corner[c])
                maxCoordinate = std::max(maxCoordinate, std::fabs(double(x)));
        }
        const float altitude = PlainAltitude(corner, float(1.000001 * longest), normal);
        if (altitude == 0) return;
        if (draw.Below(2)) maxCoordinate = std::min(1e9, maxCoordinate * draw.Size(1, 1e8));
        const RegionMargins margins = MarginsOf(altitude, 1.000001 * longest, maxCoordinate);
        HitRegion region;
        ASSERT_TRUE(CalcPlane(corner[0], 3, plane)) << n;
        ASSERT_TRUE(CalcHitRegion(corner, plane, maxCoordinate, region)) << n;
        const double tilt = distance(plane, normal);
        ASSERT_LE(tilt, margins.tilt) << n;
        mostTilted = std::max(mostTilted, tilt / margins.tilt);
        for (int c = 0; c < 3; ++c) {
            const double reach = distance(region.corner[c], corner[c]) + region.pad;
            ASSERT_LE(reach, margins.reach) << n;
            farthest = std::max(farthest, reach / margins.reach);
            const auto [low, high] = std::minmax({corner[0][c], corner[1][c], corner[2][c]});
            ASSERT_GE(region.box[c], low - margins.reach) << n;
            ASSERT_LE(region.box[c + 3], high + margins.reach) << n;
        }
    });
    EXPECT_GT(farthest, 0.9);
    EXPECT_GT(mostTilted, 0.1);
}

TEST(HitRegion, LetsPointsBeCarriedInFromOneLengthOffTheEdge)
{
    int inside = 0;
    ForDraws(60000, [&](const Sampler& draw, int n) {
        // The point lies beside side 0, within its margin, and the edge runs outwards from there.
        const double size = draw.Size(1e-2, 100), at[] = {-1, 0, 1, 2},
                     out = draw.Size(1e-2, 100) * (n % 8 < 4 ? 1 : -1);
        const Point3 far{draw.Size(1e-4, 1e4), draw.Size(1e-4, 1e4), draw.Size(1e-4, 1e4)},
            hit =
                Sum(far, {size * draw.Between(0, 1), -1e-4 / size * draw.Between(0.999, 1.001), 0}),
            way{out * draw.Between(-0.01, 0.01), -out, 0}, from = Sum(hit, way, -at[n % 4]);
        float corner[3][3], point[3], edge[2][3];
        Store(far, corner[0]);
        Store(Sum(far, {size, 0, 0}), corner[1]);
        Store(Sum(far, {0, size, 0}), corner[2]);
        Store(hit, point);
        Store(from, edge[0]);
        Store(Sum(from, way), edge[1]);
        float plane[4];
        ASSERT_TRUE(CalcPlane(corner[0], 3, plane));
        if (!PointInsideTriangle(corner, plane, point, kContact)) return;
        ASSERT_TRUE(MayBeCarriedInto(edge, corner, plane)) << n;
        ++inside;
    });
    EXPECT_GT(inside, 20000);
}

} // namespace
