// Swept boxes of a solid's triangles by index, to go from one that meets a box to the next.
#ifndef SCAPI_QUERY_INDEX_BOXES_H
#define SCAPI_QUERY_INDEX_BOXES_H

#include <vector>

#include "scapi/solid.h"

struct IndexBoxes {
    struct Box {
        float bounds[6];
    };
    const SOLIDC& solid;
    int leaves = 1;        ///< a power of two
    std::vector<Box> node; ///< a complete binary tree; the children of n are 2 n and 2 n + 1

    explicit IndexBoxes(const SOLIDC& swept);
    /// The first triangle from `index` on whose sweepBbox meets a box, or triangleCount.
    int Next(const float* box, int index) const;

private:
    int NextBelow(const float* box, int index, int at, int first, int count) const;
};

#endif
