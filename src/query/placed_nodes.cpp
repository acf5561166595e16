#include "query/placed_nodes.h"

#include <algorithm>
#include <cmath>

#include "query/margins.h"

namespace
{

// min(u / 2, kParallelBeside / u) is greatest at this length of an edge, and is this there.
constexpr float kSideEndLength = 0.114f;
constexpr float kMaxSideEnd = 0.0567f;
constexpr float kRigid = 1e-4f; ///< gramDeviation of a motion that only rotates and translates

void Place(const Motion& motion, const ObbLanes& boxes, PlacedNodes& placed)
{
    for (int r = 0; r < 3; ++r) {
        placed.centre[r] = motion.origin[r] + Dot(motion.matrix[r], boxes.centre);
        for (int i = 0; i < 3; ++i) placed.axis[i][r] = Dot(motion.matrix[r], boxes.axis[i]);
        placed.half[r] = boxes.half[r];
    }
}

/// Projections on the images of the axes (Lemma 6). A rigid motion keeps the axes at right angles
/// but for gramDeviation, and needs no products.
void PlaceExtents(const Motion& motion, const ProbeNodes& nodes, PlacedNodes& placed)
{
    const Lanes *half = placed.half, *edge = placed.edgeExtent;
    const bool rigid = motion.gramDeviation[0] < kRigid;
    for (int i = 0; i < 3; ++i) {
        Lanes all = nodes.box.half[i] + motion.gramDeviation * (half[0] + half[1] + half[2]),
              one = nodes.edgeExtent[i] + motion.gramDeviation * (edge[0] + edge[1] + edge[2]);
        if (!rigid) {
            all = one = Lanes{};
            for (int k = 0; k < 3; ++k) {
                const Lanes along = Abs(Dot(placed.axis[i], placed.axis[k]));
                all += along * half[k];
                one += along * edge[k];
            }
        }
        const Lanes halfSweep = HalfSweepAlong(motion, placed.axis[i]);
        placed.radius[i] = all + halfSweep + motion.maxStretch * motion.error;
        placed.beyond[i] = one;
        placed.sweepExtent[i] = halfSweep + halfSweep;
    }
}

/// Lower bound on the length of an edge of a swept quad: a rim is an own edge, a sweep line is as
/// long as the motion, and a diagonal is the sum of both (Lemma 2).
/// @param own  shortest own edge
Lanes ShortestInSweptQuads(const Motion& motion, const PlacedNodes& placed, Lanes own)
{
    const Lanes line = motion.sweptLength * (1 - kSumRounding) - 2 * motion.error,
                diagonal = Max(line - placed.longest, own - motion.sweptLength);
    return Min(own, Min(line, diagonal));
}

/// Margins of parallel segments (Lemma 2). An edge that is short against its coordinates can be
/// rounded to nothing. Edges of swept quads run in any direction: all of them count as edges along
/// the first axis, of which no cosine is asked.
void PlaceLengths(const Motion& motion, const ProbeNodes& nodes, PlacedNodes& placed)
{
    const Lanes none{}, unbounded = Splat(HUGE_VALF);
    placed.longest = motion.maxStretch * nodes.longest + motion.error;
    const auto placedLength = [&](Lanes length) {
        return motion.minStretch * length * (1 - kSumRounding) - 2 * motion.error;
    };
    Lanes shortest = placedLength(nodes.shortest), along = placedLength(nodes.edgeAlongLeast);
    if (motion.hasSweptQuads) shortest = along = ShortestInSweptQuads(motion, placed, shortest);
    along = shortest > none ? along : none;
    placed.besideLongEdges = along > none ? kParallelBeside / along : unbounded;
    placed.parallelAcross = shortest > none ? kParallelAcross / shortest : unbounded;
    placed.directionError = shortest > none ? 2 * motion.error / shortest : unbounded;
    const Lanes perStretch = shortest > none ? 1 / motion.minStretch : unbounded;
    for (int i = 0; i < 3; ++i) placed.maxCosine[i] = nodes.maxCosine[i] * perStretch;
    const auto sideEnd = [&](Lanes least, Lanes most) {
        return Min(0.5f * most,
                   least > kSideEndLength ? kParallelBeside / least : Splat(kMaxSideEnd));
    };
    placed.sideEndMargin =
        Max(sideEnd(shortest, motion.maxStretch * nodes.edgeAcrossMost + motion.error),
            sideEnd(along, placed.longest + motion.sweptLength));
}

/// Which nodes can hold what a pass is about, by the angles of their normals and of those of their
/// neighbours with the motion (Lemma 7).
LaneMask TakesPart(const Motion& motion, const ProbeNodes& nodes)
{
    const float trailing = -1e-5f; // of SweepOrientOf
    Lanes low{}, high{}, error = Splat(1e-9f);
    for (int r = 0; r < 3; ++r) {
        const Lanes a = motion.direction[r] * nodes.low[r], b = motion.direction[r] * nodes.high[r];
        low += Min(a, b);
        high += Max(a, b);
        error += kSumRounding * Max(Abs(a), Abs(b));
    }
    const LaneMask someTrail = low - error < trailing, someDoNot = high + error >= trailing;
    if (motion.pass == Pass::kStart) return someTrail;
    return motion.pass == Pass::kEnd ? someDoNot : someTrail & someDoNot;
}

TargetCells SplatBox(const float* box)
{
    TargetCells cells;
    for (int r = 0; r < 3; ++r) {
        cells.low[r] = Splat(box[r]);
        cells.high[r] = Splat(box[r + 3]);
    }
    return cells;
}

} // namespace

LaneMask MeetCells(const Motion& motion, const PlacedNodes& placed, const TargetCells& cells)
{
    LaneMask apart{};
    for (int r = 0; r < 3; ++r) {
        Lanes radius = Abs(motion.halfDisplacement[r]);
        for (int i = 0; i < 3; ++i) radius += placed.half[i] * Abs(placed.axis[i][r]);
        radius += motion.error + kSumRounding * radius;
        apart |= (placed.centre[r] - radius > cells.high[r]) |
                 (placed.centre[r] + radius < cells.low[r]);
    }
    return ~apart;
}

LaneMask StaysOff(const TargetPlane* planes, const Motion& motion, const PlacedNodes& placed,
                  int lane)
{
    const LanePlanes plane = GatherPlanes(planes);
    Lanes height = plane.d, magnitudes = Abs(plane.d),
          radius = Abs(Dot(plane.normal, motion.halfDisplacement));
    for (int r = 0; r < 3; ++r) {
        height += plane.normal[r] * placed.centre[r][lane];
        magnitudes += std::fabs(placed.centre[r][lane]) + Abs(motion.halfDisplacement[r]);
    }
    for (int i = 0; i < 3; ++i) {
        Lanes along{};
        for (int r = 0; r < 3; ++r) {
            const float axis = placed.axis[i][r][lane];
            along += plane.normal[r] * axis;
            magnitudes += placed.half[i][lane] * std::fabs(axis);
        }
        radius += placed.half[i][lane] * Abs(along);
    }
    return Abs(height) > radius + kContact + motion.error + kSumRounding * magnitudes;
}

bool MayMeet(const Motion& motion, const ObbLanes& boxes, const float* box)
{
    PlacedNodes placed;
    Place(motion, boxes, placed);
    return MeetCells(motion, placed, SplatBox(box))[0] != 0;
}

LaneMask PlaceNodes(const Motion& motion, const ProbeNodes& nodes, const float* box,
                    PlacedNodes& placed)
{
    Place(motion, nodes.box, placed);
    std::copy_n(nodes.edgeExtent, 3, placed.edgeExtent);
    std::copy_n(nodes.cornerGap, 2, placed.cornerGap);
    placed.halfArea = nodes.box.halfArea;
    PlaceExtents(motion, nodes, placed);
    PlaceLengths(motion, nodes, placed);
    const LaneMask meets = MeetCells(motion, placed, SplatBox(box));
    return motion.isSwept && motion.pass != Pass::kAll ? meets & TakesPart(motion, nodes) : meets;
}
