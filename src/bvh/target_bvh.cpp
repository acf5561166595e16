// Builds the hierarchy of targets.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "bvh/fill.h"
#include "bvh/hit_region.h"
#include "bvh/query_trees.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "geometry/vector.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"

namespace
{

/// What is merged upwards for TargetNodes.
struct TargetSummary {
    NodeSummary merged;
    float longest = 0;
    bool holdsCells = false;
    float longestEdge = HUGE_VALF;
    float cells[6];
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
    std::vector<TargetPlane> plane{};
    std::vector<HitRegion> region{};
    std::vector<Point3> points{};

    const Target& TargetAt(int i) const { return tree.target[static_cast<std::size_t>(i)]; }
    const BvhItem& ItemAt(int i) const { return item[static_cast<std::size_t>(i - firstItem)]; }
    const float (*CornersAt(int i) const)[3] { return ItemAt(i).corner; }
    const HitRegion& RegionAt(int i) const { return region[static_cast<std::size_t>(i - first)]; }
    const float* PlaneAt(int i) const { return plane[static_cast<std::size_t>(i - first)].normal; }

    static TargetSummary EmptyNode();
    void Prepare(const ItemRange& items);
    void ReadRegion(int i, TargetPlane& itsPlane, HitRegion& itsRegion) const;
    void ReadItems(const ItemRange& items, TargetSummary& node) const;
    void ReadLarge(const ItemRange& items, TargetSummary& node);
    void AddRegion(const float* normal, const HitRegion& held, TargetSummary& node) const;
    void AddAny(int i, TargetSummary& node) const;
    static void Merge(TargetSummary& node, const TargetSummary& below);
    std::span<const Point3> PointsOf(const ItemRange& items);
    void Finish(const ItemRange& items, const TargetSummary& node, int wide, int lane) const;

    template <class Visit>
    void VisitSides(const ItemRange& items, Visit visit) const;
    void SetSides(const ItemRange& items, const TargetSummary& node, Obb& box, TargetNodes& nodes,
                  int lane) const;
    void SetDeviation(const ItemRange& items, const TargetSummary& node, const Obb& box,
                      TargetNodes& nodes, int lane) const;
    void SetCells(const TargetSummary& node, int wide, int lane) const;
};

TargetSummary TargetBuilder::EmptyNode()
{
    TargetSummary node{};
    node.merged = ::EmptyNode();
    ClearBbox(node.cells);
    return node;
}

/// The triangle by whose plane one without a plane is judged, or null.
const T_LIST* JudgeOf(const TargetTree& tree, const T_LIST* triangle)
{
    const auto found = std::ranges::lower_bound(tree.judged, triangle, {}, &JudgedTarget::triangle);
    return found != tree.judged.end() && found->triangle == triangle ? found->judge : nullptr;
}

/// @param judge  of a triangle without a plane; may be null
/// @return whether the plane is the triangle's own
bool ReadPlane(const float (*corners)[3], const T_LIST* judge, TargetPlane& plane)
{
    float found[4] = {};
    const bool own = CalcPlane(corners[0], 3, found);
    if (!own && judge) CalcPlane(judge->corners[0], 3, found);
    if (std::any_of(found, found + 4, [](float x) { return !std::isfinite(x); }))
        std::fill_n(found, 4, 0.0f);
    std::memcpy(&plane, found, sizeof plane);
    return own;
}

void TargetBuilder::Prepare(const ItemRange& items)
{
    first = items.first;
    plane.resize(static_cast<std::size_t>(items.Count()));
    region.resize(plane.size());
    for (std::size_t i = 0; i < plane.size(); ++i)
        ReadRegion(first + static_cast<int>(i), plane[i], region[i]);
}

void TargetBuilder::ReadRegion(int i, TargetPlane& itsPlane, HitRegion& itsRegion) const
{
    const Target& target = TargetAt(i);
    // The records lie in another order, each in a part of memory that is not cached any more.
    const bool nearby = !tree.hasFar || IsNearbyTriangle(target.triangle->corners);
    const auto* corners = nearby ? CornersAt(i) : target.triangle->corners;
    const bool own = ReadPlane(corners, JudgeOf(tree, target.triangle), itsPlane);
    if (own && nearby && CalcHitRegion(corners, itsPlane.normal, tree.maxCoordinate, itsRegion))
        return;
    float cell[6];
    CellOf(tree, target, cell);
    if (nearby)
        CalcLooseRegion(corners, itsPlane.normal, cell, tree.maxCoordinate, itsRegion);
    else
        SetToBox(itsRegion, cell);
}

/// What is merged of a region.
void TargetBuilder::AddRegion(const float* normal, const HitRegion& held, TargetSummary& node) const
{
    MergeBbox(node.merged.bounds, held.box);
    node.merged.pad = std::max(node.merged.pad, double(held.pad));
    node.holdsCells = node.holdsCells || held.isLoose;
    node.longestEdge = std::min(node.longestEdge, held.longestEdge);
    if (dot(normal, normal) > 0) AddNormals(node.merged.normals, normal, normal);
}

/// What is merged of any target.
void TargetBuilder::AddAny(int i, TargetSummary& node) const
{
    node.longest = std::max(node.longest, ItemAt(i).longest);
    if (!tree.hasCells) return;
    float cell[6];
    CellOf(tree, TargetAt(i), cell);
    MergeBbox(node.cells, cell);
}

void TargetBuilder::ReadItems(const ItemRange& items, TargetSummary& node) const
{
    for (int i = items.first; i < items.last; ++i) {
        AddRegion(PlaneAt(i), RegionAt(i), node);
        AddAny(i, node);
    }
}

void AddPoints(std::span<const float[3]> corners, std::vector<Point3>& points)
{
    for (const auto& c : corners) points.push_back({c[0], c[1], c[2]});
}

/// Bounds plain triangles by their corners, with the margins of the thinnest (Lemma 15).
void TargetBuilder::ReadLarge(const ItemRange& items, TargetSummary& node)
{
    points.clear();
    float lowest = HUGE_VALF, longest = 0;
    NodeSummary plain = ::EmptyNode();
    for (int i = items.first; i < items.last; ++i) {
        AddAny(i, node);
        const BvhItem& one = ItemAt(i);
        if (one.altitude == 0) {
            TargetPlane itsPlane;
            HitRegion held;
            ReadRegion(i, itsPlane, held);
            AddRegion(itsPlane.normal, held, node);
            AddPoints({held.corner, std::size_t(held.corners)}, points);
            continue;
        }
        lowest = std::min(lowest, one.altitude);
        longest = std::max(longest, one.longest);
        AddNormals(plain.normals, one.normal, one.normal);
        for (const auto& corner : one.corner) ExtendBbox(plain.bounds, corner);
        AddPoints(one.corner, points);
    }
    if (longest == 0) return;
    const RegionMargins margins = MarginsOf(lowest, longest, tree.maxCoordinate);
    for (int r = 0; r < 3; ++r) {
        plain.bounds[r] = RoundDown(plain.bounds[r] - margins.reach);
        plain.bounds[r + 3] = RoundUp(plain.bounds[r + 3] + margins.reach);
        plain.normals.low[r] = RoundDown(plain.normals.low[r] - margins.tilt);
        plain.normals.high[r] = RoundUp(plain.normals.high[r] + margins.tilt);
    }
    plain.pad = margins.reach;
    ::Merge(node.merged, plain);
}

void TargetBuilder::Merge(TargetSummary& node, const TargetSummary& below)
{
    ::Merge(node.merged, below.merged);
    MergeBbox(node.cells, below.cells);
    node.longest = std::max(node.longest, below.longest);
    node.holdsCells = node.holdsCells || below.holdsCells;
    node.longestEdge = std::min(node.longestEdge, below.longestEdge);
}

std::span<const Point3> TargetBuilder::PointsOf(const ItemRange& items)
{
    if (!IsFitted(items)) return points; // from ReadLarge
    points.clear();
    for (int i = items.first; i < items.last; ++i)
        AddPoints({RegionAt(i).corner, std::size_t(RegionAt(i).corners)}, points);
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
    double most[3] = {}, sideAlongLeast = kEmptyExtreme, sideAcrossMost = 0;
    if (items.Count() > kMaxMeasured || node.holdsCells) {
        std::fill_n(most, 3, node.longest);
        sideAlongLeast = 0;
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
                sideAlongLeast = std::min(sideAlongLeast, along);
            else
                sideAcrossMost = std::max(sideAcrossMost, length);
        });
    }
    for (int k = 0; k < 3; ++k) nodes.side[k][lane] = RoundUp(most[k] + slack);
    nodes.sideAlongLeast[lane] = RoundDown(std::max(0.0, sideAlongLeast * 0.99999 - slack));
    nodes.sideAcrossMost[lane] = RoundUp(sideAcrossMost * 1.00001);
}

void TargetBuilder::SetCells(const TargetSummary& node, int wide, int lane) const
{
    if (!tree.hasCells) return;
    tree.cells.EnsureSize(wide + 1);
    for (int r = 0; r < 3; ++r) {
        tree.cells[wide].low[r][lane] = node.cells[r];
        tree.cells[wide].high[r][lane] = node.cells[r + 3];
    }
}

void TargetBuilder::Finish(const ItemRange& items, const TargetSummary& node, int wide,
                           int lane) const
{
    tree.nodes.EnsureSize(wide + 1);
    TargetNodes& nodes = tree.nodes[wide];
    nodes.longest[lane] = node.longest;
    nodes.holdsCells[lane] = node.holdsCells ? 1 : 0;
    nodes.longestEdge[lane] = node.longestEdge;
    SetCells(node, wide, lane);
    Obb box = node.merged.box;
    SetSides(items, node, box, nodes, lane);
    SetDeviation(items, node, box, nodes, lane);
    SetLane(nodes.box, lane, box);
    if (lane == 0) nodes = SplatLane(nodes, 0); // lanes without a node get sane numbers
    if (!tree.bvh.wide[wide].IsLeaf(lane)) return;
    for (int i = items.first; i < items.last; ++i)
        std::memcpy(&tree.plane[static_cast<std::size_t>(i)], PlaneAt(i), sizeof(TargetPlane));
}

/// @param judge  of a target without a plane
/// @return whether the plane is its own
bool SetItem(BvhItem& item, const TargetTree& tree, const Target& target, const T_LIST* judge,
             int number)
{
    const auto* corners = target.triangle->corners;
    float box[3][3], cell[6];
    const bool nearby = IsNearbyTriangle(corners);
    if (!nearby) {
        CellOf(tree, target, cell);
        for (int c = 0; c < 3; ++c) std::copy_n(c == 1 ? cell + 3 : cell, 3, box[c]);
    }
    SetCorners(item, nearby ? corners : box, number);
    if (nearby) item.altitude = PlainAltitude(corners, item.longest, item.normal);
    if (item.altitude > 0) return true;
    TargetPlane plane;
    const bool own = ReadPlane(corners, judge, plane);
    std::copy_n(plane.normal, 3, item.normal);
    return own;
}

/// Makes an item of each target, and finds out who judges those without a plane: they come in the
/// order of the chains. One pass does all of this, since to fetch a record takes longer.
struct ItemMaker {
    TargetTree& tree;
    std::vector<BvhItem> items{};
    const T_LIST* judge = nullptr; ///< of the next one without a plane
    const OCTREENODE* leaf = nullptr;

    ItemMaker(TargetTree& made, std::size_t count);
    void Add(const Target& target);
    void AddLeaves(OCTREENODE* node);
};

ItemMaker::ItemMaker(TargetTree& made, std::size_t count) : tree(made)
{
    items.reserve(count);
    PreferLargePagesIfLarge(items.data(), count * sizeof(BvhItem));
}

void ItemMaker::Add(const Target& target)
{
    if (!target.leaf || target.leaf != leaf) judge = nullptr;
    leaf = target.leaf;
    const T_LIST* triangle = target.triangle;
    const auto number = static_cast<int>(items.size());
    if (SetItem(items.emplace_back(), tree, target, judge, number))
        judge = triangle;
    else
        tree.judged.push_back({triangle, judge});
    if (!IsNearbyTriangle(triangle->corners)) {
        tree.hasFar = true;
        return;
    }
    for (const auto& corner : triangle->corners)
        for (const float x : corner)
            tree.maxCoordinate = std::max(tree.maxCoordinate, double(std::fabs(x)));
}

/// Starts to fetch a record into the cache, line by line.
void Prefetch(const T_LIST* triangle)
{
    constexpr std::size_t kLine = 64;
    for (std::size_t at = 0; at < sizeof *triangle; at += kLine)
        __builtin_prefetch(reinterpret_cast<const char*>(triangle) + at);
}

void ItemMaker::AddLeaves(OCTREENODE* node)
{
    for (T_LIST* triangle = node->listHead; triangle; triangle = NextTriangle(triangle)) {
        if (const T_LIST* next = NextTriangle(triangle)) Prefetch(next);
        tree.target.push_back({triangle, node});
        Add(tree.target.back());
    }
    for (OCTREENODE* child : node->children)
        if (child) AddLeaves(child);
}

/// @param items  of all targets
void BuildFrom(TargetTree& tree, std::span<BvhItem> items)
{
    tree.usable = true;
    if (items.empty()) return;
    std::ranges::sort(tree.judged, {}, &JudgedTarget::triangle);
    tree.bvh = BuildBvh(items);
    Reorder<Target>(tree.target, items);
    tree.plane = MakeScratch<TargetPlane>(tree.target.size() + kLanes);
    TargetBuilder build{tree, items, 0};
    std::vector<Point3> corners;
    FillLane(build, tree.bvh, 0, 0, corners);
}

} // namespace

void CellOf(const TargetTree& tree, const Target& target, float* cell)
{
    if (target.leaf) {
        std::copy_n(target.leaf->bbox, 6, cell);
        return;
    }
    TriangleBbox(target.triangle->corners, cell);
    for (int axis = 0; axis < 3; ++axis) {
        cell[axis] = RoundDown(double(cell[axis]) - tree.tolerance);
        cell[axis + 3] = RoundUp(double(cell[axis + 3]) + tree.tolerance);
    }
}

void BuildTargetTree(TargetTree& tree)
{
    ItemMaker made(tree, tree.target.size());
    for (const Target& target : tree.target) made.Add(target);
    BuildFrom(tree, made.items);
}

int BuildTargetsBelow(TargetTree& tree, int wide, int lane)
{
    const ItemRange& range = tree.bvh.wide[wide].items[lane];
    const std::span<Target> targets(&tree.target[static_cast<std::size_t>(range.first)],
                                    static_cast<std::size_t>(range.Count()));
    std::vector<BvhItem> items(targets.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        SetItem(items[i], tree, targets[i], JudgeOf(tree, targets[i].triangle), int(i));
    const int below = BuildSubtree(tree.bvh, wide, lane, items);
    Reorder(targets, items);
    TargetBuilder build{tree, items, range.first};
    return FillSubtree(build, tree.bvh, wide, lane, below);
}

TargetTree* TargetTreeOf(SOLIDC& solid)
{
    TargetTree& tree = QueryTreesOf(solid).targets;
    if (!tree.tried && solid.octree && IsPlainBox(solid.octree->root->bbox)) {
        tree = {}; // of a query that ran out of memory
        const auto count = static_cast<std::size_t>(solid.triangleCount);
        tree.target.reserve(count);
        constexpr int kFine = 2; // levels from which on cells are worth a test of their own
        tree.hasCells = solid.isRotated || solid.octree->maxDepth >= kFine;
        ItemMaker made(tree, count);
        made.AddLeaves(solid.octree->root);
        BuildFrom(tree, made.items);
    }
    tree.tried = true;
    return tree.usable ? &tree : nullptr;
}
