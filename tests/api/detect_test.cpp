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

/// B is moved from `start` to `end` and asked against A, which stands where it was loaded, or
/// moves.
struct Scene {
    const char* fault;
    Box a, b;
    Move start, end;
    int answer;
    bool movesFirst = false;
    Move firstStart{}, firstEnd{};
};

constexpr Box kCube{0, 0, 0, 10, 10, 10};
// A needle that stands through the top face of the cube; its own edges all cross that face.
constexpr Box kNeedle{4.3f, 4.4f, 8, 4.5f, 4.6f, 12}, kCorner{8, 8, 8, 12, 12, 12};
constexpr Box kBead{9, 4.7f, 2.2f, 9.4f, 5, 2.4f}, kPlate{0, 4, 0, 0.5f, 30, 26};
constexpr Move kFar{50, 0, 0};

const Scene kScenes[] = {
    {"ContainmentIsContact", kCube, {3, 3, 3, 4, 4, 4}, {}, {}, kNo},
    {"ContainmentIsContactTheOtherWayRound", {3, 3, 3, 4, 4, 4}, kCube, {}, {}, kNo},
    {"CornerOverlapIsMissed", kCube, kCorner, {}, {}, kYes},
    {"NeedleThroughAFaceIsMissed", kCube, kNeedle, {}, {}, kYes},
    {"FaceAroundANeedleIsTakenForContact", kNeedle, kCube, {}, {}, kNo},
    {"RestMeshIsTestedInsteadOfThePlacedOne", kCube, kNeedle, {0, 0, 9}, {0, 0, 9}, kNo},
    {"PlacedMeshIsNotTested", kCube, kNeedle, {0, 0, -8.7f}, {0, 0, -8.7f}, kYes},
    {"TouchingBoxesAreTakenForContact", kCube, {4.1f, 4.2f, 10, 5, 5, 12}, {}, {}, kNo},
    {"SlightOverlapIsMissed", kCube, {4.1f, 4.2f, 9.99995f, 5, 5, 12}, {}, {}, kYes},
    {"MotionThroughIsMissed", kCube, {-3, 4.1f, 4.3f, -2, 5, 5}, {}, {20, 0, 0}, kYes},
    {"MotionBesideIsTakenForContact", kCube, {-3, 4.1f, 10.3f, -2, 5, 11}, {}, {20, 0, 0}, kNo},
    // A bead in the middle of a wall that a large plate sweeps: no edge of the wall meets it.
    {"WallsAreTakenForSurfaces", kBead, kPlate, {}, {20, 0, 0}, kNo},
    {"SweptFirstIsNotTestedAtRest", kCube, kCorner, {1, 0, 0}, {}, kYes, true, kFar, {}},
    {"SweptFirstIsTestedInMotion", kCube, kCorner, kFar, {60, 0, 0}, kNo, true, kFar, {}},
    // What moves belongs in the second place.
    {"SweptFirstIsTestedAgainstAnUnswept", kCube, kCorner, {}, {}, kNo, true, {}, kFar},
    {"SweptSecondIsMissed", kCorner, kCube, {}, kFar, kYes, true, {}, {}},
};

TEST(Detect, WholeRunsGiveTheirAnswers)
{
    for (const Scene& scene : kScenes) {
        SCOPED_TRACE(scene.fault);
        Box a = scene.a, b = scene.b;
        Pose start = MovedBy(scene.start), end = MovedBy(scene.end),
             firstStart = MovedBy(scene.firstStart), firstEnd = MovedBy(scene.firstEnd);
        SCAPI_LoadBox(0, a.data());
        SCAPI_LoadBox(1, b.data());
        EXPECT_EQ(SCAPI_DetectInterference(0, 1), kNo) << "without a sweep there are no edges";
        if (scene.movesFirst) SCAPI_DefSweep(0, firstStart.row, firstEnd.row);
        SCAPI_DefSweep(1, start.row, end.row);
        EXPECT_EQ(SCAPI_DetectInterference(0, 1), scene.answer);
        EXPECT_EQ(SCAPI_DetectInterference(0, 1), scene.answer) << "asking changes nothing";
        SCAPI_ReleaseSolids();
    }
}

TEST(Detect, SolidAgainstItselfRuns)
{
    Box cube = kCube;
    Pose shifted = MovedBy({0.3f, 0.4f, 0.7f});
    SCAPI_LoadBox(0, cube.data());
    SCAPI_DefSweep(0, shifted.row, shifted.row);
    EXPECT_EQ(SCAPI_DetectInterference(0, 0), kYes);
    SCAPI_ReleaseSolids();
}

} // namespace
