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

/// @param unit  roundoff of what they are computed in
NodeSlack MakeNodeSlack(const Body& a, const Body& b, const PlacedPair& pair, double unit);

/// Squares of bounds count when they are not below this: node pairs with such bounds are farther
/// apart than `limit`.
float PruneLimit(const NodeSlack& slack, double limit);

/// A box of Y, prepared to be held against boxes of X.
struct BoxInFrame {
    Box box;
    float centerX[3], halfX[3]; ///< of a box along the axes of X around it
    float normalX[3];           ///< of the slab, in the frame of X
    float normalOffset;         ///< what a point of X has more along the normal in the frame of Y
};

inline BoxInFrame PrepareBox(const FrameChange& change, const Box& y)
{
    BoxInFrame out;
    out.box = y;
    out.normalOffset = 0;
    for (int i = 0; i < 3; ++i) {
        out.centerX[i] = change.m[i][0] * y.center[0] + change.m[i][1] * y.center[1] +
                         change.m[i][2] * y.center[2] + change.inX[i];
        out.halfX[i] = change.size[i][0] * y.half[0] + change.size[i][1] * y.half[1] +
                       change.size[i][2] * y.half[2];
        out.normalX[i] = change.m[i][0] * y.normal[0] + change.m[i][1] * y.normal[1] +
                         change.m[i][2] * y.normal[2];
        out.normalOffset += y.normal[i] * change.inY[i];
    }
    return out;
}

/// Gaps of four boxes of X from a box of Y along the normal of Y's slab, and along those of theirs:
/// the widest (Lemma N2).
inline Lanes SlabGaps(const FrameChange& change, const Node& x, const BoxInFrame& y)
{
    // Along the normal of Y: what is in X lies in its slab for the part along X's normal, and in
    // its box for the rest.
    const Lanes part =
        x.normal[0] * y.normalX[0] + x.normal[1] * y.normalX[1] + x.normal[2] * y.normalX[2];
    Lanes middle = Splat(y.normalOffset), half = Splat(0);
    for (int i = 0; i < 3; ++i) {
        const Lanes rest = y.normalX[i] - part * x.normal[i];
        middle += rest * x.center[i];
        half += Abs(rest) * x.half[i];
    }
    const Lanes a = part * x.low, b = part * x.high;
    const Lanes alongY =
        Max(middle - half + Min(a, b) - y.box.high, y.box.low - (middle + half + Max(a, b)));
    // And along each normal of X.
    const Lanes share = part; // the same product of both normals
    Lanes middleY =
        x.normal[0] * change.inX[0] + x.normal[1] * change.inX[1] + x.normal[2] * change.inX[2];
    Lanes halfY = Splat(0);
    for (int i = 0; i < 3; ++i) {
        const Lanes normal = change.m[0][i] * x.normal[0] + change.m[1][i] * x.normal[1] +
                             change.m[2][i] * x.normal[2];
        const Lanes rest = normal - share * y.box.normal[i];
        middleY += rest * y.box.center[i];
        halfY += Abs(rest) * y.box.half[i];
    }
    const Lanes c = share * y.box.low, d = share * y.box.high;
    const Lanes alongX =
        Max(middleY - halfY + Min(c, d) - x.high, x.low - (middleY + halfY + Max(c, d)));
    return Max(alongX, alongY);
}

/// The least that lies in a box and its slab along directions d, whose part along the slab's normal
/// is split off (Lemma B1).
template <class Normal, class Middle, class Half, class Bound>
inline Lanes LeastAlong(const Lanes* d, const Normal* normal, const Middle* center,
                        const Half* half, Bound low, Bound high)
{
    const Lanes part = d[0] * normal[0] + d[1] * normal[1] + d[2] * normal[2];
    const Lanes a = part * low, b = part * high;
    Lanes box = Splat(0), slab = Min(a, b);
    for (int i = 0; i < 3; ++i) {
        const Lanes rest = d[i] - part * normal[i];
        box += d[i] * center[i] - Abs(d[i]) * half[i];
        slab += rest * center[i] - Abs(rest) * half[i];
    }
    return Max(box, slab);
}

/// Squares of the gaps of four boxes of X from a box of Y along the lines between their middles
/// (Lemma N3): what tells bodies that are farther apart than the boxes are wide.
inline Lanes SquaredGapsBetweenMiddles(const FrameChange& change, const Node& x,
                                       const BoxInFrame& y)
{
    Lanes d[3], back[3], square = Splat(1e-30f), middle = Splat(0);
    for (int i = 0; i < 3; ++i) {
        d[i] = x.center[i] - y.centerX[i];
        square += d[i] * d[i];
        middle += d[i] * change.inX[i];
    }
    for (int i = 0; i < 3; ++i)
        back[i] = -(change.m[0][i] * d[0] + change.m[1][i] * d[1] + change.m[2][i] * d[2]);
    const Lanes inX = LeastAlong(d, x.normal, x.center, x.half, x.low, x.high);
    const Lanes inY =
        LeastAlong(back, y.box.normal, y.box.center, y.box.half, y.box.low, y.box.high);
    const Lanes gap = Max(inX + inY - middle, Splat(0));
    // Divided first: the square of a gap times a length would overflow far out.
    return gap / square * gap * (1 - 0x1p-19f);
}

/// Squares of the distances of four boxes of X from a box of Y, bounded from below along the axes
/// of X and along those of Y (Lemma N1), and, where that leaves any below the limit, along the
/// lines between them, and then along the normals of their slabs: the largest.
inline Lanes SquaredBounds(const FrameChange& change, const Node& x, const BoxInFrame& y,
                           float limit)
{
    Lanes inX = Splat(0), inY = Splat(0);
    for (int i = 0; i < 3; ++i) {
        const Lanes gap = Abs(x.center[i] - y.centerX[i]) - (x.half[i] + y.halfX[i]);
        const Lanes apart = Max(gap, Splat(0));
        inX += apart * apart;
    }
    for (int i = 0; i < 3; ++i) {
        const Lanes center = change.m[0][i] * x.center[0] + change.m[1][i] * x.center[1] +
                             change.m[2][i] * x.center[2] + change.inY[i];
        const Lanes half = change.size[0][i] * x.half[0] + change.size[1][i] * x.half[1] +
                           change.size[2][i] * x.half[2];
        const Lanes apart = Max(Abs(center - y.box.center[i]) - (half + y.box.half[i]), Splat(0));
        inY += apart * apart;
    }
    const Lanes boxes = Max(inX, inY);
    if (AllOf(boxes >= Splat(limit))) return boxes;
    const Lanes most = Max(boxes, SquaredGapsBetweenMiddles(change, x, y));
    if (AllOf(most >= Splat(limit))) return most;
    const Lanes gap = Max(SlabGaps(change, x, y), Splat(0));
    return Max(most, gap * gap);
}

/// The boxes and slabs of whole bodies.
/// @param limit  as PruneLimit gives it
inline bool BodiesAreFarther(const Body& a, const Body& b, const FrameChange& change, float limit)
{
    const BoxInFrame whole = PrepareBox(change, b.tree.BoxOf(kRoot));
    return SquaredBounds(change, a.tree.node[0], whole, limit)[0] >= limit;
}

} // namespace proximity

#endif
