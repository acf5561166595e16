// Where a traversal has come down to a leaf of probes: their edges, placed, against the targets
// below a node.
#ifndef SCAPI_QUERY_PROBE_LEAF_H
#define SCAPI_QUERY_PROBE_LEAF_H

#include "bvh/query_trees.h"
#include "query/edge_overlap.h"
#include "query/motion.h"
#include "query/probe_edges.h"

/// The placed edges of one leaf of probes, those that the walk would give.
struct ProbeLeaf {
    int first = -1; ///< its first item, which identifies it; -1 for none
    int count = 0;
    PlacedEdge edge[kItemsPerLeaf * 9];
    LaneEdges lanes[kItemsPerLeaf * 9 / kLanes]; ///< the same, four by four
};

/// Fills in the edges of a leaf for the pass of a motion, if they are not there already.
void PlaceLeafEdges(const SOLIDC& a, const SOLIDC& b, const ProbeTree& probes, const Motion& motion,
                    const ItemRange& items, ProbeLeaf& leaf);

/// Whether an edge hits a target in or below a node that it may hit.
/// @param edgeLane  lane of the edge in `lanes`
bool EdgeHitsBelow(const SOLIDC& a, TargetTree& targets, const PlacedEdge& edge,
                   const LaneEdges& lanes, int edgeLane, int wide, int lane);

/// Whether one of the edges hits a target in or below one node of a wide node.
bool EdgesHit(const SOLIDC& a, TargetTree& targets, const ProbeLeaf& leaf, int wide, int lane);

#endif
