// The last steps of every load of a mesh.
#ifndef SCAPI_MESH_FINISH_H
#define SCAPI_MESH_FINISH_H

#include "scapi/solid.h"

/// Of the SLD file. Files of another version are not read.
constexpr int kFormatVersion = 10118;

/// Sets center, tolerance and fileVersion and builds the octree.
/// @pre  set: triangles with their normals, all counts and capacities, baseTriangleCount, bbox
void FinishLoad(SOLIDC& solid);

/// Sets capacities, bbox and baseTriangleCount of a primitive, then calls FinishLoad. The boxes of
/// its triangles stay empty until refinement computes them.
/// @pre  set: triangles with their normals, triangleCount
void FinishPrimitive(SOLIDC& solid);

#endif
