// Two triangles: how far apart, with a certificate, and how they meet, exactly. Everything is of
// the closed triangles whose corners are the doubles as given; degenerate ones, a segment or a
// point, are legal. docs/proximity_kernel.md has the lemmas.
#ifndef PROXIMITY_KERNEL_TRIANGLE_PAIR_H
#define PROXIMITY_KERNEL_TRIANGLE_PAIR_H

namespace proximity
{

struct Triangle {
    double corner[3][3];
};

/// A part of a triangle: 0 to 2 a corner; 3 to 5 the edge from corner k - 3 to the next; 6 the
/// face.
constexpr int kEdgeFeature = 3;
constexpr int kFaceFeature = 6;

struct PairDistance {
    double distance;        ///< as computed; 0 <= lower <= distance <= upper
    double lower, upper;    ///< the true distance lies between them, all rounding counted;
                            ///< both are 0 where the triangles share a point (decided exactly)
    double pointA[3];       ///< nearest points, each rounded to doubles where it lies, so their
    double pointB[3];       ///< difference is good to the last place of the coordinates only;
                            ///< one and the same where the triangles share a point
    int featureA, featureB; ///< where they lie; both kFaceFeature where a point is shared
};

/// Distance of two closed triangles.
/// @param resolution  >= 0; a certificate no wider than this is good enough. Without it, pairs
/// nearer
///                    than about 2^-30 of their size take a slower path, in twice the precision
/// @return a certificate no wider than the greatest of `resolution`, 2^-20 of `upper`, and 2^-50 of
///         the pair's extent, the greatest difference of coordinates; the last only where features
///         are parallel but for rounding, and for extents below 1e-280.
///         Corners that are not finite give lower 0 and upper infinity: neither clear nor contact.
PairDistance DistanceOf(const Triangle& a, const Triangle& b, double resolution = 0);

/// A cheap proof that two triangles are farther apart than `limit`: true is certain, false says
/// nothing. @param limit  0 or more
bool FartherThan(const Triangle& a, const Triangle& b, double limit);

/// How two triangles meet, by relative interiors (of a degenerate triangle: the open segment, or
/// the point), exactly.
enum class PairRelation {
    kApart,    ///< no point in common
    kTouching, ///< a point in common, but neither of the following: a corner that just reaches a
               ///< face, an edge that lies in it; always so for a point and for two segments
    kCrossing, ///< the interiors cross: each lies on both sides of the other's plane
    kCoplanar, ///< one plane, and the interiors overlap
};

struct PairContact {
    PairRelation relation;
    double segment[2][3]; ///< crossing: the segment of intersection; touching and coplanar: the two
                          ///< points farthest from each other of the corners of what is shared,
                          ///< equal where that is a point; rounded; zeros where apart
    double point[3]; ///< a point of both, the mean of the corners of what is shared; zeros where
                     ///< apart
};

PairContact ContactOf(const Triangle& a, const Triangle& b);

/// Whether ContactOf would say kCrossing, for less.
bool InteriorsCross(const Triangle& a, const Triangle& b);
/// Whether it would say kCrossing or kCoplanar.
bool InteriorsMeet(const Triangle& a, const Triangle& b);

} // namespace proximity

#endif
