#ifndef SCAPI_QUERY_SWEPT_FIRST_H
#define SCAPI_QUERY_SWEPT_FIRST_H

#include "scapi/solid.h"

/// As a.SC_DetectIntersection(&b) where a is swept, and so tested at rest and without its octree:
/// each of its triangles against the edges of b. Sweeps are settled.
/// @return 1 or 0
int DetectSweptFirst(SOLIDC& a, SOLIDC& b);

#endif
