// Bodies as a job describes them, made into meshes.
#ifndef SCAPI_CHECK_SHAPE_H
#define SCAPI_CHECK_SHAPE_H

#include <memory>
#include <vector>

#include "json_file.h"
#include "scapi/proximity.h"

namespace check
{

template <auto kRelease>
struct Release {
    void operator()(auto* object) const { kRelease(object); }
};
using MeshPtr = std::unique_ptr<scapi_mesh, Release<scapi_mesh_release>>;
using QueryPtr = std::unique_ptr<scapi_query, Release<scapi_query_destroy>>;

/// Outline of a body of revolution: radius and z, z never falling, in mm. It begins and ends at the
/// axis; a disc is added where it does not.
using Profile = std::vector<std::array<double, 2>>;

/// A body that holds all of the true one and reaches at most `chord` farther from the axis
/// (docs/check.md, Lemma C3). @return null where the profile makes no solid
MeshPtr Revolved(const Profile& profile, double chord);

/// The part of a profile from z = low to high. Empty where nothing is between them.
Profile Cut(const Profile& profile, double low, double high);

/// {"cylinder": {"radius", "height"}} or {"profile": [[radius, z], ...]}, in units of `unit` mm.
/// @return empty, with a complaint, where the object has neither or what it has makes no solid
Profile ReadProfile(const Node& object, double unit);

/// {"stl": path} beside the file, {"box": {"low", "high"}}, or a profile.
/// @param unit  mm; "units" in the object is for its STL file
/// @return null, with a complaint, where it is none of them or cannot be read
MeshPtr ReadShape(const Node& object, double unit, double chord);

/// A path as a file names it, from the folder of that file. Absolute paths stay.
std::string BesideOf(const std::string& file, const std::string& path);

} // namespace check

#endif
