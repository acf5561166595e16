// The hierarchy of the triangles that can be hit, those of the first solid.
#ifndef SCAPI_BVH_TARGET_NODES_H
#define SCAPI_BVH_TARGET_NODES_H

#include <vector>

#include "bvh/bvh.h"
#include "bvh/obb_lanes.h"
#include "scapi/octree.h"

/// A triangle that can be hit.
struct Target {
    const T_LIST* triangle;
    /// Of the octree: only edges whose box overlaps its cell are tested with the triangle. Null
    /// where that is the triangle's own box.
    OCTREENODE* leaf;
};

/// A triangle without a plane, and the one of its leaf's chain by whose plane it is judged.
struct JudgedTarget {
    const T_LIST *triangle, *judge; ///< judge is null for those that come first in the chain
};

/// Bounds of four nodes of targets.
struct TargetNodes {
    ObbLanes box;  ///< of the hit regions; the first axis is near the mean normal
    Lanes longest; ///< side
    Lanes side[3]; ///< greatest extent of a side along each axis, the second's above the third's
    Lanes sideAlongLeast; ///< least extent along the second axis of the sides that run along it
    Lanes sideAcrossMost; ///< longest of the others
    /// Deviation of the targets' normals from the first axis: its greatest component on each axis,
    /// and its greatest length. A step s in the plane of a target has a component of at most the
    /// sum of deviation[k] * |s[k]| on the first axis, and of maxDeviation * |s|.
    Lanes deviation[3], maxDeviation;
    /// 1 where a target has a loose region, which its leaf's cell bounds, else 0: hits can then lie
    /// anywhere beside edges. Edges longer than longestEdge can hit outside of the box (Lemma 11).
    Lanes holdsCells, longestEdge;
};

/// Boxes of the cells of four nodes of targets.
struct TargetCells {
    Lanes low[3], high[3];
};

/// The plane by which a target is judged; zero where there is none, or where rounding left NaNs:
/// each edge then counts as one in the plane.
struct TargetPlane {
    float normal[3], d;
};

/// The same of four targets.
struct LanePlanes {
    Lanes normal[3], d;
};

inline LanePlanes GatherPlanes(const TargetPlane* planes)
{
    LanePlanes gathered{};
    for (int lane = 0; lane < kLanes; ++lane) {
        for (int r = 0; r < 3; ++r) gathered.normal[r][lane] = planes[lane].normal[r];
        gathered.d[lane] = planes[lane].d;
    }
    return gathered;
}

struct TargetTree {
    bool tried = false, usable = false;
    double maxCoordinate = 0; ///< greatest magnitude, of nearby triangles
    bool hasFar = false;      ///< some are not nearby
    float tolerance = 0;      ///< by which the own boxes of targets without a leaf are wider
    Bvh bvh;
    std::vector<Target> target;    ///< by item
    BlockArray<TargetNodes> nodes; ///< by wide node
    /// By wide node, for a solid whose triangles have left the cells in which the octree keeps
    /// them, and where these are small against the solid.
    BlockArray<TargetCells> cells;
    bool hasCells = false;
    /// By item, filled in where subtrees are built; a few zero ones follow the last.
    Scratch<TargetPlane> plane;
    std::vector<JudgedTarget> judged; ///< sorted by address of the triangle
};

/// Makes a tree of targets, of which `target`, `judged` and what stands above `bvh` are filled in.
void BuildTargetTree(TargetTree& tree);

/// What the box of an edge has to overlap, six floats.
void CellOf(const TargetTree& tree, const Target& target, float* cell);

/// The hierarchy of a solid's targets, built as far as it is not yet (see kLazyItems). It needs an
/// octree whose root box IsPlainBox.
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
