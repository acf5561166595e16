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

struct TargetBuilder {
    Scratch<Target> target;
    Scratch<HitRegion> region;
    Scratch<BoxItem> item;
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

/// What is merged on the way up, for each node.
struct Merged {
    float box[6];
    NormalBounds normals;
};

void ReadLeaf(const QueryTrees& trees, const TargetBuilder& build, const BoxNode& items,
              TargetNode& node, Merged& merged)
{
    for (int i = items.first; i < items.last; ++i) {
        const HitRegion& region = build.region[static_cast<std::size_t>(i)];
        MergeBbox(merged.box, region.box);
        if (region.corners != 3) node.holdsCells = true;
        const Target& target = trees.target[static_cast<std::size_t>(i)];
        if (!target.triangle) continue;
        const auto& corner = target.triangle->corners;
        for (int c = 0; c < 3; ++c)
            node.longest = std::max(node.longest, LengthOf(corner[c], corner[(c + 1) % 3]).most);
        AddNormals(merged.normals, target.plane, target.plane);
    }
}

OrientedBox ChooseBox(const QueryTrees& trees, TargetBuilder& build, int n,
                      const Merged& merged)
{
    const BoxNode& items = trees.targetTree.At(n);
    double pad = 0;
    build.points.clear();
    if (!IsFitted(items)) AddCorners(trees.targetTree, trees.targetNode, n, build.points);
    for (int i = items.first; IsFitted(items) && i < items.last; ++i) {
        const HitRegion& region = build.region[static_cast<std::size_t>(i)];
        for (int c = 0; c < region.corners; ++c) build.points.push_back(CornerOf(region, c));
        pad = std::max(pad, double(region.pad));
    }
    return SmallerBox(merged.box, merged.normals, build.points, pad);
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

void ReadTurn(const QueryTrees& trees, const BoxNode& items, const NormalBounds& normals,
              TargetNode& node)
{
    const auto widened = [&](double turn) {
        return node.holdsCells ? 1 : RoundUp(std::min(1.0, turn * 1.00001 + 1e-6));
    };
    const float* first = node.box.axis[0];
    node.turnAtAll = widened(FarthestNormal(normals, first));
    for (int k = 0; k < 3; ++k) {
        double turn = 0;
        if (!IsFitted(items) || node.holdsCells)
            turn = TurnAlong(normals, first, node.box.axis[k]);
        else
            for (int i = items.first; i < items.last; ++i) {
                const float* plane = trees.target[static_cast<std::size_t>(i)].plane;
                turn = std::max(turn, std::fabs(dot(node.box.axis[k], plane) -
                                                dot(node.box.axis[k], first)));
            }
        node.turn[k] = widened(turn);
    }
}

void FillNode(QueryTrees& trees, TargetBuilder& build, Scratch<Merged>& merged, int n)
{
    const auto at = static_cast<std::size_t>(n);
    const BoxTree& tree = trees.targetTree;
    TargetNode& node = trees.targetNode[at];
    ClearBbox(merged[at].box);
    ClearNormals(merged[at].normals);
    if (tree.IsLeaf(n)) {
        ReadLeaf(trees, build, tree.At(n), node, merged[at]);
    } else {
        for (const int child : {tree.Left(n), tree.Right(n)}) {
            const auto below = static_cast<std::size_t>(child);
            node.longest = std::max(node.longest, trees.targetNode[below].longest);
            if (trees.targetNode[below].holdsCells) node.holdsCells = true;
            MergeBbox(merged[at].box, merged[below].box);
            AddNormals(merged[at].normals, merged[below].normals.low, merged[below].normals.high);
        }
    }
    node.box = ChooseBox(trees, build, n, merged[at]);
    ReadTurn(trees, tree.At(n), merged[at].normals, node);
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
        trees.targetNode = MakeScratch<TargetNode>(trees.targetTree.node.size());
        auto merged = MakeScratch<Merged>(trees.targetTree.node.size());
        // Children lie behind their node.
        for (int n = static_cast<int>(trees.targetTree.node.size()) - 1; n >= 0; --n)
            FillNode(trees, build, merged, n);
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
