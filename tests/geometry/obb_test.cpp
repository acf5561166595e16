#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/vec.h"

namespace
{

double Triple(const Point3& a, const Point3& b, const Point3& c)
{
    return Product(a, Normal(b, c));
}

// A flat box of long sides far from the origin: its axes, as floats, are neither unit nor at right
// angles, and by more than it is thick.
TEST(Obb, FittedBoxesHoldTheirPointsThoughTheirAxesAreRounded)
{
    const Draws draw(1);
    for (int n = 0; n < 30000; ++n) {
        const double size[] = {draw.Size(1e-3, 1e3), draw.Size(1e-3, 1e3), draw.Size(1e-9, 1)},
                     far = draw.Below(2) ? draw.Size(1, 1e5) : 0;
        const Frame axis{AnyPoint(draw), AnyPoint(draw), AnyPoint(draw)};
        std::vector<Point3> points(6, Sum({}, AnyPoint(draw), far));
        for (Point3& p : points)
            for (std::size_t i = 0; i < 3; ++i) p = Sum(p, axis[i], size[i] * draw.Between(-1, 1));
        // Along the thin direction.
        const Point3 thin = Unit(Normal(axis[0], axis[1]));
        NormalBounds normals;
        for (std::size_t r = 0; r < 3; ++r) normals.low[r] = normals.high[r] = float(thin[r]);
        const Obb box = FitBox(normals, points, 0);
        const Point3 a[] = {Widened(box.axis[0]), Widened(box.axis[1]), Widened(box.axis[2])};
        for (const Point3& p : points) {
            const Point3 d = Sum(p, Widened(box.centre), -1);
            // d = sum of h_i a_i, solved for h, in doubles.
            const double whole = Triple(a[0], a[1], a[2]);
            ASSERT_LE(std::fabs(Triple(d, a[1], a[2]) / whole), box.half[0]) << n;
            ASSERT_LE(std::fabs(Triple(a[0], d, a[2]) / whole), box.half[1]) << n;
            ASSERT_LE(std::fabs(Triple(a[0], a[1], d) / whole), box.half[2]) << n;
        }
    }
}

} // namespace
