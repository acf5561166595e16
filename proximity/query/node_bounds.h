// Lower bounds on the distance of boxes of two placed trees, four at a time.
#ifndef PROXIMITY_QUERY_NODE_BOUNDS_H
#define PROXIMITY_QUERY_NODE_BOUNDS_H

#include "proximity/query/placement.h"

namespace proximity
{

/// From the frame of body Y to that of body X, and back: a point q of Y, relative to its centre,
/// lies at m q + inX in the frame of X, and a point of X at m^T q + inY in that of Y.
struct FrameChange {
    float m[3][3];
    float size[3][3]; ///< absolute values of m
    float inX[3], inY[3];
};

FrameChange MakeFrameChange(const Placement& x, const Placement& y);

/// What all bounds of a pair of placed bodies may be too large by, and the factor that non-rigid
/// poses add (Lemma N1).
struct NodeSlack {
    double length, factor;
};

NodeSlack MakeNodeSlack(const Body& a, const Body& b, const PlacedPair& pair);

/// Squares of bounds count when they are not below this: node pairs with such bounds are farther
/// apart than `limit`.
float PruneLimit(const NodeSlack& slack, double limit);

/// A box of Y, prepared to be held against boxes of X.
struct BoxInFrame {
    float center[3], half[3]; ///< in the frame of Y
    float centerX[3], halfX[3]; ///< of a box along the axes of X around it
};

inline BoxInFrame PrepareBox(const FrameChange& change, const Box& y)
{
    BoxInFrame box;
    for (int i = 0; i < 3; ++i) {
        box.center[i] = y.center[i];
        box.half[i] = y.half[i];
        box.centerX[i] = change.m[i][0] * y.center[0] + change.m[i][1] * y.center[1] +
                         change.m[i][2] * y.center[2] + change.inX[i];
        box.halfX[i] = change.size[i][0] * y.half[0] + change.size[i][1] * y.half[1] +
                       change.size[i][2] * y.half[2];
    }
    return box;
}

/// Squares of the distances of four boxes of X from a box of Y, bounded from below along the axes
/// of X and along those of Y (Lemma N1): the larger of the two.
inline Lanes SquaredBounds(const FrameChange& change, const Node& x, const BoxInFrame& y)
{
    Lanes inX = Splat(0), inY = Splat(0);
    for (int i = 0; i < 3; ++i) {
        const Lanes gap = Abs(x.center[i] - y.centerX[i]) - (x.half[i] + y.halfX[i]);
        const Lanes apart = Larger(gap, Splat(0));
        inX += apart * apart;
    }
    for (int i = 0; i < 3; ++i) {
        const Lanes center = change.m[0][i] * x.center[0] + change.m[1][i] * x.center[1] +
                             change.m[2][i] * x.center[2] + change.inY[i];
        const Lanes half = change.size[0][i] * x.half[0] + change.size[1][i] * x.half[1] +
                           change.size[2][i] * x.half[2];
        const Lanes apart =
            Larger(Abs(center - y.center[i]) - (half + y.half[i]), Splat(0));
        inY += apart * apart;
    }
    return Larger(inX, inY);
}

} // namespace proximity

#endif
