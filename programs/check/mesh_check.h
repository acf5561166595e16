// What is wrong with a mesh, and what the solid library makes of its file.
#ifndef SCAPI_CHECK_MESH_CHECK_H
#define SCAPI_CHECK_MESH_CHECK_H

#include "problems.h"
#include "shape.h"

namespace check
{

/// What SCAPI_LoadSTL does with a copy of the file in a folder of its own: nothing is written
/// beside the file. A cache that stands beside it is copied too.
struct CoreLoad {
    int code = 0;
    std::int64_t triangles = 0; ///< after refinement
    std::string cache;          ///< "none", "current", "outdated": beside the file
};

struct MeshReport {
    std::string path;
    MeshPtr mesh;
    scapi_diagnosis diagnosis{};
    CoreLoad core;

    /// A fault that a checker or a cutter would stumble over. Nested shells may be meant.
    bool IsFaulty() const;
};

struct MeshFault {
    const char* name;
    scapi_finding scapi_diagnosis::*finding;
};
/// The kinds of faults that have places, as tables name them.
constexpr MeshFault kMeshFaults[] = {
    {"open edges", &scapi_diagnosis::open_edges},
    {"edges of more than two facets", &scapi_diagnosis::nonmanifold_edges},
    {"edges run twice the same way (flipped)", &scapi_diagnosis::reversed_edges},
    {"doubled facets", &scapi_diagnosis::duplicates},
    {"opposed facets", &scapi_diagnosis::opposed},
    {"degenerate facets", &scapi_diagnosis::degenerate_facets},
    {"self crossings", &scapi_diagnosis::self_crossings}};

/// @return whether the file could be read as a mesh; else a problem
bool CheckMesh(const std::string& path, MeshReport& report, Problems& problems);

std::string MeshText(const MeshReport& report);
std::string MeshJson(const std::vector<MeshReport>& reports);

/// The meshes, one beside the other, with their faults marked.
bool WriteMeshPage(const std::string& path, const std::vector<MeshReport>& reports,
                   Problems& problems);

} // namespace check

#endif
