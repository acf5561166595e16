// Distance of two placed bodies, and whether they are within a tolerance of each other.
#ifndef PROXIMITY_QUERY_CLOSEST_H
#define PROXIMITY_QUERY_CLOSEST_H

#include "proximity/query/search.h"

namespace proximity
{

struct Closest {
    double lower = 0, upper = HUGE_VAL; ///< certified, of the surfaces
    std::int32_t a = -1, b = -1;        ///< triangles of the upper bound, in the order of the trees
    Vec pointA{}, pointB{};             ///< relative to the pair's origin
    bool crosses = false;
    bool finished = false; ///< neither stopped by the budget nor at a first contact
    bool clear = false;    ///< shown: above the tolerance
    bool outside = false;  ///< shown: not even the boxes of the bodies meet
    double apart = 0;      ///< a lower bound as good as `lower`, or better
    std::int64_t tests = 0;
};

/// The closest pair, up to limits.upperBound; ends at a pair that crosses.
Closest FindClosest(const Body& a, const Body& b, const PlacedPair& pair, const Limits& limits,
                    Scratch& scratch);

/// The first pair that is met at a distance within the tolerance; with limits.wantRelation goes on
/// until a pair crosses. Lower is above the tolerance where all pairs were shown to be.
Closest FindWithin(const Body& a, const Body& b, const PlacedPair& pair, const Limits& limits,
                   Scratch& scratch);

/// Verdict and relation of what was found.
/// @param relation  takes SCAPI_UNKNOWN where that wasn't looked for
int Judge(const Body& a, const Body& b, const PlacedPair& pair, const Limits& limits,
          const Closest& closest, int& relation);

} // namespace proximity

#endif
