// Where a query has come down to a leaf of movers: their edges, each where it is, against what
// targets there are below a node.
#ifndef SCAPI_QUERY_PROBE_LEAF_H
#define SCAPI_QUERY_PROBE_LEAF_H

#include "bvh/query_trees.h"
#include "query/edge_overlap.h"
#include "query/motion.h"
#include "query/probe_edges.h"

/// The movers of one leaf of the tree, with the edges that the walk would come by.
struct MoverLeaf {
    int first = -1; ///< item, which tells leaves apart
    int count = 0;
    MovedEdge edge[kItemsPerLeaf * 9];
    LaneEdges lanes[kItemsPerLeaf * 9 / kLanes]; ///< the same, four by four
};

/// Fills in the edges of a leaf for the pass of a motion, if they are not there already.
void PlaceEdges(const SOLIDC& a, const SOLIDC& b, const QueryTrees& movers, const Motion& motion,
                const BoxRange& items, MoverLeaf& leaf);

/// Whether one of the edges hits a target of a lane of a quad, or below.
bool EdgesHit(const SOLIDC& a, QueryTrees& targets, const MoverLeaf& leaf, int quad, int lane);

#endif
