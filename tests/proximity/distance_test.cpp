// Distances, relations and contacts of placed bodies whose answers are known by hand.
#include <gtest/gtest.h>

#include <algorithm>

#include "support.h"

namespace
{

constexpr double kSlack = 1e-9; ///< far above rounding at the sizes used here

void ExpectDistance(const scapi_result& result, double distance)
{
    EXPECT_LE(result.lower, distance + kSlack);
    EXPECT_GE(result.upper, distance - kSlack);
    EXPECT_LE(result.upper - result.lower, 1e-6 * distance + kSlack);
}

TEST(ProximityDistance, OfBoxes)
{
    const MeshPtr a = Box({0, 0, 0}, {10, 10, 10}), b = Box({0, 0, 0}, {2, 2, 2});
    const double root = std::sqrt(2.0);
    struct Case {
        const char* fault;
        Pose pose;
        double distance;
        int verdict, relation;
    };
    const Case cases[] = {
        {"FaceToFace", At(13, 4, 4), 3, SCAPI_CLEAR, SCAPI_APART},
        {"EdgeToEdge", At(13, 14, 4), 5, SCAPI_CLEAR, SCAPI_APART},
        {"CornerToCorner", At(11, 12, 12), 3, SCAPI_CLEAR, SCAPI_APART},
        {"EdgeToFaceTurned", TurnedZ(M_PI / 4, 11 + root, 5, 4), 1, SCAPI_CLEAR, SCAPI_APART},
        {"FacesThatTouch", At(10, 4, 4), 0, SCAPI_CONTACT, SCAPI_TOUCHING},
        {"CornersThatTouch", At(10, 10, 10), 0, SCAPI_CONTACT, SCAPI_TOUCHING},
        {"OneOnTheOtherExactly", At(4, 4, 10), 0, SCAPI_CONTACT, SCAPI_TOUCHING},
        {"Overlap", At(9, 4.1, 4.3), 0, SCAPI_CONTACT, SCAPI_CROSSING},
        {"WhollyInside", At(4, 4, 4), 4, SCAPI_INSIDE, SCAPI_B_IN_A},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const scapi_result ab = Distance(a, kIdentity, b, c.pose);
        ExpectDistance(ab, c.distance);
        EXPECT_EQ(ab.verdict, c.verdict);
        EXPECT_EQ(ab.relation, c.relation);
        const scapi_result ba = Distance(b, c.pose, a, kIdentity);
        ExpectDistance(ba, c.distance);
        EXPECT_EQ(ba.verdict, c.verdict);
        EXPECT_EQ(ba.relation, c.relation == SCAPI_B_IN_A ? int(SCAPI_A_IN_B) : c.relation);
        const scapi_result within =
            AskWithin(a, kIdentity, b, c.pose, Within(0, 0, SCAPI_WANT_RELATION));
        EXPECT_EQ(within.verdict, c.verdict);
        EXPECT_EQ(within.relation, c.relation);
        double apart = 0;
        for (int i = 0; i < 3; ++i) apart += std::pow(ab.point_a[i] - ab.point_b[i], 2);
        EXPECT_NEAR(std::sqrt(apart), c.distance, kSlack);
    }
}

TEST(ProximityDistance, ToleranceDecidesAndResolutionIsTheOnlyLeeway)
{
    const MeshPtr a = Box({0, 0, 0}, {1, 1, 1});
    const Pose b = At(1.01, 0, 0);
    EXPECT_EQ(AskWithin(a, kIdentity, a, b, Within(0.009, 1e-4)).verdict, SCAPI_CLEAR);
    EXPECT_EQ(AskWithin(a, kIdentity, a, b, Within(0.011)).verdict, SCAPI_CONTACT);
    EXPECT_EQ(AskWithin(a, kIdentity, a, b, Within(0.01)).verdict, SCAPI_CONTACT);
    // Between tolerance and tolerance + resolution both answers are honest, a third isn't.
    const int between = AskWithin(a, kIdentity, a, b, Within(0.0095, 0.001)).verdict;
    EXPECT_TRUE(between == SCAPI_CLEAR || between == SCAPI_CONTACT);
}

TEST(ProximityDistance, UpperBoundEndsTheSearchAndIsCertified)
{
    const MeshPtr a = Box({0, 0, 0}, {1, 1, 1});
    scapi_options options = Within(0);
    options.upper_bound = 2;
    const scapi_result far = Distance(a, kIdentity, a, At(11, 0, 0), options);
    EXPECT_EQ(far.verdict, SCAPI_CLEAR);
    EXPECT_GE(far.lower, 2);
    EXPECT_LE(far.lower, 10);
    options.upper_bound = 20;
    ExpectDistance(Distance(a, kIdentity, a, At(11, 0, 0), options), 10);
}

TEST(ProximityDistance, BudgetThatRunsOutIsNotClear)
{
    const MeshPtr a = FromFloats(SphereFloats(20, 10, 0.1));
    for (std::int64_t budget : {1, 2, 10, 50}) {
        scapi_options options = Within(0);
        options.budget = budget;
        const scapi_result result = Distance(a, kIdentity, a, At(21.5, 0, 0), options);
        EXPECT_EQ(result.verdict, SCAPI_INDETERMINATE) << budget;
        EXPECT_EQ(result.lower, 0);
        EXPECT_EQ(AskWithin(a, kIdentity, a, At(20.5, 0, 0), options).verdict, SCAPI_INDETERMINATE);
    }
}

/// A closed box with a box-shaped cavity.
MeshPtr HollowBox()
{
    std::vector<float> corners = BoxFloats({0, 0, 0}, {10, 10, 10});
    const std::vector<float> cavity = BoxFloats({3, 3, 3}, {7, 7, 7}, true);
    corners.insert(corners.end(), cavity.begin(), cavity.end());
    return FromFloats(corners);
}

TEST(ProximityRelation, InsideIsToldByClosedSurfacesOnly)
{
    const MeshPtr hollow = HollowBox(), small = Box({0, 0, 0}, {1, 1, 1});
    EXPECT_EQ(Distance(hollow, kIdentity, small, At(4, 4, 4)).relation, SCAPI_APART);
    EXPECT_EQ(Distance(hollow, kIdentity, small, At(4, 4, 4)).verdict, SCAPI_CLEAR);
    EXPECT_EQ(Distance(hollow, kIdentity, small, At(1, 1, 1)).verdict, SCAPI_INSIDE);

    const MeshPtr flipped = FromFloats(BoxFloats({0, 0, 0}, {10, 10, 10}, true));
    EXPECT_EQ(Distance(flipped, kIdentity, small, At(4, 4, 4)).relation, SCAPI_B_IN_A);

    std::vector<float> corners = BoxFloats({0, 0, 0}, {10, 10, 10});
    corners.resize(corners.size() - 9);
    const MeshPtr open = FromFloats(corners);
    const scapi_result unknown = Distance(open, kIdentity, small, At(4, 4, 4));
    EXPECT_EQ(unknown.relation, SCAPI_UNKNOWN);
    EXPECT_EQ(unknown.verdict, SCAPI_INDETERMINATE);
    EXPECT_GT(unknown.lower, 2.9);
    EXPECT_EQ(Distance(open, kIdentity, small, At(20, 4, 4)).verdict, SCAPI_CLEAR)
        << "nothing lies inside what its box is clear of";
    EXPECT_EQ(
        Distance(open, kIdentity, small, At(4, 4, 4), Within(0, 0, SCAPI_SURFACES_ONLY)).verdict,
        SCAPI_CLEAR);

    // Two overlapping shells: parity and winding number contradict each other where they overlap.
    corners = BoxFloats({0, 0, 0}, {10, 10, 10});
    const std::vector<float> second = BoxFloats({2, 2, 2}, {12, 12, 12});
    corners.insert(corners.end(), second.begin(), second.end());
    const MeshPtr doubled = FromFloats(corners);
    EXPECT_EQ(Distance(doubled, kIdentity, small, At(5, 5, 5)).verdict, SCAPI_INDETERMINATE);
    EXPECT_EQ(Distance(doubled, kIdentity, small, At(0.5, 0.5, 0.5)).verdict, SCAPI_INSIDE);
}

TEST(ProximityRelation, RaysThroughEdgesAndCornersDoNotMiscount)
{
    // A point on many planes of symmetry of a fan-shaped mesh.
    const MeshPtr drum = Cylinder(5, 10, 64), dot = Box({-.5, -.5, -.5}, {.5, .5, .5});
    std::mt19937 random(3);
    for (int i = 0; i < 60; ++i) {
        const Pose pose = RandomPose(random, 9);
        const scapi_result result = Distance(drum, kIdentity, dot, pose);
        if (result.relation == SCAPI_CROSSING) continue;
        const Point at = Place(pose, {0, 0, 0});
        const bool inside = std::hypot(at[0], at[1]) < 5 && 0 < at[2] && at[2] < 10;
        EXPECT_EQ(result.relation, inside ? int(SCAPI_B_IN_A) : int(SCAPI_APART)) << i;
    }
}

TEST(ProximityDistance, MovingBothBodiesOrShufflingTrianglesChangesNothing)
{
    std::mt19937 random(11);
    std::vector<float> floats = SphereFloats(12, 10, 0.08);
    const MeshPtr a = FromFloats(floats);
    // The same triangles in another order, starting at other corners.
    std::vector<std::size_t> order(floats.size() / 9);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::shuffle(order.begin(), order.end(), random);
    std::vector<float> shuffled, scaled = floats;
    for (const std::size_t t : order)
        for (std::size_t k = 0; k < 9; ++k) shuffled.push_back(floats[9 * t + (k + 3) % 9]);
    for (float& x : scaled) x *= 0.0009765625f; // exact
    const MeshPtr other = FromFloats(shuffled), small = FromFloats(scaled);
    for (int i = 0; i < 40; ++i) {
        const Pose poseA = RandomPose(random, 8), poseB = RandomPose(random, 14);
        const Pose both = RandomPose(random, 1e4);
        const scapi_result plain = Distance(a, poseA, a, poseB);
        Pose tinyA = poseA, tinyB = poseB;
        for (std::size_t k : {3u, 7u, 11u}) tinyA[k] /= 1024, tinyB[k] /= 1024;
        scapi_result tiny = Distance(small, tinyA, small, tinyB);
        tiny.lower *= 1024, tiny.upper *= 1024;
        const scapi_result results[] = {Distance(a, poseB, a, poseA),
                                        Distance(other, poseA, a, poseB), tiny,
                                        Distance(a, Compose(both, poseA), a, Compose(both, poseB))};
        for (const scapi_result& result : results) {
            EXPECT_EQ(result.verdict, plain.verdict) << i;
            EXPECT_LE(result.lower, plain.upper + kSlack) << i;
            EXPECT_GE(result.upper, plain.lower - kSlack) << i;
        }
        const scapi_result within = AskWithin(a, poseA, a, poseB, Within(1, 1e-3));
        EXPECT_FALSE(plain.lower > 1.001 && within.verdict == SCAPI_CONTACT) << i;
        EXPECT_FALSE(plain.upper <= 1 && within.verdict != SCAPI_CONTACT) << i;
    }
}

TEST(ProximityRegression, TrianglesNearlyTouchingAreNotHundredsApart)
{
    // In floats and a translation: corners of size 8000, 2^-31 apart, where a solver that leaves
    // early or drops small edges answers with the distance of two far corners.
    const float x = 8000, y = 6817.7675f, y2 = 6327.6343f, z = 571.0017f;
    const MeshPtr a = FromFloats({x, y, z, 7500, y, z, 7500, y2, z});
    const MeshPtr b = FromFloats({x, y2, 88.33662f, 7500, y2, 88.33662f, 7500, y2, 1015.9309f});
    const double gap = 0x1p-31;
    const scapi_result result = Distance(a, kIdentity, b, At(0, -gap, 0));
    EXPECT_LE(result.lower, gap + 1e-11);
    EXPECT_GE(result.upper, gap);
    EXPECT_LE(result.upper, gap + 1e-10);
}

TEST(ProximityRegression, FineChamferOnALargeFrameIsHit)
{
    // A block of 2000 whose top edge is cut by 3e-4: with coordinates of the frame's size, the
    // chamfer is two steps of the floats wide, and watertight.
    const float s = 2000, c = 3e-4f;
    const float profile[5][2] = {{0, 0}, {s, 0}, {s, s - c}, {s - c, s}, {0, s}};
    std::vector<float> corners;
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
    EXPECT_EQ(AskWithin(block, kIdentity, cube, above(-2e-4), Within(0)).verdict, SCAPI_CONTACT);
    const scapi_result clear = Distance(block, kIdentity, cube, above(1e-3));
    EXPECT_EQ(clear.verdict, SCAPI_CLEAR);
    EXPECT_NEAR(clear.upper, 1e-3, 2e-4);
}

TEST(ProximityContacts, AreAllPairsSortedOnceAndCounted)
{
    const MeshPtr a = Box({0, 0, 0}, {10, 10, 10}), b = Box({0, 0, 0}, {4, 4, 4});
    const Pose pose = TurnedZ(0.3, 8, 3, 3);
    const QueryPtr query = MakeQuery();
    std::vector<scapi_contact> all(200);
    scapi_contacts_result result{};
    const scapi_options options = Within(0.05);
    ASSERT_EQ(scapi_contacts(query.get(), a.get(), kIdentity.data(), b.get(), pose.data(), &options,
                             all.data(), 200, &result),
              SCAPI_OK);
    EXPECT_EQ(result.verdict, SCAPI_CONTACT);
    EXPECT_EQ(result.relation, SCAPI_CROSSING);
    EXPECT_FALSE(result.truncated);
    // The twin: each pair of triangles as meshes of their own.
    std::vector<float> cornersA = BoxFloats({0, 0, 0}, {10, 10, 10}),
                       cornersB = BoxFloats({0, 0, 0}, {4, 4, 4});
    std::int64_t at = 0;
    for (int i = 0; i < 12; ++i)
        for (int j = 0; j < 12; ++j) {
            const MeshPtr x = FromFloats({cornersA.begin() + 9 * i, cornersA.begin() + 9 * i + 9});
            const MeshPtr y = FromFloats({cornersB.begin() + 9 * j, cornersB.begin() + 9 * j + 9});
            const scapi_result alone = Distance(x, kIdentity, y, pose, Within(0.05));
            if (alone.lower > 0.05) continue;
            ASSERT_LT(at, result.stored);
            const scapi_contact& contact = all[static_cast<std::size_t>(at++)];
            EXPECT_EQ(contact.triangle_a, i);
            EXPECT_EQ(contact.triangle_b, j);
            EXPECT_EQ(contact.kind == SCAPI_KIND_CROSSING, alone.relation == SCAPI_CROSSING);
            EXPECT_NEAR(contact.upper, alone.upper, kSlack);
        }
    EXPECT_EQ(at, result.count);
    ASSERT_GT(at, 6);
    // With less room: the first ones of the same order, and the count of all.
    std::vector<scapi_contact> few(5);
    scapi_contacts_result cut{};
    ASSERT_EQ(scapi_contacts(query.get(), a.get(), kIdentity.data(), b.get(), pose.data(), &options,
                             few.data(), 5, &cut),
              SCAPI_OK);
    EXPECT_TRUE(cut.truncated);
    EXPECT_EQ(cut.count, result.count);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(few[i].triangle_a, all[i].triangle_a);
        EXPECT_EQ(few[i].triangle_b, all[i].triangle_b);
    }
}

} // namespace
