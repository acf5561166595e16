// Which nodes of targets single edges can hit: what is left to ask when a query has come down to
// the edges of movers.
#ifndef SCAPI_QUERY_EDGE_OVERLAP_H
#define SCAPI_QUERY_EDGE_OVERLAP_H

#include <span>

#include "bvh/query_trees.h"
#include "query/probe_edges.h"

/// An edge in each lane, where it is.
struct LaneEdges {
    Lanes middle[3], half[3]; ///< half of the way between its ends
    Lanes length, unit[3];    ///< and its direction
    Lanes room;               ///< for rounding
    // As in PlacedBoxes:
    Lanes across, besideEdge;
};

/// @param edges  one to four; the lanes left over are as the first
/// @param room   for rounding of the coordinates
LaneEdges GatherEdges(std::span<const MovedEdge> edges, float room);

/// In which lanes the edge can hit the node.
LaneMask MayHit(const LaneEdges& edges, const TargetBoxes& targets);

#endif
