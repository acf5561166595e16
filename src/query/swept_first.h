#ifndef SCAPI_QUERY_SWEPT_FIRST_H
#define SCAPI_QUERY_SWEPT_FIRST_H

#include "bvh/query_trees.h"

/// As a.SC_DetectIntersection(&b) where both are swept: each triangle of a, at rest, against the
/// edges of b. The same walks, started only at the triangles of b whose box meets that of the
/// triangle of a: stepping over all others would cost the product of both counts.
/// @param probes  of b, whose sweep is settled; its tolerance is finite
/// @return 1 or 0
int DetectSweptFirst(SOLIDC& a, SOLIDC& b, ProbeTree& probes);

#endif
