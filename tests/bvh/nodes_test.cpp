// What nodes of any number of items are said to hold, against each of their items.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "bvh/hit_region.h"
#include "bvh/query_trees.h"
#include "geometry/predicates.h"
#include "mesh/triangle.h"
#include "support/meshes.h"
#include "support/vec.h"

namespace
{

constexpr double kNearly = 1 + 1e-5; ///< axes and lengths are rounded to floats

/// Small triangles in one plane, which may all tilt to one side, some of them too small to be
/// bounded by their corners, now and then a long one; perhaps far off.
Mesh Sheet(const Sampler& draw, int count)
{
    const Frame axes = AnyFrame(draw);
    const int kind = draw.Below(3);
    const double steepest = draw.Below(2) * 0.3, off = draw.Below(2) * 200;
    Mesh mesh(std::size_t(count), Triangle{Point{0, 0, 0}, Point{1, 0.1f, 0}, Point{0.2f, 1, 0}});
    for (Triangle& triangle : mesh) {
        const double x = off + draw.Between(-9, 9), y = draw.Between(-3, 3),
                     tilt = steepest * draw.Between(0, 1), other = steepest * draw.Between(-0.3, 0),
                     small[] = {0.05, 0.01},
                     size = kind < 2         ? small[kind * draw.Below(2)]
                            : draw.Below(20) ? draw.Size(1e-2, 1)
                                             : 5;
        for (Point& p : triangle) {
            const Point3 at = FromFrame(
                axes, {x + size * p[0], y + size * p[1], size * (tilt * p[0] + other * p[1])});
            for (std::size_t r = 0; r < 3; ++r) p[r] = float(at[r]);
        }
    }
    return mesh;
}

/// Tetrahedra with edges along the x axis and across it.
Mesh Needles(const Sampler& draw, int count)
{
    Mesh mesh;
    for (int i = 0; i < count; i += 4) {
        const float length = draw.Size(1e-2, 3), width = draw.Size(1e-3, 1e-2);
        Point p[4], middle{draw.Between(-1, 1), draw.Between(-1, 1), draw.Between(-1, 1)};
        for (int c = 0; c < 4; ++c)
            p[c] = {middle[0] + (c < 2 ? length : 0) + 0.01f * width * draw.Between(-1, 1),
                    middle[1] + width * draw.Between(-1, 1),
                    middle[2] + width * draw.Between(-1, 1)};
        mesh = Joined({mesh, TetraMesh(p[0], p[1], p[2], p[3])});
    }
    return mesh;
}

Point3 LaneOf(const Lanes* v, int lane) { return {v[0][lane], v[1][lane], v[2][lane]}; }

double Along(const ObbLanes& box, int lane, int k, const Point3& v)
{
    return Product(LaneOf(box.axis[k], lane), v);
}

bool Holds(const ObbLanes& box, int lane, const Point3& point)
{
    const Point3 at = Sum(point, LaneOf(box.centre, lane), -1);
    for (int k = 0; k < 3; ++k)
        if (std::fabs(Along(box, lane, k, at)) > box.half[k][lane] * kNearly) return false;
    return true;
}

void ExpectTargetIsHeld(const TargetTree& tree, int wide, int lane, const T_LIST& target)
{
    const TargetNodes& nodes = tree.nodes[wide];
    float plane[4] = {};
    CalcPlane(target.corners[0], 3, plane);
    const Point3 normal = Widened(plane),
                 deviation = Sum(normal, LaneOf(nodes.box.axis[0], lane), -1);
    HitRegion region;
    const bool tight = CalcHitRegion(target.corners, plane, tree.maxCoordinate, region);
    const double off = tight ? 3 * kContact : kContact; // a carried point
    EXPECT_LE(LengthOf(deviation), nodes.maxDeviation[lane]);
    for (int c = 0; c < 3; ++c) {
        const Point3 corner = Widened(target.corners[c]),
                     side = Sum(Widened(target.corners[(c + 1) % 3]), corner, -1);
        const Point3 reached = tight ? Widened(region.corner[c]) : corner;
        for (const double height : {-off, off})
            EXPECT_TRUE(Holds(nodes.box, lane, Sum(reached, normal, height)));
        EXPECT_LE(LengthOf(side), nodes.longest[lane]);
        EXPECT_TRUE(std::fabs(Along(nodes.box, lane, 1, side)) >= nodes.sideAlongLeast[lane] ||
                    LengthOf(side) <= nodes.sideAcrossMost[lane]);
        EXPECT_LE(std::fabs(Along(nodes.box, lane, c, side)), nodes.side[c][lane]);
        EXPECT_LE(std::fabs(Along(nodes.box, lane, c, deviation)), nodes.deviation[c][lane]);
    }
}

void ExpectCellIsHeld(const TargetTree& targets, int wide, int lane, const Target& target)
{
    float cell[6];
    CellOf(targets, target, cell);
    for (int r = 0; r < 3; ++r) {
        EXPECT_LE(targets.cells[wide].low[r][lane], cell[r]);
        EXPECT_GE(targets.cells[wide].high[r][lane], cell[r + 3]);
    }
}

void ExpectEdgeIsHeld(const ProbeNodes& nodes, int lane, const Point3& from, const Point3& to)
{
    const Point3 edge = Sum(to, from, -1);
    const double length = LengthOf(edge);
    EXPECT_LE(length, nodes.longest[lane]);
    EXPECT_GE(length, nodes.shortest[lane]);
    bool isAcross = length <= nodes.edgeAcrossMost[lane];
    for (int k = 0; k < 3; ++k) {
        const double along = std::fabs(Along(nodes.box, lane, k, edge));
        EXPECT_LE(along, nodes.edgeExtent[k][lane]);
        isAcross = isAcross && along <= length * nodes.maxCosine[k][lane];
    }
    EXPECT_TRUE(isAcross || length >= nodes.edgeAlongLeast[lane]);
    for (const Point3& end : {from, to}) {
        EXPECT_TRUE(Holds(nodes.box, lane, end));
        const double at = Along(nodes.box, lane, 0, Sum(end, LaneOf(nodes.box.centre, lane), -1));
        EXPECT_TRUE(at <= nodes.cornerGap[0][lane] || at >= nodes.cornerGap[1][lane]);
    }
}

/// Calls `expect` with each item in each node, once more where `build` has made the nodes below.
template <class Build, class Expect>
void ForItems(const Bvh& tree, Build build, Expect expect)
{
    for (int wide = 0; wide < tree.wideCount; ++wide)
        for (int lane = 0; lane < tree.wide[wide].count; ++lane)
            for (const bool built : {false, true}) {
                if (built && tree.wide[wide].below[lane] != WideNode::kUnbuilt) break;
                if (built) build(wide, lane);
                const ItemRange range = tree.wide[wide].items[lane];
                for (int i = range.first; i < range.last && !testing::Test::HasFailure(); ++i)
                    expect(wide, lane, std::size_t(i));
            }
}

TEST(Nodes, OfManyItemsBoundEachOfThemForeignEdgesToo)
{
    const Draws draw(1);
    for (const int count :
         {1, 4, 20, 120, 300, 1500, 1500, 1500, 1500, 1500, 4096, 4096, 5000, 5000}) {
        SCOPED_TRACE(count);
        const auto a = BareSolid(Sheet(draw, count)), b = BareSolid(Needles(draw, count));
        TargetTree targets;
        targets.hasCells = true;
        for (int t = 0; t < count; ++t) targets.target.push_back({&a->triangles[t], nullptr});
        BuildTargetTree(targets);
        ForItems(
            targets.bvh, [&](int wide, int lane) { TargetsBelow(targets, wide, lane); },
            [&](int wide, int lane, std::size_t i) {
                ExpectTargetIsHeld(targets, wide, lane, *targets.target[i].triangle);
                ExpectCellIsHeld(targets, wide, lane, targets.target[i]);
            });
        ASSERT_EQ(b->SC_BuildVertexList() | b->SC_BuildEdgesList(), 0);
        // A neighbour of some that are far from it, with a normal like no other.
        std::fill_n(b->triangles[0].normal, 3, 2.0f);
        for (int e = 7; e < b->edgeCount; e += 300) b->edges[e].triangle[1] = 0;
        for (int e = 2; e < b->edgeCount; e += 20)
            b->edges[e].vertex[0] = draw.Below(b->vertexCount);
        ProbeTree& probes = *ProbeTreeOf(*b);
        ForItems(
            probes.bvh, [&](int wide, int lane) { ProbesBelow(*b, probes, wide, lane); },
            [&](int wide, int lane, std::size_t i) {
                const int own = probes.triangle[i];
                for (const int e : b->triangles[own].edge) {
                    const int* end = b->edges[e].vertex;
                    for (const int beside : {own, AcrossEdge(b->edges[e], own)})
                        for (int r = 0; r < 3; ++r) {
                            const float normal = b->triangles[beside].normal[r];
                            EXPECT_LE(probes.nodes[wide].low[r][lane], normal);
                            EXPECT_GE(probes.nodes[wide].high[r][lane], normal);
                        }
                    ExpectEdgeIsHeld(probes.nodes[wide], lane,
                                     Widened(b->vertices[end[0]].position),
                                     Widened(b->vertices[end[1]].position));
                }
            });
        ASSERT_FALSE(HasFailure());
    }
}

} // namespace
