// Reading solids back through cursors.
#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "scapi/scapi.h"

namespace
{

struct Query : testing::Test {
    float box[6] = {-1, -2, -3, 4, 5, 6};

    void SetUp() override { ASSERT_EQ(SCAPI_LoadBox(3, box), 0); }
    void TearDown() override { SCAPI_ReleaseSolids(); }
};

TEST_F(Query, VertexWalkEndsOneCallBehindTheLastVertex)
{
    std::set<std::vector<float>> vertices;
    int cursor = 0, calls = 0;
    float xyz[3];
    for (;; ++calls) {
        ASSERT_EQ(SCAPI_GetVertex(3, &cursor, xyz), 0);
        if (cursor < 0) break;
        EXPECT_EQ(cursor, calls + 1);
        vertices.insert({xyz, xyz + 3});
    }
    EXPECT_EQ(vertices.size(), static_cast<std::size_t>(calls)) << "no vertex twice";
    for (int corner = 0; corner < 8; ++corner)
        EXPECT_TRUE(vertices.count(
            {corner & 1 ? 4.f : -1.f, corner & 2 ? 5.f : -2.f, corner & 4 ? 6.f : -3.f}));
    const float before[3] = {xyz[0], xyz[1], xyz[2]};
    for (int outside : {-1, -5, calls, 2147483647}) {
        cursor = outside;
        EXPECT_EQ(SCAPI_GetVertex(3, &cursor, xyz), 0);
        EXPECT_EQ(cursor, -1);
    }
    EXPECT_TRUE(std::equal(before, before + 3, xyz)) << "nothing is written after the end";
}

TEST_F(Query, TrianglesNameTheirVerticesAndCloseTheBox)
{
    int triangles = 0, loops = 0;
    double volume = 0;
    for (;;) {
        int at = triangles, index[3];
        float corners[3][3], normal[3];
        SCAPI_GetTriangles(3, &triangles, corners, normal);
        SCAPI_GetLoop(3, &loops, index, nullptr);
        ASSERT_EQ(triangles, loops);
        if (triangles < 0) break;
        for (int c = 0; c < 3; ++c) {
            float xyz[3];
            at = index[c];
            SCAPI_GetVertex(3, &at, xyz);
            for (int axis = 0; axis < 3; ++axis) ASSERT_EQ(xyz[axis], corners[c][axis]);
        }
        double n[3];
        for (int i = 0; i < 3; ++i) {
            const int j = (i + 1) % 3, k = (i + 2) % 3;
            n[i] =
                (double(corners[1][j]) - corners[0][j]) * (double(corners[2][k]) - corners[0][k]) -
                (double(corners[1][k]) - corners[0][k]) * (double(corners[2][j]) - corners[0][j]);
        }
        for (int i = 0; i < 3; ++i) {
            volume += n[i] * corners[0][i] / 6;
            ASSERT_EQ(normal[i], n[i] == 0 ? 0.f : n[i] > 0 ? 1.f : -1.f) << "outward";
        }
    }
    EXPECT_NEAR(volume, 5 * 7 * 9, 1e-3);
}

} // namespace
