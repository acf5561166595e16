// Refinement by work lists against refinement by passes over all edges, and what it costs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <set>

#include "geometry/bbox.h"
#include "mesh/memory.h"
#include "octree/sizing.h"
#include "refine/growth.h"
#include "refine/index_set.h"
#include "refine/refine_edges.h"
#include "refine/size_ratio.h"
#include "support/meshes.h"

namespace
{

template <class Record>
void Grow(Record*& array, int& capacity, int count, int added, int spare)
{
    const int grown = GrownCapacity(capacity, count, added);
    if (grown == capacity) return;
    auto* fresh = Allocate<Record>(grown + spare);
    if (count) std::memcpy(static_cast<void*>(fresh), array, sizeof(Record) * std::size_t(count));
    ReleaseRecords(array);
    array = fresh, capacity = grown;
}

/// The largest ratio of an edge that a pass over all edges breaks.
float FullPass(SOLIDC& s, const SizeLimit& limit)
{
    s.Simplify2Triangles();
    float largest = 0;
    for (int e = 0, bound = s.edgeCount; e < bound; ++e) {
        Grow(s.triangles, s.triangleCapacity, s.triangleCount, 2, 1);
        Grow(s.edges, s.edgeCapacity, s.edgeCount, 3, 0);
        Grow(s.vertices, s.vertexCapacity, s.vertexCount, 1, 0);
        float ends[2][3], box[6];
        for (int end = 0; end < 2; ++end)
            std::copy_n(s.vertices[s.edges[e].vertex[end]].position, 3, ends[end]);
        CalcEdgeBbox(ends, box);
        const Cut cut = DecideCut(limit, box);
        if (cut.pieces && s.BreakEdge(e, cut.pieces)) largest = std::max(largest, cut.ratio);
    }
    return largest;
}

void RefineByFullPasses(SOLIDC& s, float* limit)
{
    const SizeLimit sizeLimit = MakeSizeLimit(s, limit);
    float least = HUGE_VALF, largest;
    double most = -1;
    for (int idle = 0; (largest = FullPass(s, sizeLimit)) > 0;) {
        if (most < 0) most = std::floor(2.0 * double(largest) + 16);
        idle = largest < least ? 0 : idle + 1;
        least = std::min(least, largest);
        if (idle >= most) break;
    }
    s.baseTriangleCount = s.triangleCount;
    for (int t = 0; t < s.triangleCount; ++t) {
        for (int c = 0; c < 3; ++c)
            std::copy_n(s.vertices[s.triangles[t].vertex[c]].position, 3,
                        s.triangles[t].corners[c]);
        TriangleBbox(s.triangles[t].corners, s.triangles[t].bbox);
    }
}

template <class Record>
bool AreSame(const Record* a, const Record* b, int capacity)
{
    return std::memcmp(a, b, sizeof(Record) * std::size_t(capacity)) == 0;
}

/// With lists, and octreeCellSize for its number of triangles; null if the mesh is not closed.
std::unique_ptr<SOLIDC> ReadyToRefine(const Mesh& mesh)
{
    auto solid = BareSolid(mesh);
    solid->SortTriangles();
    if (solid->SC_BuildVertexList() || solid->SC_BuildEdgesList()) return nullptr;
    for (int axis = 0; axis < 3; ++axis)
        solid->octreeCellSize[axis] = float(Extent(solid->bbox, axis) *
                                            std::ldexp(0.5, -OctreeDepthFor(solid->triangleCount)));
    return solid;
}

Mesh NestedCubes(int count)
{
    Mesh mesh;
    for (int i = 1; i <= count; ++i) {
        const float a = 100.0f * float(i) / float(count);
        mesh = Joined({mesh, BoxMesh({-a, -a, -a}, {a, a, a})});
    }
    return mesh;
}

/// Puts a corner on a side of a triangle and on that of its neighbour.
void SplitSide(Mesh& mesh, std::size_t t, float at)
{
    const auto [a, b, x] = mesh[t];
    Point p;
    for (std::size_t axis = 0; axis < 3; ++axis) p[axis] = a[axis] + (b[axis] - a[axis]) * at;
    for (std::size_t o = 0; o < mesh.size(); ++o)
        for (std::size_t j = 0; j < 3; ++j)
            if (mesh[o][j] == b && mesh[o][(j + 1) % 3] == a) {
                const Point y = mesh[o][(j + 2) % 3];
                mesh[t] = {a, p, x}, mesh[o] = {p, a, y};
                mesh.insert(mesh.begin() + long(mesh.size()) * (at > 0.5f), {{p, b, x}, {b, p, y}});
                return;
            }
}

/// Stays closed: needles thinner than the merge tolerance, flat corners of three triangles, corners
/// that fall together, and shapes stretched, flattened, moved far away or rounded to a grid.
Mesh NastyMesh(unsigned seed)
{
    std::mt19937 random(seed);
    const auto below = [&](unsigned n) { return unsigned(random() % n); };
    const auto unit = [&] { return float(below(1000003)) / 1000003.0f; };
    const auto replace = [](Mesh& mesh, const Point& from, const Point& to) {
        for (Triangle& t : mesh) std::replace(t.begin(), t.end(), from, to);
    };
    const Mesh shapes[] = {SphereMesh(3 + int(below(9)), 5), NestedCubes(1 + int(below(9))),
                           TubeMesh(1 + int(below(5)), 1, 1 + unit(), 20),
                           BoxMesh({0, 0, 0}, {1 + 9 * unit(), 1 + 9 * unit(), unit()})};
    Mesh mesh = shapes[below(4)];
    for (unsigned i = below(25); i > 0; --i) {
        const std::size_t t = below(unsigned(mesh.size()));
        std::rotate(mesh[t].begin(), mesh[t].begin() + below(3), mesh[t].end());
        const auto [a, b, c] = mesh[t];
        Point middle;
        for (std::size_t x = 0; x < 3; ++x) middle[x] = (a[x] + b[x] + c[x]) / 3;
        const unsigned kind = below(6);
        if (kind == 0) SplitSide(mesh, t, unit());
        if (kind == 1) SplitSide(mesh, t, below(2) ? 1e-7f : 1 - 1e-7f);
        if (kind == 2)
            mesh[t] = {a, b, middle}, mesh.insert(mesh.end(), {{b, c, middle}, {c, a, middle}});
        if (kind == 3 && below(3) == 0) replace(mesh, a, b);
        if (kind == 4 && below(4) == 0) replace(mesh, a, mesh[below(unsigned(mesh.size()))][0]);
        if (kind == 5) replace(mesh, a, {a[0] + unit(), a[1], a[2] + 1e-6f * unit()});
    }
    const unsigned change = below(12);
    const std::size_t axis = below(3);
    const float factor = std::ldexp(1.0f, int(below(30)) - 15), grid = 0.1f + unit();
    for (Triangle& t : mesh)
        for (Point& p : t) {
            if (change == 0) p[axis] *= factor;
            if (change == 1) p[axis] = 0;
            if (change == 2) p[axis] += 1e5f;
            for (float& x : p)
                if (change == 3) x = std::round(x / grid) * grid;
        }
    if (change == 4) mesh[0][0][axis] = below(2) ? NAN : 3e38f;
    return mesh;
}

/// @return what the work lists took
RefinementSteps ExpectAsByFullPasses(SOLIDC& fast, SOLIDC& slow)
{
    const RefinementSteps steps = RefineEdges(fast, fast.octreeCellSize);
    RefineByFullPasses(slow, slow.octreeCellSize);
    EXPECT_EQ(fast.triangleCount, slow.triangleCount);
    const bool sameCapacities = fast.triangleCapacity == slow.triangleCapacity &&
                                fast.edgeCapacity == slow.edgeCapacity &&
                                fast.vertexCapacity == slow.vertexCapacity;
    EXPECT_TRUE(sameCapacities &&
                AreSame(fast.triangles, slow.triangles, fast.triangleCapacity + 1) &&
                AreSame(fast.edges, slow.edges, fast.edgeCapacity) &&
                AreSame(fast.vertices, slow.vertices, fast.vertexCapacity));
    return steps;
}

TEST(WorkList, GivesTheArraysOfPassesOverAllEdges)
{
    int closed = 0, merged = 0;
    for (unsigned seed = 1; seed <= 1200 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        const Mesh mesh = NastyMesh(seed);
        const auto fast = ReadyToRefine(mesh), slow = ReadyToRefine(mesh);
        if (!fast) continue;
        ++closed;
        for (int e = 0; e < fast->edgeCount; ++e)
            merged += fast->edges[e].vertex[0] == fast->edges[e].vertex[1];
        ExpectAsByFullPasses(*fast, *slow);
    }
    EXPECT_GT(closed, 200);
    EXPECT_GT(merged, 50);
}

// A damaged file can say that an edge has a triangle that does not have the edge.
TEST(WorkList, FollowsEdgesThatTheirTrianglesDoNotName)
{
    for (unsigned seed = 1; seed <= 200 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const Mesh mesh = BoxMesh({0, 0, 0}, {9, 2, 1});
        const auto fast = ReadyToRefine(mesh), slow = ReadyToRefine(mesh);
        for (int i = 0; i < 3; ++i) {
            const unsigned e = unsigned(random() % 18), side = unsigned(random() % 2);
            fast->edges[e].triangle[side] = slow->edges[e].triangle[side] = int(random() % 12);
        }
        ExpectAsByFullPasses(*fast, *slow);
    }
}

// Breaking XY gives A and B the fourth corner without which AB could not flip; else nothing near
// AB changes.
TEST(WorkList, EdgeThatWaitsForItsEndsFlipsWhenTheyGainACorner)
{
    const Mesh flat = TetraMesh({-3, 0, 0}, {3, 0, 0}, {0, -1, 0}, {0, 1, 0});
    const auto fast = ReadyToRefine(flat), slow = ReadyToRefine(flat);
    for (SOLIDC* solid : {fast.get(), slow.get()})
        solid->octreeCellSize[0] = 10, solid->octreeCellSize[1] = 1.5f,
        solid->octreeCellSize[2] = 1;
    EXPECT_GT(ExpectAsByFullPasses(*fast, *slow).flips, 0);
}

/// A fine sphere with rods through it, whose few long edges take many passes.
Mesh SphereWithRods(int rings)
{
    Mesh mesh = SphereMesh(rings, 50);
    for (int i = 0; i < rings / 10; ++i) {
        const float y = 100 * float(i);
        mesh = Joined({mesh, BoxMesh({-1e4f, y, 0}, {1e4f, y + 1, 1})});
    }
    return mesh;
}

TEST(WorkList, JudgementsGrowWithTheWorkAndNotWithThePasses)
{
    for (const int rings : {20, 40, 80, 120}) {
        const auto solid = ReadyToRefine(SphereWithRods(rings));
        const std::int64_t before = solid->edgeCount;
        const RefinementSteps steps = RefineEdges(*solid, solid->octreeCellSize);
        const std::int64_t work = before + steps.breaks + steps.flips;
        EXPECT_LT(steps.breakJudgements + steps.flipJudgements, 8 * work) << rings;
        if (rings >= 80) {
            EXPECT_GT(steps.passes * before, 8 * work) << "not a telling mesh";
        }
        ExpectClosedMesh(*solid);
    }
}

TEST(IndexSet, KeepsItsOrderAcrossWordsAndLevels)
{
    IndexSet set;
    set.Cover(20000000);
    std::set<int> twin;
    std::mt19937 random(1);
    for (int i = 0; i < 3000; ++i) {
        const int at = int(random() % 20000000u) >> random() % 24;
        if (random() % 3) {
            set.Insert(at), twin.insert(at);
        } else {
            set.Erase(at), twin.erase(at);
        }
        const int from = int(random() % 20000000u) >> random() % 24;
        const auto next = twin.lower_bound(from);
        ASSERT_EQ(set.Next(from), next == twin.end() ? IndexSet::kNone : *next) << from;
    }
}

} // namespace
