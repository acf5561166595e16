#ifndef SCAPI_QUERY_SWEPT_FIRST_H
#define SCAPI_QUERY_SWEPT_FIRST_H

#include "bvh/query_trees.h"

/// As a.SC_DetectIntersection(&b) where both are swept: each triangle of a, at rest, against the
/// edges of b. The same walks, started only where a triangle of b can meet the box: the steps
/// between, which find nothing, take the time of that many triangles for each triangle of a.
/// @param movers  of b, whose sweep is settled; its tolerance is finite
/// @return 1 or 0
int DetectSweptFirst(SOLIDC& a, SOLIDC& b, QueryTrees& movers);

#endif
