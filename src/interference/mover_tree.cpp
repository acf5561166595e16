// The tree over a solid's triangles as movers.
#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "interference/query_trees.h"
#include "solid/bbox.h"
#include "solid/triangle.h"
#include "solid/vector.h"

namespace
{

/// A lane of MoverBoxes.
struct MoverNode {
    float edge[3], shortestAlong, slant[3], bare[2], longest, shortest;
    NormalBounds normals;
};

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

/// @return false when a vertex is out of range or something is too far away or not finite
bool MakeMover(const SOLIDC& solid, int index, Mover& mover)
{
    const T_LIST& triangle = solid.triangles[index];
    if (!IsNearby(triangle.normal)) return false;
    mover.hasForeign = false;
    for (int slot = 0; slot < 3; ++slot) {
        const int v = triangle.vertex[slot];
        if (!InRange(v, solid.vertexCount)) return false;
        std::copy_n(solid.vertices[v].position, 3, mover.corner[slot]);
        Mover::Side& side = mover.side[slot] = SideOf(solid, index, slot);
        if (side == Mover::kForeign) mover.hasForeign = true;
        if (side != Mover::kNotOwn && !OwnsEdge(solid, index, slot)) side = Mover::kNotOwn;
    }
    std::copy_n(triangle.normal, 3, mover.normal);
    mover.index = index;
    for (int slot = 0; slot < 3; ++slot) {
        const double length = distance(mover.corner[slot], mover.corner[PreviousSlot(slot)]);
        mover.perLength[slot] = length > 0 ? RoundUp(1 / length) : 0;
    }
    bool nearby = true;
    VisitShapes(solid, mover, [&](std::span<const float[3]> points) {
        for (const auto& point : points) nearby = nearby && IsNearby(point);
    });
    return nearby;
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

void ReadLeaf(const SOLIDC& solid, const QueryTrees& trees, const BoxNode& items, MoverNode& node,
              MergedNode& merged)
{
    for (int i = items.first; i < items.last; ++i) {
        const Mover& mover = trees.mover[static_cast<std::size_t>(i)];
        VisitShapes(solid, mover, [&](std::span<const float[3]> points) {
            for (std::size_t p = 0; p < points.size(); ++p) {
                ExtendBbox(merged.bounds, points[p]);
                const SideLength length = LengthOf(points[p], points[(p + 1) % points.size()]);
                node.longest = std::max(node.longest, length.most);
                node.shortest = std::min(node.shortest, length.least);
            }
        });
        AddNormals(merged.normals, mover.normal, mover.normal);
        AddNormalsAround(solid, mover, node.normals);
    }
}

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

/// Finds the widest stretch without a corner: long triangles in rows leave most of a node bare.
void ReadBare(const Occupied& occupied, MoverNode& node)
{
    double last = -occupied.half;
    // The axes are not at right angles to the last bit.
    const double room = 1e-6 * (node.longest + occupied.half);
    for (const Occupied::Bin& bin : occupied.bins) {
        if (!(bin.low <= bin.high)) continue;
        if (bin.low - last > node.bare[1] - node.bare[0] + 2 * room) {
            node.bare[0] = RoundUp(last + room);
            node.bare[1] = RoundDown(bin.low - room);
        }
        last = bin.high;
    }
}

/// What is measured along the axes of a node's box.
struct Measures {
    const OrientedBox& box;
    Occupied occupied{box.half[0]};
    double extent[3] = {}, slant[3] = {}, shortestAlong = kEmptyExtreme;

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
            for (int axis = 0; axis < 3; ++axis)
                slant[axis] =
                    std::max(slant[axis], std::fabs(dot(box.axis[axis], side)) * perLength);
        }
    }
};

void Measure(const SOLIDC& solid, const QueryTrees& trees, const BoxNode& items,
             const OrientedBox& box, MoverNode& node)
{
    constexpr int kMostSlants = 256;
    Measures measures{box};
    bool slanted = items.last - items.first <= kMostSlants;
    for (int i = items.first; i < items.last; ++i) {
        const Mover& mover = trees.mover[static_cast<std::size_t>(i)];
        VisitShapes(solid, mover,
                    [&](std::span<const float[3]> points) { measures.AddPoints(points); });
        slanted = slanted && !mover.hasForeign;
        if (slanted) measures.AddSlants(mover);
    }
    for (int axis = 0; axis < 3; ++axis) {
        // The axes are not at right angles to the last bit.
        node.edge[axis] = RoundUp(measures.extent[axis] + 1e-6 * node.longest);
        if (slanted) node.slant[axis] = RoundUp(measures.slant[axis] + 2e-6);
    }
    if (slanted) node.shortestAlong = RoundDown(measures.shortestAlong * 0.99999);
    ReadBare(measures.occupied, node);
}

struct MoverBuilder {
    Scratch<MergedNode> merged; ///< these two by node
    Scratch<MoverNode> node;
    std::vector<Point3> points; ///< of one node
};

void FindPoints(const SOLIDC& solid, const QueryTrees& trees, MoverBuilder& build, int n)
{
    const BoxNode& items = trees.moverTree.At(n);
    build.points.clear();
    if (!IsFitted(items)) return AddCorners(trees.moverTree, build.merged, n, build.points);
    for (int i = items.first; i < items.last; ++i)
        VisitShapes(solid, trees.mover[static_cast<std::size_t>(i)],
                    [&](std::span<const float[3]> shape) {
                        for (const auto& p : shape) build.points.push_back({p[0], p[1], p[2]});
                    });
}

void FillNode(const SOLIDC& solid, QueryTrees& trees, MoverBuilder& build, int n)
{
    const auto at = static_cast<std::size_t>(n);
    const BoxTree& tree = trees.moverTree;
    MoverNode& node = build.node[at];
    MergedNode& merged = build.merged[at];
    ClearNode(merged);
    ClearNormals(node.normals);
    node.shortest = kEmptyExtreme;
    if (tree.IsLeaf(n)) {
        ReadLeaf(solid, trees, tree.At(n), node, merged);
    } else {
        MergeChildren(tree, build.merged, n);
        for (const int child : {tree.Left(n), tree.Right(n)}) {
            const MoverNode& below = build.node[static_cast<std::size_t>(child)];
            node.longest = std::max(node.longest, below.longest);
            node.shortest = std::min(node.shortest, below.shortest);
            AddNormals(node.normals, below.normals.low, below.normals.high);
        }
    }
    FindPoints(solid, trees, build, n);
    ChooseBox(merged, build.points, 0);
    const int longest = LargestAxis(merged.box.half);
    std::swap(merged.box.axis[0], merged.box.axis[longest]);
    std::swap(merged.box.half[0], merged.box.half[longest]);
    std::fill_n(node.edge, 3, node.longest);
    std::fill_n(node.slant, 3, 1.0f);
    node.shortestAlong = node.shortest;
    if (!IsFitted(tree.At(n))) return;
    Measure(solid, trees, tree.At(n), merged.box, node);
}

void SetLane(MoverBoxes& boxes, int lane, const MoverNode& node, const OrientedBox& box)
{
    SetLane(boxes.box, lane, box);
    boxes.longest[lane] = node.longest;
    boxes.shortest[lane] = node.shortest;
    boxes.shortestAlong[lane] = node.shortestAlong;
    for (int i = 0; i < 2; ++i) boxes.bare[i][lane] = node.bare[i];
    for (int i = 0; i < 3; ++i) {
        boxes.edge[i][lane] = node.edge[i];
        boxes.slant[i][lane] = node.slant[i];
        boxes.low[i][lane] = node.normals.low[i];
        boxes.high[i][lane] = node.normals.high[i];
    }
}

/// Fills in the boxes of a tree that has movers.
void BuildBoxes(const SOLIDC& solid, QueryTrees& trees)
{
    const BoxTree& tree = trees.moverTree;
    const auto nodes = static_cast<std::size_t>(tree.nodeCount);
    MoverBuilder build{MakeScratch<MergedNode>(nodes), MakeScratch<MoverNode>(nodes), {}};
    // Children lie behind their node.
    for (int n = tree.nodeCount - 1; n >= 0; --n) FillNode(solid, trees, build, n);
    trees.moverBoxes = MakeScratch<MoverBoxes>(static_cast<std::size_t>(tree.quadCount));
    VisitLanes(tree, [&](std::size_t q, int lane, std::size_t n) {
        SetLane(trees.moverBoxes[q], lane, build.node[n], build.merged[n].box);
    });
}

void BuildMovers(SOLIDC& solid, QueryTrees& trees)
{
    const auto count = static_cast<std::size_t>(solid.triangleCount);
    auto items = MakeScratch<BoxItem>(count);
    auto movers = MakeScratch<Mover>(count);
    for (std::size_t t = 0; t < count; ++t) {
        if (!MakeMover(solid, static_cast<int>(t), movers[t])) return;
        items[t] = MakeItem(movers[t].corner, movers[t].normal, static_cast<int>(t));
    }
    trees.moverTree = BuildBoxTree(items, solid.triangleCount);
    trees.mover = InOrderOf(trees.moverTree, movers);
    if (count) BuildBoxes(solid, trees);
    trees.moversUsable = true;
}

} // namespace

const QueryTrees* MoverTrees(SOLIDC& solid)
{
    QueryTrees& trees = TreesOf(solid);
    if (!trees.triedMovers && !solid.isSimple) BuildMovers(solid, trees);
    trees.triedMovers = true;
    return trees.moversUsable ? &trees : nullptr;
}
