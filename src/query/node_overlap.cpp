#include "query/node_overlap.h"

#include <cmath>

#include "query/margins.h"

namespace
{

/// How far from a target, along its plane, a hit by parallel segments can lie (Lemma 2).
Lanes BesideMargin(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                   const Lanes* edgeCosine)
{
    const Lanes side = LongestParallel(targets, edgeCosine, probes.parallelAcross);
    const Lanes edgeEnd =
        EdgeEndMargin(probes.parallelAcross, targets.longest, side, probes.besideLongEdges);
    return Max(Max(edgeEnd, probes.sideEndMargin),
               LooseMargin(targets, probes.longest + motion.sweptLength));
}

/// The part of what a swept quad adds to an edge by which a hit can lie beyond its end; small where
/// all planes are steep to the motion (Lemma 4).
Lanes SweptBeyondFraction(const Motion& motion, const TargetNodes& targets, const Lanes* edgeExtent)
{
    if (!motion.hasSweptQuads) return Splat(1);
    Lanes rise = Abs(Dot(motion.displacement, targets.box.axis[0])) - edgeExtent[0] - motion.error;
    for (int k = 0; k < 3; ++k)
        rise -= targets.deviation[k] *
                (Abs(Dot(motion.displacement, targets.box.axis[k])) + edgeExtent[k]);
    return BeyondFraction(rise, motion.error);
}

} // namespace

RelativePose RelativePoseOf(const Motion& motion, const PlacedNodes& probes,
                            const TargetNodes& targets)
{
    RelativePose pose;
    pose.error = Lanes{};
    for (int r = 0; r < 3; ++r) {
        pose.offset[r] = probes.centre[r] - targets.box.centre[r];
        pose.error += kSumRounding * (Abs(pose.offset[r]) + targets.box.half[r]);
    }
    pose.error += motion.error; // which covers the probes' boxes too
    for (int k = 0; k < 3; ++k) {
        pose.halfSweep[k] = HalfSweepAlong(motion, targets.box.axis[k]);
        pose.beyond[k] = Lanes{};
        for (int i = 0; i < 3; ++i) {
            pose.cosine[k][i] = Dot(targets.box.axis[k], probes.axis[i]);
            pose.beyond[k] += Abs(pose.cosine[k][i]) * probes.edgeExtent[i];
        }
        pose.edgeCosine[k] = probes.directionError;
        for (int i = 0; i < 3; ++i)
            pose.edgeCosine[k] += Abs(pose.cosine[k][i]) * probes.maxCosine[i];
        pose.edgeCosine[k] = Min(pose.edgeCosine[k], Splat(1));
    }
    pose.besideMargin = BesideMargin(motion, probes, targets, pose.edgeCosine);
    pose.beyondFraction = SweptBeyondFraction(motion, targets, pose.beyond);
    for (int k = 0; k < 3; ++k) pose.beyond[k] += 2 * pose.beyondFraction * pose.halfSweep[k];
    pose.stepAlongNormal =
        Min((probes.longest + pose.beyondFraction * motion.sweptLength) * targets.maxDeviation,
            Dot(pose.beyond, targets.deviation));
    return pose;
}

Lanes BeyondOnProbeAxis(const PlacedNodes& probes, const RelativePose& pose, int i)
{
    return probes.beyond[i] + pose.beyondFraction * probes.sweepExtent[i];
}

Lanes MarginOnTargetAxis(const RelativePose& pose, const TargetNodes& targets, int k)
{
    // A hit off the edge has an end of it in the target's plane, and lies there itself.
    return k ? pose.beyond[k] + pose.besideMargin
             : Max(Min(pose.beyond[0], pose.stepAlongNormal),
                   pose.besideMargin * targets.maxDeviation);
}

Lanes MarginOnProbeAxis(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                        const RelativePose& pose, int i)
{
    // What a step of length 1 in the plane of a target goes along this axis.
    const Lanes inPlane =
        Abs(pose.cosine[1][i]) + Abs(pose.cosine[2][i]) + motion.maxStretch * targets.maxDeviation;
    return BeyondOnProbeAxis(probes, pose, i) + pose.besideMargin * inPlane;
}

namespace
{

/// Whether a corner of the probes can lie in the plane of a target, as a hit beside an edge asks
/// for (Lemma 5).
LaneMask MayEndInPlane(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                       const RelativePose& pose)
{
    const Lanes centre = Dot(pose.offset, targets.box.axis[0]), along = pose.cosine[0][0],
                half = probes.half[0];
    const Lanes height = PlaneHeight(targets, pose.stepAlongNormal, pose.besideMargin, pose.error) +
                         kSumRounding * pose.halfSweep[0] +
                         probes.half[1] * Abs(pose.cosine[0][1]) +
                         probes.half[2] * Abs(pose.cosine[0][2]);
    const auto intervalMeets = [&](Lanes middle, Lanes from, Lanes to) {
        const Lanes a = middle + from * along, b = middle + to * along;
        return (from <= to) & ~(Min(a, b) > height) & ~(Max(a, b) < -height);
    };
    // Corners lie on the first axis on either side of the gap.
    const auto mayEnd = [&](Lanes middle) {
        return intervalMeets(middle, -half, Min(probes.cornerGap[0], half)) |
               intervalMeets(middle, Max(probes.cornerGap[1], -half), half);
    };
    if (!motion.hasSweptQuads) return mayEnd(centre);
    // Edges of swept quads end where the motion starts and where it ends.
    const Lanes halfWay = Dot(motion.halfDisplacement, targets.box.axis[0]);
    return mayEnd(centre - halfWay) | mayEnd(centre + halfWay);
}

/// Depth of overlap over the axes, to try first where a hit is likeliest. At rest it is the product
/// of depths and of their parts of the radii, up to a limit; in motion, where boxes are long, the
/// least depth.
struct OverlapDepth {
    const bool moving;
    Lanes value = Splat(moving ? HUGE_VALF : 1);

    void Add(Lanes gap, Lanes radius)
    {
        constexpr float kMaxPart = 0.7f;
        const Lanes depth = Max(-gap, Lanes{});
        value = moving ? Min(value, depth) : value * depth * Min(depth / radius, Splat(kMaxPart));
    }
};

/// What the axes tell about pairs: whether one of them separates the pair with all margins, and
/// whether one does so without, so that no hit is on an edge.
struct Separation {
    LaneMask apart{}, noneOnEdge{};
    OverlapDepth depth;

    void Add(Lanes gap, Lanes margin, Lanes radius)
    {
        noneOnEdge |= gap > Lanes{};
        apart |= gap > margin;
        depth.Add(gap, radius);
    }
};

void TestTargetAxes(const PlacedNodes& probes, const TargetNodes& targets, const RelativePose& pose,
                    Separation& separation)
{
    for (int k = 0; k < 3; ++k) {
        Lanes radius = targets.box.half[k] + pose.halfSweep[k];
        for (int i = 0; i < 3; ++i) radius += probes.half[i] * Abs(pose.cosine[k][i]);
        const Lanes gap = Abs(Dot(pose.offset, targets.box.axis[k])) - radius - pose.error -
                          kSumRounding * radius;
        separation.Add(gap, MarginOnTargetAxis(pose, targets, k), radius);
    }
}

void TestProbeAxes(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                   const RelativePose& pose, Separation& separation)
{
    for (int i = 0; i < 3; ++i) {
        Lanes radius = probes.radius[i];
        for (int k = 0; k < 3; ++k) radius += targets.box.half[k] * Abs(pose.cosine[k][i]);
        const Lanes gap = Abs(Dot(pose.offset, probes.axis[i])) - radius -
                          motion.maxStretch * pose.error - kSumRounding * radius;
        separation.Add(gap, MarginOnProbeAxis(motion, probes, targets, pose, i), radius);
    }
}

} // namespace

NodeOverlap OverlapOf(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets)
{
    const RelativePose pose = RelativePoseOf(motion, probes, targets);
    Separation separation{{}, {}, {motion.hasSweptQuads}};
    TestTargetAxes(probes, targets, pose, separation);
    if (!AllOf(separation.apart)) {
        TestProbeAxes(motion, probes, targets, pose, separation);
        separation.apart |= separation.noneOnEdge & ~MayEndInPlane(motion, probes, targets, pose);
    }
    return {~separation.apart, ~separation.noneOnEdge, separation.depth.value};
}
