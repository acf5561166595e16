// A binary tree over items in space, halved at the median: the hierarchy of both sides of a query.
// It is an order of the items and a way to count; what is kept for each node is the owner's.
#ifndef SCAPI_INTERFERENCE_BOX_TREE_H
#define SCAPI_INTERFERENCE_BOX_TREE_H

#include <algorithm>
#include <cstdint>

#include "solid/memory.h"

constexpr int kItemsPerLeaf = 4;

/// What is given for each item.
struct BoxItem {
    float centre[3];   ///< finite
    std::int32_t item; ///< the caller's number
};

struct BoxTree {
    int itemCount = 0;
    int leafCount = 0;
    Scratch<std::int32_t> item; ///< the caller's numbers, those of a leaf side by side
};

/// A node with the range of leaves below it. Nodes lie in preorder, so children are found by
/// counting and nothing points.
struct BoxRange {
    int node, first, last;

    bool IsLeaf() const { return last - first == 1; }
    BoxRange Left() const { return {node + 1, first, Middle()}; }
    /// Behind the left subtree, which has twice its leaves less one nodes.
    BoxRange Right() const { return {node + 2 * (Middle() - first), Middle(), last}; }
    int Middle() const { return first + (last - first) / 2; }
};

/// Builds a tree over items, whose order it changes.
BoxTree BuildBoxTree(Scratch<BoxItem>& items, int count);

inline BoxRange RootOf(const BoxTree& tree) { return {0, 0, tree.leafCount}; }

inline std::size_t NodeCount(const BoxTree& tree)
{
    return tree.leafCount ? 2 * static_cast<std::size_t>(tree.leafCount) - 1 : 0;
}

/// The items below a node: from first, up to last.
struct ItemRange {
    int first, last;
};

inline ItemRange ItemsOf(const BoxTree& tree, const BoxRange& range)
{
    return {range.first * kItemsPerLeaf, std::min(range.last * kItemsPerLeaf, tree.itemCount)};
}

/// Moves an array into the order of the tree, so that what belongs to a leaf lies side by side.
template <class Record>
Scratch<Record> InOrderOf(const BoxTree& tree, const Scratch<Record>& from)
{
    auto to = MakeScratch<Record>(static_cast<std::size_t>(tree.itemCount));
    for (int i = 0; i < tree.itemCount; ++i)
        to[static_cast<std::size_t>(i)] =
            from[static_cast<std::size_t>(tree.item[static_cast<std::size_t>(i)])];
    return to;
}

/// Calls `visit` on a node and all below it, children first. As deep as the logarithm of the number
/// of leaves.
template <class Visit>
void VisitNodes(const BoxRange& range, Visit visit)
{
    if (!range.IsLeaf()) {
        VisitNodes(range.Left(), visit);
        VisitNodes(range.Right(), visit);
    }
    visit(range);
}

#endif
