// The edges that one triangle adds to the walk over a solid in motion, computed on the spot from
// the matrices of the motion, with the operations and the rounding of SC_GTsweep.
#ifndef SCAPI_QUERY_PROBE_EDGES_H
#define SCAPI_QUERY_PROBE_EDGES_H

#include "bvh/query_trees.h"
#include "scapi/solid.h"

struct MovedEdge {
    float ends[2][3];
    float box[6];
};

/// Of one triangle: its own edges, or the diagonals, sweep lines and rims of its walls.
struct MovedPieces {
    int count = 0;
    MovedEdge edge[9];
};

// Both give what SC_GetSweepEdgesInBbox would give of a triangle in a whole walk with `box`,
// leaving out repetitions: with the steps that hits of the triangle before, and of this one,
// swallow. MoverTrees must have accepted the solid, and MotionIsPlain must hold.

/// The triangle's own edges, if it trails as asked; every triangle of a solid at rest does not.
void CollectOwnEdges(const SOLIDC& solid, const Mover& mover, bool trailing, const float* box,
                     MovedPieces& pieces);

/// The edges of its walls, which only a trailing triangle has.
void CollectWallEdges(const SOLIDC& solid, const Mover& mover, const float* box,
                      MovedPieces& pieces);

/// Whether both matrices of the motion are finite and affine, so that every vertex has a place in
/// it that depends on nothing before.
bool MotionIsPlain(const SOLIDC& solid);

#endif
