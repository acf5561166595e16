#include "bvh/hit_region.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "geometry/predicates.h"
#include "geometry/vector.h"

// Crossing points. PointInsideTriangle takes a point P when c_i * (P - T_i) < t for all three
// sides, where c_i is the side's vector times the normal, all floats. With the very floats that the
// test uses, this is a triangle again, larger by t over the length of each side: its corners are
// where two of the lines c_i * (P - T_i) = t meet. The only rounding in it is that of P - T_i,
// which is as small as the triangle however far that is from the origin; corners of slivers move by
// many times of what their sides do. P also lies near the plane: on it, up to its own rounding,
// when it was computed for this triangle; within three tolerances when it was carried over, because
// then the edge runs almost parallel to the plane with an end within one.
//
// In the plane. Where lines cross, SegmentsIntersecting asks for a point within a tolerance of
// both. Where it calls them parallel it compares ends by spheres: that room is the query's to give,
// since it shrinks with the length of the edge.

namespace
{

constexpr double kThickness = 4e-4; ///< more than three contact tolerances
constexpr double kTwoContacts = 2e-4;
constexpr double kRounding = 1e-6;  ///< of floats, some times over, relative
constexpr double kOnce = 6.1e-8;    ///< of one float, relative
constexpr double kLeastSine = 1e-5; ///< of the angle between two sides
constexpr double kMostGrowth = 1e3; ///< of the larger triangle over the sides

using Vector = std::array<double, 3>;

struct SideLine {
    Vector c;      ///< outward, not unit
    double offset; ///< c * (P - T0) is below it, but for rounding
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

/// Where two side lines meet in the plane, relative to corner 0: x with c_i * x = offset_i.
/// @param slack  by which both lie farther out
/// @return false when they run too nearly alike, or turn the wrong way
bool Meet(const SideLine& a, const SideLine& b, const Vector& normal, double slack, Vector& x)
{
    const double determinant = normal[0] * (a.c[1] * b.c[2] - a.c[2] * b.c[1]) +
                               normal[1] * (a.c[2] * b.c[0] - a.c[0] * b.c[2]) +
                               normal[2] * (a.c[0] * b.c[1] - a.c[1] * b.c[0]);
    if (!(determinant > kLeastSine * a.length * b.length)) return false;
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
/// @param height  the most by which P can lie off the plane through that corner
/// @return false when it cannot be bounded
bool LargerTriangle(const float (*corners)[3], const float* plane, double height,
                    std::array<Vector, 3>& larger)
{
    const Vector normal{plane[0], plane[1], plane[2]};
    std::array<SideLine, 3> sides{};
    for (int i = 0; i < 3; ++i) sides[static_cast<std::size_t>(i)] = MakeSide(corners, plane, i);
    const double longest = std::max({sides[0].length, sides[1].length, sides[2].length});
    // The more slack the farther it reaches, and the farther the more.
    for (double growth = 1.5; growth < kMostGrowth; growth *= 4) {
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

bool CalcHitRegion(const float (*corners)[3], const float* plane, double reach, HitRegion& region)
{
    // The plane of the floats may pass corner 0 by: points on it lie by so much beside.
    const double rounding = kRounding * reach,
                 besides = std::fabs(dot(plane, corners[0]) + plane[3]) + kTwoContacts + rounding;
    std::array<Vector, 3> larger{};
    if (!LargerTriangle(corners, plane, kThickness + besides, larger)) return false;
    for (int axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i < 3; ++i)
            region.corner[i][axis] =
                float(corners[0][axis] + larger[i][static_cast<std::size_t>(axis)]);
        const double margin = kThickness * std::fabs(double(plane[axis])) + besides + 3 * rounding;
        const auto [low, high] =
            std::minmax({region.corner[0][axis], region.corner[1][axis], region.corner[2][axis]});
        region.box[axis] = RoundDown(low - margin);
        region.box[axis + 3] = RoundUp(high + margin);
    }
    region.corners = 3;
    region.pad = RoundUp(kThickness + besides + 4 * rounding);
    return true;
}

bool MayBeCarriedInto(const float (*edge)[3], const float (*corners)[3], const float* plane)
{
    constexpr double kFrom = -1.001, kTo = 2.001; // of the way from the first end to the second
    double reach = 0;
    for (int axis = 0; axis < 3; ++axis) {
        for (int i = 0; i < 2; ++i) reach = std::max(reach, 3 * std::fabs(double(edge[i][axis])));
        for (int i = 0; i < 3; ++i) reach = std::max(reach, std::fabs(double(corners[i][axis])));
    }
    // What of the way is inside all three sides.
    double from = kFrom, to = kTo;
    for (int i = 0; i < 3; ++i) {
        const SideLine side = MakeSide(corners, plane, i);
        Vector first{}, way{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            first[axis] = double(edge[0][axis]) - corners[0][axis];
            way[axis] = double(edge[1][axis]) - edge[0][axis];
        }
        const double slack = 4 * kRounding * reach * side.length;
        const double start = side.offset + slack - Dot(side.c, first), climb = Dot(side.c, way);
        if (climb > 0) to = std::min(to, start / climb);
        if (climb < 0) from = std::max(from, start / climb);
        if (climb == 0 && start < 0) return false;
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
