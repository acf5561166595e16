// Builds the hierarchy of targets.
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

/// What is merged upwards for TargetNodes.
struct TargetSummary {
    NodeSummary merged;
    float longest = 0;
    bool holdsCells = false;
};

/// Fills in nodes and planes, for FillLane.
struct TargetBuilder {
    using Node = TargetSummary;
    TargetTree& tree;
    /// The triangles in the order of the tree, which is nearer in memory than the records.
    std::span<const BvhItem> item;
    int firstItem; ///< number of the first of them
    // Of the items prepared last:
    int first = 0;
    std::vector<std::array<float, 4>> plane{};
    std::vector<HitRegion> region{};
    std::vector<Point3> points{};

    const Target& TargetAt(int i) const { return tree.target[static_cast<std::size_t>(i)]; }
    const float (*CornersAt(int i) const)[3]
    {
        return item[static_cast<std::size_t>(i - firstItem)].corner;
    }
    const HitRegion& RegionAt(int i) const { return region[static_cast<std::size_t>(i - first)]; }
    const float* PlaneAt(int i) const { return plane[static_cast<std::size_t>(i - first)].data(); }

    static TargetSummary EmptyNode() { return {::EmptyNode()}; }
    void Prepare(const ItemRange& items);
    void ReadItems(const ItemRange& items, TargetSummary& node) const;
    static void Merge(TargetSummary& node, const TargetSummary& below);
    std::span<const Point3> PointsOf(const ItemRange& items, double& pad);
    void Finish(const ItemRange& items, const TargetSummary& node, int wide, int lane) const;

    template <class Visit>
    void VisitSides(const ItemRange& items, Visit visit) const;
    void SetSides(const ItemRange& items, const TargetSummary& node, Obb& box, TargetNodes& nodes,
                  int lane) const;
    void SetDeviation(const ItemRange& items, const TargetSummary& node, const Obb& box,
                      TargetNodes& nodes, int lane) const;
};

void TargetBuilder::Prepare(const ItemRange& items)
{
    first = items.first;
    plane.assign(static_cast<std::size_t>(items.Count()), {});
    region.resize(plane.size());
    for (std::size_t i = 0; i < plane.size(); ++i) {
        const int at = first + static_cast<int>(i);
        const Target& target = TargetAt(at);
        if (target.triangle) CalcPlane(CornersAt(at)[0], 3, plane[i].data());
        // Only edges whose box overlaps the leaf's cell are tested with its triangles, so the cell
        // bounds those that have no region.
        if (!target.triangle ||
            !CalcHitRegion(CornersAt(at), plane[i].data(), tree.maxCoordinate, region[i]))
            SetToBox(region[i], target.leaf->bbox);
    }
}

void TargetBuilder::ReadItems(const ItemRange& items, TargetSummary& node) const
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

void TargetBuilder::Merge(TargetSummary& node, const TargetSummary& below)
{
    ::Merge(node.merged, below.merged);
    node.longest = std::max(node.longest, below.longest);
    node.holdsCells = node.holdsCells || below.holdsCells;
}

std::span<const Point3> TargetBuilder::PointsOf(const ItemRange& items, double& pad)
{
    points.clear();
    for (int i = items.first; i < items.last; ++i) {
        for (int c = 0; c < RegionAt(i).corners; ++c) points.push_back(CornerOf(RegionAt(i), c));
        pad = std::max(pad, double(RegionAt(i).pad));
    }
    return points;
}

/// The greatest component on an axis of the difference between bounded normals and the first axis.
double DeviationAlong(const NormalBounds& normals, const float* first, const float* axis)
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

void TargetBuilder::SetDeviation(const ItemRange& items, const TargetSummary& node, const Obb& box,
                                 TargetNodes& nodes, int lane) const
{
    const auto widened = [&](double deviation) {
        return node.holdsCells ? 1 : RoundUp(std::min(1.0, deviation * 1.00001 + 1e-6));
    };
    const float* normal = box.axis[0];
    nodes.maxDeviation[lane] = widened(FarthestNormal(node.merged.normals, normal));
    for (int k = 0; k < 3; ++k) {
        const float* axis = box.axis[k];
        double deviation = 0;
        if (!IsFitted(items) || node.holdsCells)
            deviation = DeviationAlong(node.merged.normals, normal, axis);
        else
            for (int i = items.first; i < items.last; ++i)
                deviation =
                    std::max(deviation, std::fabs(dot(axis, PlaneAt(i)) - dot(axis, normal)));
        nodes.deviation[k][lane] = widened(deviation);
    }
}

template <class Visit>
void TargetBuilder::VisitSides(const ItemRange& items, Visit visit) const
{
    for (int i = items.first; i < items.last; ++i)
        for (int c = 0; c < 3; ++c) {
            float side[3];
            Subtract(CornersAt(i)[c], CornersAt(i)[(c + 1) % 3], side);
            visit(side);
        }
}

/// Measures sides along the axes of a box, and makes that axis the second along which they are
/// longest. Nodes of many targets get bounds that hold for any direction.
void TargetBuilder::SetSides(const ItemRange& items, const TargetSummary& node, Obb& box,
                             TargetNodes& nodes, int lane) const
{
    constexpr int kMaxMeasured = 256;
    constexpr double kAlong = 0.1;
    // Axes are rounded: neither unit nor at right angles (Lemma 1).
    const double slack = 1e-6 * node.longest;
    double most[3] = {}, alongLeast = kEmptyExtreme, acrossLongest = 0;
    if (items.Count() > kMaxMeasured || node.holdsCells) {
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
    for (int k = 0; k < 3; ++k) nodes.side[k][lane] = RoundUp(most[k] + slack);
    nodes.alongLeast[lane] = RoundDown(std::max(0.0, alongLeast * 0.99999 - slack));
    nodes.acrossLongest[lane] = RoundUp(acrossLongest * 1.00001);
}

void TargetBuilder::Finish(const ItemRange& items, const TargetSummary& node, int wide,
                           int lane) const
{
    tree.nodes.EnsureSize(wide + 1);
    TargetNodes& nodes = tree.nodes[wide];
    nodes.longest[lane] = node.longest;
    nodes.holdsCells[lane] = node.holdsCells ? 1 : 0;
    Obb box = node.merged.box;
    SetSides(items, node, box, nodes, lane);
    SetDeviation(items, node, box, nodes, lane);
    SetLane(nodes.box, lane, box);
    if (lane == 0) nodes = SplatLane(nodes, 0); // lanes without a node get sane numbers
    if (!tree.bvh.wide[wide].IsLeaf(lane)) return;
    for (int i = items.first; i < items.last; ++i)
        std::memcpy(&tree.plane[static_cast<std::size_t>(i)], PlaneAt(i), sizeof(TargetPlane));
}

/// The triangle by which a target is sorted into the tree.
const T_LIST& RepresentativeOf(const Target& target)
{
    return target.triangle ? *target.triangle : *target.leaf->listHead;
}

/// The targets in the order of the octree.
struct TargetList {
    std::vector<Target> target;
    std::vector<BvhItem> item;
    double maxCoordinate = 0; ///< greatest magnitude of a coordinate
    bool nearby = true;

    void Add(const Target& added, const float* plane)
    {
        item.push_back(
            MakeItem(RepresentativeOf(added).corners, plane, static_cast<int>(target.size())));
        target.push_back(added);
    }

    void Inspect(const T_LIST& triangle)
    {
        for (const auto& corner : triangle.corners) {
            nearby = nearby && IsNearby(corner);
            for (const float x : corner)
                maxCoordinate = std::max(maxCoordinate, double(std::fabs(x)));
        }
    }

    /// Adds the triangles of a leaf, or the leaf as one target if a triangle has no plane.
    void AddLeaf(OCTREENODE* leaf)
    {
        const std::size_t first = target.size();
        bool whole = false;
        for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle)) {
            Inspect(*triangle);
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

void BuildTargets(SOLIDC& solid, TargetTree& tree)
{
    if (!IsPlainBox(solid.octree->root->bbox)) return;
    TargetList list;
    list.target.reserve(static_cast<std::size_t>(solid.triangleCount));
    list.item.reserve(static_cast<std::size_t>(solid.triangleCount));
    list.AddLeaves(solid.octree->root);
    tree.usable = list.nearby;
    if (!list.nearby || list.item.empty()) return;
    tree.maxCoordinate = list.maxCoordinate;
    tree.bvh = BuildBvh(list.item);
    tree.target = std::move(list.target);
    Reorder<Target>(tree.target, list.item);
    tree.plane = MakeScratch<TargetPlane>(tree.target.size() + kLanes);
    TargetBuilder build{tree, list.item, 0};
    std::vector<Point3> corners;
    FillLane(build, tree.bvh, 0, 0, corners);
}

} // namespace

int BuildTargetsBelow(TargetTree& tree, int wide, int lane)
{
    const ItemRange& range = tree.bvh.wide[wide].items[lane];
    const std::span<Target> targets(&tree.target[static_cast<std::size_t>(range.first)],
                                    static_cast<std::size_t>(range.Count()));
    std::vector<BvhItem> items;
    for (const Target& target : targets) {
        float plane[4] = {};
        const T_LIST& representative = RepresentativeOf(target);
        if (target.triangle) CalcPlane(representative.corners[0], 3, plane);
        items.push_back(MakeItem(representative.corners, plane, static_cast<int>(items.size())));
    }
    const int below = BuildSubtree(tree.bvh, range, items);
    Reorder(targets, items);
    TargetBuilder build{tree, items, range.first};
    return FillSubtree(build, tree.bvh, wide, lane, below);
}

TargetTree* TargetTreeOf(SOLIDC& solid)
{
    TargetTree& tree = QueryTreesOf(solid).targets;
    if (!tree.tried && solid.octree) BuildTargets(solid, tree);
    tree.tried = true;
    return tree.usable ? &tree : nullptr;
}
