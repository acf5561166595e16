#include "proximity/query/separation.h"

namespace proximity
{
namespace
{

struct Edges {
    Vec edge[3], normal;

    explicit Edges(const Triangle& triangle)
    {
        for (int i = 0; i < 3; ++i)
            edge[i] = VecOf(triangle.corner[(i + 1) % 3]) - VecOf(triangle.corner[i]);
        normal = Cross(edge[0], edge[1]);
    }
};

void AddDirection(const Triangle& a, const Triangle& b, const Vec& along, Directions& directions)
{
    const double length = Length(along);
    // Rounding leaves some length to the cross product of parallel edges; any direction is valid.
    if (!(length > 0) || directions.count == kMostDirections) return;
    Vec direction = (1 / length) * along;
    const Span spanA = SpanAlong(a, direction), spanB = SpanAlong(b, direction);
    double gap = spanB.low - spanA.high;
    if (const double other = spanA.low - spanB.high; other > gap)
        direction = -1.0 * direction, gap = other;
    if (!(gap > -HUGE_VAL)) return;
    const int at = directions.count++;
    directions.direction[at] = direction;
    directions.gap[at] = gap;
    if (directions.widest < 0 || gap > directions.gap[directions.widest]) directions.widest = at;
}

} // namespace

Directions DirectionsOfNormals(const Triangle& a, const Triangle& b)
{
    Directions directions;
    AddDirection(a, b, Edges(a).normal, directions);
    AddDirection(a, b, Edges(b).normal, directions);
    return directions;
}

Directions SeparatingDirections(const Triangle& a, const Triangle& b, const Vec& hint)
{
    const Edges edgesA(a), edgesB(b);
    Directions directions;
    AddDirection(a, b, hint, directions);
    AddDirection(a, b, edgesA.normal, directions);
    AddDirection(a, b, edgesB.normal, directions);
    for (const Vec& p : edgesA.edge) {
        for (const Vec& q : edgesB.edge) AddDirection(a, b, Cross(p, q), directions);
        AddDirection(a, b, Cross(edgesA.normal, p), directions);
    }
    for (const Vec& q : edgesB.edge) AddDirection(a, b, Cross(edgesB.normal, q), directions);
    return directions;
}

} // namespace proximity
