#ifndef PROXIMITY_MESH_READ_STL_H
#define PROXIMITY_MESH_READ_STL_H

#include "proximity/mesh/triangles.h"

namespace proximity
{

/// Reads all facets of an STL file, text or binary, told by a trial of the first facets. Unlike a
/// load of the core, which keeps what it could read, this fails where a facet is damaged or
/// missing: a mesh with holes would be clear of what lies in them.
/// @param swapMarkers  whether the path may end in a marker that cycles the axes
/// @param scale        factor of all coordinates
/// @param triangles    takes the facets, in the order of the file
Failure ReadStl(const char* path, bool swapMarkers, double scale, Triangles& triangles);

} // namespace proximity

#endif
