// A binary tree over triangles in space: the hierarchy of both sides of a query. It is an order of
// the items and where it is cut; what is kept for each node is the owner's.
#ifndef SCAPI_INTERFERENCE_BOX_TREE_H
#define SCAPI_INTERFERENCE_BOX_TREE_H

#include <cstdint>

#include "solid/memory.h"

constexpr int kItemsPerLeaf = 4; ///< at the most

/// What is given for each item: a triangle, finite, and which way it faces.
struct BoxItem {
    float corner[3][3];
    float normal[3];
    std::int32_t item; ///< the caller's number
};

/// A node with its items: from first, up to last. Nodes lie in preorder, so the left child is the
/// next node.
struct BoxNode {
    std::int32_t first, last;
    std::int32_t right; ///< child, or 0 for a leaf
};

/// Up to four nodes, taken together: below the first one, which holds the root alone, the children
/// of the children of a node, or a child itself that is a leaf. So a walk goes down two levels at
/// once.
struct BoxQuad {
    std::int32_t count;
    std::int32_t node[4];
    std::int32_t below[4]; ///< the quad below each, or for a leaf its number, negative or 0
};

struct BoxTree {
    int itemCount = 0, nodeCount = 0, quadCount = 0, leafCount = 0;
    Scratch<BoxNode> node;
    Scratch<BoxQuad> quad;
    Scratch<std::int32_t> item; ///< the caller's numbers, those of a node side by side

    const BoxNode& At(int n) const { return node[static_cast<std::size_t>(n)]; }
    const BoxQuad& Quad(int q) const { return quad[static_cast<std::size_t>(q)]; }
    bool IsLeaf(int n) const { return At(n).right == 0; }
    int Left(int n) const { return n + 1; }
    int Right(int n) const { return At(n).right; }
};

/// Builds a tree over items, whose order it changes. Its depth is below 100.
BoxTree BuildBoxTree(Scratch<BoxItem>& items, int count);

/// Moves an array into the order of the tree, so that what belongs to a node lies side by side.
template <class Record>
Scratch<Record> InOrderOf(const BoxTree& tree, const Scratch<Record>& from)
{
    auto to = MakeScratch<Record>(static_cast<std::size_t>(tree.itemCount));
    for (int i = 0; i < tree.itemCount; ++i)
        to[static_cast<std::size_t>(i)] =
            from[static_cast<std::size_t>(tree.item[static_cast<std::size_t>(i)])];
    return to;
}

#endif
