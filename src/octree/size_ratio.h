// The decision whether an element of a mesh is too large, and how finely it is cut.
#ifndef SCAPI_OCTREE_SIZE_RATIO_H
#define SCAPI_OCTREE_SIZE_RATIO_H

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

/// @param bbox  of the solid, which holds every element that will be judged
SizeLimit MakeSizeLimit(const float* limit, const float* bbox);

/// Judges an element by its box, on the axis on which it is largest relative to the limit.
Cut DecideCut(const SizeLimit& limit, const float* box);

#endif
