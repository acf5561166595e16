// The tree over a solid's triangles as targets.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "bvh/fill.h"
#include "bvh/hit_region.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "geometry/vector.h"
#include "mesh/triangle.h"

namespace
{

/// What is merged for TargetBoxes.
struct TargetNode {
    MergedNode merged;
    float longest = 0;
    bool holdsCells = false;
};

/// Fills in boxes and planes, for FillLane.
struct TargetBuilder {
    using Node = TargetNode;
    QueryTrees& trees;
    /// In the order of the tree, and so nearer than the triangles; the first has this number.
    std::span<const BoxItem> item;
    int firstItem;
    // Of the items that were prepared last:
    int first = 0;
    std::vector<std::array<float, 4>> plane{};
    std::vector<HitRegion> region{};
    std::vector<Point3> points{};

    const Target& TargetAt(int i) const { return trees.target[static_cast<std::size_t>(i)]; }
    const float (*CornersAt(int i) const)[3]
    {
        return item[static_cast<std::size_t>(i - firstItem)].corner;
    }
    const HitRegion& RegionAt(int i) const { return region[static_cast<std::size_t>(i - first)]; }
    const float* PlaneAt(int i) const { return plane[static_cast<std::size_t>(i - first)].data(); }

    static TargetNode EmptyNode() { return {::EmptyNode()}; }
    void Prepare(const BoxRange& items);
    void ReadItems(const BoxRange& items, TargetNode& node) const;
    static void Merge(TargetNode& node, const TargetNode& below);
    std::span<const Point3> PointsOf(const BoxRange& items, double& pad);
    void Finish(const BoxRange& items, const TargetNode& node, int quad, int lane) const;

    template <class Visit>
    void VisitSides(const BoxRange& items, Visit visit) const;
    void SetSides(const BoxRange& items, const TargetNode& node, OrientedBox& box,
                  TargetBoxes& boxes, int lane) const;
    void SetTurn(const BoxRange& items, const TargetNode& node, const OrientedBox& box,
                 TargetBoxes& boxes, int lane) const;
};

void TargetBuilder::Prepare(const BoxRange& items)
{
    first = items.first;
    plane.assign(static_cast<std::size_t>(items.Count()), {});
    region.resize(plane.size());
    for (std::size_t i = 0; i < plane.size(); ++i) {
        const int at = first + static_cast<int>(i);
        const Target& target = TargetAt(at);
        if (target.triangle) CalcPlane(CornersAt(at)[0], 3, plane[i].data());
        // Nothing hits a triangle but edges whose box meets the leaf, so its cell bounds what has
        // no bounds of its own.
        if (!target.triangle ||
            !CalcHitRegion(CornersAt(at), plane[i].data(), trees.reach, region[i]))
            SetToBox(region[i], target.leaf->bbox);
    }
}

void TargetBuilder::ReadItems(const BoxRange& items, TargetNode& node) const
{
    for (int i = items.first; i < items.last; ++i) {
        MergeBbox(node.merged.bounds, RegionAt(i).box);
        if (RegionAt(i).corners != 3) node.holdsCells = true;
        if (!TargetAt(i).triangle) continue;
        const auto* corner = CornersAt(i);
        for (int c = 0; c < 3; ++c)
            node.longest = std::max(node.longest, LengthOf(corner[c], corner[(c + 1) % 3]).most);
        AddNormals(node.merged.normals, PlaneAt(i), PlaneAt(i));
    }
}

void TargetBuilder::Merge(TargetNode& node, const TargetNode& below)
{
    ::Merge(node.merged, below.merged);
    node.longest = std::max(node.longest, below.longest);
    node.holdsCells = node.holdsCells || below.holdsCells;
}

std::span<const Point3> TargetBuilder::PointsOf(const BoxRange& items, double& pad)
{
    points.clear();
    for (int i = items.first; i < items.last; ++i) {
        for (int c = 0; c < RegionAt(i).corners; ++c) points.push_back(CornerOf(RegionAt(i), c));
        pad = std::max(pad, double(RegionAt(i).pad));
    }
    return points;
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

void TargetBuilder::SetTurn(const BoxRange& items, const TargetNode& node, const OrientedBox& box,
                            TargetBoxes& boxes, int lane) const
{
    const auto widened = [&](double turn) {
        return node.holdsCells ? 1 : RoundUp(std::min(1.0, turn * 1.00001 + 1e-6));
    };
    const float* normal = box.axis[0];
    boxes.turnAtAll[lane] = widened(FarthestNormal(node.merged.normals, normal));
    for (int k = 0; k < 3; ++k) {
        const float* axis = box.axis[k];
        double turn = 0;
        if (!IsFitted(items) || node.holdsCells)
            turn = TurnAlong(node.merged.normals, normal, axis);
        else
            for (int i = items.first; i < items.last; ++i)
                turn = std::max(turn, std::fabs(dot(axis, PlaneAt(i)) - dot(axis, normal)));
        boxes.turn[k][lane] = widened(turn);
    }
}

template <class Visit>
void TargetBuilder::VisitSides(const BoxRange& items, Visit visit) const
{
    for (int i = items.first; i < items.last; ++i)
        for (int c = 0; c < 3; ++c) {
            float side[3];
            Subtract(CornersAt(i)[c], CornersAt(i)[(c + 1) % 3], side);
            visit(side);
        }
}

/// Measures sides along the axes of a box, and puts that axis second along which they are longest.
/// Exactly for nodes of not too many.
void TargetBuilder::SetSides(const BoxRange& items, const TargetNode& node, OrientedBox& box,
                             TargetBoxes& boxes, int lane) const
{
    constexpr int kMost = 256;
    constexpr double kAlong = 0.1;
    // The axes are not at right angles to the last bit.
    const double slack = 1e-6 * node.longest;
    double most[3] = {}, alongLeast = kEmptyExtreme, acrossLongest = 0;
    if (items.Count() > kMost || node.holdsCells) {
        std::fill_n(most, 3, node.longest);
        alongLeast = 0;
    } else {
        VisitSides(items, [&](const float* side) {
            for (int k = 0; k < 3; ++k)
                most[k] = std::max(most[k], std::fabs(dot(box.axis[k], side)));
        });
        if (most[2] > most[1]) {
            std::swap(most[1], most[2]);
            std::swap(box.axis[1], box.axis[2]);
            std::swap(box.half[1], box.half[2]);
        }
        VisitSides(items, [&](const float* side) {
            const double along = std::fabs(dot(box.axis[1], side)),
                         length = std::sqrt(dot(side, side));
            if (along > kAlong * length)
                alongLeast = std::min(alongLeast, along);
            else
                acrossLongest = std::max(acrossLongest, length);
        });
    }
    for (int k = 0; k < 3; ++k) boxes.side[k][lane] = RoundUp(most[k] + slack);
    boxes.alongLeast[lane] = RoundDown(std::max(0.0, alongLeast * 0.99999 - slack));
    boxes.acrossLongest[lane] = RoundUp(acrossLongest * 1.00001);
}

void TargetBuilder::Finish(const BoxRange& items, const TargetNode& node, int quad, int lane) const
{
    trees.targetBoxes.Reach(quad + 1);
    TargetBoxes& boxes = trees.targetBoxes[quad];
    boxes.longest[lane] = node.longest;
    boxes.holdsCells[lane] = node.holdsCells ? 1 : 0;
    OrientedBox box = node.merged.box;
    SetSides(items, node, box, boxes, lane);
    SetTurn(items, node, box, boxes, lane);
    SetLane(boxes.box, lane, box);
    if (lane == 0)
        boxes = SplatLane(boxes, 0); // so that lanes without a node are as some that have
    if (!trees.targetTree.quad[quad].IsLeaf(lane)) return;
    for (int i = items.first; i < items.last; ++i)
        std::memcpy(&trees.plane[static_cast<std::size_t>(i)], PlaneAt(i), sizeof(TargetPlane));
}

/// The triangle that stands for a target in the tree.
const T_LIST& ShownBy(const Target& target)
{
    return target.triangle ? *target.triangle : *target.leaf->listHead;
}

/// The targets as the octree has them.
struct TargetList {
    std::vector<Target> target;
    std::vector<BoxItem> item;
    double reach = 0; ///< greatest magnitude of a coordinate
    bool nearby = true;

    void Add(const Target& added, const float* plane)
    {
        item.push_back(MakeItem(ShownBy(added).corners, plane, static_cast<int>(target.size())));
        target.push_back(added);
    }

    void See(const T_LIST& triangle)
    {
        for (const auto& corner : triangle.corners) {
            nearby = nearby && IsNearby(corner);
            for (const float x : corner) reach = std::max(reach, double(std::fabs(x)));
        }
    }

    /// Adds the triangles of a leaf, or the leaf if one of them has no plane.
    void AddLeaf(OCTREENODE* leaf)
    {
        const std::size_t first = target.size();
        bool whole = false;
        for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle)) {
            See(*triangle);
            float plane[4] = {};
            whole = !CalcPlane(triangle->corners[0], 3, plane) || whole;
            if (!whole) Add({triangle, leaf}, plane);
        }
        if (!whole) return;
        target.resize(first);
        item.resize(first);
        const float none[4] = {};
        Add({nullptr, leaf}, none);
    }

    void AddLeaves(OCTREENODE* node)
    {
        if (node->listHead) AddLeaf(node);
        for (OCTREENODE* child : node->children)
            if (child) AddLeaves(child);
    }
};

void BuildTargets(SOLIDC& solid, QueryTrees& trees)
{
    if (!IsPlainBox(solid.octree->root->bbox)) return;
    TargetList list;
    list.target.reserve(static_cast<std::size_t>(solid.triangleCount));
    list.item.reserve(static_cast<std::size_t>(solid.triangleCount));
    list.AddLeaves(solid.octree->root);
    trees.targetsUsable = list.nearby;
    if (!list.nearby || list.item.empty()) return;
    trees.reach = list.reach;
    trees.targetTree = BuildBoxTree(list.item);
    trees.target = std::move(list.target);
    Reorder<Target>(trees.target, list.item);
    trees.plane = MakeScratch<TargetPlane>(trees.target.size() + kLanes);
    TargetBuilder build{trees, list.item, 0};
    std::vector<Point3> corners;
    FillLane(build, trees.targetTree, 0, 0, corners);
}

} // namespace

int GrowTargets(QueryTrees& trees, int quad, int lane)
{
    const BoxRange& range = trees.targetTree.quad[quad].items[lane];
    const std::span<Target> targets(&trees.target[static_cast<std::size_t>(range.first)],
                                    static_cast<std::size_t>(range.Count()));
    std::vector<BoxItem> items;
    for (const Target& target : targets) {
        float plane[4] = {};
        const T_LIST& shown = ShownBy(target);
        if (target.triangle) CalcPlane(shown.corners[0], 3, plane);
        items.push_back(MakeItem(shown.corners, plane, static_cast<int>(items.size())));
    }
    const int below = GrowBoxTree(trees.targetTree, range, items);
    Reorder(targets, items);
    TargetBuilder build{trees, items, range.first};
    return FillCrowd(build, trees.targetTree, quad, lane, below);
}

QueryTrees* TargetTrees(SOLIDC& solid)
{
    QueryTrees& trees = TreesOf(solid);
    if (!trees.triedTargets && solid.octree) BuildTargets(solid, trees);
    trees.triedTargets = true;
    return trees.targetsUsable ? &trees : nullptr;
}
