// Cylinders, the box pre-test, rotation and saving, as a host calls them.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "scapi/scapi.h"

namespace
{

struct Host : testing::Test {
    float cube[6] = {0, 0, 0, 10, 10, 10}, beside[6] = {20, 0, 0, 30, 10, 10};
    float rest[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    void SetUp() override
    {
        SCAPI_LoadBox(0, cube);
        SCAPI_LoadBox(1, beside);
    }
    void TearDown() override { SCAPI_ReleaseSolids(); }
};

TEST_F(Host, CylinderSizesAreStrict)
{
    float from[3] = {0, 0, 0}, shortAxis[3] = {1e-4f, 0, 0}, longAxis[3] = {1.1e-4f, 0, 0},
          nowhere[3];
    int cursor = 0;
    EXPECT_EQ(SCAPI_LoadCylinder(5, from, longAxis, 1), 0);
    EXPECT_EQ(SCAPI_GetVertex(5, &cursor, nowhere), 0);
    for (const float radius : {1e-4f, 0.0f, -1.0f})
        EXPECT_EQ(SCAPI_LoadCylinder(5, from, longAxis, radius), -903);
    EXPECT_EQ(SCAPI_GetVertex(5, &cursor, nowhere), -901) << "the slot is empty";
    EXPECT_EQ(SCAPI_LoadCylinder(5, from, shortAxis, 1), -903);
    // The square of its length rounds to the first float above the limit.
    float longEnough[3] = {-8.47722404e-05f, -5.08616977e-05f, 1.5058381e-05f};
    EXPECT_EQ(SCAPI_LoadCylinder(5, from, longEnough, 1e-3f), 0);
    EXPECT_EQ(SCAPI_LoadCylinder(300, from, longAxis, 1), -902);
}

TEST_F(Host, PreTestErrsOnTheCarefulSide)
{
    const auto ask = [&](float dxA, float dxB, float dxEndB) {
        float endA[16], startB[16], endB[16];
        for (float* m : {endA, startB, endB}) std::copy(rest, rest + 16, m);
        endA[3] = dxA, startB[3] = dxB, endB[3] = dxEndB;
        return SCAPI_BboxesInterference(0, rest, endA, 1, startB, endB);
    };
    EXPECT_EQ(ask(0, 0, 0), 0);
    EXPECT_EQ(ask(5e-5f, 0, 0), 0) << "noise in the pose of A";
    EXPECT_EQ(ask(1e-3f, 0, 0), 1) << "A moves";
    EXPECT_EQ(ask(0, -10, -10), 1) << "touching";
    EXPECT_EQ(ask(0, -9.9f, 0), 0);
    EXPECT_EQ(ask(0, -10.1f, 0), 1);
    EXPECT_EQ(ask(0, 0, -25), 1);
    EXPECT_EQ(ask(0, -40, 0), 1) << "between two clear poses";
    EXPECT_EQ(ask(0, 5, 9), 0);
    float singular[16] = {};
    EXPECT_EQ(SCAPI_BboxesInterference(0, singular, singular, 1, rest, rest), 1);
    EXPECT_EQ(SCAPI_BboxesInterference(0, rest, rest, 2, rest, rest), 0) << "empty slot";
    for (const int id : {-1, 300}) {
        EXPECT_EQ(SCAPI_BboxesInterference(id, rest, rest, 1, rest, rest), 0);
        EXPECT_EQ(SCAPI_BboxesInterference(0, rest, rest, id, rest, rest), 0);
    }
}

TEST_F(Host, RotationMovesTrianglesAndNothingElse)
{
    float quarter[4][4] = {{0, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    float before[6], after[6];
    EXPECT_EQ(SCAPI_Rotate(2, quarter), -901);
    EXPECT_EQ(SCAPI_Rotate(-1, quarter), -902);
    SCAPI_GetBbox(0, before);
    EXPECT_EQ(SCAPI_Rotate(0, quarter), 0);
    SCAPI_GetBbox(0, after);
    EXPECT_TRUE(std::equal(before, before + 6, after));
    // The saved file shows the corners, which the vertices do not follow.
    const auto path = std::filesystem::temp_directory_path() / "scapi_rotated.stl";
    std::string name = path.string();
    auto* bytes = reinterpret_cast<unsigned char*>(name.data());
    EXPECT_EQ(SCAPI_SaveSTL(0, bytes), 0);
    EXPECT_EQ(SCAPI_LoadSTL(3, bytes, 1), 0);
    SCAPI_GetBbox(3, after);
    const float turned[6] = {-10, 0, 0, 0, 10, 10};
    EXPECT_TRUE(std::equal(turned, turned + 6, after));
    std::filesystem::remove(path);
    std::filesystem::remove(path.parent_path() / "scapi_rotated.SLD");
    EXPECT_EQ(SCAPI_SaveSTL(0, nullptr), -51);
    EXPECT_EQ(SCAPI_SaveSTL(9, nullptr), -901);
    EXPECT_EQ(SCAPI_SaveSTL(300, bytes), -902);
}

} // namespace
