#include "query/swept_first.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "bvh/query_trees.h"
#include "exact/edge_buffer.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "mesh/triangle.h"
#include "query/edge_by_edge.h"
#include "query/edge_search.h"
#include "query/index_boxes.h"

// The walk asks triangle by triangle of a, and hands the crossing point on from edge to edge. So a
// triangle is hit only if an edge hits it by a crossing point of its own, or if the first edge that
// the walk gives starts inside it (Lemma 13). Both are found without looking at all pairs, and only
// then the walk itself decides: it gives some edges of b to some triangles of a alone.

namespace
{

struct SweptPair {
    SOLIDC& a;
    SOLIDC& b;
    const IndexBoxes boxes;   ///< of b
    std::vector<char> walked; ///< by triangle of a
    std::vector<int> found{}; ///< triangles of b, for the triangle being walked

    /// Calls `take` with the edges that the walk over b gives to a triangle of a, until it is true.
    /// @param nextFrom  gives the first triangle of b from an index on whose box meets the
    /// triangle's
    template <class Next, class Take>
    bool WalkEdges(float* box, Next nextFrom, Take take);
    /// The walk for one triangle of a, unless it has found nothing before.
    bool TriangleHits(int t);
};

template <class Next, class Take>
bool SweptPair::WalkEdges(float* box, Next nextFrom, Take take)
{
    EdgeBuffer buffer;
    for (int cursor = 0;;) {
        if (cursor % 10 >= b.edgeCount) return false; // as the walk ends there
        const int next = nextFrom(cursor / 10);
        if (next >= b.triangleCount) return false;
        cursor = std::max(cursor, 10 * next);
        const int limit = 10 * (next + 1);
        cursor = b.SC_GetSweepEdgesInBbox(cursor, limit, buffer.edge, box);
        ++querySteps.edges;
        // A cursor at the limit tells of an edge given at a late step, or of none. The buffer then
        // holds one that does not meet the box, or the last one, and to take that again changes
        // nothing.
        float edgeBox[6];
        CalcEdgeBbox(buffer.edge, edgeBox);
        const bool given = (cursor >= 0 && cursor < limit) || BboxesMeet(edgeBox, box, b.tolerance);
        if (given && take(buffer.edge)) return true;
        if (cursor < 0) return false;
    }
}

bool SweptPair::TriangleHits(int t)
{
    char& done = walked[static_cast<std::size_t>(t)];
    if (done) return false;
    done = 1;
    const T_LIST& triangle = a.triangles[t];
    float box[6];
    TriangleBbox(triangle.corners, box);
    boxes.FindAll(box, found);
    querySteps.edges += static_cast<std::int64_t>(found.size());
    CrossingState state;
    std::size_t at = 0;
    const auto nextFrom = [&](int index) {
        while (at < found.size() && found[at] < index) ++at;
        return at < found.size() ? found[at] : b.triangleCount;
    };
    return WalkEdges(box, nextFrom, [&](const float(*edge)[3]) {
        return EdgeCrossesTriangle(edge, triangle.corners, state) != 0;
    });
}

/// Whether the walk starts with an edge whose first end is inside a triangle of a: it is then the
/// crossing point of edges that give none.
bool StartsInside(SweptPair& pair, int t)
{
    const T_LIST& triangle = pair.a.triangles[t];
    float box[6], plane[4];
    if (!CalcPlane(triangle.corners[0], 3, plane)) return false;
    TriangleBbox(triangle.corners, box);
    bool inside = false;
    const auto nextFrom = [&](int index) { return pair.boxes.Next(box, index); };
    pair.WalkEdges(box, nextFrom, [&](const float(*edge)[3]) {
        inside = PointInsideTriangle(triangle.corners, plane, edge[0], kContact) != 0;
        return true;
    });
    return inside;
}

/// Calls `hits` with each edge that the walk can give at a triangle of a solid in motion, until it
/// is true.
template <class Hits>
bool AnyPieceHits(const SOLIDC& solid, int t, Hits hits)
{
    const T_LIST& triangle = solid.triangles[t];
    const bool trails = IsTrailing(triangle);
    const auto hit = [&](const float* from, const float* to) {
        float ends[2][3];
        std::copy_n(from, 3, ends[0]);
        std::copy_n(to, 3, ends[1]);
        return hits(ends);
    };
    for (const int e : triangle.edge) {
        if (!InRange(e, solid.edgeCount)) continue;
        const EdgeRec& edge = solid.edges[e];
        if (!InRange(edge.vertex[0], solid.vertexCount) ||
            !InRange(edge.vertex[1], solid.vertexCount))
            continue;
        const VertexRec &va = solid.vertices[edge.vertex[0]], &vb = solid.vertices[edge.vertex[1]];
        const int other = AcrossEdge(edge, t);
        const bool quad =
            trails && InRange(other, solid.triangleCount) && !IsTrailing(solid.triangles[other]);
        const auto rim = [&](bool atStart) {
            return atStart ? hit(va.sweepStart, vb.sweepStart) : hit(va.sweepEnd, vb.sweepEnd);
        };
        if (other > t && rim(trails)) return true;
        if (quad &&
            (hit(va.sweepEnd, vb.sweepStart) || hit(va.sweepEnd, va.sweepStart) || rim(t <= other)))
            return true;
    }
    return false;
}

/// The triangles of a solid where they are, each in its own box.
TargetTree& RestingTargets(SOLIDC& a, float tolerance)
{
    TargetTree& tree = QueryTreesOf(a).resting;
    if (tree.usable && tree.tolerance == tolerance) return tree;
    tree = {};
    tree.tolerance = tolerance;
    for (int t = 0; t < a.triangleCount; ++t)
        if (IsNearbyTriangle(a.triangles[t].corners))
            tree.target.push_back({&a.triangles[t], nullptr});
    BuildTargetTree(tree);
    return tree;
}

struct EdgeSearch {
    SweptPair& pair;
    TargetTree& targets;

    bool Hits(const float (*ends)[3]) const;
    bool HitsTriangle(const PlacedEdge& edge, int t, const TargetPlane& plane) const;
};

bool EdgeSearch::HitsTriangle(const PlacedEdge& edge, int t, const TargetPlane& plane) const
{
    const T_LIST& triangle = pair.a.triangles[t];
    float box[6];
    TriangleBbox(triangle.corners, box);
    if (!BboxesMeet(edge.box, box, pair.b.tolerance)) return false;
    CrossingState state;
    std::memcpy(state.plane, &plane, sizeof state.plane);
    return EdgeCrossesPlane(edge.ends, triangle.corners, state) == Crossing::kHit &&
           pair.TriangleHits(t);
}

bool EdgeSearch::Hits(const float (*ends)[3]) const
{
    const auto item = [](int i) { return static_cast<std::size_t>(i); };
    const auto judge = [&](const PlacedEdge& edge, int i) {
        const auto t = static_cast<int>(targets.target[item(i)].triangle - pair.a.triangles);
        return HitsTriangle(edge, t, targets.plane[item(i)]);
    };
    ++querySteps.nodePairs;
    const LoneEdge lone = MakeLoneEdge(ends);
    return MayHit(lone.lanes, targets.nodes[0])[0] &&
           SearchBelow(targets, lone.edge, lone.lanes, 0, 0, 0,
                       [&](int i) { return judge(lone.edge, i); });
}

/// Where the second solid is not swept, its octree is asked, and only its first triangle can be hit
/// (the reversed index, docs/behaviour.md), whatever the triangle of a is.
bool CanFirstTriangleHit(SOLIDC& b)
{
    if (!b.octree) return false;
    return b.octree->owner != &b || b.triangleCount == 0 ||
           b.Triangle_to_SolidBEdges(b.triangles, &b) != 0;
}

/// Holds the boxes of all triangles of a, but for NaNs, which meet nothing.
void BoxAround(const SOLIDC& a, float* around)
{
    ClearBbox(around);
    for (int t = 0; t < a.triangleCount; ++t) {
        float box[6];
        TriangleBbox(a.triangles[t].corners, box);
        ExtendBbox(around, box);
        ExtendBbox(around, box + 3);
    }
}

bool IsFiniteEdge(const float (*ends)[3])
{
    const auto isFinite = [](float x) { return std::isfinite(x); };
    return std::all_of(ends[0], ends[0] + 3, isFinite) &&
           std::all_of(ends[1], ends[1] + 3, isFinite);
}

/// The walks that edges tell to be worth while.
int WalkWhereEdgesHit(SweptPair& pair)
{
    SOLIDC &a = pair.a, &b = pair.b;
    const EdgeSearch search{pair, RestingTargets(a, b.tolerance)};
    for (int t = 0; t < a.triangleCount; ++t)
        if (!IsNearbyTriangle(a.triangles[t].corners) && pair.TriangleHits(t)) return 1;
    if (search.targets.target.empty()) return 0;
    for (const int t : pair.boxes.order)
        if (AnyPieceHits(b, t, [&](const float(*ends)[3]) {
                return IsFiniteEdge(ends) && search.Hits(ends);
            }))
            return 1;
    for (int t = 0; t < a.triangleCount; ++t)
        if (StartsInside(pair, t) && pair.TriangleHits(t)) return 1;
    return 0;
}

} // namespace

int DetectSweptFirst(SOLIDC& a, SOLIDC& b)
{
    if (!b.isSwept && !CanFirstTriangleHit(b)) return 0;
    if (!b.isSwept || !(b.tolerance >= 0) || !std::isfinite(b.tolerance)) {
        ++querySteps.plainWalks;
        return a.SC_DetectIntersection(&b);
    }
    float around[6];
    BoxAround(a, around);
    SweptPair pair{a, b, IndexBoxes(b, around), std::vector<char>(std::size_t(a.triangleCount))};
    if (pair.boxes.order.empty()) return 0;
    // As long as few boxes overlap, the walks themselves are the shortest way.
    const std::int64_t most = querySteps.edges + a.triangleCount + b.triangleCount;
    for (int t = 0; querySteps.edges < most; ++t) {
        if (t == a.triangleCount) return 0;
        if (pair.TriangleHits(t)) return 1;
    }
    return WalkWhereEdgesHit(pair);
}
