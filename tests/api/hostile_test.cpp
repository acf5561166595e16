// Meshes that no solid should have, from file to answer.
#include <gtest/gtest.h>

#include <functional>

#include "api/table.h"
#include "support/meshes.h"
#include "support/treatment.h"

namespace
{

struct Hostile {
    const char* fault;
    int result;
    bool isClosed; ///< and so has an octree, and is hit by a needle through its middle
    Mesh mesh;
};

Mesh Cube() { return BoxMesh({-5, -5, -5}, {5, 5, 5}); }

/// A strip of triangles over seven points of a circle, with half a turn in it.
Mesh Moebius()
{
    const Point rim[] = {{5, 0, 0},    {3, 4, 1},   {-1, 5, 2}, {-4, 2, 0},
                         {-4, -2, -2}, {-1, -5, 0}, {3, -4, 1}};
    Mesh mesh;
    for (std::size_t i = 0; i < 7; ++i)
        mesh.push_back({rim[i], rim[(i + 1) % 7], rim[(i + 2) % 7]});
    for (std::size_t i = 0; i < 3; ++i) std::swap(mesh[i][1], mesh[i][2]);
    return mesh;
}

Mesh SixtyFour(Mesh mesh)
{
    for (int i = 0; i < 6; ++i) mesh = Joined({mesh, mesh});
    return mesh;
}

Mesh WithoutFirst(Mesh mesh)
{
    mesh.erase(mesh.begin());
    return mesh;
}

const Mesh kFin{{Point{-5, -5, -5}, Point{5, -5, -5}, Point{0, -9, -9}}};

const Hostile kHostile[] = {
    {"Cube", 0, true, Cube()},
    {"WholeTurnedInsideOut", 0, true, Flipped(Cube())},
    {"OneFacetTurned", 0, false, Flipped(Cube(), 99)},
    {"OneFacetMissing", 0, false, WithoutFirst(Cube())},
    {"FinOnAnEdge", -101, false, Joined({Cube(), kFin})},
    {"Pillow", 0, false, Joined({kFin, Flipped(kFin)})},
    {"ShellTwice", 0, true, Joined({Cube(), Cube()})},
    {"ShellAndItsInside", 0, true, Joined({Cube(), Flipped(Cube())})},
    {"ShellInAShell", 0, true, Joined({Cube(), BoxMesh({-2, -2, -2}, {2, 2, 2})})},
    {"BoxesThatShareACorner", 0, true, Joined({Cube(), BoxMesh({5, 5, 5}, {9, 9, 9})})},
    {"BoxesThatShareAnEdge", 0, true, Joined({Cube(), BoxMesh({5, 5, -5}, {9, 9, 5})})},
    {"MoebiusStrip", 0, false, Moebius()},
    {"SixtyFourShells", 0, true, SixtyFour(Cube())},
    {"ThousandsInOneLeaf", 0, true, Joined({Cube(), SphereMesh(40, 1e-3f)})},
};

TEST(HostileMesh, GetsItsCodeAndHarmsNothing)
{
    Matrix rest = Translation(0, 0, 0), end = Translation(1, 0, 0);
    for (const auto& [fault, result, isClosed, mesh] : kHostile) {
        SCOPED_TRACE(fault);
        TemporaryFile file(BinaryStl(mesh));
        ASSERT_EQ(SCAPI_LoadSTL(0, file.Path(), 0), result);
        EXPECT_EQ(SolidIn(0)->octree != nullptr, isClosed);
        if (isClosed) ExpectClosedMesh(*SolidIn(0));
        float needle[6] = {0.3f, 0.4f, -9, 0.5f, 0.6f, 9};
        SCAPI_LoadBox(1, needle);
        for (const int slot : {0, 1}) ASSERT_EQ(SCAPI_DefSweep(slot, Rows(rest), Rows(rest)), 0);
        EXPECT_EQ(SCAPI_DetectInterference(0, 1), isClosed ? 1 : 2);
        SCAPI_DetectInterference(1, 0);
        SCAPI_DefSweep(0, Rows(rest), Rows(end));
        SCAPI_DetectInterference(1, 0);
        int cursor = 0;
        float corners[3][3];
        for (int most = SolidIn(0)->triangleCount; cursor >= 0; --most) {
            ASSERT_GE(most, 0) << "the walk ends";
            SCAPI_GetTriangles(0, &cursor, corners, nullptr);
        }
        SCAPI_ReleaseSolids();
    }
}

float fine[3] = {0.4f, 0.4f, 0.4f};

/// Calls that a C++ host can make on a finished solid, though nothing needs them then.
const std::pair<const char*, std::function<void(SOLIDC&)>> kLateCalls[] = {
    {"refine the edges", [](SOLIDC& solid) { solid.SubdivideEdges(fine); }},
    {"refine the triangles", [](SOLIDC& solid) { solid.SubdivideTriangles(fine); }},
    {"sort", [](SOLIDC& solid) { solid.sortAxis = 0, solid.bbox[5] += 99, solid.SortTriangles(); }},
    {"name nothing",
     [](SOLIDC& solid) {
         for (const int none : {-1, 2147483647}) {
             EXPECT_EQ(solid.SubdivideEdge(none, fine), 0);
             EXPECT_EQ(solid.SubdivideTriangle(none, fine), 0);
             EXPECT_EQ(solid.BreakEdge(none, 2), 0);
         }
     }},
    {"stretch and build again",
     [](SOLIDC& solid) {
         Matrix flat = Translation(1e9f, 1e9f, 1e9f);
         flat[2][2] = 0, flat[2][1] = 100;
         solid.SC_Rotate(Rows(flat));
         solid.Build_Octree(solid.isSimple);
     }},
};

TEST(LateCalls, LeaveNothingThatPointsAstray)
{
    for (const auto& [name, call] : kLateCalls)
        for (const int simple : {0, 1}) {
            SCOPED_TRACE(name);
            const auto solid = LoadedSolid(SphereMesh(20, 5), simple);
            if (!simple || std::string(name) != "refine the edges") call(*solid);
            UseFully(*solid);
        }
}

TEST(LateCalls, NumbersOutsideTheArraysReadNothing)
{
    const int most = 2147483647, numbers[] = {-most - 1, -1, 0, 2, 8, 9, most};
    for (const int simple : {0, 1})
        for (const int damage : {0, 1}) {
            const auto solid = LoadedSolid(Cube(), simple);
            Matrix rest = Translation(0, 0, 0), end = Translation(1, 0, 0);
            solid->SC_GTsweep(Rows(rest), Rows(end));
            // As an inversion leaves the numbers of vertices, or a file those of edges.
            for (int t = 0; damage && t < solid->triangleCount; ++t) {
                solid->triangles[t].vertex[t % 3] = most;
                solid->triangles[t].edge[t % 3] = -most;
            }
            for (const int a : numbers)
                for (const int b : numbers) {
                    float out[3][3] = {};
                    int third = 0;
                    EXPECT_LT(SolidInternals::AllPieces(*solid, a, b, out), 8);
                    EXPECT_LT(solid->SelfEdge(a, b) + solid->AlterVertex(a, b, 0, &third), 5);
                }
        }
}

} // namespace
