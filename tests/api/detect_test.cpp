// Whole runs: solids, poses, answers.
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "scapi/scapi.h"

namespace
{

using Box = std::array<float, 6>;
using Move = std::array<float, 3>;

constexpr int kYes = SCAPI_INTERFERENCE, kNo = SCAPI_NO_INTERFERENCE;

struct Pose {
    float row[4][4];
};

Pose MovedBy(const Move& by)
{
    return {{{1, 0, 0, by[0]}, {0, 1, 0, by[1]}, {0, 0, 1, by[2]}, {0, 0, 0, 1}}};
}

/// B is moved from `start` to `end` and asked against A, which stands where it was loaded.
struct Scene {
    const char* fault;
    Box a, b;
    Move start, end;
    int answer;
};

void PrintTo(const Scene& scene, std::ostream* out) { *out << scene.fault; }

constexpr Box kCube{0, 0, 0, 10, 10, 10};
// A needle that stands through the top face of the cube; its own edges all cross that face.
constexpr Box kNeedle{4.3f, 4.4f, 8, 4.5f, 4.6f, 12};

const Scene kScenes[] = {
    {"ContainmentIsContact", kCube, {3, 3, 3, 4, 4, 4}, {}, {}, kNo},
    {"ContainmentIsContactTheOtherWayRound", {3, 3, 3, 4, 4, 4}, kCube, {}, {}, kNo},
    {"CornerOverlapIsMissed", kCube, {8, 8, 8, 12, 12, 12}, {}, {}, kYes},
    {"NeedleThroughAFaceIsMissed", kCube, kNeedle, {}, {}, kYes},
    {"FaceAroundANeedleIsTakenForContact", kNeedle, kCube, {}, {}, kNo},
    {"RestMeshIsTestedInsteadOfThePlacedOne", kCube, kNeedle, {0, 0, 9}, {0, 0, 9}, kNo},
    {"PlacedMeshIsNotTested", kCube, kNeedle, {0, 0, -8.7f}, {0, 0, -8.7f}, kYes},
    {"TouchingBoxesAreTakenForContact", kCube, {4.1f, 4.2f, 10, 5, 5, 12}, {}, {}, kNo},
    {"SlightOverlapIsMissed", kCube, {4.1f, 4.2f, 9.99995f, 5, 5, 12}, {}, {}, kYes},
    {"MotionThroughIsMissed", kCube, {-3, 4.1f, 4.3f, -2, 5, 5}, {}, {20, 0, 0}, kYes},
    {"MotionBesideIsTakenForContact", kCube, {-3, 4.1f, 10.3f, -2, 5, 11}, {}, {20, 0, 0}, kNo},
    // A bead in the middle of a wall that a large plate sweeps: no edge of the wall meets it.
    {"WallsAreTakenForSurfaces",
     {9, 4.7f, 2.2f, 9.4f, 5, 2.4f},
     {0, 4, 0, 0.5f, 30, 26},
     {},
     {20, 0, 0},
     kNo},
};

struct Detect : testing::TestWithParam<Scene> {
    void TearDown() override { SCAPI_ReleaseSolids(); }
};

TEST_P(Detect, Answers)
{
    const Scene& scene = GetParam();
    Box a = scene.a, b = scene.b;
    Pose start = MovedBy(scene.start), end = MovedBy(scene.end);
    SCAPI_LoadBox(0, a.data());
    SCAPI_LoadBox(1, b.data());
    SCAPI_DefSweep(1, start.row, end.row);
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), scene.answer);
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), scene.answer) << "asking changes nothing";
}

INSTANTIATE_TEST_SUITE_P(Scenes, Detect, testing::ValuesIn(kScenes),
                         [](const auto& scene) { return std::string(scene.param.fault); });

struct DetectOrder : testing::Test {
    Box cube = kCube, corner{8, 8, 8, 12, 12, 12};
    Pose rest = MovedBy({}), aside = MovedBy({1, 0, 0}), far = MovedBy({50, 0, 0});

    void SetUp() override
    {
        SCAPI_LoadBox(0, cube.data());
        SCAPI_LoadBox(1, corner.data());
    }
    void TearDown() override { SCAPI_ReleaseSolids(); }
};

TEST_F(DetectOrder, SecondSolidWithoutASweepHasNoEdges)
{
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), kNo);
    SCAPI_DefSweep(1, rest.row, rest.row);
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), kYes);
}

TEST_F(DetectOrder, SweptFirstSolidIsTestedAtRestAgainstSweptSecond)
{
    SCAPI_DefSweep(0, far.row, rest.row);
    SCAPI_DefSweep(1, aside.row, rest.row);
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), kYes);
    Pose beyond = MovedBy({60, 0, 0});
    SCAPI_DefSweep(1, far.row, beyond.row);
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), kNo);
}

TEST_F(DetectOrder, SweptFirstAgainstUnsweptSecondFindsNothing)
{
    SCAPI_DefSweep(0, rest.row, far.row);
    SCAPI_DefSweep(1, rest.row, rest.row);
    EXPECT_EQ(SCAPI_DetectInterference(0, 1), kNo) << "what moves belongs in the second place";
    EXPECT_EQ(SCAPI_DetectInterference(1, 0), kYes);
}

TEST_F(DetectOrder, SolidAgainstItselfRuns)
{
    Pose shifted = MovedBy({0.3f, 0.4f, 0.7f});
    SCAPI_DefSweep(0, shifted.row, shifted.row);
    EXPECT_EQ(SCAPI_DetectInterference(0, 0), kYes);
}

} // namespace
