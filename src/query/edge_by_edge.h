// The answer where the edges of the second solid cannot be bounded together: the walk over them as
// it is, with the tree of targets in the place of the octree. In proportion to their number.
#ifndef SCAPI_QUERY_EDGE_BY_EDGE_H
#define SCAPI_QUERY_EDGE_BY_EDGE_H

#include "bvh/query_trees.h"
#include "query/edge_overlap.h"
#include "query/probe_edges.h"
#include "scapi/solid.h"

/// An edge on its own, with bounds on its rounding (Lemma 12).
struct LoneEdge {
    PlacedEdge edge;
    LaneEdges lanes;
};

/// Whether an edge lies near enough to be bounded.
bool IsNearbyEdge(const float (*ends)[3]);

LoneEdge MakeLoneEdge(const float (*ends)[3]);

/// As a.SC_DetectIntersection(&b), where a is not swept and the sweep of b is settled.
/// @return 1 or 0
int DetectByEdges(SOLIDC& a, SOLIDC& b, TargetTree& targets);

#endif
