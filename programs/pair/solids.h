// The two solids as meshes of the proximity library.
#ifndef SCAPI_PROGRAMS_PAIR_SOLIDS_H
#define SCAPI_PROGRAMS_PAIR_SOLIDS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "arguments.h"
#include "scapi/proximity.h"

namespace pair
{

struct MeshRelease {
    void operator()(scapi_mesh* mesh) const { scapi_mesh_release(mesh); }
};

using MeshOwner = std::unique_ptr<scapi_mesh, MeshRelease>;

struct Solid {
    std::string name; ///< file name without folders, or the text of a box or cylinder
    MeshOwner mesh;
    scapi_mesh_info info{};
};

/// Reads a file, or makes a box or a cylinder of 32 segments.
/// @return an error message that says what to do, empty when all is well
std::string LoadSolid(const Source& source, Solid& solid);

/// Nine floats for each triangle.
std::vector<float> Corners(const Solid& solid);

} // namespace pair

#endif
