// A bounding volume hierarchy over triangles, the shape of it: an order of the items, and where
// each node is split. What is kept for each node is the owner's. It is built lazily, since most of
// a solid is never looked at closely.
#ifndef SCAPI_BVH_BVH_H
#define SCAPI_BVH_BVH_H

#include <climits>
#include <cstdint>
#include <span>

#include "bvh/block_array.h"

constexpr int kItemsPerLeaf = 4;  ///< at most
constexpr int kLazyItems = 4096;  ///< a node of up to so many items is split only when first needed
constexpr int kWholeItems = 1024; ///< and then, if of up to so many, down to leaves

/// A triangle, with finite coordinates, as the builder needs it.
struct BvhItem {
    float corner[3][3];
    float normal[3];
    float shortest, longest; ///< side, with all rounding (Lemma 1)
    float altitude;    ///< least, by which the caller bounds a large node; 0 where it is not to
    std::int32_t item; ///< the caller's number
};

/// The items of a node: from `first`, up to `last` without it.
struct ItemRange {
    std::int32_t first, last;

    std::int32_t Count() const { return last - first; }
};

/// Up to four nodes that are tested together: the grandchildren of a node, or a child itself where
/// that is not split. A traversal so descends two levels of the binary tree at once. The first wide
/// node holds the root alone.
struct WideNode {
    /// In `below`, for a node whose subtree is not built yet.
    static constexpr std::int32_t kUnbuilt = INT_MIN;

    std::int32_t count;
    std::int32_t depth; ///< of its nodes in the binary tree
    ItemRange items[4];
    std::int32_t below[4]; ///< wide node below each node, or for a leaf its number, negative or 0

    bool IsLeaf(int lane) const { return below[lane] <= 0 && below[lane] != kUnbuilt; }
};

struct Bvh {
    int wideCount = 0, leafCount = 0;
    BlockArray<WideNode> wide; ///< each after the one that it is below
};

/// Builds a hierarchy, down to nodes of kLazyItems, and reorders the items to match. However it is
/// built on, it becomes no deeper than 100 levels.
Bvh BuildBvh(std::span<BvhItem> items);

/// Splits a node: one of up to kWholeItems down to leaves, a larger one into the nodes of one wide
/// node. The node is not changed: its `below` is the caller's to set.
/// @param items  those of the node; reordered to match
/// @return the wide node that belongs below it
int BuildSubtree(Bvh& tree, int wide, int lane, std::span<BvhItem> items);

#endif
