// The candidates among which the nearest points of two triangles are: for each pair of a corner and
// a face, of edges, of a corner and an edge, the points nearest to each other.
#ifndef PROXIMITY_KERNEL_CANDIDATES_H
#define PROXIMITY_KERNEL_CANDIDATES_H

#include "kernel/arithmetic.h"
#include "kernel/triangle_pair.h"

namespace proximity
{

/// In the order in which a tie is decided: the features of most dimensions first.
enum class CandidateKind {
    kCornerOfA, ///< corner i of a, face of b
    kCornerOfB, ///< face of a, corner j of b
    kInside,    ///< edges i and j, the insides of both
    kStartOfA,  ///< corner i of a, edge j
    kStartOfB,  ///< edge i, corner j of b
};

struct Candidate {
    CandidateKind kind;
    int i, j; ///< corner of a or edge from it, and the same of b; 0 where it is the face
};

constexpr int kCandidates = 33;

/// @param number  0 to kCandidates - 1
Candidate CandidateOf(int number);

/// A point of a triangle: corner + s * (next corner - corner) + t * (corner after - corner).
template <class Real>
struct PointOn {
    int corner;
    Real s, t;
};

template <class Real>
struct NearestPoints {
    PointOn<Real> onA, onB;
    Vector<Real> between; ///< from a to b
    Real square;          ///< of its length; infinite where the candidate has no points
};

/// Real is double or DoubleDouble.
template <class Real>
NearestPoints<Real> NearestOf(const Triangle& a, const Triangle& b, const Candidate& candidate);

/// The candidate with the least distance, by double arithmetic; the same as comparing NearestOf of
/// each, only faster.
Candidate NearestCandidate(const Triangle& a, const Triangle& b);

} // namespace proximity

#endif
