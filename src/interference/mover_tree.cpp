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

/// Finds the widest stretch without a corner by the borders of bins: long triangles in rows leave
/// most of a node bare.
void MeasureBare(const SOLIDC& solid, const QueryTrees& trees, const BoxNode& items,
                 MoverNode& node)
{
    constexpr int kBins = 32;
    struct Bin {
        double low = HUGE_VAL, high = -HUGE_VAL;
    };
    std::array<Bin, kBins> bins;
    const float *axis = node.box.axis[node.longestAxis], *centre = node.box.centre;
    const double half = node.box.half[node.longestAxis], scale = kBins / (2 * half);
    for (int i = items.first; i < items.last; ++i)
        VisitShapes(solid, trees.mover[static_cast<std::size_t>(i)],
                    [&](std::span<const float[3]> points) {
                        for (const auto& point : points) {
                            const double height = dot(axis, point) - dot(axis, centre);
                            Bin& bin = bins[static_cast<std::size_t>(
                                ClampToInt((height + half) * scale, 0, kBins - 1))];
                            bin.low = std::min(bin.low, height);
                            bin.high = std::max(bin.high, height);
                        }
                    });
    double last = -half;
    for (const Bin& bin : bins) {
        if (!(bin.low <= bin.high)) continue;
        // The axes are not at right angles to the last bit.
        const double room = 1e-6 * (node.longest + half);
        if (bin.low - last > node.bare[1] - node.bare[0] + 2 * room) {
            node.bare[0] = RoundUp(last + room);
            node.bare[1] = RoundDown(bin.low - room);
        }
        last = bin.high;
    }
}

/// What is merged on the way up, for each node.
struct Merged {
    float box[6];
    NormalBounds normals; ///< of the movers alone, which tell how a box should lie
};

void ReadLeaf(const SOLIDC& solid, const QueryTrees& trees, const BoxNode& items, MoverNode& node,
              Merged& merged)
{
    for (int i = items.first; i < items.last; ++i) {
        const Mover& mover = trees.mover[static_cast<std::size_t>(i)];
        VisitShapes(solid, mover, [&](std::span<const float[3]> points) {
            for (std::size_t p = 0; p < points.size(); ++p) {
                ExtendBbox(merged.box, points[p]);
                const SideLength length = LengthOf(points[p], points[(p + 1) % points.size()]);
                node.longest = std::max(node.longest, length.most);
                node.shortest = std::min(node.shortest, length.least);
            }
        });
        AddNormals(merged.normals, mover.normal, mover.normal);
        AddNormalsAround(solid, mover, node.normals);
    }
}

/// The greatest extents of a mover along the axes of the box.
void Measure(const SOLIDC& solid, const QueryTrees& trees, const BoxNode& items, MoverNode& node)
{
    for (int axis = 0; axis < 3; ++axis) {
        double extent = 0;
        for (int i = items.first; i < items.last; ++i)
            VisitShapes(solid, trees.mover[static_cast<std::size_t>(i)],
                        [&](std::span<const float[3]> points) {
                            double low = HUGE_VAL, high = -HUGE_VAL;
                            for (const auto& point : points) {
                                const double height = dot(node.box.axis[axis], point);
                                low = std::min(low, height);
                                high = std::max(high, height);
                            }
                            extent = std::max(extent, high - low);
                        });
        // The axes are not at right angles to the last bit.
        node.extent[axis] = RoundUp(extent + 1e-6 * node.longest);
    }
}

struct MoverBuilder {
    Scratch<Merged> merged;
    std::vector<Point3> points; ///< of one node
};

void ChooseBox(const SOLIDC& solid, QueryTrees& trees, MoverBuilder& build, int n,
               MoverNode& node)
{
    const BoxNode& items = trees.moverTree.At(n);
    build.points.clear();
    if (!IsFitted(items)) AddCorners(trees.moverTree, trees.moverNode, n, build.points);
    for (int i = items.first; IsFitted(items) && i < items.last; ++i)
        VisitShapes(solid, trees.mover[static_cast<std::size_t>(i)],
                    [&](std::span<const float[3]> shape) {
                        for (const auto& p : shape) build.points.push_back({p[0], p[1], p[2]});
                    });
    const Merged& merged = build.merged[static_cast<std::size_t>(n)];
    node.box = SmallerBox(merged.box, merged.normals, build.points, 0);
    std::fill_n(node.extent, 3, node.longest);
    node.longestAxis = LargestAxis(node.box.half);
    if (!IsFitted(items)) return;
    Measure(solid, trees, items, node);
    MeasureBare(solid, trees, items, node);
}

void FillNode(const SOLIDC& solid, QueryTrees& trees, MoverBuilder& build, int n)
{
    const auto at = static_cast<std::size_t>(n);
    const BoxTree& tree = trees.moverTree;
    MoverNode& node = trees.moverNode[at];
    Merged& merged = build.merged[at];
    ClearBbox(merged.box);
    ClearNormals(merged.normals);
    ClearNormals(node.normals);
    node.shortest = kEmptyExtreme;
    if (tree.IsLeaf(n)) {
        ReadLeaf(solid, trees, tree.At(n), node, merged);
    } else {
        for (const int child : {tree.Left(n), tree.Right(n)}) {
            const auto below = static_cast<std::size_t>(child);
            const MoverNode& half = trees.moverNode[below];
            node.longest = std::max(node.longest, half.longest);
            node.shortest = std::min(node.shortest, half.shortest);
            MergeBbox(merged.box, build.merged[below].box);
            AddNormals(merged.normals, build.merged[below].normals.low,
                       build.merged[below].normals.high);
            AddNormals(node.normals, half.normals.low, half.normals.high);
        }
    }
    ChooseBox(solid, trees, build, n, node);
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
    if (count) {
        trees.moverNode = MakeScratch<MoverNode>(trees.moverTree.node.size());
        MoverBuilder build{MakeScratch<Merged>(trees.moverTree.node.size()), {}};
        // Children lie behind their node.
        for (int n = static_cast<int>(trees.moverTree.node.size()) - 1; n >= 0; --n)
            FillNode(solid, trees, build, n);
    }
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
