// The bounds of targets that another one's plane judges, and of edges that go down alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "bvh/hit_region.h"
#include "bvh/query_trees.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "mesh/triangle.h"
#include "query/edge_by_edge.h"
#include "query/edge_search.h"
#include "query/fast_detect.h"
#include "support/meshes.h"
#include "support/sampler.h"
#include "support/treatment.h"

namespace
{

/// Stands a swept solid where a test has set the starts of its sweep, without a way.
void StandAtSweepStarts(SOLIDC& b)
{
    for (int v = 0; v < b.vertexCount; ++v)
        std::copy_n(b.vertices[v].sweepStart, 3, b.vertices[v].sweepEnd);
    for (int t = 0; t < b.triangleCount; ++t) {
        float corners[3][3];
        SweptCorners(b, b.triangles[t], corners);
        TriangleBbox(corners, b.triangles[t].sweepBbox);
    }
}

/// A cell, a triangle in it without area or nearly, a plane that judges it, and an edge that
/// crosses this plane near the line of the triangle, within the cell or beside it.
struct LooseHit {
    float cell[6], corner[3][3], plane[4];
    PlacedEdge edge;

    explicit LooseHit(const Sampler& draw)
    {
        const double size = draw.Size(1e-2, 1e2), offset = draw.Below(2) ? 0 : draw.Size(1e-3, 1e3);
        float judge[3][3];
        double along[3], at[3];
        for (int r = 0; r < 3; ++r) {
            const double low = offset * draw.Between(-1, 1);
            cell[r] = float(low);
            cell[r + 3] = float(low + size * draw.Between(0.3, 1));
            along[r] = size * draw.Between(-1, 1);
            at[r] = low + size * draw.Between(0, 1);
            for (auto& point : judge) point[r] = float(low + size * draw.Between(-1, 1));
        }
        if (!CalcPlane(judge[0], 3, plane)) std::fill_n(plane, 4, 0.0f);
        const double part = draw.Between(-0.5, 0.5), length = draw.Size(1e-2, 1e2),
                     beside = draw.Below(2) ? 0 : 2e-4 * draw.Between(-1, 1) / size;
        double height = plane[3];
        for (int r = 0; r < 3; ++r) height += plane[r] * at[r];
        for (int r = 0; r < 3; ++r) {
            const double foot = at[r] - height * plane[r], on = foot + along[r] * part * 6 + beside;
            corner[0][r] = float(at[r]), corner[1][r] = float(at[r] + 0.3 * along[r]);
            corner[2][r] = float(at[r] + 0.1 * along[r]);
            const double step = size * length * draw.Between(-1, 1);
            edge.ends[0][r] = float(on - 0.6 * step), edge.ends[1][r] = float(on + 0.4 * step);
        }
        CalcEdgeBbox(edge.ends, edge.box);
    }
};

TEST(Loose, RegionsHoldTheCrossingPointsOfEdgesNearTheCell)
{
    const Draws draw(1);
    int held = 0, tooLong = 0;
    for (int n = 0; n < 300000; ++n) {
        const LooseHit hit(draw);
        CrossingState state;
        std::memcpy(state.plane, hit.plane, sizeof state.plane);
        state.point[0] = NAN;
        if (!BboxesMeet(hit.cell, hit.edge.box, 0) ||
            EdgeCrossesPlane(hit.edge.ends, hit.corner, state) != Crossing::kHit ||
            std::isnan(state.point[0]))
            continue;
        double reach = 0;
        for (const auto& corner : hit.corner)
            for (const float x : corner) reach = std::max(reach, double(std::fabs(x)));
        HitRegion region;
        CalcLooseRegion(hit.corner, hit.plane, hit.cell, reach, region);
        const double length = std::hypot(double(hit.edge.ends[1][0]) - hit.edge.ends[0][0],
                                         double(hit.edge.ends[1][1]) - hit.edge.ends[0][1],
                                         double(hit.edge.ends[1][2]) - hit.edge.ends[0][2]);
        const float slack = length > region.longestEdge ? float(6 * length) : 0.0f;
        for (int r = 0; r < 3; ++r) {
            ASSERT_GE(state.point[r], region.box[r] - slack) << n;
            ASSERT_LE(state.point[r], region.box[r + 3] + slack) << n;
        }
        ++(slack > 0 ? tooLong : held);
    }
    EXPECT_GT(held, 1000);
    EXPECT_GT(tooLong, 100);
}

TEST(Loose, RegionsReachToTheFarthestHitOfTheLongestEdge)
{
    // A sliver on a line along x, and an edge that leaves the cell along that line, as long as it
    // may be. It comes down to the plane within the tolerance and meets it nearly its length
    // further on.
    const float cell[6] = {0, 0, 0, 1, 1, 1};
    const float corner[3][3] = {
        {0.5f, 0.5f, 0.5f}, {0.51f, 0.5f, 0.5f}, {0.505f, 0.5000001f, 0.5f}};
    CrossingState state;
    ASSERT_TRUE(CalcPlane(corner[0], 3, state.plane));
    HitRegion region;
    CalcLooseRegion(corner, state.plane, cell, 1, region);
    ASSERT_GT(region.longestEdge, 3);
    for (const float to : {1.0f, -1.0f}) {
        const float from = to > 0 ? 0.999f : 0.001f;
        const float edge[2][3] = {{from, 0.5f, 0.5f + 1.92e-4f},
                                  {from + 0.999f * to * region.longestEdge, 0.5f, 0.5f + 0.9e-4f}};
        ASSERT_EQ(EdgeCrossesPlane(edge, corner, state), Crossing::kHit);
        EXPECT_GT(std::fabs(state.point[0]), 5);
        EXPECT_LE(state.point[0], region.box[3]);
        EXPECT_GE(state.point[0], region.box[0]);
    }
}

TEST(Loose, TargetsWithoutAreaAreJudgedByTheChainOfTheirOwnLeaf)
{
    const Draws draw(4);
    int judged = 0;
    for (int n = 0; n < 300; ++n) {
        Mesh mesh = SoupMesh(unsigned(n), 1 + draw.Below(30), 2);
        for (Triangle& triangle : mesh) {
            // On a grid, where sums are exact.
            for (Point& p : triangle)
                for (float& x : p) x = std::round(8 * x) / 8;
            if (draw.Below(2)) triangle[2] = triangle[1];
        }
        const auto solid = BareSolid(mesh, 1);
        float margin[3] = {1, 1, 1};
        solid->octree = new OCTREEC(solid->bbox, draw.Below(3), margin, solid.get());
        for (int t = 0; t < solid->triangleCount; ++t)
            solid->octree->OC_AddTriangle(&solid->triangles[t]);
        const TargetTree& tree = *TargetTreeOf(*solid);
        for (const Target& target : tree.target) {
            const T_LIST* judge = nullptr;
            float plane[4];
            const T_LIST* at = target.leaf->listHead;
            for (; at != target.triangle; at = NextTriangle(const_cast<T_LIST*>(at)))
                if (CalcPlane(at->corners[0], 3, plane)) judge = at;
            const auto found =
                std::ranges::find(tree.judged, target.triangle, &JudgedTarget::triangle);
            ASSERT_EQ(found == tree.judged.end(), CalcPlane(at->corners[0], 3, plane) != 0);
            if (found == tree.judged.end()) continue;
            ASSERT_EQ(found->judge, judge) << n;
            ++judged;
        }
    }
    EXPECT_GT(judged, 1000);
}

TEST(Loose, LoneEdgesAreNotKeptFromTargetsThatTheyHitByRounding)
{
    const Draws draw(2);
    int hits = 0;
    for (int n = 0; n < 60000; ++n) {
        // A triangle and an edge that ends at it or beside it, by the contact tolerance, far away.
        T_LIST triangle{};
        const double far = draw.Below(3) ? draw.Size(1e-4, 1e4) : 0, size = draw.Size(1e-2, 1e2);
        double on[3] = {}, weight[3] = {draw.Between(-0.01, 1), draw.Between(-0.01, 1), 0};
        weight[2] = 1 - weight[0] - weight[1];
        for (int c = 0; c < 3; ++c)
            for (int r = 0; r < 3; ++r) {
                triangle.corners[c][r] = float(far * (r + 1) + size * draw.Between(-1, 1));
                on[r] += weight[c] * triangle.corners[c][r];
            }
        const double contact = draw.Between(-1.1e-4, 1.1e-4), length = size * draw.Size(1e-3, 1e3);
        float ends[2][3], plane[4];
        if (!CalcPlane(triangle.corners[0], 3, plane)) continue;
        for (int r = 0; r < 3; ++r) {
            ends[0][r] = float(on[r] + contact * plane[r]);
            ends[1][r] = float(on[r] + length * draw.Between(-1, 1));
        }
        if (!EdgeCrossesTriangle(ends, triangle.corners)) continue;
        TargetTree tree;
        tree.target.push_back({&triangle, nullptr});
        BuildTargetTree(tree);
        const LoneEdge lone = MakeLoneEdge(ends);
        ASSERT_TRUE(MayHit(lone.lanes, tree.nodes[0])[0]) << n;
        ASSERT_TRUE(SearchBelow(tree, lone.edge, lone.lanes, 0, 0, 0, [](int) { return true; }))
            << n;
        ++hits;
    }
    EXPECT_GT(hits, 5000);
}

TEST(Loose, TrianglesOfSweptSolidsAreHitByTheStartOfTheFirstEdge)
{
    // Triangles in the plane z = 0, and edges that come near it nowhere near them, or not at all.
    const Draws draw(3);
    int hits = 0;
    for (int n = 0; n < 3000; ++n) {
        Mesh flat;
        for (int i = 0; i < 40; ++i) {
            const auto x = float(draw.Between(0, 9)), y = float(draw.Between(0, 9));
            flat.push_back({Point{x, y, 0}, Point{x + 1, y, 0}, Point{x, y + 1, 0}});
        }
        const auto a = BareSolid(flat), b = LoadedSolid(BoxMesh({0, 0, 0}, {1, 1, 1}));
        a->isSwept = 1;
        Matrix start = Translation(0, 0, 0), end = Translation(0, 0, 1);
        b->SC_GTsweep(Rows(start), Rows(end));
        b->tolerance = 1e-3f; // gives edges that stay off the plane
        const float heights[] = {5, 1.05e-4f, 1.5e-4f, 1.9e-4f, 0.95e-4f};
        const int least = draw.Below(2);
        for (int v = 0; v < b->vertexCount; ++v) {
            VertexRec& vertex = b->vertices[v];
            for (int r = 0; r < 2; ++r) vertex.sweepStart[r] = float(draw.Between(-30, 40));
            vertex.sweepStart[2] = heights[draw.Below(v == 0 ? 5 : 4 + least)];
        }
        StandAtSweepStarts(*b);
        const int fast = DetectFast(*a, *b);
        ASSERT_EQ(fast, SolidInternals::WalkPlainly(*a, *b)) << n;
        hits += fast;
    }
    EXPECT_GT(hits, 100);
    EXPECT_LT(hits, 2900);
}

TEST(Loose, LongEdgesHitSliversFarAwayWithoutAnEndInTheirPlane)
{
    // Slivers along x in a small cell, and needles whose boxes hold that cell, but which cross
    // their plane far off, on the line that they lie on. No corner of them is in the plane.
    const Draws draw(6);
    int hits = 0;
    for (int n = 0; n < 300; ++n) {
        Mesh mesh = Joined({BoxMesh({-4, -4, -4}, {-3.9f, -3.9f, -3.9f}),
                            BoxMesh({11.9f, 11.9f, 11.9f}, {12, 12, 12})});
        for (int i = 0; i < 8; ++i) {
            const float x = 0.1f + 0.01f * float(i);
            mesh.push_back({Point{x, 0.1f, 0.1f}, Point{x + 0.01f, 0.1f, 0.1f},
                            Point{x + 0.005f, 0.1f + 1e-7f, 0.1f}});
        }
        const auto a = BareSolid(mesh, 1);
        float margin[3] = {};
        a->octree = new OCTREEC(a->bbox, 5, margin, a.get());
        for (int t = 0; t < a->triangleCount; ++t) a->octree->OC_AddTriangle(&a->triangles[t]);
        const auto at = float(draw.Between(4.5, 6)), rise = float(draw.Between(0.5, 2)),
                   beside = float(draw.Between(-0.1, 0.1)), thick = 0.03f;
        const Point low{at - 6, 0.1f - rise, 0.1f - rise},
            high{at + 6, 0.1f + rise + beside, 0.1f + rise};
        Mesh needles;
        for (int i = 0; i < 6; ++i) {
            const float shift = 0.05f * float(i);
            const Point p{low[0] + shift, low[1], low[2]}, q{high[0] + shift, high[1], high[2]};
            needles = Joined(
                {needles, TetraMesh(p, q, {p[0], p[1] + thick, p[2]}, {p[0], p[1], p[2] + thick})});
        }
        const auto b = BareSolid(needles); // not refined, which would cut them
        ASSERT_EQ(b->SC_BuildVertexList() + b->SC_BuildEdgesList(), 0);
        const Matrix rest = Translation(0, 0, 0);
        const auto [fast, plain] = AskBothWays(*a, *b, rest, rest);
        ASSERT_EQ(fast, plain) << n;
        hits += plain;
    }
    EXPECT_GT(hits, 30);
    EXPECT_LT(hits, 290);
}

TEST(Loose, RestingSliversAreBoundedForTheToleranceThatAsks)
{
    // Slivers along x, which edges hit far beyond their ends where a tolerance lets them. A
    // question with a small one comes first, and its edges stay off the plane.
    const Draws draw(5);
    int hits = 0;
    for (int n = 0; n < 300; ++n) {
        Mesh slivers;
        for (int i = 0; i < 40; ++i) {
            const auto x = float(draw.Between(-0.2, 0.2)), y = float(draw.Between(-3, 3));
            slivers.push_back({Point{x, y, 0}, Point{x + 0.5f, y, 0}, Point{x, y + 3e-6f, 0}});
        }
        const auto a = BareSolid(slivers), b = LoadedSolid(BoxMesh({0, 0, 0}, {1, 1, 1}));
        a->isSwept = 1;
        Matrix start = Translation(0, 0, 0), end = Translation(0, 0, 1);
        b->SC_GTsweep(Rows(start), Rows(end));
        for (const bool first : {true, false}) {
            b->tolerance = first ? 1e-3f : 5.0f;
            const double middle = first ? 0 : draw.Between(-4, 4), spread = first ? 9 : 0.3;
            for (int v = 0; v < b->vertexCount; ++v) {
                VertexRec& vertex = b->vertices[v];
                for (int r = 0; r < 3; ++r)
                    vertex.sweepStart[r] = float((r ? 0 : middle) + spread * draw.Between(-1, 1));
                if (first) vertex.sweepStart[2] = 1.5e-4f;
            }
            StandAtSweepStarts(*b);
            const int fast = DetectFast(*a, *b);
            ASSERT_EQ(fast, SolidInternals::WalkPlainly(*a, *b)) << n << (first ? ", first" : "");
            ASSERT_TRUE(!first || QueryTreesOf(*a).resting.usable);
            hits += fast;
        }
    }
    EXPECT_GT(hits, 10);
}

} // namespace
