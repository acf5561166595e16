#include "interference/box_tree.h"

#include <algorithm>

#include "solid/bbox.h"
#include "solid/vector.h"

namespace
{

/// The axis along which the centres of some items spread most.
int WidestAxis(const BoxItem* first, const BoxItem* last)
{
    float bounds[6], spread[3];
    ClearBbox(bounds);
    for (const BoxItem* item = first; item != last; ++item) ExtendBbox(bounds, item->centre);
    for (int axis = 0; axis < 3; ++axis) spread[axis] = float(Extent(bounds, axis));
    return LargestAxis(spread);
}

/// Halves the items of a range at the median, again and again.
void Halve(Scratch<BoxItem>& items, int count, const BoxRange& range)
{
    if (range.IsLeaf()) return;
    BoxItem* const first = &items[static_cast<std::size_t>(range.first * kItemsPerLeaf)];
    BoxItem* const last = &items[0] + std::min(range.last * kItemsPerLeaf, count);
    BoxItem* const middle = &items[static_cast<std::size_t>(range.Middle() * kItemsPerLeaf)];
    const int axis = WidestAxis(first, last);
    std::nth_element(first, middle, last, [axis](const BoxItem& a, const BoxItem& b) {
        return a.centre[axis] < b.centre[axis];
    });
    Halve(items, count, range.Left());
    Halve(items, count, range.Right());
}

} // namespace

BoxTree BuildBoxTree(Scratch<BoxItem>& items, int count)
{
    BoxTree tree;
    if (count == 0) return tree;
    tree.itemCount = count;
    tree.leafCount = (count + kItemsPerLeaf - 1) / kItemsPerLeaf;
    Halve(items, count, RootOf(tree));
    tree.item = MakeScratch<std::int32_t>(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) tree.item[i] = items[i].item;
    return tree;
}
