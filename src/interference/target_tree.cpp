// The tree over a solid's triangles as targets.
#include <algorithm>
#include <cmath>

#include "interference/hit_region.h"
#include "interference/query_trees.h"
#include "interference/tests.h"
#include "solid/bbox.h"
#include "solid/triangle.h"
#include "solid/vector.h"

namespace
{

/// A lane of TargetBoxes.
struct TargetNode {
    float longest, side[3], turn[3], turnAtAll;
    bool holdsCells;
};

struct TargetBuilder {
    Scratch<Target> target;
    Scratch<HitRegion> region;
    Scratch<BoxItem> item;
    Scratch<MergedNode> merged; ///< these two by node
    Scratch<TargetNode> node;
    std::vector<Point3> points; ///< of one node
    int count = 0;
    double reach = 0; ///< greatest magnitude of a coordinate
    bool usable = true;
};

/// Nothing hits a triangle but edges whose box meets the leaf, so its cell bounds what has no
/// bounds of its own.
void AddTarget(TargetBuilder& build, const Target& target)
{
    const auto at = static_cast<std::size_t>(build.count);
    build.target[at] = target;
    HitRegion& region = build.region[at];
    if (!target.triangle ||
        !CalcHitRegion(target.triangle->corners, target.plane, build.reach, region))
        SetToBox(region, target.leaf->bbox);
    build.item[at] =
        MakeItem(target.triangle ? target.triangle->corners : target.leaf->listHead->corners,
                 target.plane, build.count++);
}

void AddLeaf(TargetBuilder& build, OCTREENODE* leaf)
{
    const int first = build.count;
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle)) {
        Target target{{}, triangle, leaf};
        if (!CalcPlane(triangle->corners[0], 3, target.plane)) {
            build.count = first;
            return AddTarget(build, Target{{}, nullptr, leaf});
        }
        AddTarget(build, target);
    }
}

template <class Visit>
void VisitLeaves(OCTREENODE* node, Visit visit)
{
    if (node->listHead) visit(node);
    for (OCTREENODE* child : node->children)
        if (child) VisitLeaves(child, visit);
}

void Measure(TargetBuilder& build, int& triangles, const OCTREENODE* leaf)
{
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle)) {
        ++triangles;
        for (const auto& corner : triangle->corners) {
            build.usable = build.usable && IsNearby(corner);
            for (const float x : corner) build.reach = std::max(build.reach, double(std::fabs(x)));
        }
    }
}

void ReadLeaf(const QueryTrees& trees, const TargetBuilder& build, const BoxNode& items,
              TargetNode& node, MergedNode& merged)
{
    for (int i = items.first; i < items.last; ++i) {
        const HitRegion& region = build.region[static_cast<std::size_t>(i)];
        MergeBbox(merged.bounds, region.box);
        if (region.corners != 3) node.holdsCells = true;
        const Target& target = trees.target[static_cast<std::size_t>(i)];
        if (!target.triangle) continue;
        const auto& corner = target.triangle->corners;
        for (int c = 0; c < 3; ++c)
            node.longest = std::max(node.longest, LengthOf(corner[c], corner[(c + 1) % 3]).most);
        AddNormals(merged.normals, target.plane, target.plane);
    }
}

void FindPoints(const QueryTrees& trees, TargetBuilder& build, int n, double& pad)
{
    const BoxNode& items = trees.targetTree.At(n);
    build.points.clear();
    pad = 0;
    if (!IsFitted(items)) return AddCorners(trees.targetTree, build.merged, n, build.points);
    for (int i = items.first; i < items.last; ++i) {
        const HitRegion& region = build.region[static_cast<std::size_t>(i)];
        for (int c = 0; c < region.corners; ++c) build.points.push_back(CornerOf(region, c));
        pad = std::max(pad, double(region.pad));
    }
}

/// The most that bounds of normals, less the first axis, reach along another.
double TurnAlong(const NormalBounds& normals, const float* first, const float* axis)
{
    double low = 0, high = 0;
    for (int i = 0; i < 3; ++i) {
        const double a = double(axis[i]) * (double(normals.low[i]) - first[i]),
                     b = double(axis[i]) * (double(normals.high[i]) - first[i]);
        low += std::min(a, b);
        high += std::max(a, b);
    }
    return std::max(-low, high);
}

void ReadTurn(const QueryTrees& trees, const BoxNode& items, const MergedNode& merged,
              TargetNode& node)
{
    const auto widened = [&](double turn) {
        return node.holdsCells ? 1 : RoundUp(std::min(1.0, turn * 1.00001 + 1e-6));
    };
    const float* first = merged.box.axis[0];
    node.turnAtAll = widened(FarthestNormal(merged.normals, first));
    for (int k = 0; k < 3; ++k) {
        const float* axis = merged.box.axis[k];
        double turn = 0;
        if (!IsFitted(items) || node.holdsCells)
            turn = TurnAlong(merged.normals, first, axis);
        else
            for (int i = items.first; i < items.last; ++i) {
                const float* plane = trees.target[static_cast<std::size_t>(i)].plane;
                turn = std::max(turn, std::fabs(dot(axis, plane) - dot(axis, first)));
            }
        node.turn[k] = widened(turn);
    }
}

/// The greatest extents of sides along the axes of the box, for nodes of not too many.
void ReadSides(const QueryTrees& trees, const BoxNode& items, const OrientedBox& box,
               TargetNode& node)
{
    constexpr int kMost = 256;
    std::fill_n(node.side, 3, node.longest);
    if (items.last - items.first > kMost || node.holdsCells) return;
    for (int k = 0; k < 3; ++k) {
        double most = 0;
        for (int i = items.first; i < items.last; ++i) {
            const auto& corner = trees.target[static_cast<std::size_t>(i)].triangle->corners;
            const double a = dot(box.axis[k], corner[0]), b = dot(box.axis[k], corner[1]),
                         c = dot(box.axis[k], corner[2]);
            most = std::max({most, std::fabs(a - b), std::fabs(b - c), std::fabs(c - a)});
        }
        // The axes are not at right angles to the last bit.
        node.side[k] = RoundUp(most + 1e-6 * node.longest);
    }
}

void FillNode(QueryTrees& trees, TargetBuilder& build, int n)
{
    const auto at = static_cast<std::size_t>(n);
    const BoxTree& tree = trees.targetTree;
    TargetNode& node = build.node[at];
    MergedNode& merged = build.merged[at];
    ClearNode(merged);
    if (tree.IsLeaf(n)) {
        ReadLeaf(trees, build, tree.At(n), node, merged);
    } else {
        MergeChildren(tree, build.merged, n);
        for (const int child : {tree.Left(n), tree.Right(n)}) {
            const TargetNode& below = build.node[static_cast<std::size_t>(child)];
            node.longest = std::max(node.longest, below.longest);
            if (below.holdsCells) node.holdsCells = true;
        }
    }
    double pad = 0;
    FindPoints(trees, build, n, pad);
    ChooseBox(merged, build.points, pad);
    ReadTurn(trees, tree.At(n), merged, node);
    ReadSides(trees, tree.At(n), merged.box, node);
}

void SetLane(TargetBoxes& boxes, int lane, const TargetNode& node, const OrientedBox& box)
{
    SetLane(boxes.box, lane, box);
    boxes.longest[lane] = node.longest;
    for (int k = 0; k < 3; ++k) {
        boxes.side[k][lane] = node.side[k];
        boxes.turn[k][lane] = node.turn[k];
    }
    boxes.turnAtAll[lane] = node.turnAtAll;
    boxes.holdsCells[lane] = node.holdsCells ? 1 : 0;
}

void SetPlanes(const QueryTrees& trees, const BoxNode& leaf, LeafPlanes& planes)
{
    for (int lane = 0; lane < leaf.last - leaf.first; ++lane) {
        const float* plane = trees.target[static_cast<std::size_t>(leaf.first + lane)].plane;
        for (int r = 0; r < 3; ++r) planes.normal[r][lane] = plane[r];
        planes.d[lane] = plane[3];
    }
}

/// Fills in the boxes and planes of a tree that has targets.
void BuildBoxes(QueryTrees& trees, TargetBuilder& build)
{
    const BoxTree& tree = trees.targetTree;
    const auto nodes = static_cast<std::size_t>(tree.nodeCount);
    build.merged = MakeScratch<MergedNode>(nodes);
    build.node = MakeScratch<TargetNode>(nodes);
    // Children lie behind their node.
    for (int n = tree.nodeCount - 1; n >= 0; --n) FillNode(trees, build, n);
    trees.targetBoxes = MakeScratch<TargetBoxes>(static_cast<std::size_t>(tree.quadCount));
    trees.leafPlanes = MakeScratch<LeafPlanes>(static_cast<std::size_t>(tree.leafCount));
    VisitLanes(tree, [&](std::size_t q, int lane, std::size_t n) {
        SetLane(trees.targetBoxes[q], lane, build.node[n], build.merged[n].box);
        const int below = tree.quad[q].below[lane];
        if (below <= 0)
            SetPlanes(trees, tree.node[n], trees.leafPlanes[static_cast<std::size_t>(-below)]);
    });
}

void BuildTargets(SOLIDC& solid, QueryTrees& trees)
{
    TargetBuilder build;
    int triangles = 0;
    const float* root = solid.octree->root->bbox;
    build.usable = IsNearby(root) && IsNearby(root + 3) && root[0] <= root[3] &&
                   root[1] <= root[4] && root[2] <= root[5];
    VisitLeaves(solid.octree->root, [&](OCTREENODE* leaf) { Measure(build, triangles, leaf); });
    if (!build.usable) return;
    const auto most = static_cast<std::size_t>(triangles);
    build.target = MakeScratch<Target>(most);
    build.region = MakeScratch<HitRegion>(most);
    build.item = MakeScratch<BoxItem>(most);
    VisitLeaves(solid.octree->root, [&](OCTREENODE* leaf) { AddLeaf(build, leaf); });
    trees.targetTree = BuildBoxTree(build.item, build.count);
    if (build.count) {
        trees.target = InOrderOf(trees.targetTree, build.target);
        build.region = InOrderOf(trees.targetTree, build.region);
        BuildBoxes(trees, build);
    }
    trees.targetsUsable = true;
}

} // namespace

const QueryTrees* TargetTrees(SOLIDC& solid)
{
    QueryTrees& trees = TreesOf(solid);
    if (!trees.triedTargets && solid.octree) BuildTargets(solid, trees);
    trees.triedTargets = true;
    return trees.targetsUsable ? &trees : nullptr;
}
