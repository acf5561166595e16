#include "bvh/hit_region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "geometry/predicates.h"

namespace
{

/// A narrow triangle of any length and direction, whose tip is corner 0, and a point that floats
/// put about its axis, near the tip, where rounding decides.
struct TipScene {
    float corner[3][3], point[3];

    double Reach() const
    {
        double reach = 0;
        for (const auto& one : corner)
            for (const float x : one) reach = std::max(reach, double(std::fabs(x)));
        return reach;
    }

    explicit TipScene(std::mt19937& random)
    {
        std::uniform_real_distribution<double> any(-1, 1);
        const double length = std::pow(10, 3 * any(random)),
                     width = length * std::pow(10, -3.5 + 1.5 * any(random)),
                     beyond = length * std::pow(10, -3.5 + 1.5 * any(random)),
                     offset = std::pow(10, 2 * any(random));
        const double u = 3 * any(random), v = 1.5 * any(random);
        const double along[3] = {std::cos(u) * std::cos(v), std::sin(u) * std::cos(v), std::sin(v)},
                     across[3] = {-std::sin(u), std::cos(u), 0};
        for (int r = 0; r < 3; ++r) {
            const double tip = offset * any(random);
            corner[0][r] = float(tip);
            corner[1][r] = float(tip + length * along[r]);
            corner[2][r] = float(tip + length * along[r] + width * across[r]);
            point[r] = float(tip - beyond * (along[r] + 0.5 * width / length * across[r]));
        }
    }
};

TEST(HitRegion, HoldsPointsThatRoundingLetsInsideBeyondTheTipOfASliver)
{
    std::mt19937 random(1);
    int beyond = 0;
    for (int n = 0; n < 300000; ++n) {
        const TipScene scene(random);
        float plane[4];
        HitRegion region;
        if (!CalcPlane(scene.corner[0], 3, plane) ||
            !CalcHitRegion(scene.corner, plane, scene.Reach(), region) ||
            !PointInsideTriangle(scene.corner, plane, scene.point, kContact))
            continue;
        for (int r = 0; r < 3; ++r) {
            ASSERT_GE(scene.point[r], region.box[r]) << n;
            ASSERT_LE(scene.point[r], region.box[r + 3]) << n;
        }
        ++beyond;
    }
    EXPECT_GT(beyond, 1000);
}

TEST(HitRegion, LetsPointsBeCarriedInFromOneLengthOffTheEdge)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> any(-1, 1);
    int inside = 0;
    for (int n = 0; n < 60000; ++n) {
        // The point lies beside side 0, within its margin, and the edge runs outwards from there.
        const double size = std::pow(10, 2 * any(random)), far = std::pow(10, 4 * any(random)),
                     beside = 1e-4 / size * (1 + 1e-3 * any(random)), ends[] = {-1, 0, 1, 2},
                     at = ends[n % 4], length = std::pow(10, 2 * any(random)), foot = any(random),
                     out = n % 8 < 4 ? length : -length;
        const float corner[3][3] = {{float(far), float(far), float(far)},
                                    {float(far + size), float(far), float(far)},
                                    {float(far), float(far + size), float(far)}};
        const double along = length * any(random) * 1e-2, x = far + 0.5 * size * (1 + foot),
                     y = far - beside;
        const float point[3] = {float(x), float(y), float(far)},
                    edge[2][3] = {
                        {float(x - at * along), float(y + at * out), float(far)},
                        {float(x + (1 - at) * along), float(y - (1 - at) * out), float(far)}};
        float plane[4];
        ASSERT_TRUE(CalcPlane(corner[0], 3, plane));
        if (!PointInsideTriangle(corner, plane, point, kContact)) continue;
        ASSERT_TRUE(MayBeCarriedInto(edge, corner, plane)) << n;
        ++inside;
    }
    EXPECT_GT(inside, 20000);
}

} // namespace
