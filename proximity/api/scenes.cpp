#include "proximity/api/handles.h"
#include "proximity/api/options.h"

using namespace proximity;

namespace
{

bool NamesBody(const scapi_scene& scene, std::int32_t body)
{
    return 0 <= body && static_cast<std::size_t>(body) < scene.scene.bodies.size();
}

scapi_motion AtRest(const double* pose)
{
    scapi_motion motion{};
    std::copy(pose, pose + 12, motion.start);
    return motion;
}

} // namespace

extern "C" {

int scapi_scene_create(scapi_scene** out)
{
    if (!out) return SCAPI_ERROR_NULL;
    *out = nullptr;
    return Guard([&]() -> int {
        *out = new scapi_scene;
        return SCAPI_OK;
    });
}

void scapi_scene_destroy(scapi_scene* scene)
{
    if (!scene) return;
    for (scapi_mesh* mesh : scene->meshes) scapi_mesh_release(mesh);
    delete scene;
}

int scapi_scene_add(scapi_scene* scene, scapi_mesh* mesh, std::int32_t group)
{
    if (!scene || !mesh) return SCAPI_ERROR_NULL;
    return Guard([&]() -> int {
        constexpr double kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
        scene->scene.bodies.reserve(scene->scene.bodies.size() + 1);
        scene->meshes.push_back(mesh);
        scene->scene.bodies.push_back({&mesh->body, group, AtRest(kIdentity)});
        scapi_mesh_retain(mesh);
        return static_cast<int>(scene->meshes.size()) - 1;
    });
}

int scapi_scene_place(scapi_scene* scene, std::int32_t body, const double pose[12])
{
    if (!scene || !pose) return SCAPI_ERROR_NULL;
    if (!NamesBody(*scene, body)) return SCAPI_ERROR_BODY;
    if (const int code = CheckPose(pose); code != SCAPI_OK) return code;
    scene->scene.bodies[static_cast<std::size_t>(body)].motion = AtRest(pose);
    return SCAPI_OK;
}

int scapi_scene_move(scapi_scene* scene, std::int32_t body, const scapi_motion* motion)
{
    if (!scene || !motion) return SCAPI_ERROR_NULL;
    if (!NamesBody(*scene, body)) return SCAPI_ERROR_BODY;
    if (const int code = CheckMotion(*motion); code != SCAPI_OK) return code;
    scene->scene.bodies[static_cast<std::size_t>(body)].motion = *motion;
    return SCAPI_OK;
}

int scapi_scene_ignore(scapi_scene* scene, std::int32_t body_a, std::int32_t body_b)
{
    if (!scene) return SCAPI_ERROR_NULL;
    if (!NamesBody(*scene, body_a) || !NamesBody(*scene, body_b)) return SCAPI_ERROR_BODY;
    return Guard([&]() -> int {
        scene->scene.ignored.insert({std::min(body_a, body_b), std::max(body_a, body_b)});
        return SCAPI_OK;
    });
}

int scapi_scene_check(scapi_scene* scene, scapi_query* query, const scapi_options* options,
                      scapi_pair* pairs, std::int64_t capacity, scapi_progress progress, void* user,
                      scapi_scene_result* result)
{
    if (!result) return SCAPI_ERROR_NULL;
    *result = {};
    if (!scene || !query || (capacity > 0 && !pairs)) return SCAPI_ERROR_NULL;
    if (capacity < 0) return SCAPI_ERROR_INDEX;
    Limits limits;
    if (const int code = ReadLimits(options, limits); code != SCAPI_OK) return code;
    const int code = Guard([&] {
        return CheckScene(scene->scene, limits, query->scratch, pairs, capacity, progress, user,
                          *result);
    });
    if (code != SCAPI_OK) result->verdict = SCAPI_INDETERMINATE;
    return code;
}

} // extern "C"
