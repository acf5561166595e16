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
    std::normal_distribution<double> normal;
    double q[4], length = 0;
    for (double& x : q) x = normal(random), length += x * x;
    for (double& x : q) x /= std::sqrt(length);
    std::uniform_real_distribution<double> along(-distance, distance);
    const double w = q[0], x = q[1], y = q[2], z = q[3];
    return {1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
            along(random),           2 * (x * y + w * z),     1 - 2 * (x * x + z * z),
            2 * (y * z - w * x),     along(random),           2 * (x * z - w * y),
            2 * (y * z + w * x),     1 - 2 * (x * x + y * y), along(random)};
}

Point Place(const Pose& pose, const Point& point)
{
    Point out{};
    for (std::size_t i = 0; i < 3; ++i)
        out[i] = pose[4 * i] * point[0] + pose[4 * i + 1] * point[1] + pose[4 * i + 2] * point[2] +
                 pose[4 * i + 3];
    return out;
}

QueryPtr MakeQuery()
{
    scapi_query* query = nullptr;
    EXPECT_EQ(scapi_query_create(&query), SCAPI_OK);
    return QueryPtr(query);
}

ScenePtr MakeScene()
{
    scapi_scene* scene = nullptr;
    EXPECT_EQ(scapi_scene_create(&scene), SCAPI_OK);
    return ScenePtr(scene);
}

MeshPtr Box(const Point& low, const Point& high)
{
    scapi_mesh* mesh = nullptr;
    EXPECT_EQ(scapi_mesh_box(low.data(), high.data(), nullptr, &mesh), SCAPI_OK);
    return MeshPtr(mesh);
}

MeshPtr Cylinder(double radius, double height, int segments)
{
    scapi_mesh_options options{};
    options.size = sizeof options;
    options.segments = segments;
    scapi_mesh* mesh = nullptr;
    EXPECT_EQ(scapi_mesh_cylinder(radius, height, &options, &mesh), SCAPI_OK);
    return MeshPtr(mesh);
}

MeshPtr FromFloats(const std::vector<float>& corners)
{
    scapi_mesh* mesh = nullptr;
    const auto vertices = static_cast<std::int64_t>(corners.size() / 3);
    scapi_mesh_from_arrays(corners.data(), vertices, nullptr, vertices / 3, nullptr, nullptr,
                           &mesh);
    return MeshPtr(mesh);
}

std::vector<float> SphereFloats(int rings, double radius, double bumps)
{
    const int columns = 2 * rings;
    const auto at = [&](int ring, int column) -> std::array<float, 3> {
        const double polar = std::numbers::pi * ring / rings;
        const double turn = 2 * std::numbers::pi * (column % columns) / columns;
        const bool pole = ring == 0 || ring == rings;
        const double r =
            radius * (1 + (pole ? 0 : bumps * std::sin(5 * polar) * std::cos(7 * turn)));
        const double s = pole ? 0 : std::sin(polar);
        return {static_cast<float>(r * s * std::cos(turn)),
                static_cast<float>(r * s * std::sin(turn)),
                static_cast<float>(r * (ring == rings ? -1 : std::cos(polar)))};
    };
    std::vector<float> out;
    const auto add = [&](std::array<float, 3> p) { out.insert(out.end(), p.begin(), p.end()); };
    for (int ring = 0; ring < rings; ++ring)
        for (int column = 0; column < columns; ++column) {
            const auto a = at(ring, column), b = at(ring + 1, column);
            const auto c = at(ring + 1, column + 1), d = at(ring, column + 1);
            if (ring + 1 < rings) add(a), add(b), add(c);
            if (ring > 0) add(a), add(c), add(d);
        }
    return out;
}

std::vector<float> BoxFloats(const Point& low, const Point& high, bool insideOut)
{
    const MeshPtr box = Box(low, high);
    std::vector<float> corners(9 * 12);
    EXPECT_EQ(scapi_mesh_triangles(box.get(), 0, 12, corners.data()), 12);
    for (std::size_t t = 0; insideOut && t < 12; ++t)
        std::swap_ranges(corners.begin() + static_cast<std::ptrdiff_t>(9 * t),
                         corners.begin() + static_cast<std::ptrdiff_t>(9 * t + 3),
                         corners.begin() + static_cast<std::ptrdiff_t>(9 * t + 3));
    return corners;
}

scapi_options Within(double tolerance, double resolution, std::uint32_t flags)
{
    scapi_options options{};
    options.size = sizeof options;
    options.flags = flags;
    options.tolerance = tolerance;
    options.resolution = resolution;
    return options;
}

scapi_motion Rest(const Pose& pose)
{
    scapi_motion motion{};
    std::copy(pose.begin(), pose.end(), motion.start);
    return motion;
}

scapi_motion Straight(const Pose& pose, const Point& path)
{
    scapi_motion motion = Rest(pose);
    std::copy(path.begin(), path.end(), motion.path);
    return motion;
}

scapi_motion Turn(const Pose& pose, const Point& pivot, const Point& axis, double angle,
                  const Point& path)
{
    scapi_motion motion = Straight(pose, path);
    std::copy(pivot.begin(), pivot.end(), motion.pivot);
    std::copy(axis.begin(), axis.end(), motion.axis);
    motion.angle = angle;
    return motion;
}

scapi_result Distance(const MeshPtr& a, const Pose& poseA, const MeshPtr& b, const Pose& poseB,
                      const scapi_options& options)
{
    scapi_result result{};
    EXPECT_EQ(scapi_distance(MakeQuery().get(), a.get(), poseA.data(), b.get(), poseB.data(),
                             &options, &result),
              SCAPI_OK);
    return result;
}

scapi_result AskWithin(const MeshPtr& a, const Pose& poseA, const MeshPtr& b, const Pose& poseB,
                       const scapi_options& options)
{
    scapi_result result{};
    EXPECT_EQ(scapi_within(MakeQuery().get(), a.get(), poseA.data(), b.get(), poseB.data(),
                           &options, &result),
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
