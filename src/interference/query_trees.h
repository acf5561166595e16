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

/// A triangle as a mover: what a query needs of it, side by side, where the solid's own records
/// would cost a cache miss each.
struct Mover {
    float corner[3][3];
    float normal[3];
    std::int32_t index; ///< into triangles
    /// For each slot: an edge that is another triangle's to give, one that runs from this corner to
    /// the one before, one that runs the other way, or one that the records must be asked for.
    enum Side : std::uint8_t { kNotOwn, kBackward, kForward, kAsk } side[3];
};

/// Bounds of some normals.
struct NormalBounds {
    float low[3], high[3];
};

/// Where the planes of some targets run: a point x lies normal * (x - centre) + offset from each of
/// them, give or take turn * |x - centre|, with an offset within the bounds.
struct PlaneBounds {
    float normal[3], centre[3];
    float turn;      ///< the most by which a normal differs from this one; negative: no planes
    float offset[2]; ///< least and greatest
};

/// A slab round some movers: their corners lie within `height` of the centre along the normal, up
/// or down, and within `radius` of it.
struct Slab {
    float normal[3], centre[3];
    float height[2]; ///< least and greatest
    float radius;
};

struct QueryTrees {
    bool triedTargets = false, triedMovers = false;
    bool targetsUsable = false;
    Scratch<Target> target;      ///< by item of targetTree
    BoxTree targetTree;          ///< over hit boxes
    Scratch<PlaneBounds> planes; ///< by node of targetTree
    bool moversUsable = false;
    Scratch<Mover> mover;          ///< by item of moverTree
    BoxTree moverTree;             ///< over triangles widened by their extents
    Scratch<BoxNode> moverTight;   ///< by node of moverTree: of the triangles as they are
    Scratch<NormalBounds> normals; ///< by node of moverTree: of movers and their neighbours
    Scratch<Slab> slabs;           ///< by node of moverTree
};

/// The trees of a solid, with the role that is asked for filled in.
///
/// Targets need an octree. Movers need three vertices in range and finite for each triangle; their
/// boxes are widened by their own extents, since a crossing point can lie up to an edge's length
/// beyond the edge's ends. The lengths in both trees are those of sides.
/// @return null when the solid cannot play the role
const QueryTrees* TargetTrees(SOLIDC& solid);
const QueryTrees* MoverTrees(SOLIDC& solid);

/// Gives the trees back; they come again when they are needed.
void ReleaseQueryTrees(SOLIDC& solid);

#endif
