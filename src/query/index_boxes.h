// The swept boxes of a solid's triangles, to go from one that meets a box to the next by index.
#ifndef SCAPI_QUERY_INDEX_BOXES_H
#define SCAPI_QUERY_INDEX_BOXES_H

#include <vector>

#include "scapi/solid.h"

/// A hierarchy of the boxes as a motion has made them, since one of the triangles at rest can be of
/// no use after a garbled motion.
struct IndexBoxes {
    struct Node {
        float bounds[6];
        int least, most; ///< index of the triangles
    };
    const SOLIDC& solid;
    std::vector<int> order;
    std::vector<Node> node; ///< each followed by those below it, the first half first

    /// @param around  holds all boxes that will be asked about: what does not meet it is left out
    IndexBoxes(const SOLIDC& swept, const float* around);
    /// The first triangle from `index` on whose sweepBbox meets a box, or triangleCount.
    int Next(const float* box, int index) const;
    /// All of them, in order. Less work than Next for each.
    void FindAll(const float* box, std::vector<int>& found) const;
};

#endif
