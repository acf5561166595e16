// Vertex and edge lists, compared with linear searches.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <random>

#include "mesh/memory.h"
#include "mesh/sort.h"
#include "mesh/triangle.h"
#include "support/meshes.h"
#include "support/vec.h"

namespace
{

/// Merges each corner into the first vertex in range, by a linear search.
void BuildVerticesLinearly(SOLIDC& solid)
{
    solid.vertices = Allocate<VertexRec>(3 * solid.triangleCount + 1);
    const double limit = double(solid.tolerance) * solid.tolerance;
    for (int t = 0; t < solid.triangleCount; ++t)
        for (int c = 0; c < 3; ++c) {
            const float* p = solid.triangles[t].corners[c];
            int v = 0;
            for (; v < solid.vertexCount; ++v) {
                const Point3 apart = Sum(Widened(p), Widened(solid.vertices[v].position), -1);
                if (Product(apart, apart) < limit) break;
            }
            if (v == solid.vertexCount) {
                std::memcpy(static_cast<void*>(&solid.vertices[v]), static_cast<const void*>(p),
                            36);
                ++solid.vertexCount;
            }
            solid.triangles[t].vertex[c] = v;
            ++solid.vertices[v].useCount;
        }
}

/// Pairs a side with the first partner, by a linear search.
bool PairLinearly(SOLIDC& solid, int a, int j)
{
    T_LIST* t = solid.triangles;
    for (int b = 0; b < solid.triangleCount; ++b)
        for (int m = 0; b != a && m < 3; ++m) {
            if (t[b].edge[m] != -1 || t[a].vertex[j] != t[b].vertex[PreviousSlot(m)] ||
                t[a].vertex[PreviousSlot(j)] != t[b].vertex[m])
                continue;
            t[a].edge[j] = t[b].edge[m] = solid.edgeCount;
            ++t[a].edgeLinks, ++t[b].edgeLinks;
            solid.edges[solid.edgeCount++] = {
                {t[a].vertex[j], t[a].vertex[PreviousSlot(j)]}, {a, b}, {}};
            return true;
        }
    return false;
}

int BuildEdgesLinearly(SOLIDC& solid)
{
    solid.edges = Allocate<EdgeRec>(3 * solid.triangleCount + 1);
    for (int t = 0; t < solid.triangleCount; ++t) {
        T_LIST& triangle = solid.triangles[t];
        float corners[9];
        for (int c = 0; c < 9; ++c)
            corners[c] = solid.vertices[triangle.vertex[c / 3]].position[c % 3];
        CalcTriangleNormal(corners, triangle.normal);
        std::fill_n(triangle.edge, 3, -1);
    }
    int result = 0;
    for (int a = 0; a < solid.triangleCount && result == 0; ++a)
        for (int j = 0; j < 3; ++j)
            if (solid.triangles[a].edge[j] == -1 && !PairLinearly(solid, a, j)) result = -101;
    return result;
}

struct Nasty {
    const char* fault;
    Mesh mesh;
    float tolerance; ///< 0 leaves the tolerance of the solid, -0 sets 0
};

/// Random triangles on a grid. `step` against the tolerance decides which grid points merge.
Mesh GridSoup(unsigned seed, float step, int steps, float offset)
{
    Mesh mesh = SoupMesh(seed, 150, static_cast<float>(steps));
    for (Triangle& t : mesh)
        for (Point& p : t)
            for (float& x : p) x = offset + step * std::floor(x);
    return mesh;
}

/// Sets every `every`-th coordinate to `value`.
Mesh WithValue(Mesh mesh, float value, std::size_t every)
{
    for (std::size_t i = 0; i < 9 * mesh.size(); i += every) mesh[i / 9][i / 3 % 3][i % 3] = value;
    return mesh;
}

const Mesh kBox = BoxMesh({0, 0, 0}, {1, 1, 1});

const Nasty kNasty[] = {
    {"ClosedSphere", SphereMesh(7, 10), 0},
    {"StepsOfNineTenthsOfTheTolerance", GridSoup(1, 0.9f, 12, 0), 1},
    {"StepsJustAboveTheTolerance", GridSoup(2, 1.001f, 12, 0), 1},
    {"StepsOfExactlyTheTolerance", GridSoup(3, 0.125f, 20, -1), 0.125f},
    {"ChainsOfNearPoints", GridSoup(4, 0.3f, 60, -9), 1},
    {"FarFromTheOrigin", GridSoup(5, 0.06f, 40, 1e6f), 0.1f},
    {"AllInOneCell", SoupMesh(6, 200, 1e-3f), 1e-4f},
    {"AllPointsEqual", Mesh(40, Triangle{}), 1},
    {"AllPointsEqualWithoutTolerance", Mesh(40, Triangle{}), -0.0f},
    {"MinusZero", WithValue(GridSoup(7, 0.5f, 3, 0), -0.0f, 4), 0.1f},
    {"NaN", WithValue(GridSoup(8, 1, 3, 0), std::nanf(""), 5), 0.1f},
    {"Infinities", WithValue(GridSoup(9, 1, 3, 0), INFINITY, 7), INFINITY},
    {"InfiniteTolerance", SoupMesh(10, 50, 1e38f), INFINITY},
    {"ToleranceThatIsNaN", GridSoup(11, 1, 2, 0), std::nanf("")},
    {"HugeNegative", WithValue(GridSoup(12, 1, 4, 0), -1e30f, 6), 0},
    {"HugeNegativeWithTinyTolerance", WithValue(GridSoup(13, 1, 4, 0), -1e30f, 6), 1e-30f},
    {"DoubledShell", Joined({SphereMesh(5, 1), SphereMesh(5, 1)}), 0},
    {"ShellAndItsInverse", Joined({SphereMesh(5, 1), Flipped(SphereMesh(5, 1))}), 0},
    {"SomeTrianglesFlipped", Flipped(SphereMesh(6, 1), 7), 0},
    {"SomeTrianglesThrice", Joined({SphereMesh(5, 1), kBox, kBox, kBox}), 0},
    {"ShellThatCollapses", SphereMesh(8, 1), 0.5f},
    {"ShellThatCollapsesToAPoint", SphereMesh(8, 1), 5},
    {"BoxesShareAnEdge", Joined({kBox, BoxMesh({1, 1, 0}, {2, 2, 1})}), 0},
};

TEST(Lists, IndexFindsWhatALinearSearchFinds)
{
    for (const auto& [fault, mesh, tolerance] : kNasty) {
        SCOPED_TRACE(fault);
        const auto indexed = BareSolid(mesh), linear = BareSolid(mesh);
        if (tolerance != 0 || std::signbit(tolerance))
            indexed->tolerance = linear->tolerance = tolerance;
        indexed->SC_BuildVertexList();
        BuildVerticesLinearly(*linear);
        const int result = indexed->SC_BuildEdgesList();
        EXPECT_EQ(result, BuildEdgesLinearly(*linear));
        EXPECT_EQ(indexed->vertexCount, linear->vertexCount);
        EXPECT_EQ(indexed->edgeCount, linear->edgeCount);
        EXPECT_EQ(Digest(*indexed), Digest(*linear));
    }
}

TEST(Lists, FaultIsReportedOnceAndTheListStays)
{
    const Mesh lone{{Point{0, 0, 0}, Point{1, 0, 0}, Point{0, 1, 0}}};
    const auto open = BareSolid(lone), simple = BareSolid(lone, 2);
    EXPECT_EQ(open->SC_BuildVertexList(), -100);
    EXPECT_EQ(open->SC_BuildVertexList(), 0);
    EXPECT_EQ(open->SC_BuildEdgesList(), -101);
    EXPECT_EQ(open->SC_BuildEdgesList(), 0);
    for (int edge : open->triangles[0].edge) EXPECT_EQ(edge, -1);
    EXPECT_EQ(simple->SC_BuildVertexList(), -904);
    EXPECT_EQ(simple->SC_BuildEdgesList(), -904);
    open->CreateOctree();
    EXPECT_NE(open->octree, nullptr) << "lists are built once";
}

TEST(Lists, SortIsStableAlongTheLongestAxis)
{
    for (const Point& size : {Point{2, 2, 2}, Point{1, 2, 2}, Point{1, 1, 2}}) {
        Mesh mesh = SoupMesh(21, 400, 5);
        for (Triangle& t : mesh)
            for (Point& p : t)
                for (std::size_t a = 0; a < 3; ++a) p[a] = size[a] * (std::floor(p[a]) - 2);
        const auto solid = BareSolid(mesh);
        std::vector<T_LIST> expected(solid->triangles, solid->triangles + solid->triangleCount);
        const int axis = size[0] == 2 ? 0 : size[1] == 2 ? 1 : 2;
        std::stable_sort(expected.begin(), expected.end(), [&](const T_LIST& a, const T_LIST& b) {
            return CompareTriangleBbox(a, b, axis) < 0;
        });
        solid->SortTriangles();
        EXPECT_EQ(solid->sortAxis, axis);
        EXPECT_EQ(std::memcmp(expected.data(), solid->triangles, 400 * sizeof(T_LIST)), 0);
    }
}

TEST(Lists, InversionWalkChangesOnlyTheTrianglesItVisits)
{
    const auto solid = LoadedSolid(BoxMesh({0, 0, 0}, {1, 2, 3}));
    const std::vector<T_LIST> before(solid->triangles, solid->triangles + solid->triangleCount);
    EXPECT_EQ(SolidInternals::Invert(*solid), 0);
    int visited = 0;
    for (int t = 0; t < solid->triangleCount; ++t) {
        const T_LIST& now = solid->triangles[t];
        T_LIST expected = before[static_cast<std::size_t>(t)];
        expected.mark = now.mark;
        if (now.mark) {
            ++visited;
            for (int i = 0; i < 3; ++i)
                expected.vertex[i] = std::bit_cast<std::int32_t>(-expected.normal[i]);
            std::copy_n(expected.corners[2], 3, expected.normal);
            std::swap_ranges(expected.corners[1], expected.corners[2], expected.corners[2]);
        }
        ASSERT_EQ(std::memcmp(&now, &expected, sizeof now), 0) << t;
    }
    EXPECT_GT(visited, 0);
}

} // namespace
