#include "piece.h"

#include <algorithm>

namespace check
{
namespace
{

std::array<Vec, 8> CornersAt(const Pose& pose, const BodyFrame& body)
{
    std::array<Vec, 8> corners;
    for (std::size_t i = 0; i < 8; ++i)
        corners[i] =
            Placed(pose, {(i & 1 ? body.high : body.low)[0], (i & 2 ? body.high : body.low)[1],
                          (i & 4 ? body.high : body.low)[2]});
    return corners;
}

/// The greatest distance of the corners from a line; no point of their hull is farther.
double FarthestFrom(const std::array<Vec, 8>& corners, const Vec& through, const Vec& direction)
{
    double most = 0;
    for (const Vec& corner : corners)
        most = std::max(most, Length(Cross(direction, corner - through)));
    return most;
}

/// What a chain of axes can do to a body along a piece.
struct ChainBound {
    double displacement = 0;     ///< from half way on, of any point
    double curving = 0;          ///< greatest second derivative of any point's way
    std::size_t turning = 0;     ///< rotary axes that move
    std::size_t lastTurning = 0; ///< the one farthest from the base; an axis
    bool movesBeyond = false;    ///< an axis beyond a turning one moves
};

/// How much farther a body goes than the arc's two positions as one vector: 1 where it is carried
/// by one of the axes, or by two that stay at right angles; sqrt(2) at the most.
double ArcStretch(const Machine& machine, const Piece& piece,
                  const std::array<std::size_t, kMaxAxes>& chain, std::size_t count)
{
    std::size_t carried = 0;
    bool turnsBetween = false;
    for (std::size_t k = 0; k < count; ++k) {
        carried += chain[k] == piece.arcAxes[0] || chain[k] == piece.arcAxes[1];
        turnsBetween |= carried == 1 && machine.axes[chain[k]].rotary;
    }
    if (carried < 2) return static_cast<double>(carried);
    if (turnsBetween) return std::sqrt(2);
    const double share =
        Dot(machine.axes[piece.arcAxes[0]].direction, machine.axes[piece.arcAxes[1]].direction);
    return std::sqrt(1 + std::fabs(share));
}

/// From the body back to the base: `reach` is how far an axis moves the farthest point of the body
/// for each mm or radian, at any time of the piece, `halfWay` in the middle of it.
ChainBound BoundChain(const Machine& machine, const Piece& piece, const BodyFrame& body)
{
    std::array<std::size_t, kMaxAxes> chain{};
    const std::size_t count = ChainOf(machine, body.link, chain);
    const auto corners = CornersAt(Composed(piece.middle[body.link], body.mount), body);
    const bool arc = piece.bend > 0;
    const double stretch = arc ? ArcStretch(machine, piece, chain, count) : 0;
    ChainBound out;
    double beyond = 0; // sum of travel times reach of the axes between this one and the body
    bool arcCounted = false;
    for (std::size_t k = count; k-- > 0;) {
        const Axis& axis = machine.axes[chain[k]];
        const double travel = piece.travel[chain[k]];
        double reach = 1, halfWay = 1;
        if (axis.rotary) {
            const Pose& before = piece.middle[ParentLink(machine, chain[k])];
            halfWay =
                FarthestFrom(corners, Placed(before, axis.through), Turned(before, axis.direction));
            reach = halfWay + beyond / 2;
            out.curving += travel * (travel * reach + 2 * beyond);
            if (travel > 0 && out.turning++ == 0) out.lastTurning = chain[k];
            if (travel > 0 && beyond > 0) out.movesBeyond = true;
        }
        const bool ofArc = arc && (chain[k] == piece.arcAxes[0] || chain[k] == piece.arcAxes[1]);
        if (ofArc && !arcCounted) out.displacement += stretch * travel / 2;
        if (!ofArc) out.displacement += travel * halfWay / 2;
        arcCounted |= ofArc;
        beyond += travel * reach;
    }
    out.curving += stretch * piece.bend;
    return out;
}

/// The motion with both ends of the body's and its shortest rotation, about a point of the axis.
BodyMotion Between(const Machine& machine, const Piece& piece, const BodyFrame& body,
                   const ChainBound& bound)
{
    const Pose start = Composed(piece.first[body.link], body.mount);
    const Pose end = Composed(piece.last[body.link], body.mount);
    const std::size_t axis = bound.lastTurning;
    const std::size_t before = ParentLink(machine, axis);
    const Vec pivot = Unplaced(start, Placed(piece.first[before], machine.axes[axis].through));
    BodyMotion out;
    if (scapi_motion_between(start.data(), end.data(), pivot.data(), &out.motion) != SCAPI_OK) {
        out.deviation = HUGE_VAL;
        return out;
    }
    const Vec direction{out.motion.axis[0], out.motion.axis[1], out.motion.axis[2]};
    const double radius = out.motion.angle == 0 ? 0
                                                : FarthestFrom(CornersAt(start, body),
                                                               Placed(start, pivot), direction);
    const double own = out.motion.angle * out.motion.angle * radius;
    out.deviation = (bound.curving + own) / 8 + kPoseRounding;
    return out;
}

} // namespace

Piece PieceOf(const Machine& machine, const Path& path, double start, double end)
{
    Piece piece;
    const double share = end - start;
    const Position from = At(path, start), to = At(path, end);
    piece.start = start, piece.end = end;
    piece.first = PlaceLinks(machine, from);
    piece.middle = PlaceLinks(machine, At(path, start + share / 2));
    piece.last = PlaceLinks(machine, to);
    for (std::size_t i = 0; i < machine.axes.size(); ++i) {
        if (machine.axes[i].rotary) piece.turned[i] = (to[i] - from[i]) * kRadians;
        piece.travel[i] =
            machine.axes[i].rotary ? std::fabs(piece.turned[i]) : std::fabs(to[i] - from[i]);
    }
    if (!path.arc) return piece;
    const Arc& arc = *path.arc;
    const double turn = std::fabs(arc.sweep) * share;
    const double growth = std::fabs(arc.radius[1] - arc.radius[0]) * share;
    const double radius = std::max(arc.radius[0], arc.radius[1]);
    piece.arcAxes = {arc.first, arc.second};
    piece.travel[arc.first] = piece.travel[arc.second] = radius * turn + growth;
    // Of (radius + growth t) (cos, sin)(angle + turn t).
    piece.bend = radius * turn * turn + 2 * growth * turn;
    return piece;
}

double Displacement(const Machine& machine, const Piece& piece, const BodyFrame& body)
{
    return BoundChain(machine, piece, body).displacement + kPoseRounding;
}

BodyMotion MotionOf(const Machine& machine, const Piece& piece, const BodyFrame& body)
{
    const ChainBound bound = BoundChain(machine, piece, body);
    BodyMotion out;
    const Pose start = Composed(piece.first[body.link], body.mount);
    if (bound.turning > 1 || bound.movesBeyond) return Between(machine, piece, body, bound);
    // One axis turns, or none, and nothing moves beyond it: this is the true motion but for the
    // arc, which only shifts the whole body.
    std::copy(start.begin(), start.end(), out.motion.start);
    Vec pivot{},
        path = Translation(Composed(piece.last[body.link], body.mount)) - Translation(start);
    Vec direction{0, 0, 1};
    if (bound.turning == 1) {
        const Axis& axis = machine.axes[bound.lastTurning];
        const std::size_t before = ParentLink(machine, bound.lastTurning);
        const Vec at = Placed(piece.first[before], axis.through);
        pivot = Unplaced(start, at);
        path = Placed(piece.last[before], axis.through) - at;
        direction = Turned(piece.first[before], axis.direction);
        out.motion.angle = piece.turned[bound.lastTurning];
    }
    std::copy(pivot.begin(), pivot.end(), out.motion.pivot);
    std::copy(path.begin(), path.end(), out.motion.path);
    std::copy(direction.begin(), direction.end(), out.motion.axis);
    std::array<std::size_t, kMaxAxes> chain{};
    const std::size_t count = ChainOf(machine, body.link, chain);
    const double bend = piece.bend > 0 ? ArcStretch(machine, piece, chain, count) * piece.bend : 0;
    out.deviation = bend / 8 + kPoseRounding;
    return out;
}

Bounds BoundsAt(const Pose& pose, const BodyFrame& body)
{
    const auto corners = CornersAt(pose, body);
    Bounds out{corners[0], corners[0]};
    for (const Vec& corner : corners)
        for (std::size_t i = 0; i < 3; ++i) {
            out.low[i] = std::min(out.low[i], corner[i]);
            out.high[i] = std::max(out.high[i], corner[i]);
        }
    return out;
}

double GapOf(const Bounds& a, const Bounds& b)
{
    Vec gap{};
    for (std::size_t i = 0; i < 3; ++i)
        gap[i] = std::max({0.0, a.low[i] - b.high[i], b.low[i] - a.high[i]});
    return Length(gap);
}

double GapAlong(const Machine& machine, const Piece& piece, const BodyFrame& a, const BodyFrame& b)
{
    bool turns = piece.bend > 0;
    for (std::size_t i = 0; i < machine.axes.size(); ++i)
        turns |= machine.axes[i].rotary && piece.travel[i] > 0;
    const LinkPoses& at = turns ? piece.middle : piece.first;
    Bounds ofA = BoundsAt(Composed(at[a.link], a.mount), a);
    const Bounds ofB = BoundsAt(Composed(at[b.link], b.mount), b);
    if (turns) {
        const double gap =
            GapOf(ofA, ofB) - Displacement(machine, piece, a) - Displacement(machine, piece, b);
        return std::max(0.0, gap);
    }
    // Seen from B, A goes straight.
    const Vec way = (Translation(piece.last[a.link]) - Translation(piece.first[a.link])) -
                    (Translation(piece.last[b.link]) - Translation(piece.first[b.link]));
    for (std::size_t i = 0; i < 3; ++i) (way[i] < 0 ? ofA.low : ofA.high)[i] += way[i];
    return std::max(0.0, GapOf(ofA, ofB) - 2 * kPoseRounding);
}

} // namespace check
