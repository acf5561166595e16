// How long a gap between moving bodies lasts (Lemmas M1 and M2), and how far from an axis triangles
// stay (Lemma M5).
#ifndef PROXIMITY_QUERY_MOTION_BOUNDS_H
#define PROXIMITY_QUERY_MOTION_BOUNDS_H

#include "proximity/query/leaf_cache.h"

namespace proximity
{

/// Bounds on how fast points of A close in on points of B along a direction from A to B.
struct Closing {
    double now = 0;  ///< at the moment looked at
    double gain = 0; ///< how fast that can grow, at any moment
    double most = 0; ///< at any moment
};

/// Points of a body, as their motion sees them.
struct MovingPoints {
    Vec arm;       ///< of their middle, from the pivot, world axes
    Vec half;      ///< half extents along the axes of the body
    double radius; ///< bound on the distance of any of them from the axis of rotation, at any time
};

/// A motion at a moment.
struct Rates {
    Vec path;     ///< velocity of the pivot
    Vec spin;     ///< angular velocity
    double speed; ///< of the rotation, the length of spin
    Vec pivot;    ///< where it is, relative to the origin of the pair
};

Rates RatesAt(const MovingBody& body, double time);

inline double RadiusOf(const Rates& rates, const Vec& arm, double extent)
{
    return rates.speed > 0 ? Length(Cross(rates.spin, arm)) / rates.speed + extent : 0.0;
}

/// What a vector has across the axis of a body that turns. @pre  turning.speed > 0
inline Vec AcrossAxis(const Rates& turning, const Vec& v)
{
    const Vec axis = (1 / turning.speed) * turning.spin;
    return v - Dot(v, axis) * axis;
}

/// How far the triangles of a leaf are from the axis that a body turns about, at the least and at
/// the most.
struct Rings {
    double least[kMostInLeaf], most[kMostInLeaf];
};

/// @param leaf  of that body or of the other, placed at the moment of the rates
Rings RingsOf(const Rates& turning, const PlacedLeaf& leaf);

/// Adds what the points of one body contribute.
/// @param direction  towards the other body; may be of any length, speeds are along it
inline void AddClosing(const Rates& rates, const Mat& rotation, const MovingPoints& points,
                       const Vec& direction, Closing& closing)
{
    const double straight = Dot(direction, rates.path);
    closing.now += straight, closing.most += straight;
    if (rates.speed == 0) return;
    const Vec turn = Cross(direction, rates.spin); // (spin x arm) . direction = turn . arm
    const Vec inBody = TransposedTimes(rotation, turn);
    closing.now += Dot(turn, points.arm);
    for (int axis = 0; axis < 3; ++axis) closing.now += std::fabs(inBody[axis]) * points.half[axis];
    const double size = Length(turn) * points.radius;
    closing.most += size;
    closing.gain += size * rates.speed;
}

/// A time for which a gap outlasts a closing speed; infinite where it never ends. Rounded down.
/// @return 0 for a gap that is not above 0, NaN included
inline double TimeOfGap(double gap, const Closing& closing)
{
    if (!(gap > 0)) return 0;
    const double steady = closing.most > 0 ? gap / closing.most : HUGE_VAL;
    if (closing.gain == 0 && closing.now == closing.most) return steady * (1 - 1e-12);
    // now t + gain t^2 / 2 = gap, solved without cancellation.
    const double root = std::sqrt(closing.now * closing.now + 2 * closing.gain * gap);
    double growing = HUGE_VAL;
    if (closing.now >= 0) {
        if (closing.now + root > 0) growing = 2 * gap / (closing.now + root);
    } else if (closing.gain > 0) {
        growing = (root - closing.now) / closing.gain;
    }
    const double time = steady > growing ? steady : growing;
    return time > 0 ? time * (1 - 1e-12) : 0;
}

} // namespace proximity

#endif
