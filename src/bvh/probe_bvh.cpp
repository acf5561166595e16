// The tree over a solid's triangles as movers.
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

Mover::Side SideOf(const SOLIDC& solid, int index, int slot)
{
    const T_LIST& triangle = solid.triangles[index];
    if (!InRange(triangle.edge[slot], solid.edgeCount)) return Mover::kNotOwn;
    const EdgeRec& edge = solid.edges[triangle.edge[slot]];
    const int here = triangle.vertex[slot], before = triangle.vertex[PreviousSlot(slot)];
    if (edge.vertex[0] == here && edge.vertex[1] == before) return Mover::kBackward;
    return edge.vertex[0] == before && edge.vertex[1] == here ? Mover::kForward : Mover::kForeign;
}

bool OwnsEdge(const SOLIDC& solid, int index, int slot)
{
    return AcrossEdge(solid.edges[solid.triangles[index].edge[slot]], index) > index;
}

/// Calls `visit` with two or three points for each thing whose lines hit: a mover's corners, and
/// the ends of edges that run elsewhere.
template <class Visit>
void VisitShapes(const SOLIDC& solid, const Mover& mover, Visit visit)
{
    visit(std::span<const float[3]>(mover.corner));
    if (!mover.hasForeign) return;
    for (const int e : solid.triangles[mover.index].edge) {
        if (!InRange(e, solid.edgeCount)) continue;
        float ends[2][3];
        for (int end = 0; end < 2; ++end)
            std::copy_n(VertexAt(solid, solid.edges[e].vertex[end]).position, 3, ends[end]);
        visit(std::span<const float[3]>(ends));
    }
}

/// Where the vertices of a triangle are, which need not be where its corners are.
void ReadCorners(const SOLIDC& solid, int triangle, float (*corner)[3])
{
    for (int slot = 0; slot < 3; ++slot)
        std::copy_n(solid.vertices[solid.triangles[triangle].vertex[slot]].position, 3,
                    corner[slot]);
}

Mover MakeMover(const SOLIDC& solid, int index)
{
    const T_LIST& triangle = solid.triangles[index];
    Mover mover{};
    mover.index = index;
    std::copy_n(triangle.normal, 3, mover.normal);
    ReadCorners(solid, index, mover.corner);
    for (int slot = 0; slot < 3; ++slot) {
        Mover::Side& side = mover.side[slot] = SideOf(solid, index, slot);
        if (side == Mover::kForeign) mover.hasForeign = true;
        if (side != Mover::kNotOwn && !OwnsEdge(solid, index, slot)) side = Mover::kNotOwn;
        const double length = distance(mover.corner[slot], mover.corner[PreviousSlot(slot)]);
        mover.perLength[slot] = length > 0 ? RoundUp(1 / length) : 0;
    }
    return mover;
}

/// The normals of a mover and of the triangles across its edges.
void AddNormalsAround(const SOLIDC& solid, const Mover& mover, NormalBounds& bounds)
{
    AddNormals(bounds, mover.normal, mover.normal);
    for (const int e : solid.triangles[mover.index].edge) {
        if (!InRange(e, solid.edgeCount)) continue;
        const float* normal = solid.triangles[AcrossEdge(solid.edges[e], mover.index)].normal;
        AddNormals(bounds, normal, normal);
    }
}

/// What is merged for MoverBoxes.
struct MoverNode {
    MergedNode merged;
    NormalBounds around; ///< of the normals of the neighbours too
    float longest = 0, shortest = kEmptyExtreme;
};

/// The corners of a node along the first axis of its box, sorted into bins.
struct Occupied {
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

/// The widest stretch without a corner: long triangles in rows leave most of a node bare.
void SetBare(const Occupied& occupied, double longest, MoverBoxes& boxes, int lane)
{
    float from = 0, to = 0;
    double last = -occupied.half;
    // The axes are not at right angles to the last bit.
    const double room = 1e-6 * (longest + occupied.half);
    for (const Occupied::Bin& bin : occupied.bins) {
        if (!(bin.low <= bin.high)) continue;
        if (bin.low - last > to - from + 2 * room) {
            from = RoundUp(last + room);
            to = RoundDown(bin.low - room);
        }
        last = bin.high;
    }
    boxes.bare[0][lane] = from;
    boxes.bare[1][lane] = to;
}

/// What is measured along the axes of a node's box.
struct Measures {
    const OrientedBox& box;
    Occupied occupied{box.half[0]};
    double extent[3] = {}, slant[3] = {}, shortestAlong = kEmptyExtreme, longestSlant = 0;

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
        for (const auto& point : points) occupied.Add(dot(box.axis[0], point) - centre);
    }

    void AddSlants(const Mover& mover)
    {
        constexpr double kAlong = 0.1;
        for (int c = 0; c < 3; ++c) {
            float side[3];
            Subtract(mover.corner[c], mover.corner[PreviousSlot(c)], side);
            const double perLength = mover.perLength[c];
            if (std::fabs(dot(box.axis[0], side)) * perLength > kAlong) {
                shortestAlong = std::min(shortestAlong, 1 / perLength);
                continue;
            }
            longestSlant = std::max(longestSlant, 1 / perLength);
            for (int axis = 0; axis < 3; ++axis)
                slant[axis] =
                    std::max(slant[axis], std::fabs(dot(box.axis[axis], side)) * perLength);
        }
    }
};

/// Fills in boxes, for FillLane.
struct MoverBuilder {
    using Node = MoverNode;
    const SOLIDC& solid;
    QueryTrees& trees;
    // Of the items that were prepared last:
    int first = 0;
    std::vector<Mover> movers{};
    std::vector<Point3> points{};

    const Mover& MoverAt(int i) const { return movers[static_cast<std::size_t>(i - first)]; }

    static MoverNode EmptyNode();
    void Prepare(const BoxRange& items);
    void ReadItems(const BoxRange& items, MoverNode& node) const;
    static void Merge(MoverNode& node, const MoverNode& below);
    std::span<const Point3> PointsOf(const BoxRange& items, double& pad);
    void Finish(const BoxRange& items, MoverNode& node, int quad, int lane) const;

    void SetCorners(const BoxRange& items, int quad, int lane) const;
    void SetMeasures(const BoxRange& items, const MoverNode& node, MoverBoxes& boxes,
                     int lane) const;
};

MoverNode MoverBuilder::EmptyNode()
{
    MoverNode node{::EmptyNode(), {}};
    ClearNormals(node.around);
    return node;
}

void MoverBuilder::Prepare(const BoxRange& items)
{
    first = items.first;
    movers.clear();
    for (int i = items.first; i < items.last; ++i)
        movers.push_back(MakeMover(solid, trees.moverTriangle[static_cast<std::size_t>(i)]));
}

void MoverBuilder::ReadItems(const BoxRange& items, MoverNode& node) const
{
    for (int i = items.first; i < items.last; ++i) {
        const Mover& mover = MoverAt(i);
        VisitShapes(solid, mover, [&](std::span<const float[3]> shape) {
            for (std::size_t p = 0; p < shape.size(); ++p) {
                ExtendBbox(node.merged.bounds, shape[p]);
                const SideLength length = LengthOf(shape[p], shape[(p + 1) % shape.size()]);
                node.longest = std::max(node.longest, length.most);
                node.shortest = std::min(node.shortest, length.least);
            }
        });
        AddNormals(node.merged.normals, mover.normal, mover.normal);
        AddNormalsAround(solid, mover, node.around);
    }
}

void MoverBuilder::Merge(MoverNode& node, const MoverNode& below)
{
    ::Merge(node.merged, below.merged);
    AddNormals(node.around, below.around.low, below.around.high);
    node.longest = std::max(node.longest, below.longest);
    node.shortest = std::min(node.shortest, below.shortest);
}

std::span<const Point3> MoverBuilder::PointsOf(const BoxRange& items, double&)
{
    points.clear();
    for (int i = items.first; i < items.last; ++i)
        VisitShapes(solid, MoverAt(i), [&](std::span<const float[3]> shape) {
            for (const auto& p : shape) points.push_back({p[0], p[1], p[2]});
        });
    return points;
}

void MoverBuilder::SetMeasures(const BoxRange& items, const MoverNode& node, MoverBoxes& boxes,
                               int lane) const
{
    constexpr int kMostSlants = 256;
    Measures measures{node.merged.box};
    bool slanted = items.Count() <= kMostSlants;
    for (int i = items.first; i < items.last; ++i) {
        VisitShapes(solid, MoverAt(i),
                    [&](std::span<const float[3]> shape) { measures.AddPoints(shape); });
        slanted = slanted && !MoverAt(i).hasForeign;
        if (slanted) measures.AddSlants(MoverAt(i));
    }
    SetBare(measures.occupied, node.longest, boxes, lane);
    for (int axis = 0; axis < 3; ++axis) {
        // The axes are not at right angles to the last bit.
        boxes.edge[axis][lane] = RoundUp(measures.extent[axis] + 1e-6 * node.longest);
        if (slanted) boxes.slant[axis][lane] = RoundUp(measures.slant[axis] + 2e-6);
    }
    if (!slanted) return;
    boxes.shortestAlong[lane] = RoundDown(measures.shortestAlong * 0.99999);
    boxes.longestSlant[lane] = RoundUp(measures.longestSlant * 1.00001);
}

void MoverBuilder::SetCorners(const BoxRange& items, int quad, int lane) const
{
    const FewCorners corners = GatherCorners({&MoverAt(items.first), std::size_t(items.Count())});
    if (corners.groups == 0) return;
    const int number = ++trees.fewCornersCount;
    trees.fewCorners.Reach(number + 1);
    trees.fewCorners[number] = corners;
    trees.fewCornersNumber[quad][static_cast<std::size_t>(lane)] = number;
}

void MoverBuilder::Finish(const BoxRange& items, MoverNode& node, int quad, int lane) const
{
    OrientedBox& box = node.merged.box;
    const int longest = LargestAxis(box.half);
    std::swap(box.axis[0], box.axis[longest]);
    std::swap(box.half[0], box.half[longest]);
    trees.moverBoxes.Reach(quad + 1);
    MoverBoxes& boxes = trees.moverBoxes[quad];
    SetLane(boxes.box, lane, box);
    boxes.longest[lane] = boxes.longestSlant[lane] = node.longest;
    boxes.shortest[lane] = boxes.shortestAlong[lane] = node.shortest;
    boxes.bare[0][lane] = boxes.bare[1][lane] = 0;
    for (int i = 0; i < 3; ++i) {
        boxes.low[i][lane] = node.around.low[i];
        boxes.high[i][lane] = node.around.high[i];
        boxes.edge[i][lane] = node.longest;
        boxes.slant[i][lane] = 1;
    }
    if (IsFitted(items)) SetMeasures(items, node, boxes, lane);
    if (lane == 0)
        boxes = SplatLane(boxes, 0); // so that lanes without a node are as some that have
    trees.fewCorners.Reach(1);
    trees.fewCornersNumber.Reach(quad + 1);
    if (trees.moverTree.quad[quad].IsLeaf(lane)) {
        for (int i = items.first; i < items.last; ++i)
            trees.mover[static_cast<std::size_t>(i)] = MoverAt(i);
    } else if (items.Count() <= kFew) {
        SetCorners(items, quad, lane);
    }
}

BoxItem ItemOf(const SOLIDC& solid, int triangle, int number)
{
    float corner[3][3];
    ReadCorners(solid, triangle, corner);
    return MakeItem(corner, solid.triangles[triangle].normal, number);
}

void BuildMovers(const SOLIDC& solid, QueryTrees& trees)
{
    std::vector<BoxItem> items;
    items.reserve(static_cast<std::size_t>(solid.triangleCount));
    for (int t = 0; t < solid.triangleCount; ++t) items.push_back(ItemOf(solid, t, t));
    if (items.empty()) return;
    trees.moverTree = BuildBoxTree(items);
    trees.moverTriangle.resize(items.size());
    std::ranges::transform(items, trees.moverTriangle.begin(), &BoxItem::item);
    trees.mover = MakeScratch<Mover>(items.size());
    MoverBuilder build{solid, trees};
    std::vector<Point3> corners;
    FillLane(build, trees.moverTree, 0, 0, corners);
}

} // namespace

int GrowMovers(const SOLIDC& solid, QueryTrees& trees, int quad, int lane)
{
    const BoxRange& range = trees.moverTree.quad[quad].items[lane];
    const std::span<std::int32_t> triangles(
        &trees.moverTriangle[static_cast<std::size_t>(range.first)],
        static_cast<std::size_t>(range.Count()));
    std::vector<BoxItem> items;
    for (const int triangle : triangles)
        items.push_back(ItemOf(solid, triangle, static_cast<int>(items.size())));
    const int below = GrowBoxTree(trees.moverTree, range, items);
    Reorder(triangles, items);
    MoverBuilder build{solid, trees};
    return FillCrowd(build, trees.moverTree, quad, lane, below);
}

QueryTrees* MoverTrees(SOLIDC& solid)
{
    if (!MoverBounds(solid)) return nullptr;
    QueryTrees& trees = TreesOf(solid);
    if (!trees.triedMovers) BuildMovers(solid, trees);
    trees.triedMovers = true;
    return &trees;
}
