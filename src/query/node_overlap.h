// Can the edges of a node of probes hit a target of a node? An overlap test of oriented boxes by
// the separating axis theorem, on the six face axes, with the margins of the contact rules.
#ifndef SCAPI_QUERY_NODE_OVERLAP_H
#define SCAPI_QUERY_NODE_OVERLAP_H

#include "query/placed_nodes.h"

/// How nodes of probes overlap nodes of targets, pair by pair.
struct NodeOverlap {
    LaneMask any;    ///< a hit is possible
    LaneMask onEdge; ///< by a point on the edge itself; else only by one beyond its end, or beside
                     ///< a parallel side
    Lanes depth;     ///< of the overlap: the greater, the likelier is a hit
};
NodeOverlap OverlapOf(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets);

#endif
