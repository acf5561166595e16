// The octree container, its queries, and the choice of its depth.
#include <gtest/gtest.h>

#include <vector>

#include "geometry/bbox.h"
#include "octree/sizing.h"
#include "support/meshes.h"

namespace
{

TEST(Octree, DepthChangesAboveEachLimit)
{
    const int rows[][2] = {{0, 0},       {1000, 0},    {1001, 1},      {1600, 1},    {1601, 2},
                           {6400, 2},    {6401, 3},    {25600, 3},     {25601, 4},   {102400, 4},
                           {102401, 5},  {409600, 5},  {409601, 6},    {1638400, 6}, {1638401, 7},
                           {6553600, 7}, {6553601, 8}, {2147483647, 8}};
    for (const auto& row : rows) EXPECT_EQ(OctreeDepthFor(row[0]), row[1]) << row[0];
}

struct Tree : testing::Test {
    float box[6] = {0, 0, 0, 8, 8, 8}, margin[3] = {1, 1, 1};
    std::vector<T_LIST> triangles = std::vector<T_LIST>(4);

    /// Triangle i with its minimum corner at (x, y, z), of size 1.
    T_LIST* At(std::size_t i, float x, float y, float z)
    {
        const float corners[9] = {x, y, z, x + 1, y, z, x, y + 1, z + 1};
        std::copy(corners, corners + 9, triangles[i].corners[0]);
        TriangleBbox(triangles[i].corners, triangles[i].bbox);
        return &triangles[i];
    }
};

TEST_F(Tree, LeafOfTheMinimumCornerHoldsTrianglesNewestFirst)
{
    OCTREEC tree(box, 2, margin, nullptr);
    tree.OC_AddTriangle(At(0, 4, 4, 4)); // on the midpoint: counts as lower
    tree.OC_AddTriangle(At(1, 5, 0, 7));
    tree.OC_AddTriangle(At(2, 4, 4, 4));
    EXPECT_EQ(tree.nodeCount, 4) << "two levels for each of two leaves, the root not counted";
    EXPECT_EQ(tree.maxLeafCount, 2);
    ASSERT_TRUE(tree.root->children[0] && tree.root->children[5]);
    EXPECT_EQ(tree.root->listHead, nullptr);
    const OCTREENODE* leaf = tree.root->children[0]->children[7];
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->listHead, &triangles[2]);
    EXPECT_EQ(NextTriangle(leaf->listHead), &triangles[0]);
    EXPECT_EQ(NextTriangle(&triangles[0]), nullptr);
    EXPECT_EQ(leaf->bbox[0], 2);
    EXPECT_EQ(leaf->bbox[3], 4);
    EXPECT_EQ(leaf->upperCorner[2], 4);
    EXPECT_EQ(tree.root->children[5]->bbox[0], 4);
    EXPECT_EQ(tree.root->children[5]->bbox[1], 0);
}

// The one-leaf storage (docs/behaviour.md).
TEST_F(Tree, EdgeMissesTriangleThatExtendsIntoItsCell)
{
    OCTREEC tree(box, 1, margin, nullptr);
    tree.OC_AddTriangle(At(0, 3.5f, 1, 1)); // extends into the upper cell in x
    float lower[2][3] = {{3.6f, 1.2f, 0.5f}, {3.6f, 1.2f, 2}};
    float upper[2][3] = {{4.2f, 1.1f, 0.5f}, {4.2f, 1.1f, 2}};
    float beside[2][3] = {{9, 9, 9}, {10, 10, 10}};
    EXPECT_EQ(tree.OC_Intersection_Edge(lower), 1);
    EXPECT_EQ(tree.visitedTriangles, 1);
    EXPECT_EQ(tree.OC_Intersection_Edge(beside), 0);
    EXPECT_EQ(tree.visitedTriangles, 1) << "outside the root the last count is kept";
    EXPECT_EQ(tree.OC_Intersection_Edge(upper), 0) << "hits the triangle, but not its cell";
    EXPECT_EQ(tree.visitedTriangles, 0);
    EXPECT_EQ(tree.currentDepth, 0);
    float low[6] = {1, 1, 1, 2, 2, 2}, high[6] = {5, 5, 5, 6, 6, 6};
    EXPECT_EQ(tree.OC_testBox(low), 1);
    EXPECT_EQ(tree.OC_testBox(high), 0) << "no cell where no triangle was added";
}

// The root margin (docs/behaviour.md).
TEST_F(Tree, MarginWidensOnlyTheTestOfTheRoot)
{
    const auto solid = LoadedSolid(SphereMesh(18, 5)); // 1224 triangles: depth 1
    ASSERT_EQ(solid->octreeDepth, 1);
    float* root = solid->octree->root->bbox;
    float above[6] = {-9, -9, root[5] + 0.5f * solid->octreeCellSize[2], 9, 9, 9};
    solid->octree->visitedTriangles = 77;
    EXPECT_EQ(solid->octree->OC_GetTriangles(above, solid.get(), 1), 0);
    EXPECT_EQ(solid->octree->visitedTriangles, 0) << "passed the root, found no child";
    above[2] += solid->octreeCellSize[2];
    solid->octree->visitedTriangles = 77;
    EXPECT_EQ(solid->octree->OC_GetTriangles(above, solid.get(), 1), 0);
    EXPECT_EQ(solid->octree->visitedTriangles, 77);
}

} // namespace
