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

/// Lengths of the longest and the shortest side, on the safe side of their rounding.
void SetLengths(const float (*corner)[3], BoxItem& item)
{
    const double sides[3] = {distance(corner[0], corner[1]), distance(corner[1], corner[2]),
                             distance(corner[2], corner[0])};
    item.longest = RoundUp(std::max({sides[0], sides[1], sides[2]}) * 1.000001);
    item.shortest = RoundDown(std::min({sides[0], sides[1], sides[2]}) * 0.999999);
}

void AddTarget(TargetBuilder& build, const Target& target, const float* box)
{
    const auto at = static_cast<std::size_t>(build.count);
    build.target[at] = target;
    BoxItem& item = build.item[at];
    std::copy_n(box, 6, item.box);
    item.longest = item.shortest = 0;
    if (target.triangle) SetLengths(target.triangle->corners, item);
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

void ClearNormals(NormalBounds& bounds)
{
    std::fill_n(bounds.low, 3, kEmptyExtreme);
    std::fill_n(bounds.high, 3, -kEmptyExtreme);
}

void AddNormal(NormalBounds& bounds, const float* low, const float* high)
{
    for (int axis = 0; axis < 3; ++axis) {
        bounds.low[axis] = std::min(bounds.low[axis], low[axis]);
        bounds.high[axis] = std::max(bounds.high[axis], high[axis]);
    }
}

/// The middle of some normals as a unit vector, or zero where they cancel out. Any vector will do:
/// what depends on it is bounded with it.
void MeanNormal(const NormalBounds& bounds, float* mean)
{
    for (int axis = 0; axis < 3; ++axis)
        mean[axis] = float(0.5 * (double(bounds.low[axis]) + bounds.high[axis]));
    const double length = std::sqrt(dot(mean, mean));
    for (int axis = 0; axis < 3; ++axis)
        mean[axis] = length > 1e-3 ? float(mean[axis] / length) : 0.0f;
}

void SetCentre(const float* box, float* centre)
{
    for (int axis = 0; axis < 3; ++axis)
        centre[axis] = float(0.5 * (double(box[axis]) + box[axis + 3]));
}

/// A whole leaf has no plane, and is found by its box alone.
void FillPlanes(QueryTrees& trees, const BoxRange& range)
{
    PlaneBounds& bounds = trees.planes[static_cast<std::size_t>(range.node)];
    SetCentre(trees.targetTree.node[static_cast<std::size_t>(range.node)].box, bounds.centre);
    const ItemRange items = ItemsOf(trees.targetTree, range);
    const auto forEachPlane = [&](auto visit) {
        for (int i = items.first; i < items.last; ++i)
            if (const Target& target = trees.target[static_cast<std::size_t>(i)]; target.triangle)
                visit(target.plane);
    };
    NormalBounds normals;
    ClearNormals(normals);
    forEachPlane([&](const float* plane) { AddNormal(normals, plane, plane); });
    bounds.turn = -1;
    if (normals.low[0] > normals.high[0]) return;
    MeanNormal(normals, bounds.normal);
    double turn = 0, least = HUGE_VAL, greatest = -HUGE_VAL;
    forEachPlane([&](const float* plane) {
        turn = std::max(turn, distance(plane, bounds.normal));
        const double offset = dot(plane, bounds.centre) + plane[3];
        least = std::min(least, offset);
        greatest = std::max(greatest, offset);
    });
    bounds.turn = RoundUp(turn * 1.00001 + 1e-6);
    bounds.offset[0] = RoundDown(least);
    bounds.offset[1] = RoundUp(greatest);
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
    if (build.count) {
        trees.planes =
            MakeScratch<PlaneBounds>(2 * static_cast<std::size_t>(trees.targetTree.leafCount));
        VisitNodes(RootOf(trees.targetTree),
                   [&](const BoxRange& range) { FillPlanes(trees, range); });
    }
    trees.targetsUsable = true;
}

Mover::Side SideOf(const SOLIDC& solid, int index, int slot)
{
    const T_LIST& triangle = solid.triangles[index];
    if (!InRange(triangle.edge[slot], solid.edgeCount)) return Mover::kNotOwn;
    const EdgeRec& edge = solid.edges[triangle.edge[slot]];
    if (AcrossEdge(edge, index) <= index) return Mover::kNotOwn;
    const int here = triangle.vertex[slot], before = triangle.vertex[PreviousSlot(slot)];
    if (edge.vertex[0] == here && edge.vertex[1] == before) return Mover::kBackward;
    if (edge.vertex[0] == before && edge.vertex[1] == here) return Mover::kForward;
    return Mover::kAsk;
}

/// @return false when a corner or the normal is not finite
bool MakeMover(const SOLIDC& solid, int index, Mover& mover)
{
    const T_LIST& triangle = solid.triangles[index];
    if (!IsNearby(triangle.normal)) return false;
    for (int slot = 0; slot < 3; ++slot) {
        const int v = triangle.vertex[slot];
        if (!InRange(v, solid.vertexCount) || !IsNearby(solid.vertices[v].position)) return false;
        std::copy_n(solid.vertices[v].position, 3, mover.corner[slot]);
        mover.side[slot] = SideOf(solid, index, slot);
    }
    std::copy_n(triangle.normal, 3, mover.normal);
    mover.index = index;
    return true;
}

/// The box of a triangle at rest, widened by its extents.
void MakeMoverItem(const float (*corner)[3], int index, BoxItem& item)
{
    float box[6];
    TriangleBbox(corner, box);
    for (int axis = 0; axis < 3; ++axis) {
        item.box[axis] = RoundDown(box[axis] - Extent(box, axis));
        item.box[axis + 3] = RoundUp(box[axis + 3] + Extent(box, axis));
    }
    SetLengths(corner, item);
    item.item = index;
}

/// The normals of the movers of a leaf and of the triangles across their edges.
void AddLeafNormals(const SOLIDC& solid, const QueryTrees& trees, const BoxRange& range,
                    NormalBounds& bounds)
{
    const ItemRange items = ItemsOf(trees.moverTree, range);
    for (int i = items.first; i < items.last; ++i) {
        const Mover& mover = trees.mover[static_cast<std::size_t>(i)];
        AddNormal(bounds, mover.normal, mover.normal);
        for (const int e : solid.triangles[mover.index].edge) {
            if (!InRange(e, solid.edgeCount)) continue;
            const float* normal = solid.triangles[AcrossEdge(solid.edges[e], mover.index)].normal;
            AddNormal(bounds, normal, normal);
        }
    }
}

void FillSlab(QueryTrees& trees, const BoxRange& range)
{
    const auto at = static_cast<std::size_t>(range.node);
    Slab& slab = trees.slabs[at];
    MeanNormal(trees.normals[at], slab.normal);
    SetCentre(trees.moverTight[at].box, slab.centre);
    double least = HUGE_VAL, greatest = -HUGE_VAL, radius = 0;
    const ItemRange items = ItemsOf(trees.moverTree, range);
    for (int i = items.first; i < items.last; ++i)
        for (const auto& corner : trees.mover[static_cast<std::size_t>(i)].corner) {
            float offset[3];
            Subtract(corner, slab.centre, offset);
            const double height = dot(offset, slab.normal);
            least = std::min(least, height);
            greatest = std::max(greatest, height);
            radius = std::max(radius, std::sqrt(dot(offset, offset)));
        }
    slab.height[0] = RoundDown(least);
    slab.height[1] = RoundUp(greatest);
    slab.radius = RoundUp(radius * 1.000001);
}

/// Normals and tight boxes of a node, from its movers or from the two nodes below.
void FillMoverNode(const SOLIDC& solid, QueryTrees& trees, const BoxRange& range)
{
    const auto at = static_cast<std::size_t>(range.node);
    float* box = trees.moverTight[at].box;
    ClearBbox(box);
    ClearNormals(trees.normals[at]);
    if (range.IsLeaf()) {
        AddLeafNormals(solid, trees, range, trees.normals[at]);
        const ItemRange items = ItemsOf(trees.moverTree, range);
        for (int i = items.first; i < items.last; ++i)
            for (const auto& corner : trees.mover[static_cast<std::size_t>(i)].corner)
                ExtendBbox(box, corner);
    } else {
        for (const BoxRange& child : {range.Left(), range.Right()}) {
            FillMoverNode(solid, trees, child);
            const auto below = static_cast<std::size_t>(child.node);
            MergeBbox(box, trees.moverTight[below].box);
            AddNormal(trees.normals[at], trees.normals[below].low, trees.normals[below].high);
        }
    }
    trees.moverTight[at].longest = trees.moverTree.node[at].longest;
    trees.moverTight[at].shortest = trees.moverTree.node[at].shortest;
}

void BuildMovers(SOLIDC& solid, QueryTrees& trees)
{
    const auto count = static_cast<std::size_t>(solid.triangleCount);
    auto items = MakeScratch<BoxItem>(count);
    Mover mover{};
    for (std::size_t t = 0; t < count; ++t) {
        if (!MakeMover(solid, static_cast<int>(t), mover)) return;
        MakeMoverItem(mover.corner, static_cast<int>(t), items[t]);
    }
    trees.moverTree = BuildBoxTree(items, solid.triangleCount);
    trees.mover = MakeScratch<Mover>(count);
    for (std::size_t i = 0; i < count; ++i)
        MakeMover(solid, trees.moverTree.item[i], trees.mover[i]);
    if (count) {
        const auto nodes = 2 * static_cast<std::size_t>(trees.moverTree.leafCount) - 1;
        trees.normals = MakeScratch<NormalBounds>(nodes);
        trees.moverTight = MakeScratch<BoxNode>(nodes);
        FillMoverNode(solid, trees, RootOf(trees.moverTree));
        trees.slabs = MakeScratch<Slab>(nodes);
        VisitNodes(RootOf(trees.moverTree), [&](const BoxRange& range) { FillSlab(trees, range); });
    }
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
