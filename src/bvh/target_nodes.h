// The hierarchy of the triangles that can be hit, those of the first solid.
#ifndef SCAPI_BVH_TARGET_NODES_H
#define SCAPI_BVH_TARGET_NODES_H

#include <vector>

#include "bvh/bvh.h"
#include "bvh/obb_lanes.h"
#include "scapi/octree.h"

/// A triangle that can be hit, or a whole leaf of the octree, which has to be walked as it is where
/// it holds a triangle without area: that is judged by the plane of those before it in the chain.
struct Target {
    const T_LIST* triangle; ///< null for a whole leaf
    OCTREENODE* leaf;
};

/// Bounds of four nodes of targets.
struct TargetNodes {
    ObbLanes box;     ///< of the hit regions; the first axis is near the mean normal
    Lanes longest;    ///< side
    Lanes side[3];    ///< greatest extent of a side along each axis, the second's above the third's
    Lanes alongLeast; ///< least extent along the second axis of the sides that run along it
    Lanes acrossLongest; ///< longest of the others
    /// Deviation of the targets' normals from the first axis: its greatest component on each axis,
    /// and its greatest length. A step s in the plane of a target has a component of at most the
    /// sum of deviation[k] * |s[k]| on the first axis, and of maxDeviation * |s|.
    Lanes deviation[3], maxDeviation;
    /// 1 where a target has no plane, or is too thin for a hit region, else 0. It is bounded by the
    /// cell of its leaf, which the box of an edge that hits overlaps; the edge itself need not.
    Lanes holdsCells;
};

/// Plane of a target; zero for a leaf of the octree.
struct TargetPlane {
    float normal[3], d;
};

struct TargetTree {
    bool tried = false, usable = false;
    double maxCoordinate = 0; ///< greatest magnitude
    Bvh bvh;
    std::vector<Target> target;    ///< by item
    BlockArray<TargetNodes> nodes; ///< by wide node
    /// By item, filled in where subtrees are built; a few zero ones follow the last.
    Scratch<TargetPlane> plane;
};

/// The hierarchy of a solid's targets, built as far as it is not yet (see kLazyItems). It needs an
/// octree with coordinates that are IsNearby.
/// @return null when the solid has none
TargetTree* TargetTreeOf(SOLIDC& solid);

/// Builds the subtree below a node that has none yet. @return the wide node below
int BuildTargetsBelow(TargetTree& targets, int wide, int lane);

/// The wide node below a node, built if need be; for a leaf its number, negative or 0.
inline int TargetsBelow(TargetTree& targets, int wide, int lane)
{
    const int below = targets.bvh.wide[wide].below[lane];
    return below == WideNode::kUnbuilt ? BuildTargetsBelow(targets, wide, lane) : below;
}

#endif
