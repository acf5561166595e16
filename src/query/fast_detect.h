// The fast way to the answer of SC_DetectIntersection: a dual traversal of two bounding volume
// hierarchies, with the plain walk's own tests at the leaves. docs/query.md explains the stages and
// proves the bounds.
//
// The walk answers 1 when any edge that it gives hits a triangle in any leaf whose cell the edge's
// box overlaps. So the order of edges does not matter, and groups of pairs may be pruned as long as
// none of them could have been a hit. What makes the bounds delicate:
//
// - PointInsideTriangle widens a triangle by a margin that grows as its sides get short. The hit
//   region of a triangle holds all points by which it can be hit (bvh/hit_region.cpp).
// - A crossing point can lie beyond the end of its edge, and parallel segments count as crossing
//   though they lie beside each other. Both only when an end of the edge is within the contact
//   tolerance of the target's plane. Pairs of nodes that can hit in these ways alone are deferred
//   until the others have been looked at, and need a corner in a plane of the targets.
// - The plane and the crossing point are carried along a leaf's chain. A triangle that has no plane
//   is judged by that of the one before; the leaf of a target whose crossing point would be a
//   carried one is walked whole.
// - Hits late in a triangle's steps make the walk skip others, which query/probe_edges.cpp follows.
//
// Where the edges of the second solid cannot be bounded together, they go down the tree of targets
// one by one (query/edge_by_edge.h): motions that are not affine, not finite or larger than 1e12,
// coordinates beyond 1e9, solids rotated after their motion was defined. Where the first solid is
// swept too, see query/swept_first.h. The plain walk is left for octrees beyond 1e9.
#ifndef SCAPI_QUERY_FAST_DETECT_H
#define SCAPI_QUERY_FAST_DETECT_H

#include "scapi/solid.h"

/// As a.SC_DetectIntersection(&b), whether a sweep of b is pending or not.
/// @return 1 or 0
int DetectFast(SOLIDC& a, SOLIDC& b);

#endif
