// The decision whether an element of a mesh is too large, and how finely it is cut.
#ifndef SCAPI_REFINE_SIZE_RATIO_H
#define SCAPI_REFINE_SIZE_RATIO_H

#include "scapi/solid.h"

/// The limit of refinement, and the axes on which it can be reached.
struct SizeLimit {
    float size[3];
    bool reachable[3]; ///< false where floats are too coarse for a cut to make anything smaller
};

/// A cut along an axis; pieces is 0 when the element fits.
struct Cut {
    int axis;
    int pieces;
    float ratio; ///< of the element's size to the limit on that axis
};

/// @param limit  three extents
SizeLimit MakeSizeLimit(const SOLIDC& solid, const float* limit);

/// Judges an element by its box, on the axis on which it is largest relative to the limit.
Cut DecideCut(const SizeLimit& limit, const float* box);

#endif
