#ifndef SCAPI_MESH_SORT_H
#define SCAPI_MESH_SORT_H

#include "scapi/records.h"

/// Compares the box minima of two triangles along an axis. @return 1 when that of `a` is greater,
/// -1 when it is less, 0 otherwise
int CompareTriangleBbox(const T_LIST& a, const T_LIST& b, int axis);

#endif
