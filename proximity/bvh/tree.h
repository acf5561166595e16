// A bounding volume hierarchy over the triangles of a body: four children a node, boxes of floats
// relative to the body's centre, rounded outwards.
#ifndef PROXIMITY_BVH_TREE_H
#define PROXIMITY_BVH_TREE_H

#include <array>
#include <cstdint>
#include <vector>

#include "geometry/simd.h"
#include "proximity/mesh/triangles.h"

namespace proximity
{

constexpr int kMostInLeaf = 4;
constexpr std::int32_t kNoChild = INT32_MIN;

/// Up to four boxes, and what lies below each. 192 bytes for about seven triangles.
/// What is in a box also lies in a slab: low <= normal . p <= high. A box along the axes is as
/// thick as it is wide where it holds a patch that faces between them; the slab is as thin as the
/// patch.
struct Node {
    Lanes center[3], half[3];
    Lanes normal[3]; ///< no longer than 1, near the mean of the triangles' normals
    Lanes low, high;
    std::int32_t child[kLanes]; ///< a node; a leaf, negative; or kNoChild, at the end only
};
static_assert(sizeof(Node) == 192);

/// Triangles first to first + count - 1 of Tree::triangle.
struct Leaf {
    std::int32_t first;
    int count; ///< 1 to kMostInLeaf
};
constexpr std::int32_t ChildOf(Leaf leaf) { return ~(leaf.first * kMostInLeaf + leaf.count - 1); }
constexpr Leaf LeafOf(std::int32_t child)
{
    return {~child / kMostInLeaf, ~child % kMostInLeaf + 1};
}
constexpr bool IsLeaf(std::int32_t child) { return child < 0; }
static_assert(std::int64_t{SCAPI_MAX_TRIANGLES} * kMostInLeaf - 1 <= INT32_MAX);

/// A box and its slab, relative to the centre of the body.
struct Box {
    float center[3], half[3];
    float normal[3], low, high;
};

/// A lane of a node, as one number: its box, and what lies below.
using Handle = std::int32_t;
constexpr Handle HandleOf(std::int32_t node, int lane) { return node * kLanes + lane; }
constexpr Handle kRoot = 0;

struct Tree {
    std::vector<Node> node;              ///< lane 0 of the first holds the whole body
    std::vector<FloatTriangle> triangle; ///< in the order of the leaves, as read
    std::vector<std::int32_t> source;    ///< for each of them, its number in the input
    float center[3];                     ///< what boxes are relative to
    float low[3], high[3];               ///< of the body, not relative

    const Node& NodeOf(Handle handle) const
    {
        return node[static_cast<std::size_t>(handle / kLanes)];
    }
    std::int32_t Child(Handle handle) const { return NodeOf(handle).child[handle % kLanes]; }
    Box BoxOf(Handle handle) const
    {
        const Node& n = NodeOf(handle);
        const int lane = handle % kLanes;
        return {{n.center[0][lane], n.center[1][lane], n.center[2][lane]},
                {n.half[0][lane], n.half[1][lane], n.half[2][lane]},
                {n.normal[0][lane], n.normal[1][lane], n.normal[2][lane]},
                n.low[lane],
                n.high[lane]};
    }
    /// Sum of the half extents of the body: no point of it is farther from the centre.
    double Reach() const
    {
        const Box whole = BoxOf(kRoot);
        double sum = 0;
        for (int axis = 0; axis < 3; ++axis)
            sum += std::fabs(double(whole.center[axis])) + whole.half[axis];
        return sum;
    }
};

/// Builds by binned surface area heuristic (Wald 2007), without recursion. Where that finds nothing
/// to split by, or goes too deep, ranges are halved: no depth beyond 100, whatever the triangles
/// are.
/// @param triangles  at least one, at most SCAPI_MAX_TRIANGLES, coordinates good
Tree BuildTree(Triangles triangles);

} // namespace proximity

#endif
