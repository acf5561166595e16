// Constants and formulas that the bounds of nodes and those of single edges share. docs/query.md
// derives them.
#ifndef SCAPI_QUERY_MARGINS_H
#define SCAPI_QUERY_MARGINS_H

#include "bvh/target_nodes.h"
#include "geometry/predicates.h"

// Parallel segments (Lemma 2). A side counts as parallel to an edge of length u when its component
// across the edge is less than kParallelAcross / u, from the 1e-5 that SegmentsIntersecting
// compares the squared cross product with. An end of one that hits lies beside the other by
// kParallelBeside / u at most, and by half of what it lies beside.
constexpr float kParallelAcross = 0.0033f;
constexpr float kParallelBeside = 0.0064f;

// Rounding (Lemma 1). Relative: of the height of a point over a plane in floats, of sums of a few
// products of floats, and, of doubles, of placed vertices and boxes.
constexpr float kHeightRounding = 2.5e-7f;
constexpr float kSumRounding = 4e-6f;
constexpr double kPlacingRounding = 2e-6;

/// The part of its length by which a hit can lie beyond the end of an edge (Lemma 4).
/// @param rise   lower bound on the difference of the heights of both ends over the target's plane
/// @param error  of the rise, absolute
inline Lanes BeyondFraction(Lanes rise, Lanes error)
{
    const Lanes height = kContact + error;
    return rise > height + height ? height / rise : Splat(1);
}

/// How far a point can lie from the centre of a box of targets along its first axis, up or down,
/// and still be in the plane of a target, within the contact tolerance (Lemma 5).
/// @param stepAlongNormal  along the first axis, of a hit beyond the end of an edge from that end
/// @param beside        the margin of parallel segments
/// @param error         of the distance, absolute
inline Lanes PlaneHeight(const TargetNodes& targets, Lanes stepAlongNormal, Lanes beside,
                         Lanes error)
{
    return targets.box.half[0] + Max(stepAlongNormal, beside * targets.maxDeviation) + error +
           kSumRounding * targets.box.half[0];
}

/// How far an end of an edge can lie beside a side that counts as parallel to it (Lemma 2).
/// @param parallelAcross  component of a parallel side across any of the edges, at most
/// @param longest         side of any target
inline Lanes EdgeEndMargin(Lanes parallelAcross, Lanes longest)
{
    return Min(kParallelBeside / kParallelAcross * parallelAcross, 0.5f * longest);
}

/// The same where more is known.
/// @param side             longest side that can be parallel to those edges of which nothing better
///                         is known
/// @param besideLongEdges  the same margin for the others, 0 if there are none
inline Lanes EdgeEndMargin(Lanes parallelAcross, Lanes longest, Lanes side, Lanes besideLongEdges)
{
    return Min(EdgeEndMargin(parallelAcross, longest), Max(besideLongEdges, 0.5f * side));
}

/// How far from a loose region a hit can lie off an edge that is too long for it (Lemma 11).
/// @param length  of any of the edges, at most
inline Lanes LooseMargin(const TargetNodes& targets, Lanes length)
{
    constexpr float kReach = 6;
    return length > targets.longestEdge ? kReach * length : Lanes{};
}

/// Bound on the rounding of the height of a point over a plane in floats (Lemma 1).
/// @param magnitudes  sum of those of the point's coordinates and of the plane's d
inline Lanes HeightError(Lanes magnitudes) { return kHeightRounding * magnitudes; }

/// The longest side of targets that can be parallel to some edges (Lemma 2).
/// @param cosine          magnitude of the cosine of an edge with each axis of the targets' boxes,
///                        at most
/// @param parallelAcross  component of a parallel side across an edge, at most
inline Lanes LongestParallel(const TargetNodes& targets, const Lanes* cosine, Lanes parallelAcross)
{
    constexpr float kRounding = 1e-4f;
    Lanes side = parallelAcross;
    for (int k = 0; k < 3; ++k) side += cosine[k] * targets.side[k];
    // The least component across an edge of a side that runs along the second axis.
    const Lanes least =
        (1 - cosine[1]) * targets.sideAlongLeast - cosine[1] * (targets.side[0] + targets.side[2]);
    return least > (1 + kRounding) * parallelAcross ? Min(side, targets.sideAcrossMost) : side;
}

#endif
