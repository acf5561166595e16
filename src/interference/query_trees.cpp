#include "interference/query_trees.h"

#include <algorithm>
#include <cmath>

#include "interference/hit_box.h"
#include "interference/tests.h"
#include "solid/bbox.h"
#include "solid/triangle.h"
#include "solid/vector.h"

namespace
{

/// Beyond this the walk's own stand-in for "no edge", at 1e10, could meet something.
constexpr float kFarthest = 1e9f;

bool IsNearby(const float* point)
{
    return std::fabs(point[0]) < kFarthest && std::fabs(point[1]) < kFarthest &&
           std::fabs(point[2]) < kFarthest;
}

struct TargetBuilder {
    Scratch<Target> target;
    Scratch<BoxItem> item;
    int count = 0;
    double reach = 0; ///< greatest magnitude of a coordinate
    bool usable = true;
};

void AddTarget(TargetBuilder& build, const Target& target, const float* box)
{
    const auto at = static_cast<std::size_t>(build.count);
    build.target[at] = target;
    BoxItem& item = build.item[at];
    std::copy_n(box, 6, item.box);
    item.length = 0;
    item.item = build.count++;
}

/// Planes of the triangles of a leaf, from `first` on. @return whether all have one
bool AddPlanes(TargetBuilder& build, OCTREENODE* leaf)
{
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle)) {
        Target target{{}, triangle, leaf};
        if (!CalcPlane(triangle->corners[0], 3, target.plane)) return false;
        float box[6];
        // Nothing hits a triangle but edges whose box meets the leaf, so its cell bounds too.
        const bool bounded = CalcHitBox(triangle->corners, target.plane, build.reach, box);
        AddTarget(build, target, bounded ? box : leaf->bbox);
    }
    return true;
}

void AddLeaf(TargetBuilder& build, OCTREENODE* leaf)
{
    const int first = build.count;
    if (AddPlanes(build, leaf)) return;
    build.count = first;
    AddTarget(build, Target{{}, nullptr, leaf}, leaf->bbox);
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
        for (const float* corner :
             {triangle->corners[0], triangle->corners[1], triangle->corners[2]}) {
            build.usable = build.usable && IsNearby(corner);
            for (int axis = 0; axis < 3; ++axis)
                build.reach = std::max(build.reach, double(std::fabs(corner[axis])));
        }
    }
}

void BuildTargets(SOLIDC& solid, QueryTrees& trees)
{
    TargetBuilder build;
    int triangles = 0;
    float* root = solid.octree->root->bbox;
    build.usable = IsNearby(root) && IsNearby(root + 3) && root[0] <= root[3] &&
                   root[1] <= root[4] && root[2] <= root[5];
    VisitLeaves(solid.octree->root, [&](OCTREENODE* leaf) { Measure(build, triangles, leaf); });
    if (!build.usable) return;
    build.target = MakeScratch<Target>(static_cast<std::size_t>(triangles));
    build.item = MakeScratch<BoxItem>(static_cast<std::size_t>(triangles));
    VisitLeaves(solid.octree->root, [&](OCTREENODE* leaf) { AddLeaf(build, leaf); });
    trees.targetTree = BuildBoxTree(build.item, build.count);
    // In the order of the tree, so that the targets of a leaf lie side by side.
    trees.target = MakeScratch<Target>(static_cast<std::size_t>(build.count));
    for (int i = 0; i < build.count; ++i) {
        std::int32_t& item = trees.targetTree.item[static_cast<std::size_t>(i)];
        trees.target[static_cast<std::size_t>(i)] = build.target[static_cast<std::size_t>(item)];
        item = i;
    }
    trees.targetsUsable = true;
}

/// A triangle at rest, widened by its extents. @return false when it has no finite corners
bool MakeMover(const SOLIDC& solid, int index, BoxItem& item)
{
    float corners[3][3], box[6];
    for (int slot = 0; slot < 3; ++slot) {
        const int v = solid.triangles[index].vertex[slot];
        if (!InRange(v, solid.vertexCount) || !IsNearby(solid.vertices[v].position)) return false;
        std::copy_n(solid.vertices[v].position, 3, corners[slot]);
    }
    TriangleBbox(corners, box);
    for (int axis = 0; axis < 3; ++axis) {
        item.box[axis] = RoundDown(box[axis] - Extent(box, axis));
        item.box[axis + 3] = RoundUp(box[axis + 3] + Extent(box, axis));
    }
    item.length =
        RoundUp(std::max({distance(corners[0], corners[1]), distance(corners[1], corners[2]),
                          distance(corners[2], corners[0])}) *
                1.000001);
    item.item = index;
    return true;
}

void BuildMovers(SOLIDC& solid, QueryTrees& trees)
{
    auto items = MakeScratch<BoxItem>(static_cast<std::size_t>(solid.triangleCount));
    for (int t = 0; t < solid.triangleCount; ++t)
        if (!MakeMover(solid, t, items[static_cast<std::size_t>(t)])) return;
    trees.moverTree = BuildBoxTree(items, solid.triangleCount);
    trees.moversUsable = true;
}

QueryTrees& TreesOf(SOLIDC& solid)
{
    if (!solid.queryTrees) solid.queryTrees = new QueryTrees;
    return *solid.queryTrees;
}

} // namespace

void ReleaseQueryTrees(SOLIDC& solid)
{
    delete solid.queryTrees;
    solid.queryTrees = nullptr;
}

const QueryTrees* TargetTrees(SOLIDC& solid)
{
    QueryTrees& trees = TreesOf(solid);
    if (!trees.triedTargets && solid.octree) BuildTargets(solid, trees);
    trees.triedTargets = true;
    return trees.targetsUsable ? &trees : nullptr;
}

const QueryTrees* MoverTrees(SOLIDC& solid)
{
    QueryTrees& trees = TreesOf(solid);
    if (!trees.triedMovers && !solid.isSimple) BuildMovers(solid, trees);
    trees.triedMovers = true;
    return trees.moversUsable ? &trees : nullptr;
}
