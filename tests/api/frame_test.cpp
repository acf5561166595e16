// The frame of the calls: codes, the life of a slot, bytes in use.
#include <gtest/gtest.h>

#include <utility>

#include "scapi/scapi.h"

extern "C" int UseEveryCallFromC(void);

namespace
{

struct Frame : testing::Test {
    float box[6] = {0, 0, 0, 1, 1, 1};
    float pose[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    float xyz[9] = {};
    int loop[3] = {};
    unsigned char missing[16] = "no/such.stl";

    void TearDown() override { SCAPI_ReleaseSolids(); }
    float (*Corners())[3] { return reinterpret_cast<float(*)[3]>(xyz); }
};

TEST_F(Frame, BadSlotNumbersAndEmptySlotsGetTheirCodes)
{
    for (const auto& [id, code] : {std::pair{-1, -902},
                                   {300, -902},
                                   {2147483647, -902},
                                   {-2147483647 - 1, -902},
                                   {0, -901},
                                   {299, -901}}) {
        int cursors[] = {7, 7, 7};
        EXPECT_EQ(SCAPI_DefSweep(id, pose, pose), code);
        EXPECT_EQ(SCAPI_DetectInterference(id, id), code);
        EXPECT_EQ(SCAPI_GetVertex(id, &cursors[0], xyz), code);
        EXPECT_EQ(SCAPI_GetTriangles(id, &cursors[1], Corners(), nullptr), code);
        EXPECT_EQ(SCAPI_GetLoop(id, &cursors[2], loop, nullptr), code);
        EXPECT_EQ(SCAPI_GetBbox(id, xyz), code);
        for (int cursor : cursors) EXPECT_EQ(cursor, code == -902 ? 7 : -1);
        if (code == -901) continue;
        for (unsigned char* path : {missing, static_cast<unsigned char*>(nullptr)})
            EXPECT_EQ(SCAPI_LoadSTL(id, path, 0), -902);
        EXPECT_EQ(SCAPI_LoadBox(id, box), -902);
        EXPECT_EQ(SCAPI_DetectInterference(id, 0), -902);
        EXPECT_EQ(SCAPI_DetectInterference(0, id), -902) << "an empty slot counts after ranges";
    }
}

TEST_F(Frame, LoadsEmptyTheSlotBeforeTheyCheckWhatTheyGot)
{
    float thin[6] = {0, 0, 0, 1, 1, 1e-4f}, swapped[6] = {1, 0, 0, 0, 1, 1};
    float thick[6] = {0, 0, 0, 1, 1, 1.1e-4f};
    for (float* refused : {thin, swapped}) {
        EXPECT_EQ(SCAPI_LoadBox(5, box), 0);
        EXPECT_EQ(SCAPI_LoadBox(5, refused), -903);
        EXPECT_EQ(SCAPI_GetBbox(5, nullptr), -901);
    }
    EXPECT_EQ(SCAPI_LoadBox(5, thick), 0);
    EXPECT_EQ(SCAPI_LoadSTL(5, nullptr, 0), 5);
    EXPECT_EQ(SCAPI_DefSweep(5, pose, pose), -901);
}

TEST_F(Frame, UnreadableFileLeavesASolidWithoutTriangles)
{
    int cursor = 0;
    EXPECT_EQ(SCAPI_LoadSTL(5, missing, 0), 65535);
    EXPECT_EQ(SCAPI_DefSweep(5, pose, pose), 0) << "the slot is not empty";
    EXPECT_EQ(SCAPI_GetBbox(5, xyz), -901);
    EXPECT_EQ(xyz[0], 1e10f) << "the empty box is written all the same";
    EXPECT_EQ(SCAPI_GetTriangles(5, &cursor, Corners(), nullptr), 0);
    EXPECT_EQ(cursor, -1);
    EXPECT_EQ(SCAPI_DetectInterference(5, 5), 2);
    EXPECT_EQ(SCAPI_GetUsedRAM(), 312);
}

// A unit cube has 8 vertices and 18 edges, and refinement halves each edge once: 26 vertices, eight
// triangles on each face, and 26 - 72 + 48 = 2 by Euler.
TEST_F(Frame, UsedBytesAreThoseOfTheRecords)
{
    constexpr int kCube = 312 + 140 * 48 + 40 * 26 + 40 * 72;
    EXPECT_EQ(SCAPI_GetUsedRAM(), 0);
    SCAPI_LoadBox(0, box);
    EXPECT_EQ(SCAPI_GetUsedRAM(), kCube);
    SCAPI_LoadBox(299, box);
    EXPECT_EQ(SCAPI_GetUsedRAM(), 2 * kCube);
    EXPECT_EQ(SCAPI_ReleaseSolids(), 0);
    EXPECT_EQ(SCAPI_GetUsedRAM(), 0);
    SCAPI_LoadBox(7, box);
    EXPECT_EQ(SCAPI_Close(), 0);
    EXPECT_EQ(SCAPI_Close(), 0);
    EXPECT_EQ(SCAPI_GetUsedRAM(), 0);
    EXPECT_EQ(SCAPI_LoadBox(0, box), 0) << "the library goes on after a close";
}

TEST_F(Frame, HeaderServesACHost) { EXPECT_EQ(UseEveryCallFromC(), 0); }

} // namespace
