#include "proximity/mesh/shapes.h"

#include <algorithm>
#include <array>
#include <numbers>

#include "proximity/kernel/angles.h"

namespace proximity
{
namespace
{

constexpr int kMostSegments = 100000;

using Point = std::array<float, 3>;

void AddTriangle(const Point& a, const Point& b, const Point& c, Triangles& triangles)
{
    FloatTriangle triangle;
    std::copy(a.begin(), a.end(), triangle.corner[0]);
    std::copy(b.begin(), b.end(), triangle.corner[1]);
    std::copy(c.begin(), c.end(), triangle.corner[2]);
    triangles.push_back(triangle);
}

/// Segments of a full turn whose chords stay within the tolerance: r (1 - cos(pi / n)) <=
/// tolerance.
/// @return 0 when that takes more than the most
int SegmentsFor(const Chords& chords, double radius)
{
    if (chords.segments) return chords.segments;
    if (!(chords.tolerance > 0)) return 32;
    const double cosine = std::max(-1.0, 1.0 - chords.tolerance / radius);
    const double segments =
        std::ceil(std::numbers::pi / AngleOf(std::sqrt((1 - cosine) * (1 + cosine)), cosine));
    // A cosine that rounds to 1 makes the quotient infinite.
    return segments <= kMostSegments ? std::max(3, static_cast<int>(segments)) : 0;
}

bool SameZ(const ProfilePoint& a, const ProfilePoint& b) { return a.z == b.z; }

/// The profile with a disc at each end that is open.
std::vector<ProfilePoint> WithDiscs(std::span<const ProfilePoint> profile)
{
    std::vector<ProfilePoint> closed(profile.begin(), profile.end());
    const ProfilePoint first = profile.front(), last = profile.back();
    if (first.radius == last.radius && SameZ(first, last)) return closed;
    if (first.radius > 0) closed.insert(closed.begin(), {0.0, first.z});
    if (last.radius > 0) closed.push_back({0.0, last.z});
    return closed;
}

/// One band between two points of the profile.
void AddBand(const std::vector<Point>& low, const std::vector<Point>& high, bool lowOnAxis,
             bool highOnAxis, Triangles& triangles)
{
    for (std::size_t k = 0; k < low.size(); ++k) {
        const std::size_t next = (k + 1) % low.size();
        if (!lowOnAxis) AddTriangle(low[k], low[next], high[next], triangles);
        if (!highOnAxis) AddTriangle(low[k], high[next], high[k], triangles);
    }
}

} // namespace

int MakeBox(const double* low, const double* high, double scale, Triangles& triangles)
{
    Point corner[2];
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double from = low[axis] * scale, to = high[axis] * scale;
        if (!IsGoodCoordinate(from) || !IsGoodCoordinate(to)) return SCAPI_ERROR_COORDINATE;
        corner[0][axis] = static_cast<float>(from);
        corner[1][axis] = static_cast<float>(to);
        if (!(corner[0][axis] < corner[1][axis])) return SCAPI_ERROR_SHAPE;
    }
    // Corner i has bit `axis` of i set where it lies on the high side.
    static constexpr int kFaces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                         {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    const auto at = [&](int i) {
        return Point{corner[i & 1][0], corner[i >> 1 & 1][1], corner[i >> 2][2]};
    };
    for (const auto& face : kFaces) {
        AddTriangle(at(face[0]), at(face[1]), at(face[2]), triangles);
        AddTriangle(at(face[0]), at(face[2]), at(face[3]), triangles);
    }
    return SCAPI_OK;
}

int MakeRevolved(std::span<const ProfilePoint> profile, const Chords& chords, double scale,
                 Triangles& triangles)
{
    double radius = 0;
    for (const ProfilePoint& point : profile) {
        if (!IsGoodCoordinate(point.radius * scale) || !IsGoodCoordinate(point.z * scale))
            return SCAPI_ERROR_COORDINATE;
        if (point.radius < 0) return SCAPI_ERROR_SHAPE;
        radius = std::max(radius, point.radius);
    }
    if (!(radius > 0)) return SCAPI_ERROR_SHAPE;
    const int segments = SegmentsFor(chords, radius);
    if (segments == 0) return SCAPI_ERROR_SHAPE;
    const std::vector<ProfilePoint> closed = WithDiscs(profile);
    if (closed.size() * static_cast<std::size_t>(segments) > SCAPI_MAX_TRIANGLES / 2)
        return SCAPI_ERROR_TOO_MANY;
    std::vector<Point> below, ring(static_cast<std::size_t>(segments));
    for (std::size_t i = 0; i < closed.size(); ++i) {
        for (int k = 0; k < segments; ++k) {
            const double angle = 2 * std::numbers::pi * k / segments;
            const auto [sine, cosine] = SineCosineOf(angle);
            const double r = closed[i].radius * scale;
            ring[static_cast<std::size_t>(k)] = {static_cast<float>(r * cosine),
                                                 static_cast<float>(r * sine),
                                                 static_cast<float>(closed[i].z * scale)};
        }
        if (i) AddBand(below, ring, closed[i - 1].radius == 0, closed[i].radius == 0, triangles);
        below = ring;
    }
    return triangles.empty() ? SCAPI_ERROR_SHAPE : SCAPI_OK;
}

} // namespace proximity
