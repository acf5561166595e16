// When do two moving bodies first touch?
#ifndef PROXIMITY_QUERY_IMPACT_H
#define PROXIMITY_QUERY_IMPACT_H

#include "proximity/query/search.h"

namespace proximity
{

struct Impact {
    bool contact = false;
    bool finished = false; ///< contact, or clear to the end; else the budget or rounding stopped it
    double timeClear = 0;  ///< shown to be clear at all times below
    std::int32_t a = -1, b = -1;
    double lower = 0, upper = 0;
    Vec pointA{}, pointB{}, normal{};
    double clearance = HUGE_VAL; ///< least upper bound of the distances that were met
    std::int64_t tests = 0;
};

/// @param leaves  the bodies are in contact at the start: of the pairs of triangles that are, only
///                those count that come closer or deeper by the resolution
Impact FindImpact(const Body& a, const Body& b, const MovingPair& moving, const Limits& limits,
                  bool leaves, Scratch& scratch);

/// From A to B at a contact: along the points where they are apart, else along the widest gap.
Vec ContactNormal(const Triangle& a, const Triangle& b, const PairDistance& distance);

} // namespace proximity

#endif
