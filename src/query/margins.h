// What the bounds of nodes and those of single edges share.
#ifndef SCAPI_QUERY_MARGINS_H
#define SCAPI_QUERY_MARGINS_H

#include "bvh/query_trees.h"

// To an edge of length u a side of length v is parallel that goes across it by less than
// kAcross / u, more than the root of the 1e-5 of parallel segments. Then an end of the edge can lie
// beside the side, in the sphere over it: by v / 2, and by four times that. An end of the side can
// lie beside the edge by kSphereProduct / u and u / 2.
constexpr float kAcross = 0.0033f;
constexpr float kSphereProduct = 0.0064f;

constexpr float kPlaneRounding = 1e-6f; ///< of the height of a point over a plane, relative
constexpr float kBoundRounding = 4e-6f; ///< of sums of some products of floats, relative

/// The longest side of targets that can be parallel to some edges.
/// @param part    of its length that an edge goes along each axis of the targets' boxes
/// @param across  by which a parallel side goes across an edge; both at the most
inline Lanes LongestParallel(const TargetBoxes& targets, const Lanes* part, Lanes across)
{
    constexpr float kRounding = 1e-4f;
    Lanes side = across;
    for (int k = 0; k < 3; ++k) side += part[k] * targets.side[k];
    // What a side along the second axis goes across an edge.
    const Lanes least =
        (1 - part[1]) * targets.alongLeast - part[1] * (targets.side[0] + targets.side[2]);
    return least > (1 + kRounding) * across ? Smaller(side, targets.acrossLongest) : side;
}

#endif
