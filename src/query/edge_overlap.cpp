#include "query/edge_overlap.h"

#include <cmath>

#include "geometry/predicates.h"
#include "query/margins.h"

namespace
{

/// How edges lie to the boxes of targets, along their axes.
struct EdgeSight {
    Lanes apart[3]; ///< of its middle from their centres
    Lanes half[3];  ///< half of the edge
    Lanes reach[3]; ///< without signs
    Lanes cosine[3];
    Lanes rounding;
    Lanes overSide;   ///< see motion.cpp
    Lanes partBeyond; ///< by what part of its length a hit can lie beyond an end, see motion.cpp
    Lanes turned;     ///< by so much along the first axis, if that lies in the plane of a target
};

EdgeSight See(const LaneEdges& edge, const TargetBoxes& targets)
{
    EdgeSight sight;
    Lanes apart[3], far{}, turned{};
    for (int r = 0; r < 3; ++r) {
        apart[r] = edge.middle[r] - targets.box.centre[r];
        far += Abs(apart[r]) + targets.box.half[r];
    }
    sight.rounding = edge.room + kBoundRounding * (far + edge.length);
    for (int k = 0; k < 3; ++k) {
        sight.apart[k] = Dot(apart, targets.box.axis[k]);
        sight.half[k] = Dot(edge.half, targets.box.axis[k]);
        sight.cosine[k] = Dot(edge.unit, targets.box.axis[k]);
        sight.reach[k] = Abs(sight.half[k]);
        turned += 2 * sight.reach[k] * targets.turn[k];
    }
    const Lanes climb = 2 * sight.reach[0] - turned - edge.room, most = 2 * (kContact + edge.room);
    sight.partBeyond = climb > most + most ? most / climb : Splat(1);
    sight.turned = sight.partBeyond * Smaller(edge.length * targets.turnAtAll, turned);
    const Lanes part[3] = {Abs(sight.cosine[0]), Abs(sight.cosine[1]), Abs(sight.cosine[2])};
    const Lanes side = LongestParallel(targets, part, edge.across);
    const Lanes beside = Smaller(4 * edge.across, 0.5f * Smaller(side, targets.longest));
    // Parallel segments are only looked for in the plane, which a steep edge is not in.
    sight.overSide = climb > most + most ? Lanes{}
                                         : Larger(Larger(beside, edge.besideEdge),
                                                  targets.holdsCells * edge.length);
    return sight;
}

/// Where no end is near a target's plane, a hit lies on the edge itself.
void KeepToEdge(EdgeSight& sight, const TargetBoxes& targets)
{
    const Lanes height = targets.box.half[0] +
                         Larger(sight.turned, sight.overSide * targets.turnAtAll) + sight.rounding +
                         kBoundRounding * targets.box.half[0];
    const LaneMask ends = (Abs(sight.apart[0] - sight.half[0]) <= height) |
                          (Abs(sight.apart[0] + sight.half[0]) <= height);
    const Lanes none{};
    sight.overSide = ends ? sight.overSide : none;
    sight.partBeyond = ends ? sight.partBeyond : none;
    sight.turned = ends ? sight.turned : none;
}

} // namespace

LaneEdges GatherEdges(std::span<const MovedEdge> edges, float room)
{
    constexpr float kWider = 1 + 1e-6f;
    LaneEdges gathered;
    Lanes length{};
    for (int r = 0; r < 3; ++r) {
        Lanes from, to;
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const MovedEdge& edge = edges[lane < edges.size() ? lane : 0];
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
    gathered.room = Splat(room);
    gathered.across = kAcross * perLength;
    gathered.besideEdge = Smaller(0.5f * gathered.length, kSphereProduct * perLength);
    return gathered;
}

LaneMask MayHit(const LaneEdges& edge, const TargetBoxes& targets)
{
    EdgeSight sight = See(edge, targets);
    KeepToEdge(sight, targets);
    const Lanes* half = targets.box.half;
    LaneMask apart{};
    for (int k = 0; k < 3; ++k) {
        const Lanes reach = half[k] + sight.reach[k];
        const Lanes beyond = 2 * sight.partBeyond * sight.reach[k],
                    room = k ? beyond + sight.overSide
                             : Larger(Smaller(beyond, sight.turned),
                                      sight.overSide * targets.turnAtAll);
        apart |= Abs(sight.apart[k]) - reach - sight.rounding - kBoundRounding * reach > room;
    }
    if (AllOf(apart)) return ~apart;
    // Along the edge, and across it and an axis of the box. A hit beyond the end of an edge is on
    // its line.
    Lanes along{}, reach = 0.5f * edge.length, seen{};
    for (int k = 0; k < 3; ++k) {
        along += sight.cosine[k] * sight.apart[k];
        reach += Abs(sight.cosine[k]) * half[k];
        seen += Abs(sight.cosine[k]);
    }
    apart |= Abs(along) - reach - 2 * sight.rounding - kBoundRounding * reach >
             sight.partBeyond * edge.length + sight.overSide * seen;
    for (int k = 0; k < 3; ++k) {
        const int i = (k + 1) % 3, j = (k + 2) % 3;
        const Lanes across = Abs(sight.apart[i] * sight.half[j] - sight.apart[j] * sight.half[i]);
        const Lanes room = 2 * sight.rounding * edge.length;
        apart |= across > (half[i] + sight.overSide) * sight.reach[j] +
                              (half[j] + sight.overSide) * sight.reach[i] + room;
    }
    return ~apart;
}
