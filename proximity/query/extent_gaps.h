// Gaps between nodes of two placed trees by their exact extents: for large faces that are parallel,
// where the bounds of nodes, which are floats, tell no pair from the nearest.
#ifndef PROXIMITY_QUERY_EXTENT_GAPS_H
#define PROXIMITY_QUERY_EXTENT_GAPS_H

#include "proximity/query/node_bounds.h"

namespace proximity
{

struct ExtentGaps {
    const Body& a;
    const Body& b;
    Placement inA, inB; ///< in the world
    Placement aSeenFromB, bSeenFromA;
    NodeSlack slack; ///< of doubles
};

/// Asks the bodies for their extents: 20 ns a triangle at the first time.
ExtentGaps MakeExtentGaps(const Body& a, const Body& b, const PlacedPair& pair);

/// The widest gap along an axis of the world, negative where they overlap along all: between
/// corners as PlacePoint computes them, rounded once (Lemma E1).
double GapInWorld(const ExtentGaps& gaps, Handle a, Handle b);

/// Are they farther apart than a limit, by their gaps along the axes of the world or of a body
/// (Lemma E2)?
bool AreFarther(const ExtentGaps& gaps, Handle a, Handle b, double limit);

} // namespace proximity

#endif
