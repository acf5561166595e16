// What within, distance, contacts and time of impact say of one scene must agree.
#include <cmath>
#include <vector>

#include "host.h"
#include "scapi/proximity.h"

namespace
{

constexpr scapi_motion kRest{{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, {}, {}, {}, 0};

/// Coordinates on a coarse grid, so that much of it touches, or anywhere.
scapi_mesh* MakeMesh(Choices& choices)
{
    scapi_mesh* mesh = nullptr;
    if (choices.Of(2)) {
        const double low[3] = {};
        const double high[3] = {1.0 + choices.Of(4), 1.0 + choices.Of(4), 1.0 + choices.Of(4)};
        scapi_mesh_box(low, high, nullptr, &mesh);
        return mesh;
    }
    std::vector<float> corners(static_cast<std::size_t>(9 * (1 + choices.Of(12))));
    const bool grid = choices.Of(2) != 0;
    for (float& x : corners)
        x = static_cast<float>(grid ? choices.Of(5) : choices.Take<std::int16_t>() * 1e-4);
    const auto vertices = static_cast<std::int64_t>(corners.size() / 3);
    scapi_mesh_from_arrays(corners.data(), vertices, nullptr, vertices / 3, nullptr, nullptr,
                           &mesh);
    return mesh;
}

scapi_motion MakeMotion(Choices& choices)
{
    scapi_motion motion = kRest;
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

void HoldAgainstEachOther(const scapi_mesh* a, const scapi_mesh* b, scapi_query* query,
                          const scapi_motion& motion, const scapi_options& options)
{
    scapi_result within, distance;
    scapi_contacts_result contacts;
    scapi_contact room[8];
    scapi_impact impact;
    scapi_within(query, a, kRest.start, b, motion.start, &options, &within);
    scapi_distance(query, a, kRest.start, b, motion.start, &options, &distance);
    scapi_contacts(query, a, kRest.start, b, motion.start, &options, room, 8, &contacts);
    scapi_time_of_impact(query, a, &kRest, b, &motion, &options, &impact);
    const double tolerance = options.tolerance, most = tolerance + options.resolution;
    for (const int verdict : {within.verdict, distance.verdict, contacts.verdict}) {
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
        Require(scapi_motion_pose(&motion, time, pose) == SCAPI_OK, "a pose");
        scapi_distance(query, a, kRest.start, b, pose, &options, &distance);
        // The pose is rounded, the motion is not.
        Require(distance.upper > tolerance - 1e-9, "contact before the time of impact");
    }
    if (impact.verdict == SCAPI_CONTACT) Require(distance.lower <= most + 1e-9, "no contact there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices{data, size};
    scapi_mesh *a = MakeMesh(choices), *b = MakeMesh(choices);
    scapi_query* query = nullptr;
    scapi_query_create(&query);
    const scapi_options options{sizeof options, 0, 0.01 * choices.Of(20), 1e-3, 0, 0};
    for (int i = 0; i < 4; ++i) HoldAgainstEachOther(a, b, query, MakeMotion(choices), options);
    scapi_query_destroy(query);
    scapi_mesh_release(a), scapi_mesh_release(b);
    return 0;
}
