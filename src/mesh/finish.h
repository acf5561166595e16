// The steps that end every load of a mesh.
#ifndef SCAPI_MESH_FINISH_H
#define SCAPI_MESH_FINISH_H

#include "scapi/solid.h"

constexpr int kFormatVersion = 10118;

/// Sets center and tolerance from bbox, stamps the version and builds the octree.
/// @pre  triangles with their normals, all counts and capacities, baseTriangleCount, bbox
void FinishLoad(SOLIDC& solid);

/// FinishLoad for a primitive: bbox from the corners and baseTriangleCount first. The bbox of the
/// records stays as the maker left it, refinement computes it.
void FinishPrimitive(SOLIDC& solid);

#endif
