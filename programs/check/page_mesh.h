// Meshes as the report page takes them.
#ifndef SCAPI_CHECK_PAGE_MESH_H
#define SCAPI_CHECK_PAGE_MESH_H

#include "scapi/proximity.h"
#include "view.h"

namespace check
{

inline view::Mesh PageMesh(const scapi_mesh* mesh)
{
    scapi_mesh_info info{};
    scapi_mesh_get_info(mesh, &info);
    const auto triangles = static_cast<std::size_t>(info.triangles);
    std::vector<std::int32_t> indices(3 * triangles);
    view::Mesh out;
    out.vertices.resize(9 * triangles);
    const std::int64_t count = scapi_mesh_indexed(mesh, out.vertices.data(), indices.data());
    out.vertices.resize(count > 0 ? 3 * static_cast<std::size_t>(count) : 0);
    if (count > 0) out.indices.assign(indices.begin(), indices.end());
    return out;
}

} // namespace check

#endif
