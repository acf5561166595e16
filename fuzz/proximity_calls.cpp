// Calls of the proximity library in any order, with any numbers, on small meshes of any kind.
// Nothing may fail but by a code, and an error never reads CLEAR.
#include <array>
#include <memory>
#include <vector>

#include "host.h"
#include "scapi/proximity.h"

namespace
{

struct Release {
    void operator()(scapi_mesh* mesh) const { scapi_mesh_release(mesh); }
};

struct Caller {
    Choices choices;
    std::array<std::unique_ptr<scapi_mesh, Release>, 3> meshes{};
    scapi_query* query = nullptr;
    scapi_scene* scene = nullptr;

    double Number()
    {
        return choices.Of(16) ? choices.Of(41) * 0.25 - 5.0 : choices.Take<double>();
    }
    scapi_mesh* Any() { return meshes[static_cast<std::size_t>(choices.Of(3))].get(); }

    scapi_motion Motion()
    {
        scapi_motion motion{};
        for (int i : {0, 5, 10}) motion.start[i] = choices.Of(32) ? 1 : Number();
        for (int i : {3, 7, 11}) motion.start[i] = Number();
        for (int i = 0; i < 3; ++i) motion.path[i] = Number(), motion.pivot[i] = Number();
        motion.axis[choices.Of(3)] = choices.Of(16) ? 1 : Number();
        motion.angle = choices.Of(2) ? Number() : 0;
        return motion;
    }
    scapi_options Options()
    {
        scapi_options options{};
        options.size = choices.Of(16) ? sizeof options : choices.Take<std::uint32_t>() % 64;
        options.flags = static_cast<std::uint32_t>(choices.Of(9));
        options.tolerance = 0.1 * Number(),
        options.resolution = choices.Of(2) ? 0.01 * Number() : 0;
        options.upper_bound = choices.Of(4) ? 0 : Number();
        options.budget = choices.Of(4) ? 3000 : choices.Of(100);
        return options;
    }
    void Make()
    {
        std::vector<float> corners(static_cast<std::size_t>(9 * choices.Of(20)));
        for (float& x : corners) x = TakeFloat(choices);
        scapi_mesh* mesh = nullptr;
        const double low[3] = {Number(), Number(), Number()},
                     high[3] = {Number(), Number(), Number()};
        const double profile[6] = {low[0], low[1], low[2], high[0], high[1], high[2]};
        const auto vertices = static_cast<std::int64_t>(corners.size() / 3);
        scapi_mesh_options options{};
        options.size = sizeof options, options.segments = 3 + choices.Of(8);
        int code = 0;
        switch (choices.Of(4)) {
        case 0:
            code = scapi_mesh_box(low, high, nullptr, &mesh);
            break;
        case 1:
            code = scapi_mesh_cone(low[0], low[1], high[0], &options, &mesh);
            break;
        case 2:
            code = scapi_mesh_revolved(profile, choices.Of(4), &options, &mesh);
            break;
        default:
            code = scapi_mesh_from_arrays(corners.data(), vertices, nullptr, vertices / 3, nullptr,
                                          nullptr, &mesh);
        }
        Require((code == SCAPI_OK) == (mesh != nullptr), "a mesh or a code");
        if (mesh) meshes[static_cast<std::size_t>(choices.Of(3))].reset(mesh);
    }
    void Ask()
    {
        const scapi_motion a = Motion(), b = Motion();
        const scapi_options options = Options();
        const scapi_mesh *x = Any(), *y = Any();
        scapi_result result;
        scapi_impact impact;
        scapi_contacts_result contacts;
        scapi_contact room[4];
        const auto check = [](int code, int verdict, double lower, double upper) {
            Require(code == SCAPI_OK || verdict == SCAPI_INDETERMINATE, "an error is never clear");
            Require(lower <= upper, "an interval");
        };
        int code = scapi_within(query, x, a.start, y, b.start, &options, &result);
        check(code, result.verdict, result.lower, result.upper);
        code = scapi_distance(query, x, a.start, y, b.start, &options, &result);
        check(code, result.verdict, result.lower, result.upper);
        code = scapi_contacts(query, x, a.start, y, b.start, &options, room, 4, &contacts);
        check(code, contacts.verdict, 0, 0);
        Require(contacts.stored <= 4 && contacts.stored <= contacts.count, "room");
        code = scapi_time_of_impact(query, x, &a, y, &b, &options, &impact);
        check(code, impact.verdict, impact.lower, impact.upper);
        Require(0 <= impact.t_clear && impact.t_clear <= 1, "a time");
    }
    void Stage()
    {
        const scapi_motion motion = Motion();
        const int bodies = scapi_scene_add(scene, Any(), choices.Of(3));
        scapi_scene_move(scene, choices.Of(4), &motion);
        scapi_scene_place(scene, choices.Of(4), motion.start);
        if (choices.Of(4) == 0) scapi_scene_ignore(scene, choices.Of(5), choices.Of(5));
        if (bodies > 6) return;
        scapi_options options = Options();
        options.budget = 100;
        scapi_scene_result result;
        scapi_pair room[2];
        const int code =
            scapi_scene_check(scene, query, &options, room, 2, nullptr, nullptr, &result);
        Require(code == SCAPI_OK || result.verdict == SCAPI_INDETERMINATE,
                "an error is never clear");
    }
    void Look()
    {
        scapi_diagnose_options options{};
        options.size = sizeof options, options.flags = 1, options.weld = choices.Of(2) * 0.1;
        scapi_diagnosis diagnosis;
        scapi_mesh_info info;
        float corners[18];
        scapi_diagnose(Any(), &options, &diagnosis);
        scapi_mesh_get_info(Any(), &info);
        scapi_mesh_triangles(Any(), choices.Of(8), 2, corners);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Caller caller{{data, size}};
    scapi_query_create(&caller.query);
    scapi_scene_create(&caller.scene);
    while (caller.choices.left) {
        switch (caller.choices.Of(4)) {
        case 0:
            caller.Make();
            break;
        case 1:
            caller.Ask();
            break;
        case 2:
            caller.Stage();
            break;
        default:
            caller.Look();
        }
    }
    scapi_scene_destroy(caller.scene);
    scapi_query_destroy(caller.query);
    return 0;
}
