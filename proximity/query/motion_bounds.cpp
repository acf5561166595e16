#include "proximity/query/motion_bounds.h"

#include <algorithm>

namespace proximity
{

Rates RatesAt(const MovingBody& body, double time)
{
    const Vec spin = body.angle * body.axis;
    return {body.path, spin, Length(spin), body.pivotStart + time * body.path};
}

Rings RingsOf(const Rates& turning, const PlacedLeaf& leaf)
{
    Rings rings{};
    for (int i = 0; i < leaf.count; ++i) {
        const Triangle triangle = leaf.TriangleAt(i);
        Vec across[3], middle{};
        for (int k = 0; k < 3; ++k) {
            across[k] = AcrossAxis(turning, VecOf(triangle.corner[k]) - turning.pivot);
            middle = middle + across[k];
            rings.most[i] = std::max(rings.most[i], Length(across[k]));
        }
        // Along the direction of the middle nothing of the triangle is less far than a corner.
        double least = HUGE_VAL;
        for (const Vec& corner : across) least = std::min(least, Dot(middle, corner));
        rings.least[i] = least > 0 ? least / Length(middle) : 0;
    }
    return rings;
}

} // namespace proximity
