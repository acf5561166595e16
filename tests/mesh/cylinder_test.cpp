#include <gtest/gtest.h>

#include "support/meshes.h"

namespace
{

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

} // namespace
