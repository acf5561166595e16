// Fills in the bounds of the nodes of a hierarchy, bottom up: what both hierarchies of a solid
// share.
#ifndef SCAPI_BVH_FILL_H
#define SCAPI_BVH_FILL_H

#include <span>
#include <vector>

#include "bvh/query_trees.h"

/// Sets all of an item but the normal, with no altitude.
void SetCorners(BvhItem& item, const float (*corner)[3], int number);

/// Bounds on the length of a side.
struct SideLength {
    float least, most; ///< with all rounding (Lemma 1)
};
SideLength LengthOf(const float* a, const float* b);

/// What is merged on the way up.
struct NodeSummary {
    float bounds[6];      ///< along the coordinate axes
    NormalBounds normals; ///< of the triangles themselves
    double pad;           ///< by which a box has to be wider than the points of items
    Obb box;              ///< the smaller of the bounds and one fitted to points
};

NodeSummary EmptyNode();
void Merge(NodeSummary& node, const NodeSummary& below);

/// Fits a box to points, or takes the bounds where they are smaller.
/// @param pad  by which the box has to be wider than the points
void ChooseBox(NodeSummary& node, std::span<const Point3> points, double pad);

static_assert(kMaxCornerSetItems <= kWholeItems);

/// Whether a node is bounded by all that is known of each of its items; larger ones are bounded by
/// their corners, or by the boxes below.
inline bool IsFitted(const ItemRange& items) { return items.Count() <= kWholeItems; }

/// Fills in a node and all that is built below it, children first; the recursion is half as deep as
/// the tree. The builder is asked for, of each:
/// - Prepare(items), of the topmost nodes that are fitted;
/// - a Node with `merged`, which starts as EmptyNode() and takes ReadItems(items, node), or
///   ReadLarge(items, node) if it is not fitted, where nothing is built below, else
///   Merge(node, below) for each node below;
/// - PointsOf(items), the points that the box of such a node has to hold, with merged.pad around;
/// - Finish(items, node, wide, lane), when the box is chosen.
/// @param corners   of the boxes found so far that were fitted to points of items
/// @param prepared  whether the items are
template <class Builder>
typename Builder::Node FillLane(Builder& build, const Bvh& tree, int q, int lane,
                                std::vector<Point3>& corners, bool prepared = false)
{
    const WideNode& wide = tree.wide[q];
    const ItemRange& items = wide.items[lane];
    const bool fitted = IsFitted(items);
    if (fitted && !prepared) build.Prepare(items);
    const std::size_t first = corners.size();
    typename Builder::Node node = build.EmptyNode();
    const int below = wide.below[lane];
    if (below > 0)
        for (int child = 0; child < tree.wide[below].count; ++child)
            build.Merge(node, FillLane(build, tree, below, child, corners, fitted));
    else if (fitted)
        build.ReadItems(items, node);
    else
        build.ReadLarge(items, node);
    if (fitted || below <= 0)
        ChooseBox(node.merged, build.PointsOf(items), node.merged.pad);
    else
        ChooseBox(node.merged, std::span<const Point3>(corners).subspan(first), 0);
    build.Finish(items, node, q, lane);
    if (prepared || (below > 0 && !fitted)) return node;
    const auto box = CornersOf(node.merged.box);
    corners.insert(corners.end(), box.begin(), box.end());
    return node;
}

/// Fills in a new subtree and only then joins it to its node: if memory runs out in between, the
/// node is still unbuilt.
/// @return the wide node below
template <class Builder>
int FillSubtree(Builder& build, const Bvh& tree, int wide, int lane, int below)
{
    const ItemRange& items = tree.wide[wide].items[lane];
    const bool fitted = IsFitted(items);
    if (fitted) build.Prepare(items);
    std::vector<Point3> corners;
    for (int child = 0; child < tree.wide[below].count; ++child)
        FillLane(build, tree, below, child, corners, fitted);
    return tree.wide[wide].below[lane] = below;
}

/// Reorders records as their items have been.
template <class Record>
void Reorder(std::span<Record> records, std::span<const BvhItem> items)
{
    const std::vector<Record> before(records.begin(), records.end());
    for (std::size_t i = 0; i < items.size(); ++i)
        records[i] = before[static_cast<std::size_t>(items[i].item)];
}

#endif
