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

template <auto kRelease>
struct Release {
    void operator()(auto* object) const { kRelease(object); }
};
using MeshPtr = std::unique_ptr<scapi_mesh, Release<scapi_mesh_release>>;
using QueryPtr = std::unique_ptr<scapi_query, Release<scapi_query_destroy>>;
using ScenePtr = std::unique_ptr<scapi_scene, Release<scapi_scene_destroy>>;

/// What a call hands out by its last argument, null when it refuses.
template <class Owner>
Owner Make(auto call, auto... arguments)
{
    typename Owner::pointer made = nullptr;
    call(arguments..., &made);
    return Owner(made);
}
inline QueryPtr MakeQuery() { return Make<QueryPtr>(scapi_query_create); }
inline ScenePtr MakeScene() { return Make<ScenePtr>(scapi_scene_create); }

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

scapi_mesh_options Sides(int segments);
MeshPtr Box(const Point& low, const Point& high);
MeshPtr Cylinder(double radius, double height, int segments);

using Floats = std::vector<float>; ///< nine a triangle
/// @return null when they are refused
MeshPtr FromFloats(const Floats& corners);
/// A closed, bumpy sphere round the origin of about 4 * rings * rings triangles.
Floats SphereFloats(int rings, double radius, double bumps);
Floats BoxFloats(const Point& low, const Point& high, bool insideOut = false);
Floats Joined(Floats first, const Floats& second);

scapi_options Within(double tolerance, double resolution = 0, std::uint32_t flags = 0);
scapi_motion Turn(const Pose& pose, const Point& pivot, const Point& axis, double angle,
                  const Point& path = {0, 0, 0});
inline scapi_motion Straight(const Pose& pose, const Point& path)
{
    return Turn(pose, {}, {}, 0, path);
}
inline scapi_motion Rest(const Pose& pose) { return Straight(pose, {}); }

/// Calls that must succeed.
scapi_result Ask(decltype(scapi_within)* call, const MeshPtr& a, const Pose& poseA,
                 const MeshPtr& b, const Pose& poseB, const scapi_options& options = Within(0));
inline scapi_result Distance(const auto&... rest) { return Ask(scapi_distance, rest...); }
inline scapi_result AskWithin(const auto&... rest) { return Ask(scapi_within, rest...); }
scapi_impact Impact(const MeshPtr& a, const scapi_motion& motionA, const MeshPtr& b,
                    const scapi_motion& motionB, const scapi_options& options);

#endif
