#include "query/edge_overlap.h"

#include <cmath>

#include "query/margins.h"

EdgePose EdgePoseOf(const LaneEdges& edge, const TargetNodes& targets)
{
    EdgePose pose;
    Lanes offset[3], magnitudes{}, deviated{};
    for (int r = 0; r < 3; ++r) {
        offset[r] = edge.middle[r] - targets.box.centre[r];
        magnitudes += Abs(offset[r]) + targets.box.half[r];
    }
    pose.error = edge.error + kSumRounding * (magnitudes + edge.length);
    for (int k = 0; k < 3; ++k) {
        pose.offset[k] = Dot(offset, targets.box.axis[k]);
        pose.half[k] = Dot(edge.half, targets.box.axis[k]);
        pose.cosine[k] = Dot(edge.unit, targets.box.axis[k]);
        pose.radius[k] = Abs(pose.half[k]);
        deviated += 2 * pose.radius[k] * targets.deviation[k];
    }
    const Lanes rise = 2 * pose.radius[0] - deviated - edge.error;
    pose.beyondFraction = BeyondFraction(rise, edge.error);
    pose.stepAlongNormal = pose.beyondFraction * Min(edge.length * targets.maxDeviation, deviated);
    const Lanes cosine[3] = {Abs(pose.cosine[0]), Abs(pose.cosine[1]), Abs(pose.cosine[2])};
    const Lanes side = LongestParallel(targets, cosine, edge.parallelAcross);
    const Lanes edgeEnd = EdgeEndMargin(edge.parallelAcross, targets.longest, side, Lanes{});
    // Parallel segments are compared only where both ends are near the plane.
    const LaneMask steep = pose.beyondFraction < 1;
    pose.besideMargin =
        steep ? Lanes{} : Max(Max(edgeEnd, edge.sideEndMargin), LooseMargin(targets, edge.length));
    return pose;
}

Lanes MarginOnBoxAxis(const EdgePose& pose, const TargetNodes& targets, int k)
{
    const Lanes beyond = 2 * pose.beyondFraction * pose.radius[k];
    return k ? beyond + pose.besideMargin
             : Max(Min(beyond, pose.stepAlongNormal), pose.besideMargin * targets.maxDeviation);
}

namespace
{

/// Where no end can lie in the plane of a target, a hit is on the edge itself (Lemma 5).
void DropMarginsOffPlane(EdgePose& pose, const TargetNodes& targets)
{
    const Lanes height = PlaneHeight(targets, pose.stepAlongNormal, pose.besideMargin, pose.error);
    const LaneMask endsInPlane = (Abs(pose.offset[0] - pose.half[0]) <= height) |
                                 (Abs(pose.offset[0] + pose.half[0]) <= height);
    const Lanes none{};
    pose.besideMargin = endsInPlane ? pose.besideMargin : none;
    pose.beyondFraction = endsInPlane ? pose.beyondFraction : none;
    pose.stepAlongNormal = endsInPlane ? pose.stepAlongNormal : none;
}

LaneMask ApartOnBoxAxes(const EdgePose& pose, const TargetNodes& targets)
{
    LaneMask apart{};
    for (int k = 0; k < 3; ++k) {
        const Lanes radius = targets.box.half[k] + pose.radius[k];
        apart |= Abs(pose.offset[k]) - radius - pose.error - kSumRounding * radius >
                 MarginOnBoxAxis(pose, targets, k);
    }
    return apart;
}

/// On the edge's own direction, and on its cross products with the box's axes, which a hit beyond
/// its end does not leave: it is on the same line.
LaneMask ApartOnEdgeAxes(const EdgePose& pose, const LaneEdges& edge, const TargetNodes& targets)
{
    const Lanes* half = targets.box.half;
    Lanes along{}, radius = 0.5f * edge.length;
    for (int k = 0; k < 3; ++k) {
        along += pose.cosine[k] * pose.offset[k];
        radius += Abs(pose.cosine[k]) * half[k];
    }
    LaneMask apart = Abs(along) - radius - 2 * pose.error - kSumRounding * radius >
                     pose.beyondFraction * edge.length + pose.besideMargin;
    for (int k = 0; k < 3; ++k) {
        const int i = (k + 1) % 3, j = (k + 2) % 3;
        const Lanes across = Abs(pose.offset[i] * pose.half[j] - pose.offset[j] * pose.half[i]);
        apart |= across > (half[i] + pose.besideMargin) * pose.radius[j] +
                              (half[j] + pose.besideMargin) * pose.radius[i] +
                              2 * pose.error * edge.length;
    }
    return apart;
}

} // namespace

LaneEdges GatherEdges(std::span<const PlacedEdge> edges, float error)
{
    constexpr float kWider = 1 + 1e-6f;
    LaneEdges gathered;
    Lanes length{};
    for (int r = 0; r < 3; ++r) {
        Lanes from, to;
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const PlacedEdge& edge = edges[lane < edges.size() ? lane : 0];
            from[lane] = edge.ends[0][r];
            to[lane] = edge.ends[1][r];
        }
        gathered.half[r] = 0.5f * (to - from);
        gathered.middle[r] = 0.5f * (from + to);
        length += 4 * gathered.half[r] * gathered.half[r];
    }
    for (int lane = 0; lane < kLanes; ++lane) length[lane] = std::sqrt(length[lane]);
    const Lanes none{};
    const Lanes perLength = length > none ? 1 / length : Splat(HUGE_VALF);
    for (int r = 0; r < 3; ++r)
        gathered.unit[r] = length > none ? 2 * gathered.half[r] * perLength : none;
    gathered.length = length * kWider;
    gathered.error = Splat(error);
    gathered.parallelAcross = kParallelAcross * perLength;
    gathered.sideEndMargin = Min(0.5f * gathered.length, kParallelBeside * perLength);
    return gathered;
}

LaneMask MayHit(const LaneEdges& edge, const TargetNodes& targets)
{
    EdgePose pose = EdgePoseOf(edge, targets);
    DropMarginsOffPlane(pose, targets);
    LaneMask apart = ApartOnBoxAxes(pose, targets);
    if (!AllOf(apart)) apart |= ApartOnEdgeAxes(pose, edge, targets);
    return ~apart;
}
