#include "proximity/query/extent_gaps.h"

#include <algorithm>
#include <utility>

namespace proximity
{
namespace
{

constexpr Placement kInPlace{{{{{1, 0, 0}}, {{0, 1, 0}}, {{0, 0, 1}}}}, {}, 0, 0};

struct PlacedExtents {
    Vec low, high;
};

/// The steps of PlacePoint, with the end of the extents that makes each product least or greatest.
PlacedExtents PlaceExtents(const Body& body, const Placement& placement, Handle handle)
{
    const Extents& extents = body.GetExtents()[static_cast<std::size_t>(handle)];
    const Vec center = VecOf(body.tree.center);
    const Vec low = VecOf(extents.low) - center, high = VecOf(extents.high) - center;
    PlacedExtents placed{};
    for (int axis = 0; axis < 3; ++axis) {
        const Vec& row = placement.rotation.row[axis];
        Vec least = low, most = high;
        for (int k = 0; k < 3; ++k)
            if (row[k] < 0) std::swap(least[k], most[k]);
        placed.low[axis] = Dot(row, least) + placement.center[axis];
        placed.high[axis] = Dot(row, most) + placement.center[axis];
    }
    return placed;
}

/// By axis, negative where they overlap.
Vec GapsOf(const PlacedExtents& a, const PlacedExtents& b)
{
    Vec gaps{};
    for (int axis = 0; axis < 3; ++axis)
        gaps[axis] = std::max(b.low[axis] - a.high[axis], a.low[axis] - b.high[axis]);
    return gaps;
}

double DistanceOf(const PlacedExtents& a, const PlacedExtents& b)
{
    Vec gaps = GapsOf(a, b);
    for (double& gap : gaps.x) gap = std::max(gap, 0.0);
    return Length(gaps);
}

/// Of Y in the frame of X.
Placement SeenFrom(const Placement& x, const Placement& y)
{
    Placement relative{};
    for (int i = 0; i < 3; ++i)
        relative.rotation.row[i] = TransposedTimes(y.rotation, Column(x.rotation, i));
    relative.center = TransposedTimes(x.rotation, y.center - x.center);
    return relative;
}

} // namespace

ExtentGaps MakeExtentGaps(const Body& a, const Body& b, const PlacedPair& pair)
{
    return {a,
            b,
            pair.a,
            pair.b,
            SeenFrom(pair.b, pair.a),
            SeenFrom(pair.a, pair.b),
            MakeNodeSlack(a, b, pair, kUnit)};
}

double GapInWorld(const ExtentGaps& gaps, Handle a, Handle b)
{
    const Vec along = GapsOf(PlaceExtents(gaps.a, gaps.inA, a), PlaceExtents(gaps.b, gaps.inB, b));
    return std::max({along[0], along[1], along[2]});
}

bool AreFarther(const ExtentGaps& gaps, Handle a, Handle b, double limit)
{
    constexpr double kRoundUp = 1 + 16 * kUnit;
    const auto distance = [&](const Placement& placementA, const Placement& placementB) {
        return DistanceOf(PlaceExtents(gaps.a, placementA, a), PlaceExtents(gaps.b, placementB, b));
    };
    const double error = gaps.inA.error + gaps.inB.error;
    if (distance(gaps.inA, gaps.inB) > (limit + error) * kRoundUp) return true;
    const double far = (limit + gaps.slack.length) * gaps.slack.factor * kRoundUp;
    return distance(kInPlace, gaps.bSeenFromA) > far || distance(gaps.aSeenFromB, kInPlace) > far;
}

} // namespace proximity
