// Which nodes of targets a single edge can hit: what is left to ask when a query has come down to
// the edges of a mover.
#ifndef SCAPI_INTERFERENCE_EDGE_CHANCES_H
#define SCAPI_INTERFERENCE_EDGE_CHANCES_H

#include "interference/query_trees.h"

/// An edge where it is, in all lanes.
struct LaneEdge {
    Lanes middle[3], half[3]; ///< half of the way between its ends
    Lanes length, unit[3];    ///< and its direction
    Lanes room;               ///< for rounding
    // As in PlacedBoxes:
    Lanes across, besideEdge;
};

/// @param room  for rounding of the coordinates
LaneEdge SplatEdge(const float (*ends)[3], float room);

/// Which of four nodes an edge can hit.
LaneMask MayHit(const LaneEdge& edge, const TargetBoxes& targets);

#endif
