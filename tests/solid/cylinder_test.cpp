#include <gtest/gtest.h>

#include <cmath>

#include "support/meshes.h"

namespace
{

TEST(Cylinder, StartsOnTheSideThatItsAxisGives)
{
    float from[3] = {0, 0, 0}, to[3] = {0, 0, 1};
    SOLIDC solid;
    solid.LoadCyl(from, to, 1);
    // Built order survives the sort; refinement cuts this triangle, whose first corner is the
    // centre and whose last is where the ring starts.
    EXPECT_EQ(solid.vertices[0].position[0], 0);
    EXPECT_FLOAT_EQ(solid.vertices[1].position[0], 0.98078528f);
    EXPECT_FLOAT_EQ(solid.vertices[1].position[1], 0.19509032f);
    EXPECT_EQ(solid.vertices[2].position[0], 1);
    EXPECT_EQ(solid.triangles[0].normal[2], -1);
}

TEST(Cylinder, IsClosedWhereverItPoints)
{
    const float axes[][3] = {{1, 0, 0}, {0, -1, 0},         {0, 0, 40},
                             {1, 2, 3}, {-0.01f, 0, 0.02f}, {1e4f, 1, 0}};
    for (const auto& axis : axes)
        for (const float radius : {2e-4f, 1.0f, 300.0f}) {
            // Thinner than the merging tolerance of its own length it is no cylinder any more.
            if (radius < 1e-6 * axis[0]) continue;
            float from[3] = {5, 6, 7}, to[3] = {5 + axis[0], 6 + axis[1], 7 + axis[2]};
            SOLIDC solid;
            EXPECT_EQ(solid.LoadCyl(from, to, radius), 0);
            ASSERT_NE(solid.octree, nullptr) << axis[0] << ' ' << radius;
            ExpectClosedMesh(solid);
            ExpectRefined(solid);
            double volume = 0;
            for (int t = 0; t < solid.triangleCount; ++t) {
                double p[3][3];
                for (int c = 0; c < 3; ++c)
                    for (int a = 0; a < 3; ++a)
                        p[c][a] = double(solid.triangles[t].corners[c][a]) - from[a];
                volume += (p[0][0] * (p[1][1] * p[2][2] - p[1][2] * p[2][1]) +
                           p[0][1] * (p[1][2] * p[2][0] - p[1][0] * p[2][2]) +
                           p[0][2] * (p[1][0] * p[2][1] - p[1][1] * p[2][0])) /
                          6;
            }
            const double length = std::hypot(double(to[0]) - from[0], double(to[1]) - from[1],
                                             double(to[2]) - from[2]);
            const double polygon = 16 * std::sin(std::acos(-1.0) / 16) * radius * radius;
            EXPECT_NEAR(volume / (polygon * length), 1, radius < 1 ? 0.05 : 1e-3);
        }
}

TEST(Cylinder, WithoutAnAxisHasNoOctree)
{
    float at[3] = {1, 1, 1};
    SOLIDC solid;
    EXPECT_EQ(solid.LoadCyl(at, at, 1), 0);
    EXPECT_EQ(solid.triangleCount, 128);
    EXPECT_EQ(solid.octree, nullptr);
}

} // namespace
