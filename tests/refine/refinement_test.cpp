// Breaking, flipping and the loops that drive them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "geometry/bbox.h"
#include "geometry/vector.h"
#include "mesh/triangle.h"
#include "support/meshes.h"
#include "support/vec.h"

namespace
{

std::unique_ptr<SOLIDC> WithLists(const Mesh& mesh)
{
    auto solid = BareSolid(mesh);
    EXPECT_EQ(solid->SC_BuildVertexList(), 0);
    EXPECT_EQ(solid->SC_BuildEdgesList(), 0);
    return solid;
}

int EdgeBetween(const SOLIDC& solid, int a, int b)
{
    for (int e = 0; e < solid.edgeCount; ++e) {
        const int* v = solid.edges[e].vertex;
        if ((v[0] == a && v[1] == b) || (v[0] == b && v[1] == a)) return e;
    }
    return -1;
}

TEST(BreakEdge, VertexLandsOnTheGridPointNearestToTheFeet)
{
    struct Row {
        int pieces;
        float x, y; // feet of the opposite vertices on the edge from 0 to 10
        float lands;
    };
    for (const Row& row : {Row{2, 9, 9, 5}, Row{4, 6, 6, 5}, Row{4, 7, 7, 7.5f}, Row{4, 4, 8, 5},
                           Row{4, 30, 20, 7.5f}, Row{4, -30, 5, 2.5f}, Row{10, 3, 4, 4}}) {
        auto solid = WithLists(TetraMesh({0, 0, 0}, {10, 0, 0}, {row.x, 1, 1}, {row.y, -1, 1}));
        const int e = EdgeBetween(*solid, 0, 2);
        EXPECT_EQ(solid->BreakEdge(e, row.pieces), row.pieces);
        ASSERT_EQ(solid->vertexCount, 5);
        EXPECT_EQ(solid->vertices[4].position[0], row.lands) << row.pieces << ' ' << row.x;
        EXPECT_EQ(solid->vertices[4].useCount, 4);
        EXPECT_EQ(solid->triangleCount, 6);
        EXPECT_EQ(solid->SelfEdge(solid->edges[e].triangle[0], e), 0);
        EXPECT_EQ(solid->SelfEdge(solid->edges[e].triangle[1], e), 0);
        ExpectClosedMesh(*solid);
    }
}

TEST(BreakEdge, WithoutRoomNothingChanges)
{
    auto solid = WithLists(TetraMesh({0, 0, 0}, {10, 0, 0}, {5, 1, 1}, {5, -1, 1}));
    solid->triangleCapacity = 5;
    EXPECT_EQ(solid->BreakEdge(0, 2), 0);
    EXPECT_EQ(solid->vertexCount, 4);
    ExpectClosedMesh(*solid);
}

TEST(BreakTriangle, StripsCoverTheTriangleAndKeepItsSense)
{
    // Middle corner above, below and on the cut; flat bottom; flat top.
    for (const float middle : {7.0f, 2.0f, 5.0f, 0.0f, 10.0f})
        for (const int pieces : {2, 3, 7}) {
            auto solid = BareSolid({{Point{0, 0, 0}, Point{4, middle, 1}, Point{1, 10, 2}}}, 1);
            const T_LIST whole = solid->triangles[0];
            ASSERT_EQ(solid->BreakTriangle(0, 1, pieces), 2 * pieces - 1);
            EXPECT_EQ(solid->triangles[0].superseded, 1);
            EXPECT_EQ(solid->baseTriangleCount, 1);
            double area = 0;
            for (int t = 1; t < solid->triangleCount; ++t) {
                const T_LIST& piece = solid->triangles[t];
                const Point3 p = Widened(piece.corners[0]),
                             n = Normal(Sum(Widened(piece.corners[1]), p, -1),
                                        Sum(Widened(piece.corners[2]), p, -1));
                area += LengthOf(n) / 2;
                EXPECT_GE(dot(whole.normal, piece.normal), 0);
                EXPECT_GE(Product(Widened(whole.normal), n), 0);
                EXPECT_LE(Extent(piece.bbox, 1), 10.0 / pieces + 1e-5);
            }
            const double wholeArea =
                0.5 * std::sqrt(std::pow(4 * 10 - middle, 2) + std::pow(2 * middle - 10, 2) + 49);
            EXPECT_NEAR(area, wholeArea, 1e-4) << middle << ' ' << pieces;
        }
}

TEST(BreakTriangle, BadArgumentsChangeNothing)
{
    auto solid = BareSolid(SoupMesh(1, 2, 1), 1);
    const int rows[][3] = {{-1, 0, 2}, {2, 0, 2},          {0, -1, 2}, {0, 3, 2},
                           {0, 0, 1},  {0, 0, 2147483647}, {0, 0, 100}};
    for (const auto& [t, axis, pieces] : rows) EXPECT_EQ(solid->BreakTriangle(t, axis, pieces), 0);
    EXPECT_EQ(solid->triangleCount, 2);
}

/// A pyramid on a flat kite whose stored diagonal runs from (-3, 0) to (3, 0).
/// @param along  by which one of the other corners lies aside
int FlipsOfKite(float halfWidth, float lift, float along = 0)
{
    const Point A{-3, 0, 0}, B{3, 0, 0}, X{along, -halfWidth, lift}, Y{0, halfWidth, lift};
    Mesh mesh{{A, X, B}, {B, Y, A}};
    // A pyramid below: four triangles from the rim to the apex give A and B four corners each.
    for (const auto& [p, q] : {std::pair{X, A}, {B, X}, {Y, B}, {A, Y}})
        mesh.push_back({p, q, Point{0, 0, -5}});
    auto solid = WithLists(mesh);
    const int e = EdgeBetween(*solid, 0, 2);
    solid->Simplify2Triangles();
    ExpectClosedMesh(*solid);
    return solid->edges[e].vertex[0] != 0 && solid->edges[e].vertex[1] != 0;
}

TEST(Simplify, FlipsOnlyFlatPairsAlongTheirLongerDiagonal)
{
    EXPECT_EQ(FlipsOfKite(1, 0), 1);
    EXPECT_EQ(FlipsOfKite(3, 0), 0) << "equal diagonals stay";
    EXPECT_EQ(FlipsOfKite(4, 0), 0) << "the other diagonal is longer";
    EXPECT_EQ(FlipsOfKite(1, 0.0001f), 1) << "folded by 0.01 degrees";
    EXPECT_EQ(FlipsOfKite(1, 0.002f), 0) << "folded by 0.2 degrees";
    EXPECT_EQ(FlipsOfKite(1, 0, 4), 0) << "a side is longer than the diagonal";
    EXPECT_EQ(FlipsOfKite(1, 0, -4), 0) << "the other side is";
    // A kite of which one end has three corners.
    for (const float end : {-3.0f, 3.0f}) {
        const Point A{-end, 0, 0}, B{end, 0, 0}, X{0, -1, 0}, Y{0, 1, 0}, below{0, 0, -5};
        auto solid = WithLists(
            {{A, X, B}, {B, Y, A}, {B, X, Y}, {X, A, below}, {A, Y, below}, {Y, X, below}});
        const int diagonal = EdgeBetween(*solid, 0, 2);
        solid->Simplify2Triangles();
        EXPECT_EQ(EdgeBetween(*solid, 0, 2), diagonal) << end;
    }
    // In a tetrahedron each vertex has three corners, and none may lose one.
    auto flat = WithLists(TetraMesh({-3, 0, 0}, {3, 0, 0}, {0, -1, 0}, {0, 1, 0}));
    flat->Simplify2Triangles();
    EXPECT_GE(EdgeBetween(*flat, 0, 2), 0);
}

TEST(Refinement, FullSolidsStayClosedAndFitTheCell)
{
    for (const Mesh& mesh :
         {BoxMesh({0, 0, 0}, {100, 1, 1}), BoxMesh({-5, 3, 1}, {70, 4, 9}), SphereMesh(9, 1),
          BoxMesh({1e5f, 1e5f, 1e5f}, {1.00001e5f, 1.0001e5f, 1.001e5f}), SphereMesh(30, 50)}) {
        const auto solid = LoadedSolid(mesh);
        ASSERT_NE(solid->octree, nullptr);
        ExpectClosedMesh(*solid);
        ExpectRefined(*solid);
    }
}

// Half of an extent of one or two float steps cannot be reached by any cut.
TEST(Refinement, EndsWhereFloatsAreTooCoarse)
{
    for (const float at : {1.0f, 1e6f, -1e30f, 1e-40f})
        for (int steps = 1; steps <= 9; ++steps)
            for (int simple = 0; simple < 2; ++simple) {
                float top = at;
                for (int i = 0; i < steps; ++i) top = std::nextafter(top, INFINITY);
                const float wide = std::max(std::fabs(at) * 1e-3f, 1e-3f);
                const auto solid = LoadedSolid(BoxMesh({0, 0, at}, {wide, wide, top}), simple);
                EXPECT_LT(solid->triangleCount, 20000) << at << ' ' << steps;
            }
}

// The steps are those at the far end: below 1 they are half as long.
TEST(Refinement, CutsDownToTwoFloatStepsAndNoFurther)
{
    const float step = 0x1p-23f;
    for (const float steps : {1.9f, 2.0f}) {
        auto solid = BareSolid(
            {{Point{1 - 16 * step, 0, 0}, Point{1 + 16 * step, 0, 0}, Point{1, 1e-9f, 0}}}, 1);
        float limit[3] = {steps * step, 1, 1};
        EXPECT_EQ(solid->SubdivideTriangles(limit) > 1, steps == 2) << steps;
    }
}

TEST(Refinement, EndsWhereTheBoxOfADamagedCacheHoldsNothing)
{
    for (int simple = 0; simple < 2; ++simple) {
        const auto solid = LoadedSolid(BoxMesh({0, 0, 0}, {1, 2, 3}), simple);
        const int before = solid->triangleCount;
        std::fill_n(solid->bbox, 6, 0.0f);
        solid->Build_Octree(simple);
        EXPECT_EQ(solid->triangleCount, before);
    }
}

// Merging leaves these boxes with side triangles that have two corners on one vertex, whose breaks
// would follow each other for ever.
TEST(Refinement, EndsOnFlatBoxesWithCollapsedSides)
{
    float boxes[][6] = {{0, 0, 455787.969f, 0.000187257756f, 461088, 716226.688f},
                        {0, 7923.31738f, 0, 7783.64209f, 15904.3691f, 0.000916057266f},
                        {0, 0, -161593.922f, 40966.7344f, 0.000182333417f, -55292.0078f},
                        {0, 395324.531f, 0, 0.000667473185f, 894326.938f, 494110.312f}};
    for (float* box : boxes) {
        SOLIDC solid;
        solid.LoadBox(box);
        EXPECT_NE(solid.octree, nullptr);
        EXPECT_GT(solid.triangleCount, 40);
        EXPECT_LT(solid.triangleCount, 10000);
    }
}

TEST(Refinement, SolidFlatInYIsNotCutAndOneFlatInXOrZIs)
{
    for (std::size_t flat = 0; flat < 3; ++flat) {
        Mesh sheet = SoupMesh(3, 40, 10);
        for (Triangle& t : sheet)
            for (Point& p : t) p[flat] = 4;
        const auto solid = LoadedSolid(sheet, 1);
        EXPECT_EQ(solid->triangleCount > 40, flat != 1) << flat;
        EXPECT_EQ(solid->baseTriangleCount, 40);
    }
}

TEST(Refinement, BreaksAsLargeAsAnyBeforeAreMadeTwice)
{
    // Along x: extents 2.5 and 1.5 in cells of 1, so three pieces (5 triangles), then two (3).
    const Mesh two{{Point{0, 0, 0}, Point{2.5f, 0, 0}, Point{0, 0.1f, 0}},
                   {Point{0, 0, 0}, Point{1.5f, 0, 0}, Point{0, 0.1f, 0.1f}}};
    float limit[3] = {1, 1, 1};
    auto solid = BareSolid(two, 1);
    EXPECT_EQ(solid->SubdivideTriangles(limit), 2 + 2 * 5 + 3);
    auto other = BareSolid({two[1], two[0]}, 1);
    EXPECT_EQ(other->SubdivideTriangles(limit), 2 + 2 * 3 + 2 * 5);
    auto exact = BareSolid({{Point{0, 0, 0}, Point{1, 0, 0}, Point{0, 1, 1}}}, 1);
    EXPECT_EQ(exact->SubdivideTriangles(limit), 1) << "what fits exactly stays";
    EXPECT_EQ(exact->SubdivideTriangle(0, limit), 0);
    limit[1] = 0.9999f;
    EXPECT_EQ(exact->SubdivideTriangles(limit), 1 + 6);
}

TEST(Refinement, LargeTrianglesLeaveTheOctreeToTheirPieces)
{
    const auto solid = LoadedSolid({{Point{0, 0, 0}, Point{8, 0, 0}, Point{0, 8, 8}}}, 1);
    int inTree = 0, superseded = 0;
    for (T_LIST* t = solid->octree->root->listHead; t; t = NextTriangle(t), ++inTree)
        EXPECT_EQ(t->superseded, 0);
    for (int t = 0; t < solid->triangleCount; ++t) superseded += solid->triangles[t].superseded;
    EXPECT_EQ(solid->triangles[0].superseded, 1);
    EXPECT_EQ(inTree, solid->triangleCount - superseded);
}

} // namespace
