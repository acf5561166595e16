#include <gtest/gtest.h>

#include "support/meshes.h"

namespace
{

TEST(Cylinder, RingStartsTowardsTheSmallestComponentOfTheAxis)
{
    float from[3] = {0, 0, 0}, to[3] = {0, 0, 1};
    SOLIDC solid;
    solid.LoadCyl(from, to, 1);
    // Unsorted primitives (docs/behaviour.md): triangle 0 is still the first one built, with the
    // corners centre, second and first point of the ring.
    EXPECT_EQ(solid.vertices[0].position[0], 0);
    EXPECT_FLOAT_EQ(solid.vertices[1].position[0], 0.98078528f);
    EXPECT_FLOAT_EQ(solid.vertices[1].position[1], 0.19509032f);
    EXPECT_EQ(solid.vertices[2].position[0], 1);
    EXPECT_EQ(solid.triangles[0].normal[2], -1);
}

TEST(Cylinder, RingClosesInEveryDirectionOfTheAxis)
{
    const float axes[][3] = {{1, 0, 0}, {0, -1, 0},         {0, 0, 40},
                             {1, 2, 3}, {-0.01f, 0, 0.02f}, {1e4f, 1, 0}};
    for (const auto& axis : axes)
        for (const float radius : {2e-4f, 1.0f, 300.0f}) {
            // A radius near the tolerance, 2e-7 * length, merges the ring into a line.
            if (radius < 1e-6 * axis[0]) continue;
            float from[3] = {5, 6, 7}, to[3] = {5 + axis[0], 6 + axis[1], 7 + axis[2]};
            SOLIDC solid;
            EXPECT_EQ(solid.LoadCyl(from, to, radius), 0);
            ASSERT_NE(solid.octree, nullptr) << axis[0] << ' ' << radius;
            ExpectClosedMesh(solid);
            ExpectRefined(solid);
        }
}

TEST(Cylinder, AxisOfLengthZeroGivesNoOctree)
{
    float at[3] = {1, 1, 1};
    SOLIDC solid;
    EXPECT_EQ(solid.LoadCyl(at, at, 1), 0);
    EXPECT_EQ(solid.triangleCount, 128);
    EXPECT_EQ(solid.octree, nullptr);
}

} // namespace
