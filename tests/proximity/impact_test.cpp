// Times of impact that are known by hand, and random motions held against samples.
#include <gtest/gtest.h>

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
    const scapi_motion rest = Rest(kIdentity);
    // From 20 to 10 + tolerance, of a path of 100.
    ExpectTime(Impact(a, rest, b, Straight(At(30, 4, 4), {-100, 0, 0}), options), 0.1999, 1e-6);
    // Both move: the speeds add up.
    ExpectTime(
        Impact(a, Straight(kIdentity, {50, 0, 0}), b, Straight(At(30, 4, 4), {-50, 0, 0}), options),
        0.1999, 1e-6);
    // Through and out on the other side: both ends are clear.
    ExpectTime(Impact(a, rest, b, Straight(At(4, 4, 500), {0, 0, -1000}), options), 0.48999, 1e-6);
    // The one that is asked first may be the one that moves.
    ExpectTime(Impact(b, Straight(At(30, 4, 4), {-100, 0, 0}), a, rest, options), 0.1999, 1e-6);
    // Past it, 0.011 away, and back to back with the same tolerance.
    const scapi_impact past =
        Impact(a, rest, b, Straight(At(-50, 10.0111, 4), {100, 0, 0}), options);
    EXPECT_EQ(past.verdict, SCAPI_CLEAR);
    EXPECT_EQ(past.t_clear, 1);
    ExpectTime(Impact(a, rest, b, Straight(At(-52, 10.005, 4), {100, 0, 0}), options),
               (50 - std::sqrt(0.01 * 0.01 - 0.005 * 0.005)) / 100, 2e-6);
    // Of no length.
    EXPECT_EQ(Impact(a, rest, b, Straight(At(30, 4, 4), {0, 0, 0}), options).verdict, SCAPI_CLEAR);
}

TEST(ProximityImpact, NormalAndPointsAreWhereItHappens)
{
    const MeshPtr a = Box({0, 0, 0}, {10, 10, 10}), b = Box({0, 0, 0}, {2, 2, 2});
    const scapi_impact impact =
        Impact(a, Rest(kIdentity), b, Straight(At(30, 4, 4), {-100, 0, 0}), Within(0.01, 1e-5));
    EXPECT_NEAR(impact.normal[0], 1, 1e-9);
    EXPECT_NEAR(impact.point_a[0], 10, 1e-9);
    EXPECT_NEAR(impact.point_b[0], 10.01, 1.1e-5);
    EXPECT_LE(impact.lower, 0.01001);
    EXPECT_GE(impact.upper, 0.01);
    EXPECT_GE(impact.triangle_a, 0);
}

TEST(ProximityImpact, SpinningBarMeetsAThinPost)
{
    // The bar of half width w turns about the origin; the post stands at radius r and angle phi.
    // Its leading side touches at phi - asin(w / r).
    const double w = 1, r = 20, phi = 1.2, thin = 1e-3;
    const MeshPtr bar = Box({0, -w, -1}, {25, w, 1});
    const MeshPtr post = Box({-thin, -thin, -5}, {thin, thin, 5});
    for (const double turn : {kPi, -kPi, 2 * kPi * 10}) {
        const scapi_impact impact =
            Impact(bar, Turn(kIdentity, {0, 0, 0}, {0, 0, 1}, turn), post,
                   Rest(At(r * std::cos(phi), r * std::sin(phi), 0)), Within(0, 1e-6));
        const double angle = turn > 0 ? phi - std::asin(w / r) : 2 * kPi - phi - std::asin(w / r);
        if (std::fabs(turn) < angle) {
            EXPECT_EQ(impact.verdict, SCAPI_CLEAR);
            continue;
        }
        EXPECT_EQ(impact.verdict, SCAPI_CONTACT);
        EXPECT_NEAR(impact.t_contact * std::fabs(turn), angle, 2 * thin / r * 1.5);
    }
}

TEST(ProximityImpact, FullTurnsInARoundSlot)
{
    // A bar of length 2 * 9.9 in a bore of 10 (128 sides: 9.997 at the least), two turns and more.
    const MeshPtr shaft = Box({-9.9, -0.1, 0}, {9.9, 0.1, 5});
    std::vector<double> profile{10, -1, 12, -1, 12, 6, 10, 6, 10, -1};
    scapi_mesh_options options{};
    options.size = sizeof options;
    options.segments = 128;
    scapi_mesh* ring = nullptr;
    ASSERT_EQ(scapi_mesh_revolved(profile.data(), 5, &options, &ring), SCAPI_OK);
    const MeshPtr bore(ring);
    const scapi_motion turn = Turn(kIdentity, {0, 0, 0}, {0, 0, 1}, 4 * kPi + 1);
    EXPECT_EQ(Impact(bore, Rest(kIdentity), shaft, turn, Within(0.05)).verdict, SCAPI_CLEAR);
    EXPECT_EQ(Impact(bore, Rest(kIdentity), shaft, turn, Within(0.12)).verdict,
              SCAPI_START_CONTACT);
    // Off the axis by 0.2, so that it meets the wall.
    const scapi_motion off = Turn(At(0, 0.2, 0), {0, -0.2, 0}, {0, 0, 1}, kPi);
    EXPECT_EQ(Impact(bore, Rest(At(0, -0.15, 0)), shaft, off, Within(0.001)).verdict,
              SCAPI_CONTACT);
}

/// A helical band: the rib of a screw, or the groove's wall that it must not touch.
MeshPtr HelicalRib(double inner, double outer, double pitch, double half, double turns, int steps)
{
    std::vector<float> corners;
    const auto at = [&](int step, int k) -> std::array<float, 3> {
        const double turn = 2 * kPi * turns * step / steps;
        const double r = k == 0 || k == 3 ? inner : outer;
        const double z = pitch * turns * step / steps + (k < 2 ? -half : half);
        return {static_cast<float>(r * std::cos(turn)), static_cast<float>(r * std::sin(turn)),
                static_cast<float>(z)};
    };
    const auto add = [&](std::array<float, 3> p) {
        corners.insert(corners.end(), p.begin(), p.end());
    };
    for (int step = 0; step < steps; ++step)
        for (int k = 0; k < 4; ++k) {
            const auto a = at(step, k), b = at(step, (k + 1) % 4);
            const auto c = at(step + 1, (k + 1) % 4), d = at(step + 1, k);
            add(a), add(b), add(c), add(a), add(c), add(d);
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
    EXPECT_EQ(ask({5, 0, 0}, ignore).verdict, SCAPI_CONTACT)
        << "slid over facets that it did not lie on";
    const scapi_impact pressed = ask({0, 0, -5}, ignore);
    EXPECT_EQ(pressed.verdict, SCAPI_CONTACT);
    EXPECT_LE(pressed.t_contact, 1e-3 / 5 + 1e-9);
    const scapi_impact through = ask({0, 0, -50}, ignore);
    EXPECT_EQ(through.verdict, SCAPI_CONTACT) << "both ends are clear of the table";
    // Lifted, then against a second thing that it did not touch at the start.
    std::vector<float> both = BoxFloats({-10, -10, -1}, {10, 10, 0});
    const std::vector<float> shelf = BoxFloats({-10, -10, 4}, {10, 10, 5});
    both.insert(both.end(), shelf.begin(), shelf.end());
    const scapi_impact lifted = Impact(FromFloats(both), Rest(kIdentity), part,
                                       Straight(kIdentity, {0, 0, 10}), Within(0.01, 1e-3, ignore));
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

/// Pose by a plain composition of its own: the pivot goes straight, the rest turns about it.
Pose SampleAt(const scapi_motion& motion, double time)
{
    const double angle = time * motion.angle, c = std::cos(angle), s = std::sin(angle);
    const double x = motion.axis[0], y = motion.axis[1], z = motion.axis[2];
    const Pose turn{c + x * x * (1 - c),     x * y * (1 - c) - z * s, x * z * (1 - c) + y * s, 0,
                    y * x * (1 - c) + z * s, c + y * y * (1 - c),     y * z * (1 - c) - x * s, 0,
                    z * x * (1 - c) - y * s, z * y * (1 - c) + x * s, c + z * z * (1 - c),     0};
    Pose start;
    std::copy(motion.start, motion.start + 12, start.begin());
    const Point pivot{motion.pivot[0], motion.pivot[1], motion.pivot[2]};
    const Point from = Place(start, pivot);
    Pose out = Compose(turn, start);
    const Point rotated = Place(out, pivot);
    for (std::size_t i = 0; i < 3; ++i)
        out[4 * i + 3] += from[i] + time * motion.path[i] - rotated[i];
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

TEST(ProximityImpact, IsNeverLaterThanTheFirstSampleInContact)
{
    std::mt19937 random(29);
    const MeshPtr meshes[] = {FromFloats(SphereFloats(5, 4, 0.2)), Box({-6, -1, -1}, {6, 1, 1}),
                              Cylinder(3, 8, 9)};
    const QueryPtr query = MakeQuery();
    int contacts = 0, clear = 0;
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        const MeshPtr &a = meshes[random() % 3], &b = meshes[random() % 3];
        const scapi_motion motionA = RandomMotion(random, 4, 0);
        const scapi_motion motionB = RandomMotion(random, 25, 0.8);
        const scapi_options options = Within(0.05, 0.005);
        const scapi_impact impact = Impact(a, motionA, b, motionB, options);
        ASSERT_NE(impact.verdict, SCAPI_INDETERMINATE);
        contacts += impact.verdict == SCAPI_CONTACT, clear += impact.verdict == SCAPI_CLEAR;
        if (impact.verdict != SCAPI_CONTACT && impact.verdict != SCAPI_CLEAR) continue;
        scapi_result at{};
        const auto ask = [&](double time) {
            const Pose poseA = SampleAt(motionA, time), poseB = SampleAt(motionB, time);
            EXPECT_EQ(scapi_distance(query.get(), a.get(), poseA.data(), b.get(), poseB.data(),
                                     &options, &at),
                      SCAPI_OK);
        };
        constexpr int kSamples = 1000;
        for (int k = 0; k <= kSamples; ++k) {
            const double time = static_cast<double>(k) / kSamples;
            if (time >= impact.t_clear && impact.verdict == SCAPI_CONTACT) break;
            ask(time);
            ASSERT_GT(at.upper, options.tolerance) << "in contact at " << time;
        }
        if (impact.verdict == SCAPI_CLEAR) continue;
        ask(impact.t_contact);
        EXPECT_LE(at.lower, options.tolerance + options.resolution);
    }
    EXPECT_GT(contacts, 10);
    EXPECT_GT(clear, 10);
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
