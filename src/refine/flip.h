// The flip of an edge: the long diagonal of a flat pair of triangles gives way to the short one.
#ifndef SCAPI_REFINE_FLIP_H
#define SCAPI_REFINE_FLIP_H

#include "scapi/solid.h"

struct FlipJudgement {
    static constexpr int kNothing = -1;

    bool flips;
    int waitsFor; ///< the vertex whose use count alone is too low for the flip, else kNothing
};

/// Reads the edge, the normals and corners of its two triangles, and the positions and use counts
/// of their vertices.
FlipJudgement JudgeFlip(const SOLIDC& solid, const EdgeRec& edge);

/// Edge e then runs from X to Y, its triangles are (X, B, Y) and (Y, A, X). Corners and bbox of
/// both are stale until SubdivideEdges ends.
void Flip(SOLIDC& solid, int e);

/// Whether a vertex can lose a triangle to a flip.
bool CanLoseTriangle(const VertexRec& vertex);

#endif
