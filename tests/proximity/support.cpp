#include "support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numbers>

Pose Compose(const Pose& outer, const Pose& inner)
{
    Pose out{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 4; ++j) {
            for (std::size_t k = 0; k < 3; ++k)
                out[4 * i + j] += outer[4 * i + k] * inner[4 * k + j];
            if (j == 3) out[4 * i + j] += outer[4 * i + 3];
        }
    return out;
}

Pose RandomPose(std::mt19937& random, double distance)
{
    std::uniform_real_distribution<double> angle(-std::numbers::pi, std::numbers::pi);
    std::uniform_real_distribution<double> along(-distance, distance);
    constexpr Pose kNextAxis{0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0};
    Pose pose = kIdentity;
    for (int turn = 0; turn < 3; ++turn)
        pose = Compose(TurnedZ(angle(random), 0, 0, 0), Compose(kNextAxis, pose));
    for (const std::size_t k : {3u, 7u, 11u}) pose[k] = along(random);
    return pose;
}

scapi_mesh_options Sides(int segments)
{
    scapi_mesh_options options{};
    options.size = sizeof options, options.segments = segments;
    return options;
}

MeshPtr Box(const Point& low, const Point& high)
{
    return Make<MeshPtr>(scapi_mesh_box, low.data(), high.data(), nullptr);
}

MeshPtr Cylinder(double radius, double height, int segments)
{
    const scapi_mesh_options options = Sides(segments);
    return Make<MeshPtr>(scapi_mesh_cylinder, radius, height, &options);
}

MeshPtr FromFloats(const Floats& corners)
{
    const auto vertices = static_cast<std::int64_t>(corners.size() / 3);
    return Make<MeshPtr>(scapi_mesh_from_arrays, corners.data(), vertices, nullptr, vertices / 3,
                         nullptr, nullptr);
}

Floats SphereFloats(int rings, double radius, double bumps)
{
    Floats out;
    const auto add = [&](int ring, int column) {
        const double polar = std::numbers::pi * ring / rings;
        const double turn = std::numbers::pi * (column % (2 * rings)) / rings;
        const bool pole = ring % rings == 0;
        const double bump = pole ? 0 : bumps * std::sin(5 * polar) * std::cos(7 * turn);
        const double r = radius * (1 + bump), side = pole ? 0 : r * std::sin(polar);
        for (double x : {side * std::cos(turn), side * std::sin(turn), r * std::cos(polar)})
            out.push_back(static_cast<float>(x));
    };
    for (int ring = 0; ring < rings; ++ring)
        for (int column = 0; column < 2 * rings; ++column) {
            if (ring + 1 < rings)
                add(ring, column), add(ring + 1, column), add(ring + 1, column + 1);
            if (ring > 0) add(ring, column), add(ring + 1, column + 1), add(ring, column + 1);
        }
    return out;
}

Floats BoxFloats(const Point& low, const Point& high, bool insideOut)
{
    Floats corners(9 * 12);
    EXPECT_EQ(scapi_mesh_triangles(Box(low, high).get(), 0, 12, corners.data()), 12);
    for (std::size_t t = 0; insideOut && t < 12; ++t)
        std::swap_ranges(&corners[9 * t], &corners[9 * t + 3], &corners[9 * t + 3]);
    return corners;
}

Floats Joined(Floats first, const Floats& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

scapi_options Within(double tolerance, double resolution, std::uint32_t flags)
{
    return {sizeof(scapi_options), flags, tolerance, resolution, 0, 0};
}

scapi_motion Turn(const Pose& pose, const Point& pivot, const Point& axis, double angle,
                  const Point& path)
{
    scapi_motion motion{};
    std::copy(pose.begin(), pose.end(), motion.start);
    std::copy(path.begin(), path.end(), motion.path);
    std::copy(pivot.begin(), pivot.end(), motion.pivot);
    std::copy(axis.begin(), axis.end(), motion.axis);
    motion.angle = angle;
    return motion;
}

scapi_result Ask(decltype(scapi_within)* call, const MeshPtr& a, const Pose& poseA,
                 const MeshPtr& b, const Pose& poseB, const scapi_options& options)
{
    scapi_result result{};
    EXPECT_EQ(
        call(MakeQuery().get(), a.get(), poseA.data(), b.get(), poseB.data(), &options, &result),
        SCAPI_OK);
    return result;
}

scapi_impact Impact(const MeshPtr& a, const scapi_motion& motionA, const MeshPtr& b,
                    const scapi_motion& motionB, const scapi_options& options)
{
    scapi_impact result{};
    EXPECT_EQ(scapi_time_of_impact(MakeQuery().get(), a.get(), &motionA, b.get(), &motionB,
                                   &options, &result),
              SCAPI_OK);
    return result;
}
