// Motions, the pieces of the swept surface, and the walks over it.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <set>
#include <vector>

#include "mesh/triangle.h"
#include "support/meshes.h"
#include "support/vec.h"

namespace
{

using Corners = std::array<float, 9>;
using Ends = std::array<float, 6>;

float everywhere[6] = {-1e9f, -1e9f, -1e9f, 1e9f, 1e9f, 1e9f};

/// A box from the origin to (2, 3, 4), swept.
std::unique_ptr<SOLIDC> MovedBox(Matrix start, Matrix end)
{
    auto solid = LoadedSolid(BoxMesh({0, 0, 0}, {2, 3, 4}));
    solid->SC_GTsweep(Rows(start), Rows(end));
    return solid;
}

/// All that a walk of a solid gives.
template <class Piece, class Walk>
std::vector<Piece> Pieces(SOLIDC& solid, Walk walk)
{
    std::vector<Piece> all;
    Piece out;
    int cursor = 0;
    while ((cursor = (solid.*walk)(cursor, 10 * solid.triangleCount,
                                   reinterpret_cast<float(*)[3]>(out.data()), everywhere)) >= 0)
        all.push_back(out);
    return all;
}

std::vector<Corners> SweptTriangles(SOLIDC& solid)
{
    return Pieces<Corners>(solid, &SOLIDC::SC_GetSweepTrianglesInBbox);
}

double Volume(const std::vector<Corners>& surface)
{
    double volume = 0;
    for (const Corners& c : surface)
        volume += Product(Widened(&c[0]), Normal(Widened(&c[3]), Widened(&c[6]))) / 6;
    return volume;
}

TEST(Sweep, TranslationOrientsFacesAndClosesTheSurface)
{
    const auto box = MovedBox(Translation(1, 1, 1), Translation(11, 1, 1));
    EXPECT_EQ(box->isSwept, 1);
    EXPECT_EQ(box->sweepLength, 10);
    EXPECT_EQ(box->sweepDirection[0], 1);
    for (int t = 0; t < box->triangleCount; ++t) {
        EXPECT_EQ(box->triangles[t].sweepOrient, int(box->triangles[t].normal[0])) << t;
        EXPECT_EQ(box->triangles[t].sweepBbox[0],
                  box->triangles[t].sweepOrient < 0 ? 1.0f : box->triangles[t].bbox[0] + 11);
    }
    const float expected[6] = {1, 1, 1, 13, 4, 5};
    EXPECT_TRUE(std::equal(expected, expected + 6, box->sweepBbox));
    // Swept quads close the surface, so it encloses the swept volume: length 10 + 2, section 3 * 4.
    EXPECT_NEAR(Volume(SweptTriangles(*box)), 12 * 3 * 4, 1e-3);
}

TEST(Sweep, EqualPosesPlaceTheSolid)
{
    const auto box = MovedBox(Translation(5, 6, 7), Translation(5, 6, 7));
    EXPECT_EQ(box->isSwept, 0);
    const auto ends = Pieces<Ends>(*box, &SOLIDC::SC_GetSweepEdgesInBbox);
    const std::set<Ends> edges(ends.begin(), ends.end());
    EXPECT_EQ(edges.size(), static_cast<std::size_t>(box->edgeCount)) << "each edge comes out";
    EXPECT_EQ(SweptTriangles(*box).size(), static_cast<std::size_t>(box->triangleCount));
    for (int v = 0; v < box->vertexCount; ++v)
        for (int axis = 0; axis < 3; ++axis) {
            const VertexRec& vertex = box->vertices[v];
            EXPECT_EQ(vertex.sweepStart[axis], vertex.position[axis] + 5 + float(axis));
            EXPECT_EQ(vertex.sweepEnd[axis], vertex.sweepStart[axis]);
        }
    EXPECT_EQ(box->sweepDirection[0], 0);
}

TEST(Sweep, RotationBetweenPosesIsAveragedAway)
{
    // 90 degrees about the vertical axis through the centre (1, 1.5).
    const Matrix quarter{{{0, -1, 0, 2.5f}, {1, 0, 0, 0.5f}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    const auto box = MovedBox(Translation(0, 0, 0), quarter);
    EXPECT_EQ(box->isSwept, 0);
    const float mean[8] = {0.5f, -0.5f, 0, 1.25f, 0.5f, 0.5f, 0, 0.25f};
    EXPECT_EQ(std::memcmp(mean, box->sweepStart, sizeof mean), 0);
}

// The kept position (docs/behaviour.md).
TEST(Sweep, VertexWithoutImageKeepsItsPosition)
{
    Matrix pose = Translation(0, 0, 0);
    pose[3][3] = 2;
    auto box = MovedBox(pose, pose);
    EXPECT_EQ(box->sweepBbox[3], 1.0f);
    pose[3][3] = 0;
    box->SC_GTsweep(Rows(pose), Rows(pose));
    EXPECT_EQ(box->sweepBbox[3], 1.0f);
}

TEST(Sweep, MotionBelowToleranceIsNotSwept)
{
    const float step = MovedBox(Translation(0, 0, 0), Translation(0, 0, 0))->tolerance;
    EXPECT_EQ(MovedBox(Translation(0, 0, 0), Translation(0.5f * step, 0, 0))->isSwept, 0);
    EXPECT_EQ(MovedBox(Translation(0, 0, 0), Translation(2 * step, 0, 0))->isSwept, 1);
}

TEST(Sweep, SimpleSolidIsNeverSweptAndHasNoEdges)
{
    auto solid = LoadedSolid(BoxMesh({0, 0, 0}, {2, 3, 4}), 1);
    Matrix start = Translation(0, 0, 0), end = Translation(9, 0, 0);
    solid->SC_GTsweep(Rows(start), Rows(end));
    EXPECT_EQ(solid->isSwept, 0);
    EXPECT_EQ(solid->sweepLength, 9);
    EXPECT_GT(solid->sweepBbox[0], solid->sweepBbox[3]) << "the empty box";
    EXPECT_EQ(SweptTriangles(*solid).size(), static_cast<std::size_t>(solid->triangleCount));
}

// The step carry (docs/behaviour.md).
TEST(EdgeWalk, HitAtStepNineCarriesIntoTheNextTriangle)
{
    const auto box = MovedBox(Translation(0, 0, 0), Translation(10, 0, 0));
    float edge[2][3];
    int carried = 0;
    for (int t = 0; t + 1 < box->triangleCount; ++t) {
        float expected[2][3];
        if (!SolidInternals::GetSweptEdge(*box, t, 6, expected)) continue;
        EXPECT_EQ(
            box->SC_GetSweepEdgesInBbox(10 * t + 9, 10 * box->triangleCount, edge, everywhere),
            10 * (t + 1));
        EXPECT_EQ(std::memcmp(expected, edge, sizeof edge), 0);
        ++carried;
    }
    EXPECT_GT(carried, 0);
}

// The repeated rim (docs/behaviour.md).
TEST(EdgeWalk, RimIsThatOfTheTriangleOfLowerIndex)
{
    const auto box = MovedBox(Translation(0, 0, 0), Translation(10, 0, 0));
    int rims = 0;
    for (int t = 0; t < box->triangleCount; ++t)
        for (int slot = 0; slot < 3; ++slot) {
            float rim[2][3];
            if (!SolidInternals::GetSweptEdge(*box, t, 3 * slot + 2, rim)) continue;
            const int other = AcrossEdge(box->edges[box->triangles[t].edge[slot]], t);
            EXPECT_EQ(rim[0][0], t <= other ? 0.0f : 10.0f);
            ++rims;
        }
    EXPECT_EQ(rims, 8) << "rims of the trailing face";
}

TEST(EdgeWalk, HostileCursorsAndLimitsStayInside)
{
    const auto full = MovedBox(Translation(0, 0, 0), Translation(10, 0, 0));
    const auto simple = LoadedSolid(BoxMesh({0, 0, 0}, {2, 3, 4}), 1);
    float out[3][3] = {};
    const int lowest = -2147483647 - 1, highest = 2147483647;
    for (SOLIDC* solid : {full.get(), simple.get()})
        for (int cursor : {lowest, -11, -10, -9, -1, 0, 9, 10 * solid->triangleCount - 1,
                           10 * solid->triangleCount, highest})
            for (int limit : {lowest, -1, 0, 5, 10, 10 * solid->triangleCount, highest}) {
                const int edges = solid->SC_GetSweepEdgesInBbox(cursor, limit, out, everywhere);
                const int triangles =
                    solid->SC_GetSweepTrianglesInBbox(cursor, limit, out, everywhere);
                EXPECT_LE(edges, 10 * solid->triangleCount + 2);
                EXPECT_LE(triangles, 10 * solid->triangleCount);
                const bool walks =
                    cursor > -10 && cursor < 10 * solid->triangleCount && cursor < limit;
                EXPECT_TRUE(walks || triangles == -1) << cursor << ' ' << limit;
            }
    EXPECT_EQ(full->SC_GetSweepEdgesInBbox(-1, highest, out, everywhere), -1);
    EXPECT_EQ(full->SC_GetSweepEdgesInBbox(0, 0, out, everywhere), 0) << "stops at the limit";
}

// The step guard (docs/behaviour.md): a tetrahedron has six edges, fewer than the steps.
TEST(EdgeWalk, SolidWithFewEdgesEndsEarly)
{
    const auto solid = BareSolid(TetraMesh({0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {0, 0, 9}));
    Matrix start = Translation(0, 0, 0), end = Translation(50, 50, 50);
    solid->SC_GTsweep(Rows(start), Rows(end));
    ASSERT_EQ(solid->edgeCount, 6);
    float out[2][3];
    EXPECT_GE(solid->SC_GetSweepEdgesInBbox(5, 40, out, everywhere), 0);
    EXPECT_EQ(solid->SC_GetSweepEdgesInBbox(6, 40, out, everywhere), -1);
}

} // namespace
