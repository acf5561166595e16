// The corners of what two triangles share: which there are is decided exactly, where they lie is
// rounded.
#ifndef PROXIMITY_KERNEL_SHARED_POINTS_H
#define PROXIMITY_KERNEL_SHARED_POINTS_H

#include "kernel/triangle_pair.h"

namespace proximity
{

/// Of each of the six edges one point or both ends, and nine crossings of edges in one plane.
constexpr int kMostSharedPoints = 6 * 2 + 9;

struct SharedPoints {
    int count;                          ///< 0 where the triangles are apart
    double point[kMostSharedPoints][3]; ///< the corners of what is shared, and no other points; one
                                        ///< can be there twice, but for rounding
    double mean[3];                     ///< of them; zeros where there are none
};

void SetSharedPoints(const Triangle& a, const Triangle& b, SharedPoints& out);

} // namespace proximity

#endif
