#include "geometry/obb.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "support/sampler.h"

namespace
{

double Triple(const Point3& a, const Point3& b, const Point3& c)
{
    return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
           a[2] * (b[0] * c[1] - b[1] * c[0]);
}

// A flat box of long sides far from the origin: its axes, as floats, are neither unit nor at right
// angles, and by more than it is thick.
TEST(Obb, FittedBoxesHoldTheirPointsThoughTheirAxesAreRounded)
{
    std::mt19937 engine(1);
    const std::function<std::uint32_t()> random = [&] { return engine(); };
    const Sampler draw{random};
    for (int n = 0; n < 30000; ++n) {
        const double size[] = {draw.Size(1e-3, 1e3), draw.Size(1e-3, 1e3), draw.Size(1e-9, 1)},
                     far = draw.Below(2) ? draw.Size(1, 1e5) : 0;
        Point3 axis[3], middle{};
        for (Point3& one : axis)
            one = {draw.Between(-1, 1), draw.Between(-1, 1), draw.Between(-1, 1)};
        for (double& x : middle) x = far * draw.Between(-1, 1);
        std::vector<Point3> points(6, middle);
        for (Point3& p : points)
            for (std::size_t i = 0; i < 3; ++i) {
                const double step = size[i] * draw.Between(-1, 1);
                for (std::size_t r = 0; r < 3; ++r) p[r] += step * axis[i][r];
            }
        // Along the thin direction.
        const Point3 n0 = {axis[0][1] * axis[1][2] - axis[0][2] * axis[1][1],
                           axis[0][2] * axis[1][0] - axis[0][0] * axis[1][2],
                           axis[0][0] * axis[1][1] - axis[0][1] * axis[1][0]};
        const double length = std::hypot(n0[0], n0[1], n0[2]) + 1e-9;
        NormalBounds normals;
        for (std::size_t r = 0; r < 3; ++r)
            normals.low[r] = normals.high[r] = float(n0[r] / length);
        const Obb box = FitBox(normals, points, 0);
        Point3 a[3];
        for (std::size_t i = 0; i < 3; ++i) a[i] = {box.axis[i][0], box.axis[i][1], box.axis[i][2]};
        for (const Point3& p : points) {
            const Point3 d{p[0] - box.centre[0], p[1] - box.centre[1], p[2] - box.centre[2]};
            // d = sum of h_i a_i, solved for h, in doubles.
            const double whole = Triple(a[0], a[1], a[2]);
            ASSERT_LE(std::fabs(Triple(d, a[1], a[2]) / whole), box.half[0]) << n;
            ASSERT_LE(std::fabs(Triple(a[0], d, a[2]) / whole), box.half[1]) << n;
            ASSERT_LE(std::fabs(Triple(a[0], a[1], d) / whole), box.half[2]) << n;
        }
    }
}

} // namespace
