#include "bvh/hit_region.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "geometry/vector.h"

// PointInsideTriangle takes a point P when c_i . (P - T_i) < t for all three sides, where c_i is
// the side's vector times the normal, in floats. Taken with these very floats that is a larger
// triangle: its corners are where two of the lines c_i . (P - T_i) = t meet. The only rounding left
// is that of P - T_i, which is relative to the triangle's size, however far it is from the origin;
// but the tips of slivers move by many times that.

namespace
{

constexpr double kThickness = 4e-4;    ///< above three contact tolerances
constexpr double kBesideSide = 1.5e-4; ///< above the diagonal of a square of one
constexpr double kRounding = 1e-6;     ///< of a few float operations, relative
constexpr double kOnce = 6.1e-8;       ///< of one float operation, relative
constexpr double kMinSine = 1e-5;      ///< of the angle between two sides
/// Sizes of the larger triangle over the longest side, tried until one holds.
constexpr std::array kGrowths{1.5, 6., 24., 96., 384.};
// Loose regions, in diagonals of the cell: how far from it they reach, and half of that.
constexpr double kCellsAround = 4;
constexpr double kCellsForEdge = 1.999;
constexpr double kAcross = 1e-9; ///< that a height of kThickness moves a point across a side line

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
    // The slack grows with the size of the result.
    for (const double growth : kGrowths) {
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

/// What is near a cell: all points within kCellsAround of its diagonals, and some more.
struct Ball {
    Vector centre;
    double diagonal; ///< of the cell
    double radius;
};

Ball BallAround(const float* cell)
{
    Ball ball{{}, distance(cell, cell + 3), 0};
    for (std::size_t axis = 0; axis < 3; ++axis)
        ball.centre[axis] = 0.5 * (double(cell[axis]) + cell[axis + 3]);
    ball.radius = 1.0001 * (kCellsAround + 0.5) * ball.diagonal;
    return ball;
}

struct Polygon {
    std::array<Vector, 13> corner; ///< a square, cut by three lines, which rounding can make jagged
    std::size_t count;
};

/// Cuts off what lies beyond c . x = offset.
void Cut(Polygon& polygon, const Vector& c, double offset)
{
    Polygon kept{};
    for (std::size_t i = 0; i < polygon.count; ++i) {
        const Vector &from = polygon.corner[i], &to = polygon.corner[(i + 1) % polygon.count];
        const double a = Dot(c, from) - offset, b = Dot(c, to) - offset;
        if (!(a > 0)) kept.corner[kept.count++] = from;
        if ((a > 0) == (b > 0)) continue;
        const double t = a / (a - b);
        for (std::size_t r = 0; r < 3; ++r)
            kept.corner[kept.count][r] = from[r] + t * (to[r] - from[r]);
        ++kept.count;
    }
    polygon = kept;
}

/// The square around the ball in a plane.
/// @param origin  to which its corners are relative
/// @return empty where the plane misses the ball
Polygon SquareIn(const float* plane, const Ball& ball, const float* origin)
{
    const Vector normal{plane[0], plane[1], plane[2]};
    const double height = Dot(normal, ball.centre) + plane[3];
    if (!(std::fabs(height) < ball.radius + kThickness)) return {};
    Vector u{}, v{};
    u[static_cast<std::size_t>(SmallestAxis(plane))] = 1;
    const double along = Dot(u, normal);
    for (std::size_t r = 0; r < 3; ++r) u[r] -= along * normal[r];
    const double scale = ball.radius / std::sqrt(Dot(u, u));
    for (double& x : u) x *= scale;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        v[i] = normal[j] * u[k] - normal[k] * u[j];
    }
    Polygon square{{}, 4};
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t r = 0; r < 3; ++r)
            square.corner[c][r] = ball.centre[r] - height * normal[r] - origin[r] +
                                  (c == 0 || c == 3 ? u[r] : -u[r]) + (c < 2 ? v[r] : -v[r]);
    return square;
}

/// The part of a plane near a cell that PointInsideTriangle takes for inside: between the side
/// lines, which for a triangle without area is a strip, however long.
/// @return false where nothing is left, or too much
bool ClipPlane(const float (*corners)[3], const float* plane, const Ball& ball, HitRegion& region)
{
    Polygon polygon = SquareIn(plane, ball, corners[0]);
    double farthest = 0;
    for (std::size_t i = 0; i < polygon.count; ++i)
        farthest = std::max(farthest, Dot(polygon.corner[i], polygon.corner[i]));
    for (int i = 0; i < 3; ++i) {
        const SideLine side = MakeSide(corners, plane, i);
        const double slack = 4 * kOnce * (std::sqrt(farthest) + distance(corners[i], corners[0]));
        Cut(polygon, side.c, side.offset + (slack + kAcross) * side.length);
    }
    if (polygon.count == 0 || polygon.count + 3 > HitRegion::kMaxCorners) return false;
    for (std::size_t i = 0; i < polygon.count; ++i) {
        for (std::size_t r = 0; r < 3; ++r)
            region.corner[region.corners][r] = float(corners[0][r] + polygon.corner[i][r]);
        ++region.corners;
    }
    return true;
}

} // namespace

bool CalcHitRegion(const float (*corners)[3], const float* plane, double maxCoordinate,
                   HitRegion& region)
{
    // The plane as floats need not contain corner 0.
    const double rounding = kRounding * maxCoordinate,
                 offset = std::fabs(dot(plane, corners[0]) + plane[3]) + rounding;
    std::array<Vector, 3> larger{};
    if (!LargerTriangle(corners, plane, kThickness + offset, larger)) return false;
    for (int axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i < 3; ++i)
            region.corner[i][axis] =
                float(corners[0][axis] + larger[i][static_cast<std::size_t>(axis)]);
        const double across = kThickness * std::fabs(double(plane[axis])),
                     margin = std::max(across, kBesideSide) + offset + 3 * rounding;
        const auto [low, high] =
            std::minmax({region.corner[0][axis], region.corner[1][axis], region.corner[2][axis]});
        region.box[axis] = RoundDown(low - margin);
        region.box[axis + 3] = RoundUp(high + margin);
    }
    region.corners = 3;
    region.isLoose = false;
    region.longestEdge = HUGE_VALF;
    region.pad = RoundUp(kThickness + offset + 4 * rounding);
    return true;
}

float PlainAltitude(const float (*corners)[3], float longest, float* normal)
{
    // So that LargerTriangle holds with the first of kGrowths (Lemma 15).
    constexpr double kMinArea = 2e-3, kMinPerLongest = 1.0 / 64, kMinPerCoordinate = 1e-4;
    double u[3], v[3], maxCoordinate = 0;
    for (int i = 0; i < 3; ++i) {
        u[i] = double(corners[1][i]) - corners[0][i];
        v[i] = double(corners[2][i]) - corners[0][i];
        for (int c = 0; c < 3; ++c)
            maxCoordinate = std::max(maxCoordinate, std::fabs(double(corners[c][i])));
    }
    const double n[] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                        u[0] * v[1] - u[1] * v[0]};
    const double area = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]),
                 altitude = area / longest;
    if (!(area > kMinArea && altitude > kMinPerLongest * longest &&
          altitude > kMinPerCoordinate * maxCoordinate))
        return 0;
    for (int i = 0; i < 3; ++i) normal[i] = float(n[i] / area);
    return float(altitude);
}

RegionMargins MarginsOf(double altitude, double longest, double maxCoordinate)
{
    const double tilt = 16 * kOnce * (maxCoordinate / altitude + 1);
    const double reach = (2.02 * kContact + 24 * kOnce * longest * longest) / altitude +
                         2 * tilt * longest + kThickness + 6 * kRounding * maxCoordinate;
    return {reach, tilt};
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

void CalcLooseRegion(const float (*corners)[3], const float* plane, const float* cell,
                     double maxCoordinate, HitRegion& region)
{
    region = {};
    region.isLoose = true;
    region.longestEdge = HUGE_VALF;
    double reach = maxCoordinate;
    if (dot(plane, plane) > 0) {
        const Ball ball = BallAround(cell);
        if (!ClipPlane(corners, plane, ball, region)) return SetToBox(region, cell);
        region.longestEdge = RoundDown(kCellsForEdge * ball.diagonal);
        for (std::size_t axis = 0; axis < 3; ++axis)
            reach = std::max(reach, std::fabs(ball.centre[axis]) + 2 * ball.radius);
    }
    for (int c = 0; c < 3; ++c) std::copy_n(corners[c], 3, region.corner[region.corners++]);
    region.pad = RoundUp(kThickness + kRounding * reach);
    ClearBbox(region.box);
    for (int c = 0; c < region.corners; ++c) ExtendBbox(region.box, region.corner[c]);
    for (int axis = 0; axis < 3; ++axis) {
        region.box[axis] = RoundDown(double(region.box[axis]) - region.pad);
        region.box[axis + 3] = RoundUp(double(region.box[axis + 3]) + region.pad);
    }
}

void SetToBox(HitRegion& region, const float* box)
{
    std::copy_n(box, 6, region.box);
    for (int c = 0; c < 8; ++c)
        for (int axis = 0; axis < 3; ++axis)
            region.corner[c][axis] = box[c >> axis & 1 ? axis + 3 : axis];
    region.corners = 8;
    region.pad = 0;
    region.isLoose = true;
    region.longestEdge = 0;
}
