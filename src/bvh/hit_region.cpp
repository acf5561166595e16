#include "bvh/hit_region.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "geometry/predicates.h"
#include "geometry/vector.h"

// PointInsideTriangle takes a point P when c_i . (P - T_i) < t for all three sides, where c_i is
// the side's vector times the normal, in floats. Taken with these very floats that is a larger
// triangle: its corners are where two of the lines c_i . (P - T_i) = t meet. The only rounding left
// is that of P - T_i, which is relative to the triangle's size, however far it is from the origin;
// but the tips of slivers move by many times that.

namespace
{

constexpr double kThickness = 4e-4; ///< above three contact tolerances
constexpr double kTwoContacts = 2e-4;
constexpr double kRounding = 1e-6; ///< of a few float operations, relative
constexpr double kOnce = 6.1e-8;   ///< of one float operation, relative
constexpr double kMinSine = 1e-5;  ///< of the angle between two sides
constexpr double kMaxGrowth = 1e3; ///< of the larger triangle over the sides

using Vector = std::array<double, 3>;

struct SideLine {
    Vector c;      ///< outward, not unit
    double offset; ///< bound on c . (P - T0), but for rounding
    double length; ///< of c
};

double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// The side that ends at corner i, as PointInsideTriangle computes it.
SideLine MakeSide(const float (*corners)[3], const float* normal, int i)
{
    float e[3], c[3];
    Subtract(corners[i], corners[(i + 2) % 3], e);
    cross(e, normal, c);
    SideLine side{{c[0], c[1], c[2]}, double(kContact), std::sqrt(dot(c, c))};
    for (std::size_t axis = 0; axis < 3; ++axis)
        side.offset += side.c[axis] * (double(corners[i][axis]) - corners[0][axis]);
    return side;
}

/// Intersection of two side lines in the plane, relative to corner 0: x with c_i . x = offset_i.
/// @param slack  distance by which both are moved outwards
/// @return false when they are nearly parallel, or run around the wrong way
bool Meet(const SideLine& a, const SideLine& b, const Vector& normal, double slack, Vector& x)
{
    const double determinant = normal[0] * (a.c[1] * b.c[2] - a.c[2] * b.c[1]) +
                               normal[1] * (a.c[2] * b.c[0] - a.c[0] * b.c[2]) +
                               normal[2] * (a.c[0] * b.c[1] - a.c[1] * b.c[0]);
    if (!(determinant > kMinSine * a.length * b.length)) return false;
    // x = (offset_a * (b x n) + offset_b * (n x a)) / determinant
    const double offsetA = (a.offset + slack * a.length) / determinant,
                 offsetB = (b.offset + slack * b.length) / determinant;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        x[i] = offsetA * (b.c[j] * normal[k] - b.c[k] * normal[j]) +
               offsetB * (normal[j] * a.c[k] - normal[k] * a.c[j]);
    }
    return true;
}

/// Corners of the larger triangle, relative to corner 0.
/// @param height  greatest distance of P from the plane through that corner
/// @return false when it cannot be bounded
bool LargerTriangle(const float (*corners)[3], const float* plane, double height,
                    std::array<Vector, 3>& larger)
{
    const Vector normal{plane[0], plane[1], plane[2]};
    std::array<SideLine, 3> sides{};
    for (int i = 0; i < 3; ++i) sides[static_cast<std::size_t>(i)] = MakeSide(corners, plane, i);
    const double longest = std::max({sides[0].length, sides[1].length, sides[2].length});
    // The slack grows with the size of the result: try sizes until one holds.
    for (double growth = 1.5; growth < kMaxGrowth; growth *= 4) {
        const double most = growth * longest, slack = kOnce * (most + longest) + 4 * kOnce * height;
        double farthest = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            if (!Meet(sides[i], sides[(i + 1) % 3], normal, slack, larger[i])) return false;
            farthest = std::max(farthest, Dot(larger[i], larger[i]));
        }
        if (farthest < most * most) return true;
    }
    return false;
}

} // namespace

bool CalcHitRegion(const float (*corners)[3], const float* plane, double maxCoordinate,
                   HitRegion& region)
{
    // The plane as floats need not contain corner 0.
    const double rounding = kRounding * maxCoordinate,
                 offset = std::fabs(dot(plane, corners[0]) + plane[3]) + kTwoContacts + rounding;
    std::array<Vector, 3> larger{};
    if (!LargerTriangle(corners, plane, kThickness + offset, larger)) return false;
    for (int axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i < 3; ++i)
            region.corner[i][axis] =
                float(corners[0][axis] + larger[i][static_cast<std::size_t>(axis)]);
        const double margin = kThickness * std::fabs(double(plane[axis])) + offset + 3 * rounding;
        const auto [low, high] =
            std::minmax({region.corner[0][axis], region.corner[1][axis], region.corner[2][axis]});
        region.box[axis] = RoundDown(low - margin);
        region.box[axis + 3] = RoundUp(high + margin);
    }
    region.corners = 3;
    region.pad = RoundUp(kThickness + offset + 4 * rounding);
    return true;
}

bool MayBeCarriedInto(const float (*edge)[3], const float (*corners)[3], const float* plane)
{
    constexpr double kFrom = -1.001, kTo = 2.001; // 0 at the first end, 1 at the second
    double maxCoordinate = 0;
    for (int axis = 0; axis < 3; ++axis) {
        for (int i = 0; i < 2; ++i)
            maxCoordinate = std::max(maxCoordinate, 3 * std::fabs(double(edge[i][axis])));
        for (int i = 0; i < 3; ++i)
            maxCoordinate = std::max(maxCoordinate, std::fabs(double(corners[i][axis])));
    }
    // The part of the edge's line inside all three sides.
    double from = kFrom, to = kTo;
    for (int i = 0; i < 3; ++i) {
        const SideLine side = MakeSide(corners, plane, i);
        Vector first{}, vector{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            first[axis] = double(edge[0][axis]) - corners[0][axis];
            vector[axis] = double(edge[1][axis]) - edge[0][axis];
        }
        const double slack = 4 * kRounding * maxCoordinate * side.length;
        const double start = side.offset + slack - Dot(side.c, first), slope = Dot(side.c, vector);
        if (slope > 0) to = std::min(to, start / slope);
        if (slope < 0) from = std::max(from, start / slope);
        if (slope == 0 && start < 0) return false;
    }
    return from <= to;
}

void SetToBox(HitRegion& region, const float* box)
{
    std::copy_n(box, 6, region.box);
    region.corners = 8;
    region.pad = 0;
}

Point3 CornerOf(const HitRegion& region, int i)
{
    if (region.corners == 3) {
        const float* corner = region.corner[i];
        return {corner[0], corner[1], corner[2]};
    }
    return {region.box[i & 1 ? 3 : 0], region.box[i & 2 ? 4 : 1], region.box[i & 4 ? 5 : 2]};
}
