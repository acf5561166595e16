// What people mean when they ask whether two parts collide, and what the fifteen calls of the core
// say to it: they answer another question, about edges of a solid that goes straight and faces of
// one that rests where it was loaded. Each row would be a silent "clear".
#include <gtest/gtest.h>

#include <cmath>

#include "scapi/scapi.h"
#include "support.h"

namespace
{

using Matrix = float[4][4];

struct Solids {
    MeshPtr a, b;

    Solids(const Point& lowA, const Point& highA, const Point& lowB, const Point& highB)
        : a(Box(lowA, highA)), b(Box(lowB, highB))
    {
        LoadSlot(0, lowA, highA), LoadSlot(1, lowB, highB);
    }
    static void LoadSlot(int slot, const Point& low, const Point& high)
    {
        float box[6];
        for (std::size_t i = 0; i < 3; ++i)
            box[i] = static_cast<float>(low[i]), box[i + 3] = static_cast<float>(high[i]);
        ASSERT_EQ(SCAPI_LoadBox(slot, box), SCAPI_SUCCESS);
    }
    ~Solids() { SCAPI_ReleaseSolids(); }
};

void MatrixOf(const Pose& pose, Matrix matrix)
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            matrix[i][j] = i < 3 ? static_cast<float>(pose[static_cast<std::size_t>(4 * i + j)])
                                 : float(j == 3);
}

/// From one pose to another, and the answer of the core.
int AskCore(const Pose& startA, const Pose& endA, const Pose& startB, const Pose& endB)
{
    Matrix start, end;
    MatrixOf(startA, start), MatrixOf(endA, end);
    SCAPI_DefSweep(0, start, end);
    MatrixOf(startB, start), MatrixOf(endB, end);
    SCAPI_DefSweep(1, start, end);
    return SCAPI_DetectInterference(0, 1);
}

int AskMotion(const Solids& s, const Pose& startA, const Pose& endA, const Pose& startB,
              const Pose& endB)
{
    scapi_motion a{}, b{};
    EXPECT_EQ(scapi_motion_between(startA.data(), endA.data(), nullptr, &a), SCAPI_OK);
    EXPECT_EQ(scapi_motion_between(startB.data(), endB.data(), nullptr, &b), SCAPI_OK);
    return Impact(s.a, a, s.b, b, Within(1e-3)).verdict;
}

TEST(ProximityCompare, BothArePlaced)
{
    const Solids s({0, 0, 0}, {10, 10, 10}, {0, 0, 0}, {10, 10, 10});
    const Pose a = At(100, 0, 0), b = At(105, 3, 3);
    EXPECT_EQ(AskCore(a, a, b, b), SCAPI_NO_INTERFERENCE);
    EXPECT_EQ(Distance(s.a, a, s.b, b).verdict, SCAPI_CONTACT);
}

TEST(ProximityCompare, BothMove)
{
    const Solids s({0, 0, 0}, {10, 10, 10}, {0, 0, 0}, {10, 10, 10});
    const Pose a = At(0, 0, 50), b = At(50, 3, 53);
    EXPECT_EQ(AskCore(kIdentity, a, At(50, 3, 3), b), SCAPI_NO_INTERFERENCE);
    EXPECT_EQ(AskMotion(s, kIdentity, At(50, 0, 0), At(100, 3, 3), At(50, 3, 3)), SCAPI_CONTACT);
    EXPECT_EQ(AskCore(kIdentity, At(50, 0, 0), At(100, 3, 3), At(50, 3, 3)), SCAPI_NO_INTERFERENCE);
}

TEST(ProximityCompare, RotationBetweenStartAndEndIsFollowed)
{
    // A bar that turns by 170 degrees passes a post; both ends are clear of it.
    const Solids s({14, -1, -5}, {16, 1, 5}, {-1, -0.5, -1}, {20, 0.5, 1});
    const Pose start = TurnedZ(-1.48, 0, 0, 0), end = TurnedZ(1.48, 0, 0, 0);
    EXPECT_EQ(AskMotion(s, kIdentity, kIdentity, start, end), SCAPI_CONTACT);
    EXPECT_EQ(AskWithin(s.a, kIdentity, s.b, start, Within(0.1)).verdict, SCAPI_CLEAR);
    EXPECT_EQ(AskWithin(s.a, kIdentity, s.b, end, Within(0.1)).verdict, SCAPI_CLEAR);
}

TEST(ProximityCompare, OneWhollyInsideTheOther)
{
    const Solids s({0, 0, 0}, {10, 10, 10}, {0, 0, 0}, {1, 1, 1});
    const Pose in = At(4, 4, 4);
    EXPECT_EQ(AskCore(kIdentity, kIdentity, in, in), SCAPI_NO_INTERFERENCE);
    EXPECT_EQ(Distance(s.a, kIdentity, s.b, in).verdict, SCAPI_INSIDE);
}

TEST(ProximityCompare, FacesThatCoincide)
{
    const Solids s({0, 0, 0}, {10, 10, 10}, {0, 0, 0}, {5, 5, 5});
    const Pose on = At(2.25, 2.5, 10);
    EXPECT_EQ(AskCore(kIdentity, kIdentity, on, on), SCAPI_NO_INTERFERENCE);
    EXPECT_EQ(Distance(s.a, kIdentity, s.b, on, Within(1e-3)).verdict, SCAPI_CONTACT);
}

TEST(ProximityCompare, NaNAndASolidThatWasNeverLoaded)
{
    const Solids s({0, 0, 0}, {10, 10, 10}, {0, 0, 0}, {5, 5, 5});
    Pose broken = At(2, 2, 2);
    broken[0] = std::nan("");
    EXPECT_EQ(AskCore(kIdentity, kIdentity, broken, broken), SCAPI_NO_INTERFERENCE);
    scapi_result result{};
    EXPECT_EQ(scapi_within(MakeQuery().get(), s.a.get(), kIdentity.data(), s.b.get(), broken.data(),
                           nullptr, &result),
              SCAPI_ERROR_POSE_NUMBER);
    EXPECT_EQ(result.verdict, SCAPI_INDETERMINATE);
    scapi_mesh* mesh = nullptr;
    EXPECT_EQ(scapi_mesh_from_stl("no such file.stl", nullptr, nullptr, &mesh), SCAPI_ERROR_FILE);
    EXPECT_EQ(scapi_within(MakeQuery().get(), s.a.get(), kIdentity.data(), mesh, kIdentity.data(),
                           nullptr, &result),
              SCAPI_ERROR_NULL);
    EXPECT_EQ(result.verdict, SCAPI_INDETERMINATE);
}

} // namespace
