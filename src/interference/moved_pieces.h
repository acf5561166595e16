// The edges that one triangle adds to the walk over a solid in motion, computed on the spot from
// the matrices of the motion, with the operations and the rounding of SC_GTsweep.
#ifndef SCAPI_INTERFERENCE_MOVED_PIECES_H
#define SCAPI_INTERFERENCE_MOVED_PIECES_H

#include "scapi/solid.h"

struct MovedEdge {
    float ends[2][3];
    float box[6];
};

/// Of one triangle: its own edges, and the diagonal, sweep line and rim of three walls.
struct MovedPieces {
    int count = 0;
    MovedEdge edge[12];
};

/// The edges of triangle `index` that SC_GetSweepEdgesInBbox would give between this triangle and
/// the next in a whole walk with `box`, leaving out repetitions: with the steps that hits of the
/// triangle before, and of this one, swallow.
/// @pre  MoverTrees has accepted the solid, MotionIsPlain holds
void CollectPieces(const SOLIDC& solid, int index, const float* box, MovedPieces& pieces);

/// Whether both matrices of the motion are finite and affine, so that every vertex has a place in
/// it that depends on nothing before.
bool MotionIsPlain(const SOLIDC& solid);

#endif
