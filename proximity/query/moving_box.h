// The box of a node and its slab, placed, as a motion sees them (Lemmas M1 to M4).
#ifndef PROXIMITY_QUERY_MOVING_BOX_H
#define PROXIMITY_QUERY_MOVING_BOX_H

#include <algorithm>
#include <cmath>

#include "proximity/query/motion_bounds.h"

namespace proximity
{

/// A box and its slab, placed.
struct NodeBox {
    Vec center, half; ///< center placed, half extents along the axes of the body
    double extent;    ///< length of half, with room for poses that are not quite rigid
    Vec normal;       ///< of the slab, placed
    double low, high; ///< of the slab, from the body's centre
    Vec offset;       ///< center, from the body's centre
    Vec bodyCenter;
    const Mat* rotation;
    MovingPoints points{}; ///< seen from the pivot
};

/// The farthest that anything in a box and its slab lies along a direction (Lemma B1).
inline double SupportOf(const NodeBox& box, const Vec& direction)
{
    const auto along = [&](const Vec& d) {
        const Vec inBody = TransposedTimes(*box.rotation, d);
        double sum = Dot(d, box.offset);
        for (int i = 0; i < 3; ++i) sum += std::fabs(inBody[i]) * box.half[i];
        return sum;
    };
    const double part = Dot(direction, box.normal);
    const double slab =
        std::max(part * box.low, part * box.high) + along(direction - part * box.normal);
    return Dot(direction, box.bodyCenter) + std::min(along(direction), slab);
}

/// Does nothing in Y lie farther than `room` ahead of anything in X, seen along the unit direction
/// in which X goes straight, away from Y? Then no pair below comes closer or deeper by more than
/// that (Lemma M6).
inline bool PartsForGood(const NodeBox& x, const NodeBox& y, const Vec& away, double room)
{
    return SupportOf(y, away) + SupportOf(x, -1.0 * away) <= room;
}

NodeBox PlaceBox(const Placement& placement, const Rates& rates, const Box& box);

} // namespace proximity

#endif
