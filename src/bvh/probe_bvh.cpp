// Builds the hierarchy of probes.
#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "bvh/corner_set.h"
#include "bvh/fill.h"
#include "geometry/bbox.h"
#include "geometry/vector.h"
#include "mesh/triangle.h"

namespace
{

Probe::Side SideOf(const SOLIDC& solid, int index, int slot)
{
    const T_LIST& triangle = solid.triangles[index];
    if (!InRange(triangle.edge[slot], solid.edgeCount)) return Probe::kNotOwn;
    const EdgeRec& edge = solid.edges[triangle.edge[slot]];
    const int here = triangle.vertex[slot], before = triangle.vertex[PreviousSlot(slot)];
    if (edge.vertex[0] == here && edge.vertex[1] == before) return Probe::kBackward;
    return edge.vertex[0] == before && edge.vertex[1] == here ? Probe::kForward : Probe::kForeign;
}

bool OwnsEdge(const SOLIDC& solid, int index, int slot)
{
    return AcrossEdge(solid.edges[solid.triangles[index].edge[slot]], index) > index;
}

/// Calls `visit` with the corners of a probe, three points, and with the ends of its foreign edges,
/// two each: between them run all edges that it gives.
template <class Visit>
void VisitShapes(const SOLIDC& solid, const Probe& probe, Visit visit)
{
    visit(std::span<const float[3]>(probe.corner));
    if (!probe.hasForeign) return;
    for (const int e : solid.triangles[probe.index].edge) {
        if (!InRange(e, solid.edgeCount)) continue;
        float ends[2][3];
        for (int end = 0; end < 2; ++end)
            std::copy_n(VertexAt(solid, solid.edges[e].vertex[end]).position, 3, ends[end]);
        visit(std::span<const float[3]>(ends));
    }
}

/// The vertices of a triangle, which merging may have moved away from its corners.
void ReadCorners(const SOLIDC& solid, int triangle, float (*corner)[3])
{
    for (int slot = 0; slot < 3; ++slot)
        std::copy_n(solid.vertices[solid.triangles[triangle].vertex[slot]].position, 3,
                    corner[slot]);
}

/// The normal that boxes go by. After a rotation, which leaves the vertices where they were, the
/// record's is not that of the triangle between them.
void ReadFacing(const SOLIDC& solid, int index, const float (*corner)[3], float* facing)
{
    std::copy_n(solid.triangles[index].normal, 3, facing);
    if (!solid.isRotated) return;
    float u[3], v[3];
    Subtract(corner[1], corner[0], u);
    Subtract(corner[2], corner[0], v);
    cross(u, v, facing);
    const double length = std::sqrt(dot(facing, facing));
    for (int r = 0; r < 3; ++r) facing[r] = length > 0 ? float(facing[r] / length) : 0;
}

Probe MakeProbe(const SOLIDC& solid, int index)
{
    const T_LIST& triangle = solid.triangles[index];
    Probe probe{};
    probe.index = index;
    std::copy_n(triangle.normal, 3, probe.normal);
    ReadCorners(solid, index, probe.corner);
    for (int slot = 0; slot < 3; ++slot) {
        Probe::Side& side = probe.side[slot] = SideOf(solid, index, slot);
        if (side == Probe::kForeign) probe.hasForeign = true;
        if (side != Probe::kNotOwn && !OwnsEdge(solid, index, slot)) side = Probe::kNotOwn;
        const double length = distance(probe.corner[slot], probe.corner[PreviousSlot(slot)]);
        probe.perLength[slot] = length > 0 ? RoundUp(1 / length) : 0;
    }
    return probe;
}

/// The normals of a triangle and of those across its edges.
void AddNormalsAround(const SOLIDC& solid, int index, NormalBounds& bounds)
{
    const T_LIST& triangle = solid.triangles[index];
    AddNormals(bounds, triangle.normal, triangle.normal);
    for (const int e : triangle.edge) {
        if (!InRange(e, solid.edgeCount)) continue;
        const float* normal = solid.triangles[AcrossEdge(solid.edges[e], index)].normal;
        AddNormals(bounds, normal, normal);
    }
}

/// What is merged upwards for ProbeNodes.
struct ProbeSummary {
    NodeSummary merged;
    NormalBounds around; ///< those of neighbours included
    float longest = 0, shortest = kEmptyExtreme;
};

/// The corners of a node along the first axis of its box, sorted into bins.
struct CornerHistogram {
    struct Bin {
        double low = HUGE_VAL, high = -HUGE_VAL;
    };
    static constexpr int kCount = 32;
    double half;
    std::array<Bin, kCount> bins{};

    void Add(double height)
    {
        const int at = ClampToInt((height + half) * kCount / (2 * half), 0, kCount - 1);
        Bin& bin = bins[static_cast<std::size_t>(at)];
        bin.low = std::min(bin.low, height);
        bin.high = std::max(bin.high, height);
    }
};

/// Finds the widest interval of the first axis without a corner: rows of long triangles have
/// corners at their ends only.
void SetCornerGap(const CornerHistogram& histogram, double longest, ProbeNodes& nodes, int lane)
{
    float from = 0, to = 0;
    double last = -histogram.half;
    // Axes are rounded: neither unit nor at right angles (Lemma 1).
    const double error = 1e-6 * (longest + histogram.half);
    for (const CornerHistogram::Bin& bin : histogram.bins) {
        if (!(bin.low <= bin.high)) continue;
        if (bin.low - last > to - from + 2 * error) {
            from = RoundUp(last + error);
            to = RoundDown(bin.low - error);
        }
        last = bin.high;
    }
    nodes.cornerGap[0][lane] = from;
    nodes.cornerGap[1][lane] = to;
}

/// What is measured of a node along the axes of its box.
struct Measures {
    const Obb& box;
    CornerHistogram histogram{box.half[0]};
    double extent[3] = {}, maxCosine[3] = {}, edgeAlongLeast = kEmptyExtreme, edgeAcrossMost = 0;

    void AddPoints(std::span<const float[3]> points)
    {
        for (int axis = 0; axis < 3; ++axis) {
            double low = HUGE_VAL, high = -HUGE_VAL;
            for (const auto& point : points) {
                const double height = dot(box.axis[axis], point);
                low = std::min(low, height);
                high = std::max(high, height);
            }
            extent[axis] = std::max(extent[axis], high - low);
        }
        const double centre = dot(box.axis[0], box.centre);
        for (const auto& point : points) histogram.Add(dot(box.axis[0], point) - centre);
    }

    void AddCosines(const Probe& probe)
    {
        constexpr double kAlong = 0.1;
        for (int c = 0; c < 3; ++c) {
            float side[3];
            Subtract(probe.corner[c], probe.corner[PreviousSlot(c)], side);
            const double perLength = probe.perLength[c];
            if (std::fabs(dot(box.axis[0], side)) * perLength > kAlong) {
                edgeAlongLeast = std::min(edgeAlongLeast, 1 / perLength);
                continue;
            }
            edgeAcrossMost = std::max(edgeAcrossMost, 1 / perLength);
            for (int axis = 0; axis < 3; ++axis)
                maxCosine[axis] =
                    std::max(maxCosine[axis], std::fabs(dot(box.axis[axis], side)) * perLength);
        }
    }
};

/// Fills in boxes, for FillLane.
struct ProbeBuilder {
    using Node = ProbeSummary;
    const SOLIDC& solid;
    ProbeTree& tree;
    std::span<const BvhItem> item;
    int firstItem; ///< number of the first of them
    /// Taken for those around large nodes, where their neighbours are not to be read; may be null.
    const NormalBounds* allNormals = nullptr;
    // Of the items prepared last:
    int first = 0;
    std::vector<Probe> probes{};
    std::vector<Point3> points{};

    const BvhItem& ItemAt(int i) const { return item[static_cast<std::size_t>(i - firstItem)]; }
    bool IsForeign(int i) const;
    template <class Visit>
    void VisitAll(const ItemRange& items, Visit visit) const;
    const Probe& ProbeAt(int i) const { return probes[static_cast<std::size_t>(i - first)]; }

    static ProbeSummary EmptyNode();
    void Prepare(const ItemRange& items);
    void ReadItems(const ItemRange& items, ProbeSummary& node) const;
    void ReadLarge(const ItemRange& items, ProbeSummary& node) const;
    static void Merge(ProbeSummary& node, const ProbeSummary& below);
    std::span<const Point3> PointsOf(const ItemRange& items);
    void Finish(const ItemRange& items, ProbeSummary& node, int wide, int lane) const;

    void SetCorners(const ItemRange& items, int wide, int lane) const;
    void SetMeasures(const ItemRange& items, const ProbeSummary& node, ProbeNodes& nodes,
                     int lane) const;
};

ProbeSummary ProbeBuilder::EmptyNode()
{
    ProbeSummary node{::EmptyNode(), {}};
    ClearNormals(node.around);
    return node;
}

void ProbeBuilder::Prepare(const ItemRange& items)
{
    first = items.first;
    probes.clear();
    for (int i = items.first; i < items.last; ++i)
        probes.push_back(MakeProbe(solid, tree.triangle[static_cast<std::size_t>(i)]));
}

/// Merges the edges around a shape.
void AddShape(ProbeSummary& node, std::span<const float[3]> shape)
{
    for (std::size_t p = 0; p < shape.size(); ++p) {
        ExtendBbox(node.merged.bounds, shape[p]);
        const SideLength length = LengthOf(shape[p], shape[(p + 1) % shape.size()]);
        node.longest = std::max(node.longest, length.most);
        node.shortest = std::min(node.shortest, length.least);
    }
}

void ProbeBuilder::ReadItems(const ItemRange& items, ProbeSummary& node) const
{
    for (int i = items.first; i < items.last; ++i) {
        const Probe& probe = ProbeAt(i);
        VisitShapes(solid, probe, [&](std::span<const float[3]> shape) { AddShape(node, shape); });
        float facing[3];
        ReadFacing(solid, probe.index, probe.corner, facing);
        AddNormals(node.merged.normals, facing, facing);
        AddNormalsAround(solid, probe.index, node.around);
    }
}

void ProbeBuilder::ReadLarge(const ItemRange& items, ProbeSummary& node) const
{
    for (int i = items.first; i < items.last; ++i) {
        const BvhItem& one = ItemAt(i);
        if (!allNormals)
            AddNormalsAround(solid, tree.triangle[static_cast<std::size_t>(i)], node.around);
        AddNormals(node.merged.normals, one.normal, one.normal);
        for (const auto& corner : one.corner) ExtendBbox(node.merged.bounds, corner);
        node.longest = std::max(node.longest, one.longest);
        node.shortest = std::min(node.shortest, one.shortest);
        if (IsForeign(i))
            VisitShapes(solid, MakeProbe(solid, tree.triangle[static_cast<std::size_t>(i)]),
                        [&](std::span<const float[3]> shape) { AddShape(node, shape); });
    }
    if (allNormals) node.around = *allNormals;
}

bool ProbeBuilder::IsForeign(int i) const
{
    return !tree.foreign.empty() &&
           std::ranges::binary_search(tree.foreign, tree.triangle[static_cast<std::size_t>(i)]);
}

/// Calls `visit` with the shapes of all items of a node, prepared or not.
template <class Visit>
void ProbeBuilder::VisitAll(const ItemRange& items, Visit visit) const
{
    for (int i = items.first; i < items.last; ++i)
        if (IsFitted(items))
            VisitShapes(solid, ProbeAt(i), visit);
        else if (IsForeign(i))
            VisitShapes(solid, MakeProbe(solid, tree.triangle[static_cast<std::size_t>(i)]), visit);
        else
            visit(std::span<const float[3]>(ItemAt(i).corner));
}

void ProbeBuilder::Merge(ProbeSummary& node, const ProbeSummary& below)
{
    ::Merge(node.merged, below.merged);
    AddNormals(node.around, below.around.low, below.around.high);
    node.longest = std::max(node.longest, below.longest);
    node.shortest = std::min(node.shortest, below.shortest);
}

std::span<const Point3> ProbeBuilder::PointsOf(const ItemRange& items)
{
    points.clear();
    VisitAll(items, [&](std::span<const float[3]> shape) {
        for (const auto& p : shape) points.push_back({p[0], p[1], p[2]});
    });
    return points;
}

void ProbeBuilder::SetMeasures(const ItemRange& items, const ProbeSummary& node, ProbeNodes& nodes,
                               int lane) const
{
    constexpr int kMaxMeasured = 256;
    Measures measures{node.merged.box};
    bool measured = items.Count() <= kMaxMeasured;
    VisitAll(items, [&](std::span<const float[3]> shape) { measures.AddPoints(shape); });
    for (int i = items.first; i < items.last && measured; ++i) {
        measured = !ProbeAt(i).hasForeign;
        if (measured) measures.AddCosines(ProbeAt(i));
    }
    SetCornerGap(measures.histogram, node.longest, nodes, lane);
    for (int axis = 0; axis < 3; ++axis) {
        // Axes are rounded (Lemma 1).
        nodes.edgeExtent[axis][lane] = RoundUp(measures.extent[axis] + 1e-6 * node.longest);
        if (measured) nodes.maxCosine[axis][lane] = RoundUp(measures.maxCosine[axis] + 2e-6);
    }
    if (!measured) return;
    nodes.edgeAlongLeast[lane] = RoundDown(measures.edgeAlongLeast * 0.99999);
    nodes.edgeAcrossMost[lane] = RoundUp(measures.edgeAcrossMost * 1.00001);
}

void ProbeBuilder::SetCorners(const ItemRange& items, int wide, int lane) const
{
    const CornerSet corners = GatherCorners({&ProbeAt(items.first), std::size_t(items.Count())});
    if (corners.groups == 0) return;
    const int number = ++tree.cornerSetCount;
    tree.cornerSets.EnsureSize(number + 1);
    tree.cornerSets[number] = corners;
    tree.cornerSetIndex[wide][static_cast<std::size_t>(lane)] = number;
}

void ProbeBuilder::Finish(const ItemRange& items, ProbeSummary& node, int wide, int lane) const
{
    Obb& box = node.merged.box;
    const int longest = LargestAxis(box.half);
    std::swap(box.axis[0], box.axis[longest]);
    std::swap(box.half[0], box.half[longest]);
    tree.nodes.EnsureSize(wide + 1);
    ProbeNodes& nodes = tree.nodes[wide];
    SetLane(nodes.box, lane, box);
    nodes.longest[lane] = nodes.edgeAcrossMost[lane] = node.longest;
    nodes.shortest[lane] = nodes.edgeAlongLeast[lane] = node.shortest;
    nodes.cornerGap[0][lane] = nodes.cornerGap[1][lane] = 0;
    for (int i = 0; i < 3; ++i) {
        nodes.low[i][lane] = node.around.low[i];
        nodes.high[i][lane] = node.around.high[i];
        nodes.edgeExtent[i][lane] = node.longest;
        nodes.maxCosine[i][lane] = 1;
    }
    if (items.Count() <= kLazyItems) SetMeasures(items, node, nodes, lane);
    if (lane == 0) nodes = SplatLane(nodes, 0); // lanes without a node get sane numbers
    tree.cornerSets.EnsureSize(1);
    tree.cornerSetIndex.EnsureSize(wide + 1);
    if (tree.bvh.wide[wide].IsLeaf(lane)) {
        for (int i = items.first; i < items.last; ++i)
            tree.probe[static_cast<std::size_t>(i)] = ProbeAt(i);
    } else if (items.Count() <= kMaxCornerSetItems) {
        SetCorners(items, wide, lane);
    }
}

void SetItem(BvhItem& item, const SOLIDC& solid, int triangle, int number)
{
    float corner[3][3];
    ReadCorners(solid, triangle, corner);
    ReadFacing(solid, triangle, corner, item.normal);
    SetCorners(item, corner, number);
}

bool HasForeign(const SOLIDC& solid, int index)
{
    return SideOf(solid, index, 0) == Probe::kForeign ||
           SideOf(solid, index, 1) == Probe::kForeign || SideOf(solid, index, 2) == Probe::kForeign;
}

void BuildProbes(const SOLIDC& solid, ProbeTree& tree)
{
    const auto count = static_cast<std::size_t>(solid.triangleCount);
    if (count == 0) return;
    std::vector<BvhItem> items;
    items.reserve(count);
    PreferLargePagesIfLarge(items.data(), count * sizeof(BvhItem));
    NormalBounds allNormals;
    ClearNormals(allNormals);
    for (int t = 0; t < solid.triangleCount; ++t) {
        SetItem(items.emplace_back(), solid, t, t);
        const float* normal = solid.triangles[t].normal;
        AddNormals(allNormals, normal, normal);
        if (HasForeign(solid, t)) tree.foreign.push_back(t);
    }
    tree.bvh = BuildBvh(items);
    tree.triangle.resize(count);
    std::ranges::transform(items, tree.triangle.begin(), &BvhItem::item);
    tree.probe = MakeScratch<Probe>(count);
    ProbeBuilder build{solid, tree, items, 0, &allNormals};
    std::vector<Point3> corners;
    FillLane(build, tree.bvh, 0, 0, corners);
}

/// Lets a node count with the normals around the nodes below it, which are known now.
void NarrowNormals(ProbeTree& tree, int wide, int lane, int below)
{
    ProbeNodes& node = tree.nodes[wide];
    const ProbeNodes& children = tree.nodes[below];
    for (int r = 0; r < 3; ++r) {
        node.low[r][lane] = children.low[r][0];
        node.high[r][lane] = children.high[r][0];
        for (int child = 1; child < tree.bvh.wide[below].count; ++child) {
            node.low[r][lane] = std::min(node.low[r][lane], children.low[r][child]);
            node.high[r][lane] = std::max(node.high[r][lane], children.high[r][child]);
        }
    }
}

} // namespace

int BuildProbesBelow(const SOLIDC& solid, ProbeTree& tree, int wide, int lane)
{
    const ItemRange& range = tree.bvh.wide[wide].items[lane];
    const std::span<std::int32_t> triangles(&tree.triangle[static_cast<std::size_t>(range.first)],
                                            static_cast<std::size_t>(range.Count()));
    std::vector<BvhItem> items(triangles.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        SetItem(items[i], solid, triangles[i], static_cast<int>(i));
    const int below = BuildSubtree(tree.bvh, wide, lane, items);
    Reorder(triangles, items);
    ProbeBuilder build{solid, tree, items, range.first};
    FillSubtree(build, tree.bvh, wide, lane, below);
    NarrowNormals(tree, wide, lane, below);
    return below;
}

ProbeTree* ProbeTreeOf(SOLIDC& solid)
{
    if (!ProbeBoundsOf(solid)) return nullptr;
    ProbeTree& tree = QueryTreesOf(solid).probes;
    if (!tree.tried) {
        tree = {}; // of a query that ran out of memory
        BuildProbes(solid, tree);
    }
    tree.tried = true;
    return &tree;
}
