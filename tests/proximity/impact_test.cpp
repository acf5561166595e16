// Times of impact that are known by hand, and random motions held against samples.
#include <gtest/gtest.h>

#include <cstdlib>

#include "support.h"

namespace
{

constexpr double kPi = 3.14159265358979323846;

/// Not later than the true time; earlier by the resolution at the most.
void ExpectTime(const scapi_impact& impact, double time, double early)
{
    EXPECT_EQ(impact.verdict, SCAPI_CONTACT);
    EXPECT_LE(impact.t_clear, time + 1e-12);
    EXPECT_GE(impact.t_contact, time - early);
    EXPECT_LE(impact.t_contact, time + 1e-12);
}

TEST(ProximityImpact, OfStraightMotions)
{
    const MeshPtr a = Box({0, 0, 0}, {10, 10, 10}), b = Box({0, 0, 0}, {2, 2, 2});
    const scapi_options options = Within(0.01, 1e-5);
    const Pose start = At(30, 4, 4);
    const scapi_motion rest = Rest(kIdentity), moves = Straight(start, {-100, 0, 0});
    struct Case {
        const char* fault;
        scapi_motion a, b;
        double time;
    };
    const double back = std::sqrt(0.01 * 0.01 - 0.005 * 0.005); // to the tolerance's sphere
    const Case cases[] = {
        {"OneMoves", rest, moves, 0.1999}, // from 20 to 10 + tolerance, of 100
        {"SpeedsAddUp", Straight(kIdentity, {50, 0, 0}), Straight(start, {-50, 0, 0}), 0.1999},
        {"BothEndsClear", rest, Straight(At(4, 4, 500), {0, 0, -1000}), 0.48999},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        ExpectTime(Impact(a, c.a, b, c.b, options), c.time, 1e-6);
        ExpectTime(Impact(b, c.b, a, c.a, options), c.time, 1e-6);
    }
    const scapi_motion beside = Straight(At(-52, 10.005, 4), {100, 0, 0});
    ExpectTime(Impact(a, rest, b, beside, options), (50 - back) / 100, 2e-6);
    const scapi_motion past = Straight(At(-50, 10.0111, 4), {100, 0, 0});
    EXPECT_EQ(Impact(a, rest, b, past, options).t_clear, 1);
    EXPECT_EQ(Impact(a, rest, b, past, options).verdict, SCAPI_CLEAR);
    EXPECT_EQ(Impact(a, rest, b, Rest(start), options).verdict, SCAPI_CLEAR);
    const scapi_impact impact = Impact(a, rest, b, moves, options);
    EXPECT_NEAR(impact.normal[0], 1, 1e-9);
    EXPECT_NEAR(impact.point_a[0], 10, 1e-9);
    EXPECT_NEAR(impact.point_b[0], 10.01, 1.1e-5);
    EXPECT_TRUE(impact.lower <= 0.01001 && impact.upper >= 0.01);
    EXPECT_GE(impact.triangle_a, 0);
}

TEST(ProximityImpact, SpinningBarMeetsAThinPost)
{
    // The bar of half width w turns about the origin; the post stands at radius r and angle phi.
    // Its leading side touches at phi - asin(w / r).
    const double w = 1, r = 20, phi = 1.2, thin = 1e-3;
    const MeshPtr bar = Box({0, -w, -1}, {25, w, 1});
    const MeshPtr post = Box({-thin, -thin, -5}, {thin, thin, 5});
    const scapi_motion stands = Rest(At(r * std::cos(phi), r * std::sin(phi), 0));
    const auto turn = [&](double angle) {
        return Impact(bar, Turn(kIdentity, {0, 0, 0}, {0, 0, 1}, angle), post, stands,
                      Within(0, 1e-6));
    };
    for (const double angle : {kPi, 20 * kPi}) {
        EXPECT_EQ(turn(angle).verdict, SCAPI_CONTACT);
        EXPECT_NEAR(turn(angle).t_contact * angle, phi - std::asin(w / r), 2 * thin / r * 1.5);
    }
    EXPECT_EQ(turn(-kPi).verdict, SCAPI_CLEAR);
}

TEST(ProximityImpact, FullTurnsInARoundSlot)
{
    // A bar of length 2 * 9.9 in a bore of 10 (128 sides: 9.997 at the least), two turns and more.
    const MeshPtr shaft = Box({-9.9, -0.1, 0}, {9.9, 0.1, 5});
    const double profile[] = {10, -1, 12, -1, 12, 6, 10, 6, 10, -1};
    const scapi_mesh_options sides = Sides(128);
    const MeshPtr bore = Make<MeshPtr>(scapi_mesh_revolved, profile, 5, &sides);
    const scapi_motion turn = Turn(kIdentity, {0, 0, 0}, {0, 0, 1}, 4 * kPi + 1);
    EXPECT_EQ(Impact(bore, Rest(kIdentity), shaft, turn, Within(0.05)).verdict, SCAPI_CLEAR);
    EXPECT_EQ(Impact(bore, Rest(kIdentity), shaft, turn, Within(0.12)).verdict,
              SCAPI_START_CONTACT);
    const scapi_motion back = Turn(kIdentity, {0, 0, 0}, {0, 0, 1}, -9);
    EXPECT_EQ(Impact(bore, back, shaft, Rest(kIdentity), Within(0.05)).verdict, SCAPI_CLEAR);
    // Off the axis by 0.2, so that it meets the wall.
    const scapi_motion off = Turn(At(0, 0.2, 0), {0, -0.2, 0}, {0, 0, 1}, kPi);
    EXPECT_EQ(Impact(bore, Rest(At(0, -0.15, 0)), shaft, off, Within(0.001)).verdict,
              SCAPI_CONTACT);
}

TEST(ProximityImpact, TurningInABoreThatMovesOrIsTooTightIsNotClear)
{
    // One wall at 45 degrees of a coarse bore: the bar reaches its box soon, and 0.659 of air is
    // left.
    const float x = static_cast<float>(5 * std::sqrt(3.0)), y = 5;
    const MeshPtr bore = FromFloats({x, y, -1, y, x, -1, y, x, 6, x, y, -1, y, x, 6, x, y, 6});
    const MeshPtr bar = FromFloats({0, -0.1f, 2, 9, 0, 2, 0, 0.1f, 2});
    const Point axis{0, 0, 1};
    const scapi_motion turns = Turn(kIdentity, {0, 0, 0}, axis, 6 * kPi);
    struct Case {
        const char* fault;
        scapi_motion bore, bar;
        double tolerance;
        int verdict;
    };
    const Case cases[] = {
        {"Clear", Rest(kIdentity), turns, 0.05, SCAPI_CLEAR},
        {"Tolerance", Rest(kIdentity), turns, 0.7, SCAPI_CONTACT},
        {"Path", Rest(kIdentity), Turn(kIdentity, {0, 0, 0}, axis, 6 * kPi, {1.1, 1.1, 0}), 0.05,
         SCAPI_CONTACT},
        {"PathOfTheOther", Straight(kIdentity, {-1.1, -1.1, 0}), turns, 0.05, SCAPI_CONTACT},
        {"AlongTheAxis", Straight(kIdentity, {0, 0, 3}), turns, 0.05, SCAPI_CLEAR},
        {"TwoAxes", Turn(kIdentity, {2.1, -2.1, 0}, axis, 0.35), turns, 0.05, SCAPI_CONTACT},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const scapi_options options = Within(c.tolerance, 0, SCAPI_SURFACES_ONLY);
        EXPECT_EQ(Impact(bore, c.bore, bar, c.bar, options).verdict, c.verdict);
        EXPECT_EQ(Impact(bar, c.bar, bore, c.bore, options).verdict, c.verdict);
    }
}

/// A helical band: the rib of a screw, or the groove's wall that it must not touch.
MeshPtr HelicalRib(double inner, double outer, double pitch, double half, double turns, int steps)
{
    Floats corners;
    const auto add = [&](int step, int k) {
        const double turn = 2 * kPi * turns * step / steps;
        const double r = k % 4 == 0 || k % 4 == 3 ? inner : outer;
        const double z = pitch * turns * step / steps + (k % 4 < 2 ? -half : half);
        for (double x : {r * std::cos(turn), r * std::sin(turn), z})
            corners.push_back(static_cast<float>(x));
    };
    for (int step = 0; step < steps; ++step)
        for (int k = 0; k < 4; ++k) {
            add(step, k), add(step, k + 1), add(step + 1, k + 1);
            add(step, k), add(step + 1, k + 1), add(step + 1, k);
        }
    return FromFloats(corners);
}

TEST(ProximityImpact, ScrewInItsNutIsClearAndInAnotherHits)
{
    // Ribs of screw and nut reach past each other, half a pitch apart, 0.5 of air between them.
    const double pitch = 4, half = 0.75;
    const MeshPtr screw = HelicalRib(5, 8, pitch, half, 3, 96);
    const MeshPtr nut = HelicalRib(7, 10, pitch, half, 6, 192);
    const Pose start = At(0, 0, 1.5 * pitch);
    const scapi_options options = Within(0.1, 1e-3, SCAPI_SURFACES_ONLY);
    const auto turn = [&](double rise) {
        return Turn(start, {0, 0, 0}, {0, 0, 1}, 2 * kPi, {0, 0, rise});
    };
    EXPECT_EQ(Impact(nut, Rest(kIdentity), screw, turn(pitch), options).verdict, SCAPI_CLEAR);
    // Without rising, the rib meets the one above or below after 0.5 of 4, less the tolerance.
    const scapi_impact stuck = Impact(nut, Rest(kIdentity), screw, turn(0), options);
    EXPECT_EQ(stuck.verdict, SCAPI_CONTACT);
    EXPECT_NEAR(stuck.t_contact, 0.4 / pitch, 0.02);
}

TEST(ProximityImpact, GrazingAtABillionthIsTold)
{
    const MeshPtr a = Box({0, 0, 0}, {1, 1, 1});
    const scapi_options options = Within(1e-9, 1e-11);
    const auto pass = [&](double gap) {
        return Impact(a, Rest(kIdentity), a, Straight(At(-5, 0.3, 1 + gap), {10, 0, 0}), options)
            .verdict;
    };
    EXPECT_EQ(pass(1.1e-9), SCAPI_CLEAR);
    EXPECT_EQ(pass(0.9e-9), SCAPI_CONTACT);
}

TEST(ProximityImpact, CurvingIntoAWallIsNotFoundTooLate)
{
    // A corner starts along the wall and comes nearer by the curve of its way alone. Each body is a
    // leaf by itself, so that no box leads up to the contact.
    const float x = 9.5f, far = 10.5f, y = 0.1f, wall = 9, w = 50;
    const MeshPtr a = FromFloats({wall, -w, -w, wall, w, -w, wall, 0, w}),
                  b = FromFloats({x,   0, 0,  far, y, y, far, -y, y,  x,   0,  0,
                                  far, 0, -y, far, y, y, x,   0,  0,  far, -y, y,
                                  far, 0, -y, far, y, y, far, 0,  -y, far, -y, y});
    for (const double angle : {1.0, 3.0, -40.0})
        ExpectTime(Impact(a, Rest(kIdentity), b, Turn(kIdentity, {0, 0, 0}, {0, 0, 1}, angle),
                          Within(0.01, 1e-6, SCAPI_SURFACES_ONLY)),
                   std::acos((double(wall) + 0.01) / x) / std::fabs(angle), 1e-6);
}

TEST(ProximityImpact, WhatRoundingHoldsInPlaceIsNotClear)
{
    // A resolution far below what placing rounds: the pair that meets can't be told to touch, and
    // nothing after it may be told to be clear.
    const MeshPtr a = Box({0, 0, 0}, {10, 10, 10}), b = Box({0, 0, 0}, {2, 2, 2});
    const scapi_motion turned = Turn(TurnedZ(0.3, 30, 4, 4), {1, 1, 1}, {0, 0, 1}, 1, {-40, 0, 0});
    for (const scapi_motion& moves : {Straight(At(30, 4, 4), {-100, 0, 0}), turned}) {
        const scapi_impact impact = Impact(a, Rest(kIdentity), b, moves, Within(0, 1e-30));
        EXPECT_EQ(impact.verdict, SCAPI_INDETERMINATE);
        EXPECT_LT(impact.t_clear,
                  Impact(a, Rest(kIdentity), b, moves, Within(0, 1e-9)).t_contact + 1e-9);
    }
}

TEST(ProximityImpact, ContactAtTheStartIsItsOwnVerdictAndCanBeLeft)
{
    const MeshPtr table = Box({-10, -10, -1}, {10, 10, 0}), part = Box({-1, -1, 0}, {1, 1, 2});
    const auto ask = [&](const Point& path, std::uint32_t flags) {
        return Impact(table, Rest(kIdentity), part, Straight(kIdentity, path),
                      Within(0.01, 1e-3, flags));
    };
    EXPECT_EQ(ask({0, 0, 5}, 0).verdict, SCAPI_START_CONTACT);
    const std::uint32_t ignore = SCAPI_IGNORE_START_CONTACT;
    EXPECT_EQ(ask({0, 0, 5}, ignore).verdict, SCAPI_CLEAR) << "lifted";
    EXPECT_EQ(ask({5, 0, 0}, ignore).verdict, SCAPI_CONTACT) << "slid onto other facets";
    EXPECT_EQ(ask({0, 0, -5}, ignore).verdict, SCAPI_CONTACT);
    EXPECT_LE(ask({0, 0, -5}, ignore).t_contact, 1e-3 / 5 + 1e-9);
    EXPECT_EQ(ask({0, 0, -50}, ignore).verdict, SCAPI_CONTACT) << "through the table";
    EXPECT_EQ(Impact(table, Rest(kIdentity), part,
                     Turn(At(0, 0, 0.008), {0, 0, 0}, {1, 0, 0}, 0.1, {0, 0, 5}),
                     Within(0.01, 1e-3, ignore))
                  .verdict,
              SCAPI_CLEAR)
        << "lifted and tilted, from above the table";
    // A screen goes along the floor that it stands on, against a wall that it does not touch.
    Floats floorAndWall, screen;
    for (float y = -1; y < 1; y += 0.25f) {
        const Floats strips = {-9,    y, 0, 9,     y, 0, 9,     y + 0.25f, 0, //
                               1.05f, y, 1, 1.05f, y, 2, 1.05f, y + 0.25f, 2};
        floorAndWall = Joined(floorAndWall, strips);
        screen = Joined(screen, {1, y, 0, 1, y, 2, 1, y + 0.25f, 2});
    }
    ExpectTime(Impact(FromFloats(floorAndWall), Rest(kIdentity), FromFloats(screen),
                      Straight(kIdentity, {1, 0, 0}),
                      Within(0.01, 1e-3, ignore | SCAPI_SURFACES_ONLY)),
               0.04, 1.1e-3);
    // A sheet has no inside: from distance 0 either way is out, from above it the way down is not.
    const MeshPtr sheet = FromFloats({-5, -5, 0, 5, -5, 0, 0, 5, 0});
    const auto parting = [&](double from, double by) {
        return Impact(sheet, Rest(kIdentity), sheet, Straight(At(0, 0, from), {0, 0, by}),
                      Within(0.01, 1e-3, ignore | SCAPI_SURFACES_ONLY))
            .verdict;
    };
    EXPECT_EQ(parting(0, 5), SCAPI_CLEAR);
    EXPECT_EQ(parting(0, -5), SCAPI_CLEAR);
    EXPECT_EQ(parting(0.005, -5), SCAPI_CONTACT);
    // Lifted, then against a second thing that it did not touch at the start.
    const MeshPtr both = FromFloats(
        Joined(BoxFloats({-10, -10, -1}, {10, 10, 0}), BoxFloats({-10, -10, 4}, {10, 10, 5})));
    const scapi_impact lifted = Impact(both, Rest(kIdentity), part, Straight(kIdentity, {0, 0, 10}),
                                       Within(0.01, 1e-3, ignore));
    ExpectTime(lifted, 0.199, 1.1e-4);
}

TEST(ProximityImpact, BudgetThatRunsOutKeepsWhatWasShown)
{
    const MeshPtr a = FromFloats(SphereFloats(16, 10, 0.1));
    scapi_options options = Within(0.01);
    const scapi_motion motion = Turn(At(30, 0, 0), {0, 0, 0}, {0, 1, 0}, 3, {-12, 0, 0});
    const scapi_impact whole = Impact(a, Rest(kIdentity), a, motion, options);
    ASSERT_EQ(whole.verdict, SCAPI_CONTACT);
    for (std::int64_t budget = 1; budget < whole.tests; budget += budget / 3 + 1) {
        options.budget = budget;
        const scapi_impact cut = Impact(a, Rest(kIdentity), a, motion, options);
        EXPECT_EQ(cut.verdict, SCAPI_INDETERMINATE);
        EXPECT_LE(cut.t_clear, whole.t_contact + 1e-9);
    }
}

TEST(ProximityImpact, LargeFacesThatMeetAreNotAllLookedAt)
{
    // Fans of 400 come down on fans of 400, along an axis and not.
    const MeshPtr drum = Cylinder(5, 3, 400);
    std::mt19937 random(11);
    for (const Pose& frame : {kIdentity, RandomPose(random, 20)}) {
        const Pose start = Compose(frame, At(1, 0.5, 13));
        const Point down{-20 * frame[2], -20 * frame[6], -20 * frame[10]};
        const scapi_impact impact =
            Impact(drum, Rest(frame), drum, Straight(start, down), Within(0.01, 1e-4));
        ExpectTime(impact, 0.4995, 6e-6); // from 10 to the tolerance, of 20
        EXPECT_LT(impact.tests, 3000);
        const Point up{20 * frame[2], 20 * frame[6], 20 * frame[10]};
        const scapi_impact lifted =
            Impact(drum, Rest(frame), drum, Straight(Compose(frame, At(1, 0.5, 3)), up),
                   Within(0.01, 1e-4, SCAPI_IGNORE_START_CONTACT));
        EXPECT_EQ(lifted.verdict, SCAPI_CLEAR);
        EXPECT_LT(lifted.tests, 12000);
    }
}

/// Pose by a plain composition of its own: the pivot goes straight, the rest turns about it.
Pose SampleAt(const scapi_motion& motion, double time)
{
    const double angle = time * motion.angle, c = std::cos(angle), s = std::sin(angle);
    Pose turn{};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        for (std::size_t n = 0; n < 3; ++n)
            turn[4 * i + n] = (1 - c) * motion.axis[i] * motion.axis[n];
        turn[4 * i + i] += c, turn[4 * i + j] -= s * motion.axis[k];
        turn[4 * i + k] += s * motion.axis[j];
    }
    Pose start;
    std::copy(motion.start, motion.start + 12, start.begin());
    const Pose pivot = At(motion.pivot[0], motion.pivot[1], motion.pivot[2]);
    Pose out = Compose(turn, start);
    const Pose from = Compose(start, pivot), rotated = Compose(out, pivot);
    for (std::size_t k : {3u, 7u, 11u}) out[k] += from[k] + time * motion.path[k / 4] - rotated[k];
    return out;
}

/// Any turn about any axis; `aim` of the way to the origin, and some beside it.
scapi_motion RandomMotion(std::mt19937& random, double distance, double aim)
{
    std::uniform_real_distribution<double> unit(-1, 1);
    const Pose pose = RandomPose(random, distance), axis = RandomPose(random, 0);
    const double turns[] = {0, 0.1, 1, 3, 7};
    return Turn(pose, {5 * unit(random), 5 * unit(random), 5 * unit(random)},
                {axis[0], axis[4], axis[8]}, turns[random() % 5] * unit(random),
                {5 * unit(random) - aim * pose[3], 5 * unit(random) - aim * pose[7],
                 5 * unit(random) - aim * pose[11]});
}

int FromEnvironment(const char* name, int otherwise)
{
    const char* text = std::getenv(name);
    return text ? std::atoi(text) : otherwise;
}

TEST(ProximityImpact, IsNeverLaterThanTheFirstSampleInContact)
{
    const int motions = FromEnvironment("PROXIMITY_MOTIONS", 60);
    const int samples = FromEnvironment("PROXIMITY_SAMPLES", 1000);
    std::mt19937 random(static_cast<unsigned>(FromEnvironment("PROXIMITY_SEED", 29)));
    const MeshPtr meshes[] = {FromFloats(SphereFloats(5, 4, 0.2)), Box({-6, -1, -1}, {6, 1, 1}),
                              Cylinder(3, 8, 9)};
    int contacts = 0, clear = 0;
    for (int i = 0; i < motions; ++i) {
        SCOPED_TRACE(i);
        const MeshPtr &a = meshes[random() % 3], &b = meshes[random() % 3];
        const scapi_motion motionA = RandomMotion(random, 4, 0);
        const scapi_motion motionB = RandomMotion(random, 25, 0.8);
        const scapi_options options = Within(0.05, 0.005);
        const scapi_impact impact = Impact(a, motionA, b, motionB, options);
        ASSERT_NE(impact.verdict, SCAPI_INDETERMINATE);
        const bool hits = impact.verdict == SCAPI_CONTACT;
        contacts += hits, clear += impact.verdict == SCAPI_CLEAR;
        if (!hits && impact.verdict != SCAPI_CLEAR) continue;
        const auto at = [&](double time) {
            return Distance(a, SampleAt(motionA, time), b, SampleAt(motionB, time), options);
        };
        for (int k = 0; k <= samples; ++k) {
            const double time = double(k) / samples;
            if (hits && time >= impact.t_clear) break;
            ASSERT_GT(at(time).upper, options.tolerance) << "in contact at " << time;
        }
        const double last = at(hits ? impact.t_contact : 1).lower;
        EXPECT_TRUE(!hits || last <= options.tolerance + options.resolution);
    }
    EXPECT_GT(contacts, motions / 6);
    EXPECT_GT(clear, motions / 6);
}

TEST(ProximityImpact, MotionsGoWhereTheirPosesAre)
{
    std::mt19937 random(5);
    for (int i = 0; i < 20; ++i) {
        const scapi_motion motion = RandomMotion(random, 10, 1);
        double pose[12];
        ASSERT_EQ(scapi_motion_pose(&motion, 0.37, pose), SCAPI_OK);
        const Pose expected = SampleAt(motion, 0.37);
        for (std::size_t k = 0; k < 12; ++k) EXPECT_NEAR(pose[k], expected[k], 1e-12);
        // And between two poses, with another pivot.
        const Pose start = RandomPose(random, 10), end = RandomPose(random, 10);
        const double pivot[3] = {1, 2, 3};
        scapi_motion between{};
        ASSERT_EQ(scapi_motion_between(start.data(), end.data(), pivot, &between), SCAPI_OK);
        EXPECT_LE(between.angle, kPi);
        const Pose reached = SampleAt(between, 1);
        for (std::size_t k = 0; k < 12; ++k) EXPECT_NEAR(reached[k], end[k], 1e-9);
    }
    scapi_motion none{};
    const Pose half = TurnedZ(kPi, 1, 2, 3);
    EXPECT_EQ(scapi_motion_between(kIdentity.data(), half.data(), nullptr, &none),
              SCAPI_ERROR_HALF_TURN);
}

} // namespace
