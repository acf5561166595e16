#include "query/motion.h"

#include <algorithm>
#include <cmath>

#include "geometry/predicates.h"
#include "query/margins.h"

namespace
{

constexpr float kMostSphere = 0.114f;   ///< where min(u / 2, kSphereProduct / u) is greatest
constexpr float kSphereReach = 0.0567f; ///< which is this
constexpr double kPlaced = 2e-6;        ///< rounding of placed vertices and boxes, relative
constexpr float kRigid = 1e-4f;         ///< the bend of a motion that only turns and shifts

/// The most and the least by which a length grows, by Gershgorin's circles round the diagonal of
/// the transposed times itself.
void ReadScale(const SOLIDC& b, Motion& motion)
{
    double most = 0, least = HUGE_VAL, bend = 0;
    for (int i = 0; i < 3; ++i) {
        double sum = 0, diagonal = 0;
        for (int j = 0; j < 3; ++j) {
            double product = 0;
            for (int r = 0; r < 3; ++r)
                product += double(b.sweepStart[r][i]) * double(b.sweepStart[r][j]);
            sum += std::fabs(product);
            if (i == j) diagonal = product;
        }
        most = std::max(most, sum);
        least = std::min(least, 2 * diagonal - sum);
        bend = std::max(bend, sum - std::fabs(diagonal) + std::fabs(diagonal - 1));
    }
    motion.scale = Splat(RoundUp(std::sqrt(most) * (1 + kPlaced)));
    motion.leastScale = Splat(RoundDown(std::sqrt(std::max(least, 0.0)) * (1 - kPlaced)));
    motion.bend = Splat(RoundUp(bend + kPlaced));
}

/// The greatest magnitude of a coordinate in the first of some boxes.
double FarthestIn(const LaneBoxes& boxes, int r)
{
    double far = std::fabs(boxes.centre[r][0]);
    for (int i = 0; i < 3; ++i)
        far += double(boxes.half[i][0]) * std::fabs(double(boxes.axis[i][r][0]));
    return far;
}

/// How far half the way reaches along a direction.
Lanes Sway(const Motion& motion, const Lanes* direction)
{
    return motion.hasWalls ? Abs(Dot(motion.halfWay, direction)) : Lanes{};
}

void Place(const Motion& motion, const LaneBoxes& boxes, PlacedBoxes& placed)
{
    for (int r = 0; r < 3; ++r) {
        placed.centre[r] = motion.middle[r] + Dot(motion.m[r], boxes.centre);
        for (int i = 0; i < 3; ++i) placed.axis[i][r] = Dot(motion.m[r], boxes.axis[i]);
        placed.half[r] = boxes.half[r];
    }
}

void PlaceExtents(const Motion& motion, const MoverBoxes& boxes, PlacedBoxes& placed)
{
    const Lanes *half = placed.half, *edge = placed.edge;
    const bool rigid = motion.bend[0] < kRigid;
    for (int i = 0; i < 3; ++i) {
        Lanes all = boxes.box.half[i] + motion.bend * (half[0] + half[1] + half[2]),
              one = boxes.edge[i] + motion.bend * (edge[0] + edge[1] + edge[2]);
        if (!rigid) {
            all = one = Lanes{};
            for (int k = 0; k < 3; ++k) {
                const Lanes along = Abs(Dot(placed.axis[i], placed.axis[k]));
                all += along * half[k];
                one += along * edge[k];
            }
        }
        const Lanes sway = Sway(motion, placed.axis[i]);
        placed.extent[i] = all + sway + motion.scale * motion.room;
        placed.beyond[i] = one;
        placed.swayOn[i] = sway + sway;
    }
}

/// How far parallel segments reach, see reach.h. A diagonal of a wall can be as short as it likes,
/// and an edge that is short against the floats around it can come out without length.
void PlaceLengths(const Motion& motion, const MoverBoxes& boxes, PlacedBoxes& placed)
{
    const Lanes none{};
    placed.longest = motion.scale * boxes.longest + motion.room;
    Lanes shortest = motion.leastScale * boxes.shortest * (1 - kBoundRounding) - 2 * motion.room;
    if (motion.hasWalls) shortest = none;
    const Lanes along =
        shortest > none
            ? motion.leastScale * boxes.shortestAlong * (1 - kBoundRounding) - 2 * motion.room
            : none;
    placed.besideAlong = along > none ? 4 * kAcross / along : Splat(HUGE_VALF);
    placed.across = shortest > none ? kAcross / shortest : Splat(HUGE_VALF);
    const Lanes shrunk = shortest > none ? 1 / motion.leastScale : Splat(HUGE_VALF);
    for (int i = 0; i < 3; ++i) placed.slant[i] = boxes.slant[i] * shrunk;
    const auto reach = [&](Lanes least, Lanes most) {
        return Smaller(0.5f * most,
                       least > kMostSphere ? kSphereProduct / least : Splat(kSphereReach));
    };
    placed.besideEdges = Larger(reach(shortest, motion.scale * boxes.longestSlant + motion.room),
                                reach(along, placed.longest + motion.extraLength));
}

/// Which nodes can hold what a pass is about, by how their normals and those of their neighbours
/// lie to the motion.
LaneMask TakesPart(const Motion& motion, const MoverBoxes& boxes)
{
    const float trailing = -1e-5f; // of SweepOrientOf
    Lanes low{}, high{}, slack = Splat(1e-9f);
    for (int r = 0; r < 3; ++r) {
        const Lanes a = motion.direction[r] * boxes.low[r], b = motion.direction[r] * boxes.high[r];
        low += Smaller(a, b);
        high += Larger(a, b);
        slack += kBoundRounding * Larger(Abs(a), Abs(b));
    }
    const LaneMask someTrail = low - slack < trailing, someDoNot = high + slack >= trailing;
    if (motion.pass == Pass::kStart) return someTrail;
    return motion.pass == Pass::kEnd ? someDoNot : someTrail & someDoNot;
}

LaneMask MeetBox(const Motion& motion, const PlacedBoxes& placed, const float* box)
{
    LaneMask apart{};
    for (int r = 0; r < 3; ++r) {
        Lanes reach = Abs(motion.halfWay[r]);
        for (int i = 0; i < 3; ++i) reach += placed.half[i] * Abs(placed.axis[i][r]);
        reach += motion.room + kBoundRounding * reach;
        apart |= (placed.centre[r] - reach > box[r + 3]) | (placed.centre[r] + reach < box[r]);
    }
    return ~apart;
}

/// How far off a target, along its plane, parallel segments can lie that count as crossing: the end
/// of an edge beside a side, or the end of a side inside the sphere over an edge.
/// @param cosine  of each axis of the targets' boxes with each of the movers'
Lanes OverSide(const Motion& motion, const PlacedBoxes& movers, const TargetBoxes& targets,
               const Lanes (*cosine)[3])
{
    Lanes slant[3];
    for (int k = 0; k < 3; ++k) {
        slant[k] = Lanes{};
        for (int i = 0; i < 3; ++i) slant[k] += Abs(cosine[k][i]) * movers.slant[i];
        slant[k] = Smaller(slant[k], Splat(1));
    }
    const Lanes side = LongestParallel(targets, slant, movers.across);
    const Lanes beside = Smaller(Smaller(4 * movers.across, 0.5f * targets.longest),
                                 Larger(movers.besideAlong, 0.5f * side));
    return Larger(Larger(beside, movers.besideEdges),
                  targets.holdsCells * (movers.longest + motion.extraLength));
}

/// By what part of the length that walls add to an edge a hit can lie beyond its end. A crossing
/// point lies beyond an end by the part that the end's height over the plane is of the difference
/// of both ends' heights. So if all planes are steep to the motion it is small.
Lanes PartBeyond(const Motion& motion, const TargetBoxes& targets, const Lanes* edge)
{
    const Lanes one = Splat(1);
    if (!motion.hasWalls) return one;
    Lanes climb = Abs(Dot(motion.way, targets.box.axis[0])) - edge[0] - motion.room;
    for (int k = 0; k < 3; ++k)
        climb -= targets.turn[k] * (Abs(Dot(motion.way, targets.box.axis[k])) + edge[k]);
    const Lanes most = 2 * (kContact + motion.room);
    return climb > most + most ? most / climb : one;
}

/// How nodes lie to each other, pair by pair.
struct Sight {
    Lanes apart[3];     ///< from the targets' centres to the movers'
    Lanes rounding;     ///< of what is computed from that
    Lanes cosine[3][3]; ///< of each axis of the targets' boxes with each of the movers'
    Lanes sway[3];      ///< along the axes of the targets' boxes
    Lanes partBeyond;
    Lanes edge[3]; ///< how far a hit can lie beyond the end of an edge, along them
    Lanes overSide;
    Lanes turned; ///< how far along the first, if all lies in the plane of a target
};

Sight See(const Motion& motion, const PlacedBoxes& movers, const TargetBoxes& targets)
{
    Sight sight;
    sight.rounding = Lanes{};
    for (int r = 0; r < 3; ++r) {
        sight.apart[r] = movers.centre[r] - targets.box.centre[r];
        sight.rounding += kBoundRounding * (Abs(sight.apart[r]) + targets.box.half[r]);
    }
    sight.rounding += motion.room; // which covers the movers' boxes too
    for (int k = 0; k < 3; ++k) {
        sight.sway[k] = Sway(motion, targets.box.axis[k]);
        sight.edge[k] = Lanes{};
        for (int i = 0; i < 3; ++i) {
            sight.cosine[k][i] = Dot(targets.box.axis[k], movers.axis[i]);
            sight.edge[k] += Abs(sight.cosine[k][i]) * movers.edge[i];
        }
    }
    sight.overSide = OverSide(motion, movers, targets, sight.cosine);
    sight.partBeyond = PartBeyond(motion, targets, sight.edge);
    for (int k = 0; k < 3; ++k) sight.edge[k] += 2 * sight.partBeyond * sight.sway[k];
    sight.turned =
        Smaller((movers.longest + sight.partBeyond * motion.extraLength) * targets.turnAtAll,
                Dot(sight.edge, targets.turn));
    return sight;
}

/// Whether a corner can lie so near the planes of targets as a hit beside an edge asks for.
/// @param height  over the centre of the target's box, along its first axis, up or down
LaneMask MayEndInPlane(const Motion& motion, const PlacedBoxes& movers, const TargetBoxes& targets,
                       const Sight& sight, Lanes height)
{
    const Lanes middle = Dot(sight.apart, targets.box.axis[0]), along = sight.cosine[0][0],
                half = movers.half[0];
    const Lanes across = height + kBoundRounding * sight.sway[0] +
                         movers.half[1] * Abs(sight.cosine[0][1]) +
                         movers.half[2] * Abs(sight.cosine[0][2]);
    const auto meets = [&](Lanes centre, Lanes from, Lanes to) {
        const Lanes a = centre + from * along, b = centre + to * along;
        return (from <= to) & ~(Smaller(a, b) > across) & ~(Larger(a, b) < -across);
    };
    const auto mayEnd = [&](Lanes centre) {
        return meets(centre, -half, Smaller(movers.bare[0], half)) |
               meets(centre, Larger(movers.bare[1], -half), half);
    };
    if (!motion.hasWalls) return mayEnd(middle);
    // The edges of walls end where the motion starts and where it ends.
    const Lanes way = Dot(motion.halfWay, targets.box.axis[0]);
    return mayEnd(middle - way) | mayEnd(middle + way);
}

/// How much boxes share, axis by axis: where that is most a hit is likeliest. At rest it is how
/// deep they lie in each other, times what part of their sizes that is, up to a good part. In
/// motion they are long, and the least depth tells more.
struct Overlap {
    const bool moving;
    Lanes shared = Splat(moving ? HUGE_VALF : 1);

    void Add(Lanes gap, Lanes reach)
    {
        constexpr float kGoodPart = 0.7f;
        const Lanes depth = Larger(-gap, Lanes{});
        shared = moving ? Smaller(shared, depth)
                        : shared * depth * Smaller(depth / reach, Splat(kGoodPart));
    }
};

} // namespace

Motion ReadMotion(const SOLIDC& b, const LaneBoxes& rest)
{
    Motion motion{};
    motion.isSwept = b.isSwept;
    double room = 0;
    for (int r = 0; r < 3; ++r) {
        const float* row = b.sweepStart[r];
        for (int c = 0; c < 3; ++c) motion.m[r][c] = Splat(row[c]);
        const double way = b.isSwept ? double(b.sweepEnd[r][3]) - row[3] : 0;
        motion.start[r] = Splat(row[3]);
        motion.way[r] = Splat(float(way));
        motion.direction[r] = Splat(b.sweepDirection[r]);
        double size = std::fabs(double(row[3])) + 2 * std::fabs(way);
        for (int c = 0; c < 3; ++c) size += std::fabs(double(row[c])) * FarthestIn(rest, c);
        room += kPlaced * size;
    }
    motion.room = Splat(RoundUp(room));
    ReadScale(b, motion);
    return motion;
}

bool IsModerate(const Motion& motion)
{
    constexpr float kMost = 1e6;
    return motion.room[0] < kMost && motion.scale[0] < kMost;
}

void SetPass(Motion& motion, Pass pass)
{
    motion.pass = pass;
    const bool walls = motion.hasWalls = pass == Pass::kWalls || pass == Pass::kWhole;
    const float part = walls ? 0.5f : pass == Pass::kEnd ? 1.0f : 0.0f;
    double square = 0;
    for (int r = 0; r < 3; ++r) {
        motion.middle[r] = motion.start[r] + part * motion.way[r];
        motion.halfWay[r] = (walls ? 0.5f : 0.0f) * motion.way[r];
        square += double(motion.way[r][0]) * motion.way[r][0];
    }
    motion.extraLength = Splat(walls ? RoundUp(std::sqrt(square) * (1 + kPlaced)) : 0);
}

bool MayMeet(const Motion& motion, const LaneBoxes& boxes, const float* box)
{
    PlacedBoxes placed;
    Place(motion, boxes, placed);
    return MeetBox(motion, placed, box)[0] != 0;
}

LaneMask PlaceBoxes(const Motion& motion, const MoverBoxes& boxes, const float* box,
                    PlacedBoxes& placed)
{
    Place(motion, boxes.box, placed);
    std::copy_n(boxes.edge, 3, placed.edge);
    std::copy_n(boxes.bare, 2, placed.bare);
    placed.halfArea = boxes.box.halfArea;
    PlaceExtents(motion, boxes, placed);
    PlaceLengths(motion, boxes, placed);
    const LaneMask meets = MeetBox(motion, placed, box);
    return motion.isSwept && motion.pass != Pass::kWhole ? meets & TakesPart(motion, boxes) : meets;
}

Chances ChancesOf(const Motion& motion, const PlacedBoxes& movers, const TargetBoxes& targets)
{
    const Sight sight = See(motion, movers, targets);
    const Lanes none{};
    LaneMask apart{}, beside{};
    Overlap overlap{motion.hasWalls};
    for (int k = 0; k < 3; ++k) {
        Lanes reach = targets.box.half[k] + sight.sway[k];
        for (int i = 0; i < 3; ++i) reach += movers.half[i] * Abs(sight.cosine[k][i]);
        const Lanes gap = Abs(Dot(sight.apart, targets.box.axis[k])) - reach - sight.rounding -
                          kBoundRounding * reach;
        // Where the hit is off the edge, an end of it lies in the target's plane, as the hit does.
        const Lanes most =
            k ? sight.edge[k] + sight.overSide
              : Larger(Smaller(sight.edge[0], sight.turned), sight.overSide * targets.turnAtAll);
        beside |= gap > none;
        apart |= gap > most;
        overlap.Add(gap, reach);
    }
    Chances chances;
    if (AllOf(apart)) {
        chances.any = ~apart;
        return chances;
    }
    for (int i = 0; i < 3; ++i) {
        Lanes reach = movers.extent[i];
        for (int k = 0; k < 3; ++k) reach += targets.box.half[k] * Abs(sight.cosine[k][i]);
        const Lanes gap = Abs(Dot(sight.apart, movers.axis[i])) - reach -
                          motion.scale * sight.rounding - kBoundRounding * reach;
        const Lanes seen =
            Abs(sight.cosine[1][i]) + Abs(sight.cosine[2][i]) + motion.scale * targets.turnAtAll;
        beside |= gap > none;
        apart |=
            gap > movers.beyond[i] + sight.partBeyond * movers.swayOn[i] + sight.overSide * seen;
        overlap.Add(gap, reach);
    }
    const Lanes height = targets.box.half[0] +
                         Larger(sight.turned, sight.overSide * targets.turnAtAll) + sight.rounding +
                         kBoundRounding * targets.box.half[0];
    apart |= beside & ~MayEndInPlane(motion, movers, targets, sight, height);
    chances.any = ~apart;
    chances.onEdge = ~beside;
    chances.overlap = overlap.shared;
    return chances;
}
