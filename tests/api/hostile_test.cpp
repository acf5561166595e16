// Meshes that no solid should have, from file to answer.
#include <gtest/gtest.h>

#include <functional>

#include "api/table.h"
#include "support/meshes.h"

namespace
{

struct Hostile {
    const char* name;
    int result;
    bool isClosed; ///< and so has an octree, and is hit by a needle through its middle
    Mesh mesh;
};

void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.name; }

Mesh Cube() { return BoxMesh({-5, -5, -5}, {5, 5, 5}); }

Mesh Joined(std::initializer_list<Mesh> meshes)
{
    Mesh all;
    for (const Mesh& mesh : meshes) all.insert(all.end(), mesh.begin(), mesh.end());
    return all;
}

Mesh Flipped(Mesh mesh, std::size_t first, std::size_t last)
{
    for (std::size_t i = first; i < last; ++i) std::swap(mesh[i][1], mesh[i][2]);
    return mesh;
}

/// A strip of triangles over seven points of a circle, with half a turn in it.
Mesh Moebius()
{
    const Point rim[] = {{5, 0, 0},    {3, 4, 1},   {-1, 5, 2}, {-4, 2, 0},
                         {-4, -2, -2}, {-1, -5, 0}, {3, -4, 1}};
    Mesh mesh;
    for (std::size_t i = 0; i < 7; ++i)
        mesh.push_back({rim[i], rim[(i + 1) % 7], rim[(i + 2) % 7]});
    return Flipped(mesh, 0, 3);
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
    {"WholeTurnedInsideOut", 0, true, Flipped(Cube(), 0, 12)},
    {"OneFacetTurned", 0, false, Flipped(Cube(), 3, 4)},
    {"OneFacetMissing", 0, false, WithoutFirst(Cube())},
    {"FinOnAnEdge", -101, false, Joined({Cube(), kFin})},
    {"Pillow", 0, false, Joined({kFin, Flipped(kFin, 0, 1)})},
    {"ShellTwice", 0, true, Joined({Cube(), Cube()})},
    {"ShellAndItsInside", 0, true, Joined({Cube(), Flipped(Cube(), 0, 12)})},
    {"ShellInAShell", 0, true, Joined({Cube(), BoxMesh({-2, -2, -2}, {2, 2, 2})})},
    {"BoxesThatShareACorner", 0, true, Joined({Cube(), BoxMesh({5, 5, 5}, {9, 9, 9})})},
    {"BoxesThatShareAnEdge", 0, true, Joined({Cube(), BoxMesh({5, 5, -5}, {9, 9, 5})})},
    {"MoebiusStrip", 0, false, Moebius()},
    {"SixtyFourShells", 0, true, SixtyFour(Cube())},
    {"ThousandsInOneLeaf", 0, true, Joined({Cube(), SphereMesh(40, 1e-3f)})},
};

struct HostileMesh : testing::TestWithParam<Hostile> {
    void TearDown() override { SCAPI_ReleaseSolids(); }
};

TEST_P(HostileMesh, GetsItsCodeAndHarmsNothing)
{
    TemporaryFile file(BinaryStl(GetParam().mesh));
    ASSERT_EQ(SCAPI_LoadSTL(0, file.Path(), 0), GetParam().result);
    EXPECT_EQ(SolidIn(0)->octree != nullptr, GetParam().isClosed);
    if (GetParam().isClosed) ExpectClosedMesh(*SolidIn(0));
    float needle[6] = {0.3f, 0.4f, -9, 0.5f, 0.6f, 9};
    SCAPI_LoadBox(1, needle);
    Matrix rest = Translation(0, 0, 0), end = Translation(1, 0, 0);
    for (const int slot : {0, 1}) ASSERT_EQ(SCAPI_DefSweep(slot, Rows(rest), Rows(rest)), 0);
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), GetParam().isClosed ? 1 : 2);
    SCAPI_DetectInterference(1, 0);
    SCAPI_DefSweep(0, Rows(rest), Rows(end));
    SCAPI_DetectInterference(1, 0);
    int cursor = 0;
    float corners[3][3];
    for (int most = SolidIn(0)->triangleCount; cursor >= 0; --most) {
        ASSERT_GE(most, 0) << "the walk ends";
        SCAPI_GetTriangles(0, &cursor, corners, nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Meshes, HostileMesh, testing::ValuesIn(kHostile),
                         [](const auto& mesh) { return std::string(mesh.param.name); });

/// Calls that a C++ host can make on a finished solid, though nothing needs them then.
const std::pair<const char*, std::function<void(SOLIDC&)>> kLateCalls[] = {
    {"refine the edges",
     [](SOLIDC& solid) {
         float limit[3] = {0.4f, 0.4f, 0.4f};
         solid.SubdivideEdges(limit);
     }},
    {"refine the triangles",
     [](SOLIDC& solid) {
         float limit[3] = {0.4f, 0.4f, 0.4f};
         solid.SubdivideTriangles(limit);
     }},
    {"sort", [](SOLIDC& solid) { solid.sortAxis = 0, solid.bbox[5] += 99, solid.SortTriangles(); }},
    {"name nothing",
     [](SOLIDC& solid) {
         float limit[3] = {1, 1, 1};
         for (const int none : {-1, 2147483647}) {
             EXPECT_EQ(solid.SubdivideEdge(none, limit), 0);
             EXPECT_EQ(solid.SubdivideTriangle(none, limit), 0);
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
    const auto other = LoadedSolid(BoxMesh({-1, -1, -1}, {1, 1, 1}));
    Matrix rest = Translation(0, 0, 0), end = Translation(1, 2, 3);
    for (const auto& [name, call] : kLateCalls)
        for (const int simple : {0, 1}) {
            SCOPED_TRACE(name);
            const auto solid = LoadedSolid(SphereMesh(20, 5), simple);
            if (!simple || std::string(name) != "refine the edges") call(*solid);
            for (SOLIDC* moved : {solid.get(), other.get()})
                for (Matrix* to : {&end, &rest}) {
                    moved->SC_GTsweep(Rows(rest), Rows(*to));
                    solid->SC_DetectIntersection(other.get());
                    other->SC_DetectIntersection(solid.get());
                    other->Triangle_to_SolidBEdges(solid->triangles, solid.get());
                }
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
