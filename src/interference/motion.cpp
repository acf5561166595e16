#include "interference/motion.h"

#include <algorithm>
#include <cmath>

#include "solid/bbox.h"

namespace
{

constexpr double kSideReach = 0.0127;
constexpr double kSphereProduct = 0.0064;
constexpr double kMostSphere = 0.114;   ///< where min(u / 2, kSphereProduct / u) is greatest
constexpr double kSphereReach = 0.0566; ///< which is this
constexpr double kRounding = 1e-6; ///< of floats, some times over, relative
constexpr double kRigid = 1e-4;    ///< the bend of a motion that only turns and shifts

template <class A, class B>
double Dot(const A* a, const B* b)
{
    return double(a[0]) * b[0] + double(a[1]) * b[1] + double(a[2]) * b[2];
}

double Length(const double* v) { return std::sqrt(Dot(v, v)); }

/// The most and the least by which a length grows, by Gershgorin's circles round the diagonal of
/// the transposed times itself.
void ReadScale(Motion& motion)
{
    double most = 0, least = HUGE_VAL, bend = 0;
    for (int i = 0; i < 3; ++i) {
        double sum = 0, diagonal = 0;
        for (int j = 0; j < 3; ++j) {
            const double product = motion.m[0][i] * motion.m[0][j] +
                                   motion.m[1][i] * motion.m[1][j] +
                                   motion.m[2][i] * motion.m[2][j];
            sum += std::fabs(product);
            if (i == j) diagonal = product;
        }
        most = std::max(most, sum);
        least = std::min(least, 2 * diagonal - sum);
        bend = std::max(bend, sum - std::fabs(diagonal) + std::fabs(diagonal - 1));
    }
    motion.scale = std::sqrt(most) * (1 + kRounding);
    motion.leastScale = std::sqrt(std::max(least, 0.0)) * (1 - kRounding);
    motion.bend = bend + kRounding;
}

/// How far the half way reaches along a direction.
template <class A>
double Sway(const Motion& motion, const A* direction)
{
    if (motion.extraLength == 0) return 0;
    return std::fabs(direction[0] * motion.half[0]) + std::fabs(direction[1] * motion.half[1]) +
           std::fabs(direction[2] * motion.half[2]);
}

/// The greatest magnitude of a coordinate in a box.
double FarthestAlong(const OrientedBox& box, int c)
{
    double far = std::fabs(box.centre[c]);
    for (int i = 0; i < 3; ++i) far += double(box.half[i]) * std::fabs(box.axis[i][c]);
    return far;
}

/// How far off a target, along its plane, parallel segments can lie that count as crossing: the end
/// of an edge beside a side, or the end of a side inside the sphere over an edge.
double OverSide(const PlacedNode& mover, const TargetNode& target)
{
    return std::max({std::min(mover.besideSides, 0.5 * double(target.longest)), mover.besideEdges,
                     target.holdsCells ? mover.longest : 0});
}

double RoundingBetween(const Motion& motion, const PlacedNode& mover, const OrientedBox& box)
{
    return motion.room + kRounding * (std::fabs(mover.centre[0] - box.centre[0]) +
                                      std::fabs(mover.centre[1] - box.centre[1]) +
                                      std::fabs(mover.centre[2] - box.centre[2]));
}

/// How far an edge of a node goes along each axis of a target's box.
struct Way {
    double along[3];
};

/// How far it can go along the first axis if it lies in the plane of a target.
double Turned(const PlacedNode& mover, const TargetNode& target, const Way& way)
{
    return std::min(mover.longest * target.turnAtAll, way.along[0] * target.turn[0] +
                                                          way.along[1] * target.turn[1] +
                                                          way.along[2] * target.turn[2]);
}

/// As HeightOfEnds.
double HeightOfEnds(const Motion& motion, const PlacedNode& mover, const TargetNode& target,
                    const Way& way, double overSide)
{
    return target.box.half[0] +
           std::max(Turned(mover, target, way), overSide * target.turnAtAll) +
           RoundingBetween(motion, mover, target.box);
}


/// Whether a corner can lie so near the planes of some targets as a hit beside an edge asks for.
/// @param apart  from the target's centre to the mover's
/// @param along  the axes of the mover, along the target's first
/// @param most   of HeightOfEnds
bool MayEndInPlane(const Motion& motion, const PlacedNode& mover, const TargetNode& target,
                   const double* apart, const double* along, double most)
{
    const float* normal = target.box.axis[0];
    const double centre = Dot(apart, normal);
    const int longest = mover.longestAxis;
    double across = most + Sway(motion, normal);
    for (int i = 0; i < 3; ++i)
        if (i != longest) across += mover.half[i] * std::fabs(along[i]);
    const auto meets = [&](double from, double to) {
        const double a = centre + from * along[longest], b = centre + to * along[longest];
        return from <= to && std::min(a, b) <= across && std::max(a, b) >= -across;
    };
    const double half = mover.half[longest];
    return meets(-half, std::min(mover.bare[0], half)) || meets(std::max(mover.bare[1], -half), half);
}

} // namespace

Motion ReadMotion(const SOLIDC& b, const OrientedBox& rest)
{
    Motion motion{};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 4; ++c) motion.m[r][c] = b.sweepStart[r][c];
        motion.shift[r] = b.isSwept ? double(b.sweepEnd[r][3]) - b.sweepStart[r][3] : 0;
        double size = std::fabs(motion.m[r][3]) + 2 * std::fabs(motion.shift[r]);
        for (int c = 0; c < 3; ++c) size += std::fabs(motion.m[r][c]) * FarthestAlong(rest, c);
        motion.room += kRounding * size;
    }
    ReadScale(motion);
    return motion;
}

void SetPass(Motion& motion, Pass pass)
{
    const bool walls = pass == Pass::kWalls;
    const double middle = walls ? 0.5 : pass == Pass::kEnd ? 1 : 0;
    for (int r = 0; r < 3; ++r) {
        motion.middle[r] = middle * motion.shift[r];
        motion.half[r] = walls ? 0.5 * std::fabs(motion.shift[r]) : 0;
    }
    motion.extraLength = walls ? Length(motion.shift) * (1 + kRounding) : 0;
}

void PlaceNode(const Motion& motion, const MoverNode& node, PlacedNode& placed)
{
    const OrientedBox& box = node.box;
    for (int r = 0; r < 3; ++r) {
        placed.centre[r] = motion.m[r][3] + motion.middle[r] + Dot(motion.m[r], box.centre);
        for (int i = 0; i < 3; ++i) placed.axis[i][r] = Dot(motion.m[r], box.axis[i]);
        placed.half[r] = box.half[r];
        placed.edge[r] = node.extent[r];
    }
    placed.halfArea = box.halfArea;
    placed.longestAxis = node.longestAxis;
    std::copy_n(node.bare, 2, placed.bare);
    for (int i = 0; i < 3; ++i) {
        const double sway = Sway(motion, placed.axis[i]);
        double all = 0, edge = 0;
        if (motion.bend < kRigid) {
            all = placed.half[i] + motion.bend * (placed.half[0] + placed.half[1] + placed.half[2]);
            edge =
                placed.edge[i] + motion.bend * (placed.edge[0] + placed.edge[1] + placed.edge[2]);
        } else {
            for (int k = 0; k < 3; ++k) {
                const double along = std::fabs(Dot(placed.axis[i], placed.axis[k]));
                all += along * placed.half[k];
                edge += along * placed.edge[k];
            }
        }
        placed.extent[i] = all + sway + motion.scale * motion.room;
        placed.beyond[i] = edge + 2 * sway;
    }
    placed.longest = motion.scale * node.longest + motion.extraLength + motion.room;
    // For edges of length u and sides of length v, the test of parallel segments lets an end of the
    // edge lie beside the side by 0.0127 / u and v / 2, and an end of the side beside the edge by
    // 0.0064 / u and u / 2. A diagonal of a wall can be as short as it likes, and an edge that
    // is short against the floats around it can come out without length.
    const double shortest = motion.leastScale * node.shortest - 2 * motion.room;
    const bool known = motion.extraLength == 0 && shortest > 0;
    placed.besideSides = known ? kSideReach / shortest : HUGE_VAL;
    placed.besideEdges = std::min(0.5 * placed.longest, kSphereReach);
    if (known && shortest > kMostSphere)
        placed.besideEdges = std::min(placed.besideEdges, kSphereProduct / shortest);
}

bool MeetsBox(const Motion& motion, const PlacedNode& placed, const float* box)
{
    for (int r = 0; r < 3; ++r) {
        const double reach = placed.half[0] * std::fabs(placed.axis[0][r]) +
                             placed.half[1] * std::fabs(placed.axis[1][r]) +
                             placed.half[2] * std::fabs(placed.axis[2][r]) + motion.half[r] +
                             motion.room;
        if (placed.centre[r] - reach > box[r + 3] || placed.centre[r] + reach < box[r])
            return false;
    }
    return true;
}

Chance ChanceOf(const Motion& motion, const PlacedNode& mover, const TargetNode& target)
{
    const OrientedBox& box = target.box;
    const double apart[3] = {mover.centre[0] - box.centre[0], mover.centre[1] - box.centre[1],
                             mover.centre[2] - box.centre[2]};
    const double rounding = RoundingBetween(motion, mover, box);
    const double overSide = OverSide(mover, target);
    Chance chance = Chance::kOnEdge;
    double cosine[3][3]; // between the axes of the target and the mover
    double seen[3][3];   // without signs
    Way way;
    for (int k = 0; k < 3; ++k) {
        for (int i = 0; i < 3; ++i) {
            cosine[k][i] = Dot(mover.axis[i], box.axis[k]);
            seen[k][i] = std::fabs(cosine[k][i]);
        }
        way.along[k] = Dot(mover.edge, seen[k]) + 2 * Sway(motion, box.axis[k]);
    }
    for (int k = 0; k < 3; ++k) {
        const double gap = std::fabs(Dot(apart, box.axis[k])) - box.half[k] -
                           Dot(mover.half, seen[k]) - Sway(motion, box.axis[k]) - rounding;
        if (gap <= 0) continue;
        // Where the hit is off the edge, an end of it lies in the target's plane, as the hit does.
        const double beside =
            k ? way.along[k] + overSide
              : std::max(std::min(way.along[0], Turned(mover, target, way)), overSide * target.turnAtAll);
        if (gap > beside) return Chance::kNone;
        chance = Chance::kBeside;
    }
    for (int i = 0; i < 3; ++i) {
        const double gap = std::fabs(Dot(apart, mover.axis[i])) - box.half[0] * seen[0][i] -
                           box.half[1] * seen[1][i] - box.half[2] * seen[2][i] - mover.extent[i] -
                           motion.scale * rounding;
        if (gap <= 0) continue;
        const double besideSide =
            overSide * (seen[1][i] + seen[2][i] + motion.scale * target.turnAtAll);
        if (gap > mover.beyond[i] + besideSide) return Chance::kNone;
        chance = Chance::kBeside;
    }
    if (chance != Chance::kBeside) return chance;
    const double most = HeightOfEnds(motion, mover, target, way, overSide);
    return MayEndInPlane(motion, mover, target, apart, cosine[0], most) ? chance : Chance::kNone;
}

double HeightOfEnds(const Motion& motion, const PlacedNode& mover, const TargetNode& target)
{
    Way way;
    for (int k = 0; k < 3; ++k) {
        way.along[k] = 2 * Sway(motion, target.box.axis[k]);
        for (int i = 0; i < 3; ++i)
            way.along[k] += mover.edge[i] * std::fabs(Dot(mover.axis[i], target.box.axis[k]));
    }
    return HeightOfEnds(motion, mover, target, way, OverSide(mover, target));
}
