// Distances, relations and contacts of placed bodies whose answers are known by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support.h"

namespace
{

constexpr double kSlack = 1e-9; ///< far above rounding at the sizes used here

void ExpectDistance(const scapi_result& result, double distance)
{
    EXPECT_TRUE(result.lower <= distance + kSlack && distance - kSlack <= result.upper);
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
        {"OverlapWhereDiagonalsMeet", At(9, 9, 9), 0, SCAPI_CONTACT, SCAPI_CROSSING},
        {"WhollyInside", At(4, 4, 4), 4, SCAPI_INSIDE, SCAPI_B_IN_A},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const scapi_result ab = Distance(a, kIdentity, b, c.pose);
        const scapi_result ba = Distance(b, c.pose, a, kIdentity);
        ExpectDistance(ab, c.distance);
        ExpectDistance(ba, c.distance);
        EXPECT_TRUE(ab.verdict == c.verdict && ba.verdict == c.verdict);
        EXPECT_EQ(ab.relation, c.relation);
        EXPECT_EQ(ba.relation, c.relation == SCAPI_B_IN_A ? int(SCAPI_A_IN_B) : c.relation);
        const scapi_result within =
            AskWithin(a, kIdentity, b, c.pose, Within(0, 0, SCAPI_WANT_RELATION));
        EXPECT_TRUE(within.verdict == c.verdict && within.relation == c.relation);
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

TEST(ProximityDistance, WhatPlacingRoundsFarOutIsNotClear)
{
    // Small boxes far out, at places that are multiples of 2^-40, so that the gap is known exactly.
    std::mt19937 random(31);
    const auto steps = [](double x) { return static_cast<std::int64_t>(std::ldexp(x, 40)); };
    std::uniform_real_distribution<double> far(1e6, 2e6), size(1e-3, 2e-3);
    for (int n = 0; n < 500; ++n) {
        const double sizeA = float(size(random)), sizeB = float(size(random)), at = far(random),
                     beside = at + 0.3 + 1e-3 * n;
        const double gap = std::ldexp(double(steps(beside) - steps(at) - steps(sizeA)), -40);
        ASSERT_EQ(std::ldexp(gap + sizeA, 40), double(steps(beside) - steps(at)));
        const MeshPtr a = Box({0, 0, 0}, {sizeA, sizeA, sizeA}), b = Box({0, 0, 0}, {sizeB, 1, 1});
        const ScenePtr scene = MakeScene();
        scapi_scene_place(scene.get(), scapi_scene_add(scene.get(), a.get(), 0),
                          At(at, 0, 0).data());
        scapi_scene_place(scene.get(), scapi_scene_add(scene.get(), b.get(), 0),
                          At(beside, 0, 0).data());
        for (const double nearer : {0.0, 2e-6}) {
            const scapi_options options = Within(gap - nearer, 1e-9);
            scapi_scene_result all{};
            scapi_scene_check(scene.get(), MakeQuery().get(), &options, nullptr, 0, nullptr,
                              nullptr, &all);
            const int verdicts[] = {
                AskWithin(a, At(at, 0, 0), b, At(beside, 0, 0), options).verdict,
                Distance(a, At(at, 0, 0), b, At(beside, 0, 0), options).verdict, all.verdict};
            for (const int verdict : verdicts) EXPECT_EQ(verdict == SCAPI_CLEAR, nearer > 0) << n;
        }
    }
}

TEST(ProximityDistance, PosesThatAreRigidWithinAMillionthOnly)
{
    // One that stretches by nearly that much: what lies on the border of the body that it places.
    const double stretch = 1 + 4.9e-7, reach = 1000 * stretch;
    const Pose stretches{stretch, 0, 0, 0, 0, stretch, 0, 0, 0, 0, stretch, 0};
    const MeshPtr large = Box({-1000, -1000, -1000}, {1000, 1000, 1000}),
                  tiny = Box({-1e-4, -1e-4, -1e-4}, {1e-4, 1e-4, 1e-4});
    for (auto* call : {scapi_within, scapi_distance}) {
        const auto verdict = [&](double height, double tolerance) {
            return Ask(call, large, stretches, tiny, At(1, 2, reach + height), Within(tolerance))
                .verdict;
        };
        EXPECT_EQ(verdict(9.6e-3 + 1e-4, 1e-2), SCAPI_CONTACT);
        EXPECT_EQ(verdict(1.1e-2 + 1e-4, 1e-2), SCAPI_CLEAR);
        EXPECT_EQ(verdict(-3e-4, 1e-5), SCAPI_INSIDE);
    }
}

TEST(ProximityDistance, UpperBoundEndsTheSearchAndIsCertified)
{
    const MeshPtr a = Box({0, 0, 0}, {1, 1, 1});
    scapi_options options = Within(0);
    options.upper_bound = 2;
    const scapi_result far = Distance(a, kIdentity, a, At(11, 0, 0), options);
    EXPECT_EQ(far.verdict, SCAPI_CLEAR);
    EXPECT_TRUE(2 <= far.lower && far.lower <= 10);
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

TEST(ProximityDistance, PairsThatAreEquallyFarAreNotAllMeasured)
{
    // Fans of 2,000 over fans of 2,000: most of 4,000,000 pairs are 0.01 apart, or touch.
    const MeshPtr drum = Cylinder(5, 3, 2000);
    std::mt19937 random(3);
    for (const Pose& frame : {kIdentity, RandomPose(random, 20)}) {
        const scapi_result result = Distance(drum, frame, drum, Compose(frame, At(1, 0.5, 3.01)));
        ExpectDistance(result, 0.01);
        EXPECT_LT(result.tests, 30000);
    }
    const scapi_result touching = Distance(drum, kIdentity, drum, At(1, 0.5, 3));
    EXPECT_EQ(touching.relation, SCAPI_TOUCHING);
    EXPECT_LT(touching.tests, 30000);
}

TEST(ProximityRelation, CrossingIsToldBesideFacesThatOnlyTouch)
{
    const Floats table = BoxFloats({0, 0, 0}, {40, 40, 5});
    const Floats part = BoxFloats({2, 2, 5}, {9, 9, 8});
    struct Case {
        const char* fault;
        Floats corners;
        int relation;
    };
    const Case cases[] = {
        {"OnlyTouches", part, SCAPI_TOUCHING},
        {"TouchesFirst", Joined(part, BoxFloats({30, 30, 4.9999f}, {33, 33, 6})), SCAPI_CROSSING},
        {"CrossesFirst", Joined(BoxFloats({30, 30, 4}, {33, 33, 6}), part), SCAPI_CROSSING},
        {"CrossesBelow", Joined(part, BoxFloats({20, 20, -1}, {21, 21, 1})), SCAPI_CROSSING},
    };
    const MeshPtr under = FromFloats(table);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const MeshPtr body = FromFloats(c.corners);
        const scapi_options options = Within(0.01, 0, SCAPI_WANT_RELATION);
        const scapi_result result = Distance(under, kIdentity, body, kIdentity);
        EXPECT_EQ(result.relation, c.relation);
        EXPECT_TRUE(result.lower == 0 && result.upper < 1e-12);
        EXPECT_EQ(Distance(body, kIdentity, under, kIdentity).relation, c.relation);
        EXPECT_EQ(AskWithin(under, kIdentity, body, kIdentity, options).relation, c.relation);
    }
}

TEST(ProximityRelation, InsideIsToldByClosedSurfacesOnly)
{
    const MeshPtr small = Box({0, 0, 0}, {1, 1, 1});
    const Floats box = BoxFloats({0, 0, 0}, {10, 10, 10});
    const Floats open{box.begin(), box.end() - 9};
    const Floats flipped = BoxFloats({0, 0, 0}, {10, 10, 10}, true);
    const Floats hollow = Joined(box, BoxFloats({3, 3, 3}, {7, 7, 7}, true));
    const Floats doubled = Joined(box, BoxFloats({2, 2, 2}, {12, 12, 12}));
    struct Case {
        const char* fault;
        const Floats& corners;
        Point at;
        int verdict, relation;
        double distance;
        std::uint32_t flags = 0;
    };
    const Case cases[] = {
        {"InTheCavity", hollow, {4, 4, 4}, SCAPI_CLEAR, SCAPI_APART, 1},
        {"InTheWall", hollow, {1, 1, 1}, SCAPI_INSIDE, SCAPI_B_IN_A, 1},
        {"InsideOut", flipped, {4, 4, 4}, SCAPI_INSIDE, SCAPI_B_IN_A, 4},
        {"InAnOpenBox", open, {4, 4, 4}, SCAPI_INDETERMINATE, SCAPI_UNKNOWN, 4},
        {"OutOfAnOpenBox", open, {20, 4, 4}, SCAPI_CLEAR, SCAPI_APART, 10},
        {"BetweenSheets", open, {4, 4, 4}, SCAPI_CLEAR, SCAPI_APART, 4, SCAPI_SURFACES_ONLY},
        // Parity and winding number contradict each other where shells overlap.
        {"InTwoShells", doubled, {5, 5, 5}, SCAPI_INDETERMINATE, SCAPI_UNKNOWN, 3},
        {"InOneShell", doubled, {0.5, 0.5, 0.5}, SCAPI_INSIDE, SCAPI_B_IN_A, 0.5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const scapi_result result = Distance(FromFloats(c.corners), kIdentity, small,
                                             At(c.at[0], c.at[1], c.at[2]), Within(0, 0, c.flags));
        EXPECT_EQ(result.verdict, c.verdict);
        EXPECT_EQ(result.relation, c.relation);
        ExpectDistance(result, c.distance);
    }
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
        const bool inside = std::hypot(pose[3], pose[7]) < 5 && 0 < pose[11] && pose[11] < 10;
        EXPECT_EQ(result.relation, inside ? int(SCAPI_B_IN_A) : int(SCAPI_APART)) << i;
    }
}

TEST(ProximityDistance, MovingBothBodiesOrShufflingTrianglesChangesNothing)
{
    std::mt19937 random(11);
    Floats floats = SphereFloats(12, 10, 0.08);
    const MeshPtr a = FromFloats(floats);
    // The same triangles in another order, starting at other corners.
    std::vector<std::array<float, 9>> triangles(floats.size() / 9);
    std::memcpy(triangles.data(), floats.data(), sizeof(float) * floats.size());
    std::shuffle(triangles.begin(), triangles.end(), random);
    Floats shuffled;
    for (const auto& t : triangles)
        for (std::size_t k = 0; k < 9; ++k) shuffled.push_back(t[(k + 3) % 9]);
    const MeshPtr other = FromFloats(shuffled);
    for (int i = 0; i < 40; ++i) {
        const Pose poseA = RandomPose(random, 8), poseB = RandomPose(random, 14);
        const Pose both = RandomPose(random, 1e4);
        const scapi_result plain = Distance(a, poseA, a, poseB);
        const scapi_result results[] = {Distance(a, poseB, a, poseA),
                                        Distance(other, poseA, a, poseB),
                                        Distance(a, Compose(both, poseA), a, Compose(both, poseB))};
        for (const scapi_result& result : results) {
            EXPECT_EQ(result.verdict, plain.verdict) << i;
            EXPECT_LE(result.lower, plain.upper + kSlack) << i;
            EXPECT_GE(result.upper, plain.lower - kSlack) << i;
        }
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

TEST(ProximityContacts, AreAllPairsSortedOnceAndCounted)
{
    const MeshPtr a = Box({0, 0, 0}, {10, 10, 10}), b = Box({0, 0, 0}, {4, 4, 4});
    const Pose pose = TurnedZ(0.3, 8, 3, 3);
    const auto ask = [&](std::vector<scapi_contact>& contacts) {
        const scapi_options options = Within(0.05);
        scapi_contacts_result result{};
        EXPECT_EQ(scapi_contacts(MakeQuery().get(), a.get(), kIdentity.data(), b.get(), pose.data(),
                                 &options, contacts.data(),
                                 static_cast<std::int64_t>(contacts.size()), &result),
                  SCAPI_OK);
        return result;
    };
    std::vector<scapi_contact> all(200), few(5);
    const scapi_contacts_result result = ask(all), cut = ask(few);
    EXPECT_EQ(result.verdict, SCAPI_CONTACT);
    EXPECT_EQ(result.relation, SCAPI_CROSSING);
    EXPECT_FALSE(result.truncated);
    // The twin: each pair of triangles as meshes of their own.
    const Floats floatsA = BoxFloats({0, 0, 0}, {10, 10, 10});
    const Floats floatsB = BoxFloats({0, 0, 0}, {4, 4, 4});
    std::int64_t at = 0;
    for (int i = 0; i < 12; ++i)
        for (int j = 0; j < 12; ++j) {
            const MeshPtr x = FromFloats({floatsA.begin() + 9 * i, floatsA.begin() + 9 * i + 9});
            const MeshPtr y = FromFloats({floatsB.begin() + 9 * j, floatsB.begin() + 9 * j + 9});
            const scapi_result alone = Distance(x, kIdentity, y, pose, Within(0.05));
            if (alone.lower > 0.05) continue;
            ASSERT_LT(at, result.stored);
            const scapi_contact& contact = all[static_cast<std::size_t>(at++)];
            EXPECT_TRUE(contact.triangle_a == i && contact.triangle_b == j);
            EXPECT_EQ(contact.kind == SCAPI_KIND_CROSSING, alone.relation == SCAPI_CROSSING);
            EXPECT_NEAR(contact.upper, alone.upper, kSlack);
        }
    EXPECT_EQ(at, result.count);
    ASSERT_GT(at, 6);
    // With less room: the first ones of the same order, and the count of all.
    EXPECT_TRUE(cut.truncated);
    EXPECT_EQ(cut.count, result.count);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(few[i].triangle_a == all[i].triangle_a &&
                    few[i].triangle_b == all[i].triangle_b);
}

} // namespace
