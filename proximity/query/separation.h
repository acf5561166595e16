// Two triangles along a direction: the gap between them, and for how long a gap lasts.
#ifndef PROXIMITY_QUERY_SEPARATION_H
#define PROXIMITY_QUERY_SEPARATION_H

#include "proximity/kernel/triangle_pair.h"
#include "proximity/query/vector.h"

namespace proximity
{

struct Span {
    double low, high;
};

inline Span SpanAlong(const Triangle& triangle, const Vec& direction)
{
    Span span{HUGE_VAL, -HUGE_VAL};
    for (const auto& corner : triangle.corner) {
        const double at = Dot(direction, VecOf(corner));
        span.low = at < span.low ? at : span.low;
        span.high = at > span.high ? at : span.high;
    }
    return span;
}

/// From the end of A to the start of B along a direction; negative where they overlap there.
inline double GapAlong(const Triangle& a, const Triangle& b, const Vec& direction)
{
    return SpanAlong(b, direction).low - SpanAlong(a, direction).high;
}

constexpr int kMostDirections = 18;

/// Unit vectors along which two triangles may have their widest gap: normals, cross products of
/// edges, and normals of edges in their planes (Gottschalk 1996); each turned so that its gap from
/// A to B is the wider one. Those of length zero are left out.
struct Directions {
    int count = 0;
    Vec direction[kMostDirections];
    double gap[kMostDirections];
    int widest = -1;
};

/// The two normals alone.
Directions DirectionsOfNormals(const Triangle& a, const Triangle& b);

/// @param hint  one direction more, or zeros
Directions SeparatingDirections(const Triangle& a, const Triangle& b, const Vec& hint);

} // namespace proximity

#endif
