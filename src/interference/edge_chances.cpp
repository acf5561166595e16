#include "interference/edge_chances.h"

#include <algorithm>
#include <cmath>

#include "interference/reach.h"
#include "interference/tests.h"

namespace
{

/// How an edge lies to the boxes of targets, along their axes.
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

EdgeSight See(const LaneEdge& edge, const TargetBoxes& targets)
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
    Lanes side = edge.across;
    for (int k = 0; k < 3; ++k) side += Abs(sight.cosine[k]) * targets.side[k];
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

LaneEdge SplatEdge(const float (*ends)[3], float room)
{
    constexpr float kWider = 1 + 1e-6f;
    LaneEdge edge;
    float half[3], square = 0;
    for (int r = 0; r < 3; ++r) {
        half[r] = float(0.5 * (double(ends[1][r]) - ends[0][r]));
        edge.middle[r] = Splat(float(0.5 * (double(ends[0][r]) + ends[1][r])));
        edge.half[r] = Splat(half[r]);
        square += 4 * half[r] * half[r];
    }
    const float length = std::sqrt(square);
    const float perLength = length > 0 ? 1 / length : HUGE_VALF;
    for (int r = 0; r < 3; ++r)
        edge.unit[r] = length > 0 ? Splat(2 * half[r] * perLength) : Lanes{};
    edge.length = Splat(length * kWider);
    edge.room = Splat(room);
    edge.across = Splat(kAcross * perLength);
    edge.besideEdge = Splat(std::min(0.5f * length * kWider, kSphereProduct * perLength));
    return edge;
}

LaneMask MayHit(const LaneEdge& edge, const TargetBoxes& targets)
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
