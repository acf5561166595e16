#include "query/node_overlap.h"

#include <cmath>

#include "query/margins.h"

namespace
{

/// How far from a target, along its plane, a hit by parallel segments can lie (Lemma 2).
/// @param edgeEnd  the same of an end of an edge alone
Lanes BesideMargin(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                   Lanes edgeEnd)
{
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
        for (int i = 0; i < 3; ++i) pose.cosine[k][i] = Dot(targets.box.axis[k], probes.axis[i]);
    }
    return pose;
}

StepBounds StepBoundsOf(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                        const RelativePose& pose)
{
    StepBounds step;
    for (int k = 0; k < 3; ++k) {
        step.beyond[k] = Lanes{};
        step.edgeCosine[k] = probes.directionError;
        for (int i = 0; i < 3; ++i) {
            step.beyond[k] += Abs(pose.cosine[k][i]) * probes.edgeExtent[i];
            step.edgeCosine[k] += Abs(pose.cosine[k][i]) * probes.maxCosine[i];
        }
        step.edgeCosine[k] = Min(step.edgeCosine[k], Splat(1));
    }
    const Lanes side = LongestParallel(targets, step.edgeCosine, probes.parallelAcross);
    step.besideMargin = BesideMargin(
        motion, probes, targets,
        EdgeEndMargin(probes.parallelAcross, targets.longest, side, probes.besideLongEdges));
    step.beyondFraction = SweptBeyondFraction(motion, targets, step.beyond);
    for (int k = 0; k < 3; ++k) step.beyond[k] += 2 * step.beyondFraction * pose.halfSweep[k];
    step.stepAlongNormal =
        Min((probes.longest + step.beyondFraction * motion.sweptLength) * targets.maxDeviation,
            Dot(step.beyond, targets.deviation));
    return step;
}

Lanes LongestStep(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets)
{
    return probes.longest + motion.sweptLength +
           BesideMargin(motion, probes, targets,
                        EdgeEndMargin(probes.parallelAcross, targets.longest));
}

Lanes BeyondOnProbeAxis(const PlacedNodes& probes, const StepBounds& step, int i)
{
    return probes.beyond[i] + step.beyondFraction * probes.sweepExtent[i];
}

Lanes MarginOnTargetAxis(const StepBounds& step, const TargetNodes& targets, int k)
{
    // A hit off the edge has an end of it in the target's plane, and lies there itself.
    return k ? step.beyond[k] + step.besideMargin
             : Max(Min(step.beyond[0], step.stepAlongNormal),
                   step.besideMargin * targets.maxDeviation);
}

Lanes MarginOnProbeAxis(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                        const RelativePose& pose, const StepBounds& step, int i)
{
    // What a step of length 1 in the plane of a target goes along this axis.
    const Lanes inPlane =
        Abs(pose.cosine[1][i]) + Abs(pose.cosine[2][i]) + motion.maxStretch * targets.maxDeviation;
    return BeyondOnProbeAxis(probes, step, i) + step.besideMargin * inPlane;
}

namespace
{

/// Whether a corner of the probes can lie in the plane of a target, as a hit beside an edge asks
/// for (Lemma 5).
LaneMask MayEndInPlane(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                       const RelativePose& pose, const StepBounds& step)
{
    const Lanes centre = Dot(pose.offset, targets.box.axis[0]), along = pose.cosine[0][0],
                half = probes.half[0];
    const Lanes height = PlaneHeight(targets, step.stepAlongNormal, step.besideMargin, pose.error) +
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

/// Gaps between the boxes on the six axes, negative where they overlap, and the sums of their
/// radii.
struct AxisGaps {
    Lanes onTarget[3], onProbe[3], targetRadius[3], probeRadius[3];
};

void SetTargetGaps(const PlacedNodes& probes, const TargetNodes& targets, const RelativePose& pose,
                   AxisGaps& gaps)
{
    for (int k = 0; k < 3; ++k) {
        Lanes radius = targets.box.half[k] + pose.halfSweep[k];
        for (int i = 0; i < 3; ++i) radius += probes.half[i] * Abs(pose.cosine[k][i]);
        gaps.targetRadius[k] = radius;
        gaps.onTarget[k] = Abs(Dot(pose.offset, targets.box.axis[k])) - radius - pose.error -
                           kSumRounding * radius;
    }
}

void SetProbeGaps(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                  const RelativePose& pose, AxisGaps& gaps)
{
    for (int i = 0; i < 3; ++i) {
        Lanes radius = probes.radius[i];
        for (int k = 0; k < 3; ++k) radius += targets.box.half[k] * Abs(pose.cosine[k][i]);
        gaps.probeRadius[i] = radius;
        gaps.onProbe[i] = Abs(Dot(pose.offset, probes.axis[i])) - radius -
                          motion.maxStretch * pose.error - kSumRounding * radius;
    }
}

Lanes Widest(const Lanes* gap) { return Max(Max(gap[0], gap[1]), gap[2]); }

/// Depth of overlap over the axes, to try first where a hit is likeliest. At rest it is the product
/// of depths and of their parts of the radii, up to a limit; in motion, where boxes are long, the
/// least depth.
Lanes DepthOf(const Motion& motion, const AxisGaps& gaps)
{
    constexpr float kMaxPart = 0.7f;
    Lanes least = Splat(HUGE_VALF), product = Splat(1);
    const auto add = [&](Lanes gap, Lanes radius) {
        const Lanes depth = Max(-gap, Lanes{});
        least = Min(least, depth);
        product = product * depth * Min(depth / radius, Splat(kMaxPart));
    };
    for (int k = 0; k < 3; ++k) add(gaps.onTarget[k], gaps.targetRadius[k]);
    for (int i = 0; i < 3; ++i) add(gaps.onProbe[i], gaps.probeRadius[i]);
    return motion.hasSweptQuads ? least : product;
}

/// What the axes tell with the margin of each, of pairs of which no hit is on an edge.
LaneMask ApartBesideEdges(const Motion& motion, const PlacedNodes& probes,
                          const TargetNodes& targets, const RelativePose& pose,
                          const AxisGaps& gaps)
{
    const StepBounds step = StepBoundsOf(motion, probes, targets, pose);
    LaneMask apart = ~MayEndInPlane(motion, probes, targets, pose, step);
    for (int k = 0; k < 3; ++k)
        apart |= (gaps.onTarget[k] > MarginOnTargetAxis(step, targets, k)) |
                 (gaps.onProbe[k] > MarginOnProbeAxis(motion, probes, targets, pose, step, k));
    return apart;
}

} // namespace

NodeOverlap OverlapOf(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets)
{
    const RelativePose pose = RelativePoseOf(motion, probes, targets);
    const Lanes longestStep = LongestStep(motion, probes, targets);
    AxisGaps gaps;
    SetTargetGaps(probes, targets, pose, gaps);
    const Lanes targetGap = Widest(gaps.onTarget);
    LaneMask apart = targetGap > longestStep;
    if (AllOf(apart)) return {~apart, ~apart, targetGap};
    SetProbeGaps(motion, probes, targets, pose, gaps);
    const Lanes probeGap = Widest(gaps.onProbe);
    apart |= probeGap > motion.maxStretch * longestStep;
    const LaneMask onEdge = ~(Max(targetGap, probeGap) > Lanes{});
    // Pairs that overlap, or that are far apart, need no margins, which take longer than all else.
    if (!AllOf(apart | onEdge))
        apart |= ~onEdge & ApartBesideEdges(motion, probes, targets, pose, gaps);
    return {~apart, onEdge, DepthOf(motion, gaps)};
}
