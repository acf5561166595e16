// A binary tree of boxes, halved at the median: the hierarchy of both sides of a query. Nodes lie
// in preorder, so children are found by counting and nothing points.
#ifndef SCAPI_INTERFERENCE_BOX_TREE_H
#define SCAPI_INTERFERENCE_BOX_TREE_H

#include <algorithm>
#include <cstdint>

#include "solid/memory.h"

constexpr int kItemsPerLeaf = 4;

struct BoxNode {
    float box[6];
    float longest;  ///< greatest length of the items below
    float shortest; ///< least length
};

/// What is given for each item.
struct BoxItem {
    float box[6];            ///< finite
    float longest, shortest; ///< lengths that mean something to the caller
    std::int32_t item;       ///< the caller's number
};

struct BoxTree {
    int itemCount = 0;
    int leafCount = 0;
    Scratch<std::int32_t> item; ///< the caller's numbers, those of a leaf side by side
    Scratch<BoxNode> node;      ///< 2 * leafCount - 1
};

/// A node with the range of leaves below it.
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

/// The items below a node: from first, up to last.
struct ItemRange {
    int first, last;
};

inline ItemRange ItemsOf(const BoxTree& tree, const BoxRange& range)
{
    return {range.first * kItemsPerLeaf, std::min(range.last * kItemsPerLeaf, tree.itemCount)};
}

/// Calls `visit` on a node and all below it.
template <class Visit>
void VisitNodes(const BoxRange& range, Visit visit)
{
    visit(range);
    if (range.IsLeaf()) return;
    VisitNodes(range.Left(), visit);
    VisitNodes(range.Right(), visit);
}

#endif
