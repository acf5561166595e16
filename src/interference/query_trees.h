// What a solid keeps for fast queries: one tree over its triangles as targets, one over them as
// movers. Made on first need, gone with the octree or the lists.
#ifndef SCAPI_INTERFERENCE_QUERY_TREES_H
#define SCAPI_INTERFERENCE_QUERY_TREES_H

#include "interference/box_tree.h"
#include "scapi/solid.h"

/// A triangle that can be hit, or a whole leaf that has to be walked as it stands, because it holds
/// a triangle without area, which its predecessors in the chain would judge.
struct Target {
    float plane[4];
    const T_LIST* triangle; ///< null for a whole leaf
    OCTREENODE* leaf;
};

struct QueryTrees {
    bool triedTargets = false, triedMovers = false;
    bool targetsUsable = false;
    Scratch<Target> target; ///< by item of targetTree
    BoxTree targetTree;     ///< over hit boxes
    bool moversUsable = false;
    BoxTree moverTree; ///< over triangles at rest, items are their numbers, see below
};

/// The trees of a solid, with the role that is asked for filled in.
///
/// Targets need an octree. Movers need three vertices in range and finite for each triangle; their
/// boxes are widened by their own extents, since a crossing point can lie up to an edge's length
/// beyond the edge's ends, and `length` is that of the longest edge.
/// @return null when the solid cannot play the role
const QueryTrees* TargetTrees(SOLIDC& solid);
const QueryTrees* MoverTrees(SOLIDC& solid);

/// Gives the trees back; they come again when they are needed.
void ReleaseQueryTrees(SOLIDC& solid);

#endif
