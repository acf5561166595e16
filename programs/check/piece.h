// A part of a move, and for each body one motion that stands for the true one there, with a bound
// on how far it is off (docs/check.md, Lemmas C1 and C2).
#ifndef SCAPI_CHECK_PIECE_H
#define SCAPI_CHECK_PIECE_H

#include "path.h"
#include "scapi/proximity.h"

namespace check
{

/// What is known of a body for the bounds: it lies on a link, within a box of its own coordinates.
struct BodyFrame {
    std::size_t link = 0;
    Pose mount = kRest; ///< body coordinates to machine coordinates with all axes at 0
    Vec low{}, high{};  ///< of its box; body coordinates
};

/// A part of a path without a break inside.
struct Piece {
    double start = 0, end = 1;           ///< times of the path
    LinkPoses first{}, middle{}, last{}; ///< of the links at start, half way and end
    /// How far each axis goes at the most, if it kept its greatest speed all the way: mm, radians
    std::array<double, kMaxAxes> travel{};
    std::array<double, kMaxAxes> turned{}; ///< by each rotary axis, radians, with its sign
    double bend = 0; ///< greatest second derivative of the arc's two axes as one vector, the time
                     ///< of the piece running from 0 to 1; mm
    std::array<std::size_t, 2> arcAxes{};
};

Piece PieceOf(const Machine& machine, const Path& path, double start, double end);

/// Covers what poses of a chain of six axes round: a few hundred roundings of numbers up to
/// kMostLength, in mm.
constexpr double kPoseRounding = 1e-7;

/// No point of the body is ever farther than this from where it is half way (Lemma C1).
double Displacement(const Machine& machine, const Piece& piece, const BodyFrame& body);

struct BodyMotion {
    scapi_motion motion{};
    double deviation = 0; ///< no point is farther from its true place at any time (Lemma C2);
                          ///< infinite where the ends are half a turn apart
};
BodyMotion MotionOf(const Machine& machine, const Piece& piece, const BodyFrame& body);

/// The box round a body at a pose, machine coordinates.
struct Bounds {
    Vec low, high;
};
Bounds BoundsAt(const Pose& pose, const BodyFrame& body);

/// A lower bound on the distance of two boxes.
double GapOf(const Bounds& a, const Bounds& b);

/// A lower bound on the distance of two bodies along a piece; 0 where it shows nothing.
double GapAlong(const Machine& machine, const Piece& piece, const BodyFrame& a, const BodyFrame& b);

} // namespace check

#endif
