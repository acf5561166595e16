// What the builders of both trees of a solid share.
#ifndef SCAPI_BVH_FILL_H
#define SCAPI_BVH_FILL_H

#include <span>
#include <vector>

#include "bvh/query_trees.h"

/// @return a place for trees, made if there is none
QueryTrees& TreesOf(SOLIDC& solid);

/// A triangle for the tree.
BoxItem MakeItem(const float (*corner)[3], const float* normal, int item);

/// The length of a side, to either side of its rounding.
struct SideLength {
    float least, most;
};
SideLength LengthOf(const float* a, const float* b);

/// What is merged on the way up a tree.
struct MergedNode {
    float bounds[6];      ///< along the coordinate axes
    NormalBounds normals; ///< of the triangles themselves
    OrientedBox box;      ///< the smaller of the bounds and one fitted to points
};

MergedNode EmptyNode();
void Merge(MergedNode& node, const MergedNode& below);

/// Fits a box to points, or takes the bounds where they are smaller.
/// @param pad  by which the box has to be wider than the points
void ChooseBox(MergedNode& node, std::span<const Point3> points, double pad);

/// Up to this many items a node's box is fitted to them; above it, to the boxes below that were.
constexpr int kMostFitted = 4096;

static_assert(kCrowd <= kMostFitted && kFew <= kCrowd);

inline bool IsFitted(const BoxRange& items) { return items.Count() <= kMostFitted; }

/// Goes through a lane and all that is grown below it, children first, as deep as half the tree. Of
/// each the builder is asked for:
/// - Prepare(items), of the topmost nodes that are fitted;
/// - a Node with `merged`, which starts as EmptyNode(), and where nothing is grown goes through
///   ReadItems(items, node), else through Merge(node, below) for each node below it;
/// - PointsOf(items, pad), what the box of a fitted node has to hold;
/// - Finish(items, node, quad, lane), when the box is chosen.
/// @param corners   of the fitted boxes found so far
/// @param prepared  whether the items are
template <class Builder>
typename Builder::Node FillLane(Builder& build, const BoxTree& tree, int q, int lane,
                                std::vector<Point3>& corners, bool prepared = false)
{
    const BoxQuad& quad = tree.quad[q];
    const BoxRange& items = quad.items[lane];
    const bool fitted = IsFitted(items);
    if (fitted && !prepared) build.Prepare(items);
    const std::size_t first = corners.size();
    typename Builder::Node node = build.EmptyNode();
    const int below = quad.below[lane];
    if (below <= 0)
        build.ReadItems(items, node);
    else
        for (int child = 0; child < tree.quad[below].count; ++child)
            build.Merge(node, FillLane(build, tree, below, child, corners, fitted));
    double pad = 0;
    const auto points =
        fitted ? build.PointsOf(items, pad) : std::span<const Point3>(corners).subspan(first);
    ChooseBox(node.merged, points, pad);
    build.Finish(items, node, q, lane);
    if (fitted && !prepared) {
        const auto box = CornersOf(node.merged.box);
        corners.insert(corners.end(), box.begin(), box.end());
    }
    return node;
}

/// Fills in what has grown below a crowd, and only then joins it to the tree: where memory runs out
/// in between, the crowd is still one.
/// @return the quad below
template <class Builder>
int FillCrowd(Builder& build, const BoxTree& tree, int quad, int lane, int below)
{
    std::vector<Point3> corners;
    build.Prepare(tree.quad[quad].items[lane]);
    for (int child = 0; child < tree.quad[below].count; ++child)
        FillLane(build, tree, below, child, corners, true);
    return tree.quad[quad].below[lane] = below;
}

/// Moves what belongs to some items into the order that they have come into.
template <class Record>
void Reorder(std::span<Record> records, std::span<const BoxItem> items)
{
    const std::vector<Record> before(records.begin(), records.end());
    for (std::size_t i = 0; i < items.size(); ++i)
        records[i] = before[static_cast<std::size_t>(items[i].item)];
}

#endif
