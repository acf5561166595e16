// What nodes of both hierarchies are said to hold, against each of their items.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "bvh/query_trees.h"
#include "geometry/predicates.h"
#include "mesh/triangle.h"
#include "support/meshes.h"
#include "support/vec.h"

namespace
{

constexpr double kNearly = 1 + 1e-5; ///< axes and lengths are rounded to floats

/// Small triangles in one plane that all tilt to one side, or in all directions; now and then a
/// long one.
Mesh Sheet(const Sampler& draw, int count)
{
    Mesh mesh;
    const bool tilted = draw.Below(3) != 0, thin = draw.Below(2) != 0;
    for (int i = 0; i < count; ++i) {
        const Point3 middle{draw.Between(-9, 9), draw.Between(-3, 3), 0};
        const double size = thin             ? 0.05
                            : draw.Below(20) ? double(draw.Size(1e-2, 1))
                                             : 5,
                     tilt[2] = {draw.Between(0, 0.3), draw.Between(-0.1, 0)};
        Triangle triangle;
        for (Point& corner : triangle) {
            const Point3 by = AnyPoint(draw);
            const double height = tilted ? tilt[0] * by[0] + tilt[1] * by[1] : by[2];
            const Point3 at = Sum(middle, {by[0], by[1], height}, size);
            for (std::size_t r = 0; r < 3; ++r) corner[r] = float(at[r]);
        }
        if (tilted && (triangle[1][0] - triangle[0][0]) * (triangle[2][1] - triangle[0][1]) <
                          (triangle[1][1] - triangle[0][1]) * (triangle[2][0] - triangle[0][0]))
            std::swap(triangle[1], triangle[2]);
        mesh.push_back(triangle);
    }
    return mesh;
}

/// Tetrahedra, `count` triangles in all, long along one axis.
Mesh Needles(const Sampler& draw, int count)
{
    Mesh mesh;
    for (int i = 0; i < count; i += 4) {
        const Point3 middle = AnyPoint(draw);
        const double length = draw.Size(1e-2, 3), width = draw.Size(1e-3, 1e-2);
        Point p[4];
        for (int c = 0; c < 4; ++c) {
            const Point3 by = AnyPoint(draw);
            p[c] = {float(middle[0] + (c < 2 ? length : 0) + 0.01 * width * by[0]),
                    float(middle[1] + width * by[1]), float(middle[2] + width * by[2])};
        }
        mesh = Joined({mesh, TetraMesh(p[0], p[1], p[2], p[3])});
    }
    return mesh;
}

struct Boxed {
    const ObbLanes& box;
    int lane;

    double Along(int k, const Point3& v) const
    {
        return v[0] * box.axis[k][0][lane] + v[1] * box.axis[k][1][lane] +
               v[2] * box.axis[k][2][lane];
    }
    Point3 Axis(int k) const
    {
        return {box.axis[k][0][lane], box.axis[k][1][lane], box.axis[k][2][lane]};
    }
    Point3 FromCentre(const Point3& p) const
    {
        return Sum(p, {box.centre[0][lane], box.centre[1][lane], box.centre[2][lane]}, -1);
    }
    bool Holds(const Point3& p) const
    {
        for (int k = 0; k < 3; ++k)
            if (std::fabs(Along(k, FromCentre(p))) > box.half[k][lane] * kNearly) return false;
        return true;
    }
};

void ExpectTargetIsHeld(const TargetNodes& nodes, int lane, const T_LIST& target)
{
    const Boxed boxed{nodes.box, lane};
    float plane[4] = {};
    CalcPlane(target.corners[0], 3, plane);
    const Point3 normal = Widened(plane), deviation = Sum(normal, boxed.Axis(0), -1);
    EXPECT_LE(std::min(1.0, LengthOf(deviation)), nodes.maxDeviation[lane]);
    for (int c = 0; c < 3; ++c) {
        const Point3 corner = Widened(target.corners[c]),
                     side = Sum(Widened(target.corners[(c + 1) % 3]), corner, -1);
        for (const double height : {-kContact, kContact})
            EXPECT_TRUE(boxed.Holds(Sum(corner, normal, height)));
        EXPECT_LE(LengthOf(side), nodes.longest[lane]);
        EXPECT_TRUE(std::fabs(boxed.Along(1, side)) >= nodes.sideAlongLeast[lane] ||
                    LengthOf(side) <= nodes.sideAcrossMost[lane]);
        EXPECT_LE(std::fabs(boxed.Along(c, side)), nodes.side[c][lane]);
        EXPECT_LE(std::min(1.0, std::fabs(boxed.Along(c, deviation))), nodes.deviation[c][lane]);
    }
}

void ExpectEdgeIsHeld(const ProbeNodes& nodes, int lane, const Point3& from, const Point3& to)
{
    const Boxed boxed{nodes.box, lane};
    const Point3 edge = Sum(to, from, -1);
    const double length = LengthOf(edge);
    EXPECT_LE(length, nodes.longest[lane]);
    EXPECT_GE(length, nodes.shortest[lane]);
    bool isAcross = length <= nodes.edgeAcrossMost[lane];
    for (int k = 0; k < 3; ++k) {
        const double along = std::fabs(boxed.Along(k, edge));
        EXPECT_LE(along, nodes.edgeExtent[k][lane]);
        isAcross = isAcross && along <= length * nodes.maxCosine[k][lane];
    }
    EXPECT_TRUE(isAcross || length >= nodes.edgeAlongLeast[lane]);
    for (const Point3& end : {from, to}) {
        EXPECT_TRUE(boxed.Holds(end));
        const double at = boxed.Along(0, boxed.FromCentre(end));
        EXPECT_TRUE(at <= nodes.cornerGap[0][lane] || at >= nodes.cornerGap[1][lane]);
    }
}

void ExpectProbeIsHeld(const ProbeNodes& nodes, int lane, const SOLIDC& solid, int triangle)
{
    const auto place = [&](int vertex) { return Widened(solid.vertices[vertex].position); };
    for (const int e : solid.triangles[triangle].edge) {
        const EdgeRec& edge = solid.edges[e];
        ExpectEdgeIsHeld(nodes, lane, place(edge.vertex[0]), place(edge.vertex[1]));
        for (const int t : edge.triangle)
            for (int r = 0; r < 3; ++r) {
                EXPECT_LE(nodes.low[r][lane], solid.triangles[t].normal[r]);
                EXPECT_GE(nodes.high[r][lane], solid.triangles[t].normal[r]);
            }
    }
}

/// Calls `expect` with each node, built to the leaves, and each item in it.
void ForItems(const Bvh& tree, const std::function<void(int, int)>& build,
              const std::function<void(int, int, int)>& expect)
{
    for (int wide = 0; wide < tree.wideCount; ++wide)
        for (int lane = 0; lane < tree.wide[wide].count; ++lane) {
            build(wide, lane);
            const ItemRange range = tree.wide[wide].items[lane];
            for (int i = range.first; i < range.last && !testing::Test::HasFailure(); ++i)
                expect(wide, lane, i);
        }
}

constexpr int kCounts[] = {1, 4, 20, 120, 300, 1500, 5000};

TEST(Nodes, OfAnyNumberOfTargetsBoundEachOfThem)
{
    const Draws draw(1);
    for (const int count : kCounts)
        for (int n = 0; n < 3; ++n) {
            const auto solid = BareSolid(Sheet(draw, count));
            TargetTree tree;
            for (int t = 0; t < solid->triangleCount; ++t)
                tree.target.push_back({&solid->triangles[t], nullptr});
            BuildTargetTree(tree);
            ForItems(
                tree.bvh, [&](int wide, int lane) { TargetsBelow(tree, wide, lane); },
                [&](int wide, int lane, int i) {
                    ExpectTargetIsHeld(tree.nodes[wide], lane,
                                       *tree.target[std::size_t(i)].triangle);
                });
            ASSERT_FALSE(HasFailure()) << count << " targets, draw " << n;
        }
}

TEST(Nodes, OfAnyNumberOfProbesBoundTheirEdgesForeignOnesToo)
{
    const Draws draw(2);
    for (const int count : kCounts)
        for (int n = 0; n < 3; ++n) {
            const auto solid = BareSolid(Needles(draw, count));
            ASSERT_EQ(solid->SC_BuildVertexList() | solid->SC_BuildEdgesList(), 0);
            for (int e = n; e < solid->edgeCount && n; e += 20)
                solid->edges[e].vertex[0] = draw.Below(solid->vertexCount);
            ProbeTree& tree = *ProbeTreeOf(*solid);
            ForItems(
                tree.bvh, [&](int wide, int lane) { ProbesBelow(*solid, tree, wide, lane); },
                [&](int wide, int lane, int i) {
                    ExpectProbeIsHeld(tree.nodes[wide], lane, *solid,
                                      tree.triangle[std::size_t(i)]);
                });
            ASSERT_FALSE(HasFailure()) << count << " triangles, draw " << n;
        }
}

} // namespace
