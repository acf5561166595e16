// Owners and shorthand for tests that use the proximity library as a host does.
#ifndef SCAPI_TESTS_PROXIMITY_SUPPORT_H
#define SCAPI_TESTS_PROXIMITY_SUPPORT_H

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "scapi/proximity.h"

struct ReleaseMesh {
    void operator()(scapi_mesh* mesh) const { scapi_mesh_release(mesh); }
};
using MeshPtr = std::unique_ptr<scapi_mesh, ReleaseMesh>;
struct DestroyQuery {
    void operator()(scapi_query* query) const { scapi_query_destroy(query); }
};
using QueryPtr = std::unique_ptr<scapi_query, DestroyQuery>;
struct DestroyScene {
    void operator()(scapi_scene* scene) const { scapi_scene_destroy(scene); }
};
using ScenePtr = std::unique_ptr<scapi_scene, DestroyScene>;

using Pose = std::array<double, 12>;
using Point = std::array<double, 3>;

constexpr Pose kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
inline Pose At(double x, double y, double z) { return {1, 0, 0, x, 0, 1, 0, y, 0, 0, 1, z}; }
/// Turned about the z axis, then moved.
inline Pose TurnedZ(double angle, double x, double y, double z)
{
    const double c = std::cos(angle), s = std::sin(angle);
    return {c, -s, 0, x, s, c, 0, y, 0, 0, 1, z};
}
/// First `inner`, then `outer`.
Pose Compose(const Pose& outer, const Pose& inner);
Pose RandomPose(std::mt19937& random, double distance);
Point Place(const Pose& pose, const Point& point);

QueryPtr MakeQuery();
ScenePtr MakeScene();
MeshPtr Box(const Point& low, const Point& high);
MeshPtr Cylinder(double radius, double height, int segments);
/// Nine floats a triangle. @return null when they are refused
MeshPtr FromFloats(const std::vector<float>& corners);
/// A closed, bumpy sphere round the origin of about 4 * rings * rings triangles.
std::vector<float> SphereFloats(int rings, double radius, double bumps);
/// The boundary of `outer` with a cavity: both boxes, the inner one turned inside out.
std::vector<float> BoxFloats(const Point& low, const Point& high, bool insideOut = false);

scapi_options Within(double tolerance, double resolution = 0, std::uint32_t flags = 0);
scapi_motion Rest(const Pose& pose);
scapi_motion Straight(const Pose& pose, const Point& path);
scapi_motion Turn(const Pose& pose, const Point& pivot, const Point& axis, double angle,
                  const Point& path = {0, 0, 0});

/// Calls that must succeed.
scapi_result Distance(const MeshPtr& a, const Pose& poseA, const MeshPtr& b, const Pose& poseB,
                      const scapi_options& options = Within(0));
scapi_result AskWithin(const MeshPtr& a, const Pose& poseA, const MeshPtr& b, const Pose& poseB,
                       const scapi_options& options);
scapi_impact Impact(const MeshPtr& a, const scapi_motion& motionA, const MeshPtr& b,
                    const scapi_motion& motionB, const scapi_options& options);

#endif
