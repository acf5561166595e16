// What stands behind the pointers of the interface.
#ifndef PROXIMITY_API_HANDLES_H
#define PROXIMITY_API_HANDLES_H

#include <atomic>
#include <exception>

#include "proximity/scene/scene.h"

struct scapi_mesh {
    explicit scapi_mesh(proximity::Triangles triangles) : body(std::move(triangles)) {}

    std::atomic<int> references{1};
    proximity::Body body;
};

struct scapi_query {
    proximity::Scratch scratch;
};

struct scapi_scene {
    proximity::Scene scene;
    std::vector<scapi_mesh*> meshes; ///< of each body, with a reference each
};

namespace proximity
{

/// Runs the work of a call. The standard library throws where memory ends; nothing may leave the
/// interface.
template <class Work>
auto Guard(Work work) -> decltype(work())
{
    try {
        return work();
    } catch (const std::exception&) {
        return SCAPI_ERROR_MEMORY;
    }
}

} // namespace proximity

#endif
