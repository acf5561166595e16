#include "interference/box_tree.h"

#include <algorithm>

#include "solid/bbox.h"
#include "solid/vector.h"

namespace
{

/// Twice the centre of an item on an axis.
float CentreOf(const BoxItem& item, int axis) { return item.box[axis] + item.box[axis + 3]; }

/// The axis along which the centres of some items spread most.
int WidestAxis(const BoxItem* first, const BoxItem* last)
{
    float bounds[6], spread[3];
    ClearBbox(bounds);
    for (const BoxItem* item = first; item != last; ++item) {
        const float centre[3] = {CentreOf(*item, 0), CentreOf(*item, 1), CentreOf(*item, 2)};
        ExtendBbox(bounds, centre);
    }
    for (int axis = 0; axis < 3; ++axis) spread[axis] = float(Extent(bounds, axis));
    return LargestAxis(spread);
}

/// @param below  a node or an item
template <class Below>
void Widen(BoxNode& node, const Below& below)
{
    MergeBbox(node.box, below.box);
    node.longest = std::max(node.longest, below.longest);
    node.shortest = std::min(node.shortest, below.shortest);
}

/// Halves the items of a range at the median, again and again, and fills the nodes on the way back.
/// As deep as the logarithm of the number of leaves.
void FillNode(BoxTree& tree, Scratch<BoxItem>& items, const BoxRange& range)
{
    BoxNode& node = tree.node[static_cast<std::size_t>(range.node)];
    ClearBbox(node.box);
    node.longest = 0;
    node.shortest = kEmptyExtreme;
    if (range.IsLeaf()) {
        const int first = range.first * kItemsPerLeaf;
        for (int i = first; i < std::min(first + kItemsPerLeaf, tree.itemCount); ++i)
            Widen(node, items[static_cast<std::size_t>(i)]);
        return;
    }
    BoxItem* const first = &items[static_cast<std::size_t>(range.first * kItemsPerLeaf)];
    BoxItem* const last = &items[0] + std::min(range.last * kItemsPerLeaf, tree.itemCount);
    BoxItem* const middle = &items[static_cast<std::size_t>(range.Middle() * kItemsPerLeaf)];
    const int axis = WidestAxis(first, last);
    std::nth_element(first, middle, last, [axis](const BoxItem& a, const BoxItem& b) {
        return CentreOf(a, axis) < CentreOf(b, axis);
    });
    for (const BoxRange& child : {range.Left(), range.Right()}) {
        FillNode(tree, items, child);
        Widen(node, tree.node[static_cast<std::size_t>(child.node)]);
    }
}

} // namespace

BoxTree BuildBoxTree(Scratch<BoxItem>& items, int count)
{
    BoxTree tree;
    if (count == 0) return tree;
    tree.itemCount = count;
    tree.leafCount = (count + kItemsPerLeaf - 1) / kItemsPerLeaf;
    tree.node = MakeScratch<BoxNode>(2 * static_cast<std::size_t>(tree.leafCount) - 1);
    FillNode(tree, items, RootOf(tree));
    tree.item = MakeScratch<std::int32_t>(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) tree.item[i] = items[i].item;
    return tree;
}
