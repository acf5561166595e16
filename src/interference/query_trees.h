// What a solid keeps for fast queries: one tree over its triangles as targets, one over them as
// movers. Made on first need, gone with the octree or the lists.
#ifndef SCAPI_INTERFERENCE_QUERY_TREES_H
#define SCAPI_INTERFERENCE_QUERY_TREES_H

#include <vector>

#include "interference/box_tree.h"
#include "interference/oriented_box.h"
#include "scapi/solid.h"

/// A triangle that can be hit, or a whole leaf that has to be walked as it stands, because it holds
/// a triangle without area, which its predecessors in the chain would judge.
struct Target {
    float plane[4];
    const T_LIST* triangle; ///< null for a whole leaf
    OCTREENODE* leaf;
};

/// A node of targets: where they can be hit, and how their planes run.
struct TargetNode {
    OrientedBox box;
    float longest; ///< side
    /// The most by which the normal of a target differs from the first axis, along each axis and at
    /// all. So a point that goes a way in the plane of a target goes these parts of it, of what it
    /// goes along each axis, along the first.
    float turn[3], turnAtAll;
    /// Whether a target has no plane, or none that says where it can be hit. It counts with its
    /// leaf's cell, which the box of an edge that hits meets; the edge itself need not.
    bool holdsCells;
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
    bool hasForeign; ///< whether any edge is, own or not
};

/// A node of movers, at rest: all their corners.
struct MoverNode {
    OrientedBox box;
    float extent[3];         ///< the greatest of a mover along the axes of the box
    float bare[2];           ///< along the longest axis of the box, seen from its centre: the widest
                             ///< stretch without a corner, from and to
    std::int32_t longestAxis;
    float longest, shortest; ///< sides
    NormalBounds normals;    ///< of the movers and their neighbours
};

struct QueryTrees {
    bool triedTargets = false, triedMovers = false;
    bool targetsUsable = false;
    BoxTree targetTree;
    Scratch<Target> target;         ///< by item
    Scratch<TargetNode> targetNode; ///< by node
    bool moversUsable = false;
    BoxTree moverTree;
    Scratch<Mover> mover;         ///< by item
    Scratch<MoverNode> moverNode; ///< by node
};

/// The trees of a solid, with the role that is asked for filled in.
///
/// Targets need an octree. Movers need three vertices in range for each triangle. Both need
/// coordinates, and movers normals, that are IsNearby.
/// @return null when the solid cannot play the role
const QueryTrees* TargetTrees(SOLIDC& solid);
const QueryTrees* MoverTrees(SOLIDC& solid);

/// Gives the trees back; they come again when they are needed.
void ReleaseQueryTrees(SOLIDC& solid);

/// What both builders need.
/// @return a place for trees, made if there is none
QueryTrees& TreesOf(SOLIDC& solid);

/// Whether a point lies so near that the walk's own stand-in for "no edge", at 1e10, is far away.
bool IsNearby(const float* point);

/// The length of a side, to either side of its rounding.
struct SideLength {
    float least, most;
};
SideLength LengthOf(const float* a, const float* b);

/// Up to this many items a node's box is fitted to them; above it, to the boxes below that were.
constexpr int kMostFitted = 512;

inline bool IsFitted(const BoxNode& node) { return node.last - node.first <= kMostFitted; }

/// Adds the corners of the topmost fitted boxes below a node.
template <class Node>
void AddCorners(const BoxTree& tree, const Scratch<Node>& nodes, int n, std::vector<Point3>& points)
{
    if (IsFitted(tree.At(n))) {
        const auto corners = CornersOf(nodes[static_cast<std::size_t>(n)].box);
        points.insert(points.end(), corners.begin(), corners.end());
        return;
    }
    AddCorners(tree, nodes, tree.Left(n), points);
    AddCorners(tree, nodes, tree.Right(n), points);
}

/// The smaller of a box along the coordinate axes and one fitted to points.
/// @param pad  by which the second has to be wider than the points
OrientedBox SmallerBox(const float* box, const NormalBounds& normals,
                       const std::vector<Point3>& points, double pad);

/// A triangle for the tree.
BoxItem MakeItem(const float (*corner)[3], const float* normal, int item);

#endif
