// The edges that one triangle adds to the walk over a solid in motion, computed on the spot from
// the matrices of the motion, with the operations and the rounding of SC_GTsweep.
#ifndef SCAPI_QUERY_PROBE_EDGES_H
#define SCAPI_QUERY_PROBE_EDGES_H

#include "bvh/query_trees.h"
#include "scapi/solid.h"

struct PlacedEdge {
    float ends[2][3];
    float box[6];
};

/// Of one triangle: its own edges, or the diagonals, sweep lines and rims of its swept quads.
struct PlacedEdges {
    int count = 0;
    PlacedEdge edge[9];
};

// Both give what SC_GetSweepEdgesInBbox would give of a triangle in a whole walk with `box`,
// without repetitions: the steps that the walk skips after a hit in the triangle before, or in this
// one, are skipped here too. ProbeTrees must have accepted the solid, and IsPlainMotion must hold.

/// The triangle's own edges.
/// @param trailing  whether those of a trailing triangle are asked for; on a solid at rest none
///                  trails
void CollectOwnEdges(const SOLIDC& solid, const Probe& probe, bool trailing, const float* box,
                     PlacedEdges& edges);

/// The edges of its swept quads, which only a trailing triangle has.
void CollectSweptQuadEdges(const SOLIDC& solid, const Probe& probe, const float* box,
                           PlacedEdges& edges);

/// Whether both matrices of the motion are finite and affine, so that the position of each vertex
/// depends on nothing before, and differ by a translation, as SC_GTsweep makes them: a C++ host can
/// write others.
bool IsPlainMotion(const SOLIDC& solid);

#endif
