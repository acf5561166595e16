// What a solid keeps for fast queries: bounds of all that moves, one tree over its triangles as
// targets, one over them as movers. Each is made on first need, and the trees only down to crowds
// of triangles, which are divided when a query goes into one. All are gone when the octree, a list
// or a record changes.
#ifndef SCAPI_BVH_QUERY_TREES_H
#define SCAPI_BVH_QUERY_TREES_H

#include <span>
#include <vector>

#include "bvh/bvh.h"
#include "geometry/obb.h"
#include "geometry/simd.h"
#include "scapi/solid.h"

/// A triangle that can be hit, or a whole leaf that has to be walked as it stands, because it holds
/// a triangle without area, which its predecessors in the chain would judge.
struct Target {
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
    /// the one before, one that runs the other way, or one that runs between other vertices, as
    /// merging leaves some behind that were shorter than its tolerance.
    enum Side : std::uint8_t { kNotOwn, kBackward, kForward, kForeign } side[3];
    bool hasForeign;    ///< whether any edge is, own or not
    float perLength[3]; ///< 1 over the length of the side in each slot
};

/// An OrientedBox in each lane.
struct LaneBoxes {
    Lanes axis[3][3], centre[3], half[3];
    Lanes halfArea;
};

/// Four nodes of targets: where they can be hit, and how their planes run.
struct TargetBoxes {
    LaneBoxes box;
    Lanes longest; ///< side
    /// The greatest extent of one along each axis; along the second it is more than along the
    /// third.
    Lanes side[3];
    Lanes alongLeast;    ///< the least extent along the second axis of sides that run along it,
    Lanes acrossLongest; ///< and the longest of the others
    /// The most by which the normal of a target differs from the first axis, along each axis and at
    /// all. So a point that goes a way in the plane of a target goes these parts of it, of what it
    /// goes along each axis, along the first.
    Lanes turn[3], turnAtAll;
    /// 1 where a target has no plane, or none that says where it can be hit, else 0. It counts with
    /// its leaf's cell, which the box of an edge that hits meets; the edge itself need not.
    Lanes holdsCells;
};

/// Four nodes of movers, at rest: all their corners. The first axis is the longest.
struct MoverBoxes {
    LaneBoxes box;
    Lanes edge[3];       ///< the greatest extent of a mover along each axis
    Lanes shortestAlong; ///< of the edges that go along the first axis by some part of their length
    Lanes slant[3]; ///< the greatest part of its length that one of the others goes along each axis
    Lanes longestSlant;      ///< of those
    Lanes bare[2];           ///< the widest stretch of the first axis without a corner, from and to
    Lanes longest, shortest; ///< sides
    Lanes low[3], high[3];   ///< bounds of the normals of the movers and their neighbours
};

/// Of a triangle; 0 for a leaf of the octree.
struct TargetPlane {
    float normal[3], d;
};

/// The corners of a node of few movers, four by four; the lanes left over are as the first.
struct FewCorners {
    static constexpr int kMostGroups = 4;
    std::int32_t groups; ///< 0 where there are more, or where an edge runs elsewhere
    Lanes at[kMostGroups][3];
};

constexpr int kFew = 16; ///< items that have FewCorners at the most, if they are no leaf

struct QueryTrees {
    bool triedBounds = false, canMove = false;
    LaneBoxes bounds; ///< of all vertices, in all lanes

    bool triedTargets = false, targetsUsable = false;
    double reach = 0; ///< greatest magnitude of a coordinate of a target
    BoxTree targetTree;
    std::vector<Target> target;      ///< by item
    Blocks<TargetBoxes> targetBoxes; ///< by quad
    /// By item, filled in where crowds are divided; behind the last are some that are 0.
    Scratch<TargetPlane> plane;

    bool triedMovers = false;
    BoxTree moverTree;
    std::vector<std::int32_t> moverTriangle; ///< by item
    Scratch<Mover> mover;                    ///< by item, filled in where crowds are divided
    Blocks<MoverBoxes> moverBoxes;           ///< by quad
    Blocks<FewCorners> fewCorners;           ///< the first has no groups
    int fewCornersCount = 0;
    Blocks<std::array<std::int32_t, 4>> fewCornersNumber; ///< by quad, of each node's

    /// Without groups for a leaf, and where there are many.
    const FewCorners& FewCornersOf(int quad, int lane) const
    {
        return fewCorners[fewCornersNumber[quad][static_cast<std::size_t>(lane)]];
    }
    /// Of a leaf.
    std::span<const Mover> MoversOf(int quad, int lane) const
    {
        const BoxRange& items = moverTree.quad[quad].items[lane];
        return {&mover[static_cast<std::size_t>(items.first)],
                static_cast<std::size_t>(items.Count())};
    }
};

/// Bounds of a solid that moves, without a tree.
/// @return null when a vertex or normal is not IsNearby, or a number of a vertex is out of range
const QueryTrees* MoverBounds(SOLIDC& solid);

/// The trees of a solid, with the role that is asked for filled in, down to crowds.
///
/// Targets need an octree with coordinates that are IsNearby, movers what MoverBounds ask for.
/// @return null when the solid cannot play the role
QueryTrees* TargetTrees(SOLIDC& solid);
QueryTrees* MoverTrees(SOLIDC& solid);

/// Divides the crowd of a lane. @return the quad below
int GrowTargets(QueryTrees& trees, int quad, int lane);
int GrowMovers(const SOLIDC& solid, QueryTrees& trees, int quad, int lane);

/// As BoxQuad has it, but a crowd is divided first.
inline int TargetsBelow(QueryTrees& trees, int quad, int lane)
{
    const int below = trees.targetTree.quad[quad].below[lane];
    return below == BoxQuad::kUngrown ? GrowTargets(trees, quad, lane) : below;
}
inline int MoversBelow(const SOLIDC& solid, QueryTrees& trees, int quad, int lane)
{
    const int below = trees.moverTree.quad[quad].below[lane];
    return below == BoxQuad::kUngrown ? GrowMovers(solid, trees, quad, lane) : below;
}

/// Whether a point lies so near that the walk's own stand-in for "no edge", at 1e10, is far away.
bool IsNearby(const float* point);

/// Whether the corners of a box are, and come in their order.
bool IsPlainBox(const float* box);

void SetLane(LaneBoxes& boxes, int lane, const OrientedBox& box);

/// Copies one lane of a record that is made of lanes alone into all of them.
template <class Record>
Record SplatLane(const Record& from, int lane)
{
    constexpr std::size_t kCount = sizeof(Record) / sizeof(Lanes);
    Record to;
    const float* source = reinterpret_cast<const float*>(&from) + lane;
    Lanes* target = reinterpret_cast<Lanes*>(&to);
    for (std::size_t i = 0; i < kCount; ++i) target[i] = Splat(source[kLanes * i]);
    return to;
}

#endif
