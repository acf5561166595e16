#include "proximity/query/moving_box.h"

namespace proximity
{
namespace
{

/// How far anything in a box gets from the axis that its body turns about: a bound for its extents
/// along two directions across the axis, one of them that of the slab.
/// @param offRigid  of the pose: a slab is off by so much of what its body reaches
double RadiusOfBox(const Rates& rates, const NodeBox& box, const Vec& arm, double offRigid)
{
    const double ball = RadiusOf(rates, arm, box.extent);
    if (rates.speed == 0) return ball;
    const Vec axis = (1 / rates.speed) * rates.spin;
    const Vec across = Cross(axis, box.normal);
    const double length = Length(across);
    if (!(length > 1e-3)) return ball;
    const Vec second = (1 / length) * across, first = Cross(second, axis);
    const auto farthest = [&](const Vec& d) {
        const double at = Dot(d, rates.pivot);
        return std::max({0.0, SupportOf(box, d) - at, SupportOf(box, -1.0 * d) + at});
    };
    const double skew = 2 * offRigid * (Length(box.offset) + box.extent);
    return std::min(ball, std::hypot(farthest(first), farthest(second), 0.0) * (1 + 1e-14) + skew);
}

} // namespace

NodeBox PlaceBox(const Placement& placement, const Rates& rates, const Box& box)
{
    NodeBox placed;
    placed.offset = placement.rotation * Vec{{box.center[0], box.center[1], box.center[2]}};
    placed.center = placed.offset + placement.center;
    placed.half = {{box.half[0], box.half[1], box.half[2]}};
    placed.extent = Length(placed.half) * (1 + placement.offRigid);
    placed.normal = placement.rotation * Vec{{box.normal[0], box.normal[1], box.normal[2]}};
    placed.low = box.low, placed.high = box.high;
    placed.bodyCenter = placement.center;
    placed.rotation = &placement.rotation;
    const Vec arm = placed.center - rates.pivot;
    placed.points = {arm, placed.half, RadiusOfBox(rates, placed, arm, placement.offRigid)};
    return placed;
}

} // namespace proximity
