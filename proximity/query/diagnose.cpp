#include "proximity/query/diagnose.h"

#include <algorithm>
#include <tuple>

#include "proximity/exact/intersection.h"
#include "proximity/query/leaf_cache.h"
#include "proximity/query/search.h"
#include "proximity/query/vector.h"

namespace proximity
{
namespace
{

/// The triangles in the order of the input, so that places are told as the user knows them.
Triangles InInputOrder(const Tree& tree)
{
    Triangles triangles(tree.triangle.size());
    for (std::size_t i = 0; i < triangles.size(); ++i)
        triangles[static_cast<std::size_t>(tree.source[i])] = tree.triangle[i];
    return triangles;
}

Vec CornerOf(const FloatTriangle& triangle, int corner)
{
    const float* c = triangle.corner[corner];
    return {{c[0], c[1], c[2]}};
}

/// A finding while it is collected: the places with the lowest facet numbers are kept.
struct Collector {
    scapi_finding* finding;

    explicit Collector(scapi_finding& out) : finding(&out)
    {
        std::fill_n(out.facet, SCAPI_PLACES, -1);
    }
    void Add(std::int32_t facet, const Vec& point)
    {
        ++finding->count;
        int at = SCAPI_PLACES;
        while (at > 0 && (finding->facet[at - 1] < 0 || finding->facet[at - 1] > facet)) --at;
        if (at == SCAPI_PLACES) return;
        for (int i = SCAPI_PLACES - 1; i > at; --i) {
            finding->facet[i] = finding->facet[i - 1];
            std::copy(finding->point[i - 1], finding->point[i - 1] + 3, finding->point[i]);
        }
        finding->facet[at] = facet;
        std::copy(point.x, point.x + 3, finding->point[at]);
    }
};

void JudgeEdges(const Triangles& triangles, const Welded& welded, scapi_diagnosis& out)
{
    Collector open(out.open_edges), crowded(out.nonmanifold_edges), reversed(out.reversed_edges);
    out.closed = 1;
    ForEachEdge(SortedEdgeUses(welded), [&](std::span<const EdgeUse> uses) {
        ++out.edges;
        if (!IsBalanced(uses)) out.closed = 0;
        // The middle of the edge, by the first triangle that has it.
        const auto facet = static_cast<std::size_t>(uses[0].triangle);
        Vec middle{};
        for (int corner = 0; corner < 3; ++corner) {
            const std::int32_t v = welded.triangle[facet][static_cast<std::size_t>(corner)];
            if (v == uses[0].low || v == uses[0].high)
                middle = middle + 0.5 * CornerOf(triangles[facet], corner);
        }
        if (uses.size() == 1) open.Add(uses[0].triangle, middle);
        if (uses.size() > 2) crowded.Add(uses[0].triangle, middle);
        if (uses.size() == 2 && uses[0].forward == uses[1].forward)
            reversed.Add(uses[0].triangle, middle);
    });
}

/// The corners of a triangle with the least first, in their cyclic order, and whether that had to
/// be reversed to be the lower of both orders.
struct Corners {
    std::array<std::int32_t, 3> vertex;
    bool reversed;
    std::int32_t facet;

    Corners(const std::array<std::int32_t, 3>& triangle, std::int32_t number)
        : vertex(triangle), reversed(false), facet(number)
    {
        std::rotate(vertex.begin(), std::min_element(vertex.begin(), vertex.end()), vertex.end());
        if (vertex[1] > vertex[2]) std::swap(vertex[1], vertex[2]), reversed = true;
    }
    bool operator<(const Corners& other) const
    {
        return std::tie(vertex, facet) < std::tie(other.vertex, other.facet);
    }
};

void JudgeFacets(const Triangles& triangles, const Welded& welded, scapi_diagnosis& out)
{
    Collector duplicates(out.duplicates), opposed(out.opposed), flat(out.degenerate_facets);
    std::vector<Corners> corners;
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        const auto& v = welded.triangle[t];
        const auto facet = static_cast<std::int32_t>(t);
        double placed[3][3];
        for (int corner = 0; corner < 3; ++corner)
            std::copy(triangles[t].corner[corner], triangles[t].corner[corner] + 3, placed[corner]);
        if (v[0] == v[1] || v[1] == v[2] || v[2] == v[0] || IsDegenerate(placed))
            flat.Add(facet, CornerOf(triangles[t], 0));
        else
            corners.emplace_back(v, facet);
    }
    std::sort(corners.begin(), corners.end());
    for (std::size_t i = 1; i < corners.size(); ++i) {
        if (corners[i].vertex != corners[i - 1].vertex) continue;
        const Vec at = CornerOf(triangles[static_cast<std::size_t>(corners[i].facet)], 0);
        const bool same = corners[i].reversed == corners[i - 1].reversed;
        (same ? duplicates : opposed).Add(corners[i].facet, at);
    }
}

struct Shell {
    Vec low{{HUGE_VAL, HUGE_VAL, HUGE_VAL}}, high{{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL}};
    double volume = 0;
};

bool LiesIn(const Shell& inner, const Shell& outer)
{
    for (int axis = 0; axis < 3; ++axis)
        if (!(outer.low[axis] < inner.low[axis] && inner.high[axis] < outer.high[axis]))
            return false;
    return true;
}

/// Shells whose boxes lie in another's, by a pass from the largest to the smaller ones that keeps
/// those that may still hold others.
std::int64_t CountNested(std::vector<Shell> shells)
{
    std::sort(shells.begin(), shells.end(), [](const Shell& a, const Shell& b) {
        return a.low[0] != b.low[0] ? a.low[0] < b.low[0] : a.high[0] > b.high[0];
    });
    std::vector<Shell> open;
    std::int64_t nested = 0;
    for (const Shell& shell : shells) {
        std::erase_if(open, [&](const Shell& other) { return other.high[0] <= shell.low[0]; });
        nested += std::any_of(open.begin(), open.end(),
                              [&](const Shell& other) { return LiesIn(shell, other); });
        open.push_back(shell);
    }
    return nested;
}

void JudgeShells(const Triangles& triangles, const Welded& welded, const Tree& tree,
                 scapi_diagnosis& out)
{
    std::int32_t count = 0;
    const std::vector<std::int32_t> shellOf = ShellsOf(welded, count);
    std::vector<Shell> shells(static_cast<std::size_t>(count));
    const Vec center{{tree.center[0], tree.center[1], tree.center[2]}};
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        Shell& shell = shells[static_cast<std::size_t>(shellOf[t])];
        Vec p[3];
        for (int corner = 0; corner < 3; ++corner) {
            p[corner] = CornerOf(triangles[t], corner) - center;
            for (int axis = 0; axis < 3; ++axis) {
                shell.low[axis] = std::min(shell.low[axis], p[corner][axis]);
                shell.high[axis] = std::max(shell.high[axis], p[corner][axis]);
            }
        }
        shell.volume += Dot(p[0], Cross(p[1], p[2])) / 6;
        out.area += 0.5 * Length(Cross(p[1] - p[0], p[2] - p[0]));
    }
    out.shells = count;
    if (!out.closed) return;
    for (const Shell& shell : shells) {
        out.volume += shell.volume;
        out.inverted_shells += shell.volume < 0;
    }
    out.inside_out = out.volume < 0;
    out.nested_shells = CountNested(std::move(shells));
}

/// Looks at pairs of triangles of one body, each pair once.
struct SelfSearch {
    const Body& body;
    const PlacedPair& pair;
    float limit;
    std::int64_t left;
    Collector& crossings;
    PlacedLeaf leafA{}, leafB{};

    float Limit() const { return limit; }
    static bool PassesOver(const NodePair&) { return false; }
    bool Spend() { return --left >= 0; }

    bool VisitLeaves(Leaf a, Leaf b)
    {
        leafA.Place(body.tree, pair.a, a), leafB.Place(body.tree, pair.a, b);
        return ForEachPair(NearPairs(leafA, leafB, 0), [&](int i, int j) {
            if (a.first == b.first && i >= j) return true;
            if (!Spend()) return false;
            Test(leafA.TriangleAt(i), leafB.TriangleAt(j), a.first + i, b.first + j);
            return true;
        });
    }

    void Test(const Triangle& x, const Triangle& y, std::int32_t i, std::int32_t j)
    {
        if (!InteriorsMeet(x, y)) return;
        const std::int32_t facet = std::min(body.tree.source[static_cast<std::size_t>(i)],
                                            body.tree.source[static_cast<std::size_t>(j)]);
        crossings.Add(facet, VecOf(ContactOf(x, y).point) + pair.origin);
    }

    /// What lies below two lanes of one node, and in each of its leaves. @return false where the
    /// budget is spent
    bool VisitNode(const PairFrames& frames, std::int32_t node, std::vector<NodePair>& stack)
    {
        const Tree& tree = body.tree;
        stack.clear();
        for (int i = 0; i < kLanes && tree.Child(HandleOf(node, i)) != kNoChild; ++i) {
            const std::int32_t child = tree.Child(HandleOf(node, i));
            if (IsLeaf(child) && !VisitLeaves(LeafOf(child), LeafOf(child))) return false;
            for (int j = 0; j < i; ++j)
                stack.push_back({0.0f, HandleOf(node, j), HandleOf(node, i)});
        }
        return WalkStack(tree, tree, frames, stack, *this);
    }
};

/// Pairs of triangles of one body that cross, or overlap in a plane. Neighbours share corners and
/// edges, which is touching.
void FindSelfCrossings(const Body& body, std::int64_t budget, scapi_diagnosis& out)
{
    Collector crossings(out.self_crossings);
    constexpr double kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    const PlacedPair pair = PlacePair(body, kIdentity, body, kIdentity);
    SelfSearch search{body, pair, PruneLimit(MakeNodeSlack(body, body, pair, kFloatUnit), 0),
                      budget, crossings};
    const PairFrames frames(pair);
    std::vector<NodePair> stack;
    bool complete = true;
    for (std::size_t node = 0; complete && node < body.tree.node.size(); ++node)
        complete = search.VisitNode(frames, static_cast<std::int32_t>(node), stack);
    out.self_crossings_complete = complete;
}

} // namespace

scapi_diagnosis Diagnose(const Body& body, const DiagnoseLimits& limits)
{
    scapi_diagnosis out{};
    const Triangles triangles = InInputOrder(body.tree);
    const Welded welded = limits.weld > 0 ? WeldNear(triangles, limits.weld) : WeldEqual(triangles);
    out.triangles = static_cast<std::int64_t>(triangles.size());
    std::vector<std::int32_t> used;
    for (const auto& triangle : welded.triangle)
        used.insert(used.end(), triangle.begin(), triangle.end());
    std::sort(used.begin(), used.end());
    out.vertices = std::unique(used.begin(), used.end()) - used.begin();
    JudgeEdges(triangles, welded, out);
    JudgeFacets(triangles, welded, out);
    JudgeShells(triangles, welded, body.tree, out);
    for (int axis = 0; axis < 3; ++axis) {
        out.extent[axis] = double(body.tree.high[axis]) - body.tree.low[axis];
        out.extent_if_inches[axis] = 25.4 * out.extent[axis];
    }
    std::fill_n(out.self_crossings.facet, SCAPI_PLACES, -1);
    if (limits.selfCrossings) FindSelfCrossings(body, limits.budget, out);
    return out;
}

} // namespace proximity
