// A binary tree over triangles in space: the hierarchy of both sides of a query. It is an order of
// the items and where it is cut; what is kept for each node is the owner's. It grows as queries go
// into it, since most of a solid is never looked at closely.
#ifndef SCAPI_BVH_BVH_H
#define SCAPI_BVH_BVH_H

#include <climits>
#include <cstdint>
#include <span>

#include "bvh/block_array.h"

constexpr int kItemsPerLeaf = 4; ///< at the most
constexpr int kCrowd = 1024;     ///< nodes of up to so many items are left undivided at first

/// What is given for each item: a triangle, finite, and which way it faces.
struct BoxItem {
    float corner[3][3];
    float normal[3];
    std::int32_t item; ///< the caller's number
};

/// The items of a node: from first, up to last.
struct BoxRange {
    std::int32_t first, last;

    std::int32_t Count() const { return last - first; }
};

/// Up to four nodes, taken together: below the first one, which holds the root alone, the children
/// of the children of a node, or a child itself that is not divided. So a walk goes down two levels
/// at once.
struct BoxQuad {
    /// What stands in `below` for a node that has yet to be divided.
    static constexpr std::int32_t kUngrown = INT_MIN;

    std::int32_t count;
    BoxRange items[4];
    std::int32_t below[4]; ///< the quad below each, or for a leaf its number, negative or 0

    bool IsLeaf(int lane) const { return below[lane] <= 0 && below[lane] != kUngrown; }
};

struct BoxTree {
    int quadCount = 0, leafCount = 0;
    Blocks<BoxQuad> quad; ///< children behind their node
};

/// Builds a tree over items, down to crowds, and puts them into its order. Neither the tree nor
/// what grows in a crowd is deeper than 100.
BoxTree BuildBoxTree(std::span<BoxItem> items);

/// Divides a crowd down to leaves.
/// @param items  of the crowd; come out in their order
/// @return the quad that is to be the one below it
int GrowBoxTree(BoxTree& tree, const BoxRange& crowd, std::span<BoxItem> items);

#endif
