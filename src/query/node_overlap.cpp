#include "query/node_overlap.h"

#include <cmath>

#include "query/margins.h"

namespace
{

/// How nodes of probes lie to nodes of targets, pair by pair, in the axes of the targets' boxes.
struct RelativePose {
    Lanes apart[3];     ///< from the targets' centres to the probes', in coordinate axes
    Lanes error;        ///< bound on the rounding of what is computed from it
    Lanes cosine[3][3]; ///< of each of the targets' axes with each of the probes'
    Lanes halfSweep[3];
    Lanes beyondFraction;
    Lanes beyond[3]; ///< of a hit beyond the end of an edge, from that end
    Lanes besideMargin;
    Lanes normalOffset; ///< the same as beyond[0], for a hit and an end in the plane of a target
};

/// How far from a target, along its plane, a hit by parallel segments can lie (Lemma 2).
Lanes BesideMargin(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                   const Lanes (*cosine)[3])
{
    Lanes edgeCosine[3];
    for (int k = 0; k < 3; ++k) {
        edgeCosine[k] = probes.directionError;
        for (int i = 0; i < 3; ++i) edgeCosine[k] += Abs(cosine[k][i]) * probes.maxCosine[i];
        edgeCosine[k] = Min(edgeCosine[k], Splat(1));
    }
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

RelativePose RelativePoseOf(const Motion& motion, const PlacedNodes& probes,
                            const TargetNodes& targets)
{
    RelativePose pose;
    pose.error = Lanes{};
    for (int r = 0; r < 3; ++r) {
        pose.apart[r] = probes.centre[r] - targets.box.centre[r];
        pose.error += kSumRounding * (Abs(pose.apart[r]) + targets.box.half[r]);
    }
    pose.error += motion.error; // which covers the probes' boxes too
    for (int k = 0; k < 3; ++k) {
        pose.halfSweep[k] = HalfSweepAlong(motion, targets.box.axis[k]);
        pose.beyond[k] = Lanes{};
        for (int i = 0; i < 3; ++i) {
            pose.cosine[k][i] = Dot(targets.box.axis[k], probes.axis[i]);
            pose.beyond[k] += Abs(pose.cosine[k][i]) * probes.edgeExtent[i];
        }
    }
    pose.besideMargin = BesideMargin(motion, probes, targets, pose.cosine);
    pose.beyondFraction = SweptBeyondFraction(motion, targets, pose.beyond);
    for (int k = 0; k < 3; ++k) pose.beyond[k] += 2 * pose.beyondFraction * pose.halfSweep[k];
    pose.normalOffset =
        Min((probes.longest + pose.beyondFraction * motion.sweptLength) * targets.maxDeviation,
            Dot(pose.beyond, targets.deviation));
    return pose;
}

/// Whether a corner of the probes can lie in the plane of a target, as a hit beside an edge asks
/// for (Lemma 5).
LaneMask MayEndInPlane(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                       const RelativePose& pose)
{
    const Lanes centre = Dot(pose.apart, targets.box.axis[0]), along = pose.cosine[0][0],
                half = probes.half[0];
    const Lanes height = PlaneHeight(targets, pose.normalOffset, pose.besideMargin, pose.error) +
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

/// What the axes tell about pairs: whether one parts them with all margins, whether one parts all
/// but hits beside edges.
struct Separation {
    LaneMask apart{}, beside{};
    OverlapDepth depth;

    void Add(Lanes gap, Lanes margin, Lanes radius)
    {
        beside |= gap > Lanes{};
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
        const Lanes gap =
            Abs(Dot(pose.apart, targets.box.axis[k])) - radius - pose.error - kSumRounding * radius;
        // A hit off the edge has an end of it in the target's plane, and lies there itself.
        const Lanes margin = k ? pose.beyond[k] + pose.besideMargin
                               : Max(Min(pose.beyond[0], pose.normalOffset),
                                     pose.besideMargin * targets.maxDeviation);
        separation.Add(gap, margin, radius);
    }
}

void TestProbeAxes(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                   const RelativePose& pose, Separation& separation)
{
    for (int i = 0; i < 3; ++i) {
        Lanes radius = probes.radius[i];
        for (int k = 0; k < 3; ++k) radius += targets.box.half[k] * Abs(pose.cosine[k][i]);
        const Lanes gap = Abs(Dot(pose.apart, probes.axis[i])) - radius -
                          motion.maxStretch * pose.error - kSumRounding * radius;
        // What a step of length 1 in the plane of a target goes along this axis.
        const Lanes inPlane = Abs(pose.cosine[1][i]) + Abs(pose.cosine[2][i]) +
                              motion.maxStretch * targets.maxDeviation;
        separation.Add(gap,
                       probes.beyond[i] + pose.beyondFraction * probes.sweepExtent[i] +
                           pose.besideMargin * inPlane,
                       radius);
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
        separation.apart |= separation.beside & ~MayEndInPlane(motion, probes, targets, pose);
    }
    return {~separation.apart, ~separation.beside, separation.depth.value};
}
