#include "kernel/candidates.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "kernel/features.h"

namespace proximity
{
namespace
{

constexpr double kInfinity = std::numeric_limits<double>::infinity();

constexpr int Next(int corner) { return (corner + 1) % 3; }

template <class Real>
EdgePair<Real> EdgePairOf(const Triangle& a, const Triangle& b, int i, int j)
{
    EdgePair<Real> out{Between<Real>(a.corner[i], a.corner[Next(i)]),
                       Between<Real>(b.corner[j], b.corner[Next(j)]),
                       Between<Real>(a.corner[i], b.corner[j]), Real{}, Real{}};
    out.inverseEE = Constant<Real>(1) / Dot(out.e, out.e);
    out.inverseFF = Constant<Real>(1) / Dot(out.f, out.f);
    return out;
}

template <class Real>
FaceFrame<Real> FaceOf(const Triangle& t)
{
    return FrameOf(Between<Real>(t.corner[0], t.corner[1]),
                   Between<Real>(t.corner[0], t.corner[2]));
}

template <class Real>
bool IsInside(const EdgeParameters<Real>& at)
{
    const Real zero = Constant<Real>(0);
    return at.s >= zero && at.t >= zero && at.s + at.t <= Constant<Real>(1);
}

template <class Real>
NearestPoints<Real> NearestToFace(const Triangle& corners, int corner, const Triangle& face)
{
    const FaceFrame<Real> frame = FaceOf<Real>(face);
    const Vector<Real> v = Between<Real>(face.corner[0], corners.corner[corner]);
    const EdgeParameters<Real> at = NearestOnPlane(frame, v);
    const Vector<Real> between = BetweenFace(frame, v, at);
    return {{corner, Real(0), Real(0)},
            {0, at.s, at.t},
            between,
            IsInside(at) ? Dot(between, between) : Real(kInfinity)};
}

template <class Real>
NearestPoints<Real> NearestOfEdges(const Triangle& a, const Triangle& b, const Candidate& c)
{
    const EdgePair<Real> pair = EdgePairOf<Real>(a, b, c.i, c.j);
    const EdgeParameters<Real> at = c.kind == CandidateKind::kInside     ? NearestInside(pair)
                                    : c.kind == CandidateKind::kStartOfA ? NearestToStartOfE(pair)
                                                                         : NearestToStartOfF(pair);
    const Vector<Real> between = BetweenEdges(pair, at);
    return {{c.i, at.s, Real(0)}, {c.j, at.t, Real(0)}, between, Dot(between, between)};
}

constexpr int kGroups = kCandidates / 3;
constexpr int kWidth = 4; // three, and one more to fill the packs, which repeats the first

/// The packs of a triangle: lane l of pack n is corner or edge 2n + l.
constexpr int kPacks = kWidth / kPackLanes;

Vector<Pack> PackOf(const double (*from)[kWidth], const double (*to)[kWidth], std::size_t n)
{
    Vector<Pack> out;
    for (std::size_t k = 0; k < 3; ++k) {
        const double *x = from[k] + kPackLanes * n, *y = to[k] + kPackLanes * n;
        out[k] = Pack{y[0] - x[0], y[1] - x[1]};
    }
    return out;
}

Vector<Pack> Spread(const Vector<Pack>& v, std::size_t lane)
{
    return {Constant<Pack>(v[0][lane]), Constant<Pack>(v[1][lane]), Constant<Pack>(v[2][lane])};
}

/// Corner coordinates by axis, and the edges from them.
struct Packed {
    double start[3][kWidth];
    Vector<Pack> edge[kPacks];
    Pack inverse[kPacks]; ///< 1 / the square of an edge
};

Packed PackedOf(const Triangle& t)
{
    Packed out;
    double end[3][kWidth];
    for (int i = 0; i < kWidth; ++i)
        for (int k = 0; k < 3; ++k)
            out.start[k][i] = t.corner[i % 3][k], end[k][i] = t.corner[Next(i)][k];
    for (std::size_t n = 0; n < kPacks; ++n) {
        out.edge[n] = PackOf(out.start, end, n);
        out.inverse[n] = Constant<Pack>(1) / Dot(out.edge[n], out.edge[n]);
    }
    return out;
}

/// From a point to the corners of a pack, or from them to it, as the sign is 1 or -1.
Vector<Pack> CornersFrom(const double* point, const Packed& t, std::size_t n, int sign)
{
    Vector<Pack> out;
    for (std::size_t k = 0; k < 3; ++k) {
        const double* x = t.start[k] + kPackLanes * n;
        const Pack corner{x[0], x[1]}, from{point[k], point[k]};
        out[k] = sign > 0 ? corner - from : from - corner;
    }
    return out;
}

/// Squares of the distances of all candidates, by group and by the lanes of i (or of j, in the
/// group of the corners of b). Groups are numbered as in CandidateOf.
using Squares = std::array<std::array<Pack, kPacks>, kGroups>;

void SetFaceSquares(const Packed& corners, const Triangle& face, std::array<Pack, kPacks>& out)
{
    const FaceFrame<double> narrow = FaceOf<double>(face);
    FaceFrame<Pack> frame;
    for (std::size_t k = 0; k < 3; ++k) {
        frame.f[k] = Constant<Pack>(narrow.f[k]), frame.g[k] = Constant<Pack>(narrow.g[k]);
        frame.dualF[k] = Constant<Pack>(narrow.dualF[k]);
        frame.dualG[k] = Constant<Pack>(narrow.dualG[k]);
    }
    frame.inverse = Constant<Pack>(narrow.inverse);
    const Pack zero = Constant<Pack>(0), one = Constant<Pack>(1);
    for (std::size_t n = 0; n < kPacks; ++n) {
        const Vector<Pack> v = CornersFrom(face.corner[0], corners, n, 1);
        const EdgeParameters<Pack> at = NearestOnPlane(frame, v);
        const Vector<Pack> between = BetweenFace(frame, v, at);
        const auto inside = (at.s >= zero) & (at.t >= zero) & (at.s + at.t <= one);
        out[n] = inside ? Dot(between, between) : Constant<Pack>(kInfinity);
    }
}

void SetEdgeSquares(const Packed& a, const Packed& b, const Triangle& cornersB, Squares& out)
{
    for (std::size_t j = 0; j < 3; ++j) {
        const std::size_t pack = j / kPackLanes, lane = j % kPackLanes;
        const Vector<Pack> f = Spread(b.edge[pack], lane);
        const Pack inverseFF = Constant<Pack>(b.inverse[pack][lane]);
        for (std::size_t n = 0; n < kPacks; ++n) {
            const EdgePair<Pack> pair{a.edge[n], f, CornersFrom(cornersB.corner[j], a, n, -1),
                                      a.inverse[n], inverseFF};
            const Vector<Pack> between[3] = {BetweenEdges(pair, NearestInside(pair)),
                                             BetweenEdges(pair, NearestToStartOfE(pair)),
                                             BetweenEdges(pair, NearestToStartOfF(pair))};
            for (std::size_t kind = 0; kind < 3; ++kind)
                out[2 + 3 * kind + j][n] = Dot(between[kind], between[kind]);
        }
    }
}

int NumberOfLeast(const Squares& squares)
{
    Pack least = squares[0][0];
    for (const auto& group : squares)
        for (const Pack& pack : group) least = pack < least ? pack : least;
    const double value = std::min(least[0], least[1]);
    for (std::size_t group = 0; group < kGroups; ++group)
        for (std::size_t lane = 0; lane < 3; ++lane)
            if (squares[group][lane / kPackLanes][lane % kPackLanes] == value)
                return static_cast<int>(3 * group + lane);
    return 0;
}

} // namespace

Candidate CandidateOf(int number)
{
    const int group = number / 3, lane = number % 3;
    if (group == 0) return {CandidateKind::kCornerOfA, lane, 0};
    if (group == 1) return {CandidateKind::kCornerOfB, 0, lane};
    return {static_cast<CandidateKind>(2 + (group - 2) / 3), lane, (group - 2) % 3};
}

template <class Real>
NearestPoints<Real> NearestOf(const Triangle& a, const Triangle& b, const Candidate& candidate)
{
    if (candidate.kind == CandidateKind::kCornerOfA) return NearestToFace<Real>(a, candidate.i, b);
    if (candidate.kind != CandidateKind::kCornerOfB) return NearestOfEdges<Real>(a, b, candidate);
    NearestPoints<Real> out = NearestToFace<Real>(b, candidate.j, a);
    std::swap(out.onA, out.onB);
    for (Real& x : out.between) x = -x;
    return out;
}

template NearestPoints<double> NearestOf(const Triangle&, const Triangle&, const Candidate&);
template NearestPoints<DoubleDouble> NearestOf(const Triangle&, const Triangle&, const Candidate&);

Candidate NearestCandidate(const Triangle& a, const Triangle& b)
{
    const Packed packedA = PackedOf(a), packedB = PackedOf(b);
    Squares squares;
    SetFaceSquares(packedA, b, squares[0]);
    SetFaceSquares(packedB, a, squares[1]);
    SetEdgeSquares(packedA, packedB, b, squares);
    return CandidateOf(NumberOfLeast(squares));
}

} // namespace proximity
