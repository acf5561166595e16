// Triangles of simple solids, facing outwards.
#ifndef PROXIMITY_MESH_SHAPES_H
#define PROXIMITY_MESH_SHAPES_H

#include <span>

#include "proximity/mesh/triangles.h"

namespace proximity
{

/// A point of a profile that is turned round the z axis.
struct ProfilePoint {
    double radius, z;
};

/// How finely a full turn is divided.
struct Chords {
    double tolerance; ///< 0: by segments alone
    int segments;     ///< 0: 32, or what the tolerance asks for
};

int MakeBox(const double* low, const double* high, double scale, Triangles& triangles);

/// @param profile  two points or more; see scapi_mesh_revolved
int MakeRevolved(std::span<const ProfilePoint> profile, const Chords& chords, double scale,
                 Triangles& triangles);

} // namespace proximity

#endif
