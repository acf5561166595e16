// Calls of the proximity library in any order, with any numbers, on small meshes of any kind.
// Nothing may fail but by a code, and an error never reads CLEAR.
#include <utility>
#include <vector>

#include "host.h"
#include "scapi/proximity.h"

namespace
{

struct Caller {
    Choices choices;
    scapi_mesh* meshes[3] = {};
    scapi_query* query = nullptr;
    scapi_scene* scene = nullptr;

    double Number()
    {
        return choices.Of(16) ? choices.Of(41) * 0.25 - 5.0 : choices.Take<double>();
    }
    scapi_mesh* Any() { return meshes[choices.Of(3)]; }

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
    /// With room behind it, as a host of a later version has that says so in `size`.
    struct Roomy {
        scapi_options options;
        std::uint8_t later[24];
    };
    Roomy Options()
    {
        Roomy roomy{};
        scapi_options& options = roomy.options;
        options.size =
            choices.Of(16) ? sizeof options : choices.Take<std::uint32_t>() % sizeof roomy;
        if (choices.Of(16) == 0) roomy.later[choices.Of(24)] = choices.Take<std::uint8_t>();
        options.flags = static_cast<std::uint32_t>(choices.Of(9));
        options.tolerance = 0.1 * Number(), options.resolution = choices.Of(2) * 0.01 * Number();
        options.upper_bound = choices.Of(4) ? 0 : Number();
        options.budget = choices.Of(4) ? 3000 : choices.Of(100);
        return roomy;
    }
    void Make()
    {
        std::vector<float> corners(static_cast<std::size_t>(9 * choices.Of(20)));
        for (float& x : corners) x = TakeFloat(choices);
        double number[6];
        for (double& x : number) x = Number();
        const auto vertices = static_cast<std::int64_t>(corners.size() / 3);
        const int kind = choices.Of(4), segments = 3 + choices.Of(8);
        const scapi_mesh_options options{sizeof options, 0, 0, 0, segments, 0};
        scapi_mesh* mesh = nullptr;
        const int code =
            kind == 0   ? scapi_mesh_box(number, number + 3, nullptr, &mesh)
            : kind == 1 ? scapi_mesh_cone(number[0], number[1], number[2], &options, &mesh)
            : kind == 2 ? scapi_mesh_revolved(number, choices.Of(4), &options, &mesh)
                        : scapi_mesh_from_arrays(corners.data(), vertices, nullptr, vertices / 3,
                                                 nullptr, nullptr, &mesh);
        Require((code == SCAPI_OK) == (mesh != nullptr), "a mesh or a code");
        if (mesh) std::swap(meshes[choices.Of(3)], mesh);
        scapi_mesh_release(mesh);
    }
    void Ask()
    {
        const scapi_motion a = Motion(), b = Motion();
        const Roomy roomy = Options();
        const scapi_options& options = roomy.options;
        const scapi_mesh *x = Any(), *y = Any();
        scapi_result result;
        scapi_impact impact;
        scapi_contacts_result contacts;
        scapi_contact room[4];
        const auto check = [](int code, const auto& answer, double lower, double upper) {
            Require(code == SCAPI_OK || answer.verdict == SCAPI_INDETERMINATE, "never clear");
            Require(lower <= upper, "an interval");
        };
        for (auto* call : {scapi_within, scapi_distance})
            check(call(query, x, a.start, y, b.start, &options, &result), result, result.lower,
                  result.upper);
        check(scapi_contacts(query, x, a.start, y, b.start, &options, room, 4, &contacts), contacts,
              0, 0);
        Require(contacts.stored <= 4 && contacts.stored <= contacts.count, "room");
        check(scapi_time_of_impact(query, x, &a, y, &b, &options, &impact), impact, impact.lower,
              impact.upper);
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
        Roomy roomy = Options();
        scapi_options& options = roomy.options;
        options.budget = 100;
        scapi_scene_result result;
        scapi_pair room[2];
        const int code =
            scapi_scene_check(scene, query, &options, room, 2, nullptr, nullptr, &result);
        Require(code == SCAPI_OK || result.verdict == SCAPI_INDETERMINATE, "never clear");
    }
    void Look()
    {
        const scapi_diagnose_options options{sizeof options, 1, choices.Of(2) * 0.1, 0};
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
    void (Caller::*const kinds[])() = {&Caller::Make, &Caller::Ask, &Caller::Stage, &Caller::Look};
    while (caller.choices.left) (caller.*kinds[caller.choices.Of(4)])();
    for (scapi_mesh* mesh : caller.meshes) scapi_mesh_release(mesh);
    scapi_scene_destroy(caller.scene);
    scapi_query_destroy(caller.query);
    return 0;
}
