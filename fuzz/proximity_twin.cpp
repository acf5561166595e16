// What within, distance, contacts and time of impact say of one scene must agree.
#include <cmath>
#include <vector>

#include "host.h"
#include "scapi/proximity.h"

namespace
{

struct Scene {
    scapi_mesh *a = nullptr, *b = nullptr;
    scapi_query* query = nullptr;
    scapi_motion rest{}, motion{};
    scapi_options options{};
};

/// Coordinates on a coarse grid, so that much of it touches, or anywhere.
scapi_mesh* MakeMesh(Choices& choices)
{
    scapi_mesh* mesh = nullptr;
    if (choices.Of(2)) {
        const double low[3] = {0, 0, 0};
        const double high[3] = {1.0 + choices.Of(4), 1.0 + choices.Of(4), 1.0 + choices.Of(4)};
        scapi_mesh_box(low, high, nullptr, &mesh);
        return mesh;
    }
    std::vector<float> corners(static_cast<std::size_t>(9 * (1 + choices.Of(12))));
    const bool grid = choices.Of(2) != 0;
    for (float& x : corners)
        x = grid ? static_cast<float>(choices.Of(5))
                 : static_cast<float>(choices.Take<std::int16_t>()) * 1e-4f;
    const auto vertices = static_cast<std::int64_t>(corners.size() / 3);
    scapi_mesh_from_arrays(corners.data(), vertices, nullptr, vertices / 3, nullptr, nullptr,
                           &mesh);
    return mesh;
}

scapi_motion MakeMotion(Choices& choices)
{
    scapi_motion motion{};
    for (int i : {0, 5, 10}) motion.start[i] = 1;
    if (choices.Of(2)) {
        const double angle = choices.Of(256) * 0.0245;
        motion.start[0] = motion.start[5] = std::cos(angle);
        motion.start[4] = std::sin(angle), motion.start[1] = -motion.start[4];
    }
    for (int i : {3, 7, 11}) motion.start[i] = choices.Of(33) * 0.5 - 8;
    for (double& x : motion.path) x = choices.Of(33) - 16;
    motion.axis[choices.Of(3)] = 1;
    motion.angle = choices.Of(2) ? choices.Of(200) * 0.05 - 5 : 0;
    return motion;
}

bool IsContact(int verdict) { return verdict == SCAPI_CONTACT || verdict == SCAPI_START_CONTACT; }

void HoldAgainstEachOther(const Scene& s)
{
    scapi_result within, distance;
    scapi_contacts_result contacts;
    scapi_contact room[8];
    scapi_impact impact;
    scapi_within(s.query, s.a, s.rest.start, s.b, s.motion.start, &s.options, &within);
    scapi_distance(s.query, s.a, s.rest.start, s.b, s.motion.start, &s.options, &distance);
    scapi_contacts(s.query, s.a, s.rest.start, s.b, s.motion.start, &s.options, room, 8, &contacts);
    scapi_time_of_impact(s.query, s.a, &s.rest, s.b, &s.motion, &s.options, &impact);
    const double tolerance = s.options.tolerance, most = tolerance + s.options.resolution;
    const int verdicts[] = {within.verdict, distance.verdict, contacts.verdict};
    for (const int verdict : verdicts) {
        Require(verdict != SCAPI_CLEAR || distance.upper > tolerance, "clear, but near");
        Require(!IsContact(verdict) || distance.lower <= most, "contact, but far");
        Require((verdict == SCAPI_INSIDE) == (distance.verdict == SCAPI_INSIDE) ||
                    IsContact(verdict) || IsContact(distance.verdict),
                "one relation");
    }
    Require(!IsContact(contacts.verdict) || contacts.count > 0, "a contact without contacts");
    Require(impact.verdict != SCAPI_START_CONTACT || distance.lower <= most, "a start in contact");
    if (impact.verdict != SCAPI_CONTACT && impact.verdict != SCAPI_CLEAR) return;
    const double end = impact.verdict == SCAPI_CLEAR ? 1 : impact.t_clear;
    for (int k = 0; k <= 8; ++k) {
        double pose[12];
        const double time = end * k / 8.0;
        Require(scapi_motion_pose(&s.motion, time, pose) == SCAPI_OK, "a pose");
        scapi_distance(s.query, s.a, s.rest.start, s.b, pose, &s.options, &distance);
        // The pose is rounded, the motion is not.
        Require(distance.upper > tolerance - 1e-9, "contact before the time of impact");
    }
    if (impact.verdict == SCAPI_CONTACT) Require(distance.lower <= most + 1e-9, "no contact there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices{data, size};
    Scene s;
    s.a = MakeMesh(choices), s.b = MakeMesh(choices);
    scapi_query_create(&s.query);
    for (int i : {0, 5, 10}) s.rest.start[i] = 1;
    s.options.size = sizeof s.options;
    s.options.tolerance = 0.01 * choices.Of(20), s.options.resolution = 1e-3;
    for (int i = 0; i < 4; ++i) {
        s.motion = MakeMotion(choices);
        HoldAgainstEachOther(s);
    }
    scapi_query_destroy(s.query);
    scapi_mesh_release(s.a), scapi_mesh_release(s.b);
    return 0;
}
