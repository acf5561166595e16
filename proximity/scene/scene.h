// Many bodies, each pair held against each other.
#ifndef PROXIMITY_SCENE_SCENE_H
#define PROXIMITY_SCENE_SCENE_H

#include <set>

#include "proximity/query/search.h"

namespace proximity
{

struct SceneBody {
    const Body* body; ///< outlives the scene
    std::int32_t group;
    scapi_motion motion;
};

struct Scene {
    std::vector<SceneBody> bodies;
    std::set<std::pair<std::int32_t, std::int32_t>> ignored; ///< the lower number first
};

/// @return SCAPI_OK or SCAPI_ERROR_CANCELLED
int CheckScene(const Scene& scene, const Limits& limits, Scratch& scratch, scapi_pair* pairs,
               std::int64_t capacity, scapi_progress progress, void* user,
               scapi_scene_result& result);

} // namespace proximity

#endif
