// Can a single edge hit a target of a node? What is left to ask when a traversal has come down to
// the edges of probes.
#ifndef SCAPI_QUERY_EDGE_OVERLAP_H
#define SCAPI_QUERY_EDGE_OVERLAP_H

#include <span>

#include "bvh/target_nodes.h"
#include "query/probe_edges.h"

/// A placed edge in each lane.
struct LaneEdges {
    Lanes middle[3], half[3];            ///< half of the vector from its first end to its second
    Lanes length, unit[3];               ///< unit direction, zero for an edge without length
    Lanes error;                         ///< bound on rounding
    Lanes parallelAcross, sideEndMargin; ///< as in PlacedNodes
};

/// @param edges  one to four; the lanes left over repeat the first
/// @param error  bound on the rounding of coordinates
LaneEdges GatherEdges(std::span<const PlacedEdge> edges, float error);

/// In which lanes the edge can hit a target of the node: the segment against the oriented box, on
/// the box's axes, the edge's own and their cross products, with the margins of the contact rules
/// (Lemma 8).
LaneMask MayHit(const LaneEdges& edges, const TargetNodes& targets);

#endif
