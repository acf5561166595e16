// What people mean when they ask whether two parts collide, and what the fifteen calls of the core
// say to it: they answer another question, about edges of a solid that goes straight and faces of
// one that rests where it was loaded. Most rows would be a silent "clear".
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>

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

/// Into a slot of the core, by way of a file.
int LoadCorners(int slot, const Floats& corners)
{
    // Tests run side by side, each as a process of its own.
    std::string path = testing::TempDir() + "proximity_compare_" +
                       testing::UnitTest::GetInstance()->current_test_info()->name() + ".stl";
    std::ofstream file(path, std::ios::binary);
    const auto count = static_cast<std::uint32_t>(corners.size() / 9);
    const char header[80] = {}, normal[12] = {};
    const auto write = [&](const void* from, std::size_t bytes) {
        file.write(static_cast<const char*>(from), static_cast<std::streamsize>(bytes));
    };
    write(header, 80), write(&count, 4);
    for (std::size_t t = 0; t < corners.size(); t += 9)
        write(normal, 12), write(&corners[t], 36), write("\0", 2);
    file.close();
    std::filesystem::remove(std::filesystem::path(path).replace_extension(".SLD"));
    return SCAPI_LoadSTL(slot, reinterpret_cast<unsigned char*>(path.data()), 0);
}

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

TEST(ProximityCompare, TurnedByItsPoseThenSwept)
{
    // A cube turned a quarter by its poses, straight through the other from side to side.
    const Solids s({0, 0, 0}, {10, 10, 10}, {-5, -5, -5}, {5, 5, 5});
    const Pose start = TurnedZ(M_PI / 2, 40, 7.3, 8.7), end = TurnedZ(M_PI / 2, -30, 7.3, 8.7);
    EXPECT_EQ(AskCore(kIdentity, kIdentity, start, end), SCAPI_NO_INTERFERENCE);
    EXPECT_EQ(AskMotion(s, kIdentity, kIdentity, start, end), SCAPI_CONTACT);
}

TEST(ProximityCompare, SliversApart)
{
    // A rod a thousandth thick in a large frame, and a block 0.01 beyond its end: here the fifteen
    // calls are too careful, since what they add beside an edge grows with short sides.
    const Solids s({0, 0, 0}, {1, 1, 1}, {-0.5, 0, -0.5}, {0.5, 5, 0.5});
    const Floats rod =
        Joined(BoxFloats({0, 0, 0}, {0.001, 10, 0.001}), BoxFloats({-50, -50, -50}, {50, 50, 50}));
    ASSERT_EQ(LoadCorners(0, rod), SCAPI_SUCCESS);
    const Pose beyond = At(0, 10.01, 0);
    EXPECT_EQ(AskCore(kIdentity, kIdentity, beyond, beyond), SCAPI_INTERFERENCE);
    const scapi_result apart =
        Distance(FromFloats(rod), kIdentity, s.b, beyond, Within(1e-4, 0, SCAPI_SURFACES_ONLY));
    EXPECT_EQ(apart.verdict, SCAPI_CLEAR);
    EXPECT_NEAR(apart.upper, 0.01, 1e-6);
}

TEST(ProximityCompare, FineChamferOnALargeFrameIsHit)
{
    // A block of 2000 whose top edge is cut by 3e-4: with coordinates of the frame's size, the
    // chamfer is two steps of the floats wide, and watertight.
    const float s = 2000, c = 3e-4f;
    const float profile[5][2] = {{0, 0}, {s, 0}, {s, s - c}, {s - c, s}, {0, s}};
    Floats corners;
    const auto add = [&](int i, float z) {
        corners.insert(corners.end(), {profile[i][0], profile[i][1], z});
    };
    for (int i = 0; i < 5; ++i) {
        const int j = (i + 1) % 5;
        add(i, 0), add(j, 0), add(j, s), add(i, 0), add(j, s), add(i, s);
        if (0 < i && i < 4)
            add(0, s), add(i, s), add(i + 1, s), add(0, 0), add(i + 1, 0), add(i, 0);
    }
    const MeshPtr block = FromFloats(corners);
    scapi_mesh_info info{};
    ASSERT_EQ(scapi_mesh_get_info(block.get(), &info), SCAPI_OK);
    EXPECT_TRUE(info.closed);
    // A cube stands on the chamfered edge, 1e-4 above it, then 1e-4 below.
    const MeshPtr cube = Box({-5, 0, -5}, {5, 10, 5});
    const double lean = std::sqrt(0.5), middle = s - 0.5 * c;
    const auto above = [&](double h) -> Pose {
        return {lean, lean, 0, middle + lean * h, -lean, lean, 0, middle + lean * h, 0, 0, 1, 1000};
    };
    const Pose below = above(-2e-4);
    EXPECT_EQ(AskWithin(block, kIdentity, cube, below, Within(0)).verdict, SCAPI_CONTACT);
    const Solids solids({0, 0, 0}, {1, 1, 1}, {-5, 0, -5}, {5, 10, 5});
    ASSERT_EQ(LoadCorners(0, corners), SCAPI_SUCCESS);
    EXPECT_EQ(AskCore(kIdentity, kIdentity, below, below), SCAPI_INTERFERENCE) << "both see it";
    const scapi_result clear = Distance(block, kIdentity, cube, above(1e-3));
    EXPECT_EQ(clear.verdict, SCAPI_CLEAR);
    EXPECT_NEAR(clear.upper, 1e-3, 2e-4);
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
