#ifndef SCAPI_MESH_SORT_H
#define SCAPI_MESH_SORT_H

#include "scapi/records.h"

/// Order of two triangles along an axis: 1, -1 or 0 as the box minimum of `a` is greater than, less
/// than or equal to that of `b`.
int CompareTriangleBbox(const T_LIST& a, const T_LIST& b, int axis);

#endif
