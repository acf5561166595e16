// What a sweep tells of a pair along a move, and the bodies of revolution, each at its bound.
#include <gtest/gtest.h>

#include "sweep.h"

namespace
{

using namespace check;

constexpr Vec kZ{0, 0, 1};

Body Block(std::size_t link, const Vec& low, const Vec& high)
{
    scapi_mesh* made = nullptr;
    scapi_mesh_box(low.data(), high.data(), nullptr, &made);
    Body body;
    body.mesh.reset(made);
    body.frame = {link, kRest, low, high};
    body.radius = Length(high - low) / 2;
    return body;
}

Axis Slide(const Vec& direction) { return {'X', false, direction, {}, 0, 0, 0, 0}; }
Axis Rotary(const Vec& direction, const Vec& through)
{
    return {'A', true, direction, through, 0, 0, 0, 0};
}

struct Scene {
    Job job{};
    Path path{};
    Work work{};
    QueryPtr query{};

    explicit Scene(std::vector<Axis> axes)
    {
        job.machine.tableAxes = axes.size();
        job.machine.axes = std::move(axes);
        path.ends.fill(1);
        path.breaks = {0, 1};
        scapi_query* made = nullptr;
        scapi_query_create(&made);
        query.reset(made);
    }

    SweepResult Run(const Body& a, const Body& b, double tolerance, bool leaving = false)
    {
        return Sweep({job, path, a, b, query.get(), work}, tolerance, 0, leaving);
    }

    /// The true distance, by brute force.
    double Least(const Body& a, const Body& b)
    {
        double least = HUGE_VAL;
        for (int k = 0; k <= 4000; ++k)
            least =
                std::min(least, DistanceAt({job, path, a, b, query.get(), work}, k / 4000.0, 1e3));
        return least;
    }
};

/// A small body on an arc past a wall, the far end of which only the sagitta reaches, and bodies on
/// two rotary axes, on a slide that turns: what a sweep of one motion leaves out decides.
struct CurvedScene {
    const char* name;
    std::vector<Axis> axes;
    Position to;
    bool arc;
};

const CurvedScene kCurved[] = {
    {"arc", {Slide({1, 0, 0}), Slide({0, 1, 0})}, {}, true},
    {"arc on axes at 60 degrees", {Slide({1, 0, 0}), Slide({0.5, std::sqrt(0.75), 0})}, {}, true},
    {"slide on a table", {Rotary(kZ, {}), Slide({1, 0, 0})}, {40, 60}, false},
    {"two rotary axes", {Rotary({1, 0, 0}, {0, 0, 20}), Rotary(kZ, {0, 5, 0})}, {50, 70}, false},
    {"rotary axes beyond a slide",
     {Rotary({0, 1, 0}, {}), Slide({1, 0, 0}), Rotary(kZ, {20, 0, 0})},
     {-40, 30, 90},
     false},
};

TEST(CheckSweep, ClearAboveTheTruthOrContactFarFromIt)
{
    for (const CurvedScene& row : kCurved) {
        Scene scene(row.axes);
        Arc arc{0, 1, {0, 0}, {60, 60}, -0.9, 1.8, 0};
        scene.path.to = row.to;
        if (row.arc) {
            scene.path.arc = &arc;
            scene.path.from = {60 * std::cos(0.9), -60 * std::sin(0.9)};
            scene.path.to = {60 * std::cos(0.9), 60 * std::sin(0.9)};
        }
        const Body moving = Block(row.axes.size(), {20, -1, -1}, {22, 1, 1});
        for (const Vec& at : {Vec{95, 20, 0}, Vec{30, 40, 5}, Vec{10, 60, 30}, Vec{0, 30, -30}}) {
            const Body wall = Block(0, at - Vec{4, 4, 4}, at + Vec{4, 4, 4});
            const double least = scene.Least(moving, wall);
            if (least < 1e-3) continue;
            scene.job.settings.precision = 0.002;
            // The samples are no more than 0.001 above the least distance.
            EXPECT_EQ(scene.Run(moving, wall, least - 0.0035).outcome, Outcome::kClear) << row.name;
            const SweepResult met = scene.Run(moving, wall, least);
            EXPECT_EQ(met.outcome, Outcome::kContact) << row.name << at[0];
            EXPECT_LE(met.distance, least + 0.002) << row.name;
        }
    }
}

/// Two axes that turn against each other carry a block round on an arc, without turning it. It
/// all but touches a wall where it starts and where it ends; along the chord it would slide, the
/// arc goes 0.01 mm into the wall.
TEST(CheckSweep, WhatLeavesAContactMayNotBendIntoIt)
{
    Scene scene({Rotary(kZ, {}), Rotary(kZ, {50, 0, 0})});
    constexpr double kHalf = 0.02;
    scene.path.from = {-kHalf / kRadians, kHalf / kRadians};
    scene.path.to = {kHalf / kRadians, -kHalf / kRadians};
    const double face = 55.0015 + 50 * (std::cos(kHalf) - 1);
    const Body block = Block(2, {45, -5, -5}, {55, 5, 5});
    // The block stays on one triangle of the wall: others would be new contact.
    const Body wall = Block(0, {face, -90, -30}, {face + 10, 90, 150});
    EXPECT_EQ(scene.Run(block, wall, 0.001, true).outcome, Outcome::kContact);
}

/// Whether a block is inside of three sides of a tetrahedron cannot be told; later it meets one of
/// them. What is known to be clear ends where the doubt begins.
TEST(CheckSweep, ContactHidesUndecidedTimesBeforeIt)
{
    Scene scene({Slide({0, 0, -1})});
    const float corners[] = {0, 0, 0, 40, 0, 0, 0, 40, 0, 0, 0, 90};
    const std::int32_t facets[] = {0, 2, 1, 0, 1, 3, 0, 3, 2};
    scapi_mesh* made = nullptr;
    ASSERT_EQ(scapi_mesh_from_arrays(corners, 4, facets, 3, nullptr, nullptr, &made), SCAPI_OK);
    Body sheet = Block(0, {0, 0, 0}, {40, 40, 90});
    sheet.mesh.reset(made), sheet.closed = false;
    const Body block = Block(1, {9, 9, 10}, {10, 10, 11});
    scene.path.to = {5};
    EXPECT_EQ(scene.Run(block, sheet, 0.5).outcome, Outcome::kUndecided);
    EXPECT_TRUE(scene.Run(block, sheet, 0.5).openMesh);
    scene.path.to = {20};
    const SweepResult met = scene.Run(block, sheet, 0.5);
    EXPECT_EQ(met.outcome, Outcome::kContact);
    EXPECT_GT(met.time, 0.4);
    EXPECT_LT(met.clearUntil, met.time);
    sheet.surface = true;
    EXPECT_EQ(scene.Run(block, sheet, 0.5).clearUntil, met.time);
    sheet.surface = false;
    // On an arc no motion is exact, and none of them may settle it.
    Scene round({Slide({1, 0, 0}), Slide({0, 1, 0})});
    const Arc arc{0, 1, {-2, 0}, {2, 2}, 0, 3, 0};
    round.path.arc = &arc;
    round.path.to = {-2 + 2 * std::cos(3), 2 * std::sin(3)};
    EXPECT_EQ(round.Run(Block(2, {9, 9, 10}, {10, 10, 11}), sheet, 0.5).outcome,
              Outcome::kUndecided);
}

TEST(CheckSweep, InsideIsClear)
{
    Scene scene({Slide({0, 0, 1})});
    scene.path.to = {3};
    const SweepResult met =
        scene.Run(Block(1, {-1, -1, -1}, {1, 1, 1}), Block(0, {-9, -9, -9}, {9, 9, 9}), 0);
    EXPECT_EQ(met.outcome, Outcome::kContact);
    EXPECT_TRUE(met.inside);
    EXPECT_EQ(met.time, 0);
}

/// Lemma C3, of corners at each height: none within the true circle, none beyond the chord.
TEST(CheckShape, RoundBodiesHoldTheTrueOnes)
{
    for (const double radius : {0.05, 3.0, 80.0, 2000.0})
        for (const double chord : {0.001, 0.02}) {
            const MeshPtr mesh = Revolved({{radius, 0}, {radius, 7}}, chord);
            ASSERT_TRUE(mesh);
            scapi_mesh_info info{};
            scapi_mesh_get_info(mesh.get(), &info);
            std::vector<float> corners(std::size_t(info.triangles) * 9);
            scapi_mesh_triangles(mesh.get(), 0, info.triangles, corners.data());
            double farthest = 0, nearest = HUGE_VAL;
            for (std::size_t i = 0; i < corners.size(); i += 9)
                for (std::size_t k = 0; k < 3; ++k) {
                    const float *p = &corners[i + 3 * k], *q = &corners[i + 3 * ((k + 1) % 3)];
                    farthest = std::max(farthest, std::hypot(double(p[0]), p[1]));
                    const bool rim = std::hypot(p[0], p[1]) > 0 && std::hypot(q[0], q[1]) > 0;
                    if (rim && p[2] == q[2])
                        nearest = std::min(nearest, std::hypot(0.5 * (double(p[0]) + q[0]),
                                                               0.5 * (double(p[1]) + q[1])));
                }
            const double rounding = 1e-7 * radius;
            EXPECT_GE(nearest, radius - rounding) << radius << " " << chord;
            EXPECT_LE(farthest, radius + chord + rounding) << radius << " " << chord;
        }
}

} // namespace
