#include <algorithm>
#include <cmath>
#include <limits>

#include "exact/intersection.h"
#include "kernel/candidates.h"
#include "kernel/certificate.h"
#include "kernel/shared_points.h"
#include "kernel/triangle_pair.h"

namespace proximity
{
namespace
{

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Of the upper bound: how wide a certificate may be before more is done for it.
constexpr double kRelativeWidth = 0x1p-20;

constexpr int Next(int corner) { return (corner + 1) % 3; }

/// The smallest part of the triangle that has the point.
template <class Real>
int FeatureOf(const PointOn<Real>& p)
{
    const Real zero = Real(0), one = Real(1);
    const bool first = p.s > zero, second = p.t > zero;
    if (first && second) return p.s + p.t < one ? kFaceFeature : kEdgeFeature + Next(p.corner);
    if (first) return p.s < one ? kEdgeFeature + p.corner : Next(p.corner);
    if (second) return p.t < one ? kEdgeFeature + Next(Next(p.corner)) : Next(Next(p.corner));
    return p.corner;
}

/// A feature as the directions in it: none of a corner.
constexpr bool IsEdge(int feature) { return kEdgeFeature <= feature && feature < kFaceFeature; }

template <class Real>
Vector<Real> EdgeOf(const Triangle& t, int edge)
{
    return Between<Real>(t.corner[edge], t.corner[Next(edge)]);
}

/// Normal to the face, from its two shorter edges: the product loses least there.
template <class Real>
Vector<Real> NormalOf(const Triangle& t)
{
    const Vector<Real> edge[3] = {EdgeOf<Real>(t, 0), EdgeOf<Real>(t, 1), EdgeOf<Real>(t, 2)};
    int longest = 0;
    double square[3];
    for (int i = 0; i < 3; ++i) {
        square[i] = Head(Dot(edge[i], edge[i]));
        if (square[longest] < square[i]) longest = i;
    }
    return Cross(edge[Next(longest)], edge[Next(Next(longest))]);
}

/// Normal to an edge of one triangle, towards a corner of the other.
template <class Real>
Vector<Real> EdgeToCorner(const Triangle& edges, int edge, const double* corner)
{
    const Vector<Real> e = EdgeOf<Real>(edges, edge);
    return Cross(Cross(e, Between<Real>(edges.corner[edge], corner)), e);
}

/// The direction in which the features of the nearest points show their distance. It is normal to
/// them as far as rounding allows, whatever became of the points.
template <class Real>
Vector<Real> SeparatingDirection(const Triangle& a, const Triangle& b, int featureA, int featureB,
                                 const Vector<Real>& between)
{
    if (featureA == kFaceFeature) return NormalOf<Real>(a);
    if (featureB == kFaceFeature) return NormalOf<Real>(b);
    const int edgeA = featureA - kEdgeFeature, edgeB = featureB - kEdgeFeature;
    if (IsEdge(featureA) && IsEdge(featureB))
        return Cross(EdgeOf<Real>(a, edgeA), EdgeOf<Real>(b, edgeB));
    if (IsEdge(featureA)) return EdgeToCorner<Real>(a, edgeA, b.corner[featureB]);
    if (IsEdge(featureB)) return EdgeToCorner<Real>(b, edgeB, a.corner[featureA]);
    return between;
}

/// The greatest lower bound along the directions that can separate two triangles, and `between`.
template <class Real>
double BestLowerBound(const Triangle& a, const Triangle& b, const Centred<Real>& pair,
                      const Vector<Real>& between)
{
    double lower = LowerBoundAlong(pair, between);
    const auto improve = [&](const Vector<Real>& direction) {
        lower = std::max(lower, LowerBoundAlong(pair, direction));
    };
    improve(NormalOf<Real>(a));
    improve(NormalOf<Real>(b));
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) improve(Cross(EdgeOf<Real>(a, i), EdgeOf<Real>(b, j)));
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            improve(EdgeToCorner<Real>(a, i, b.corner[j]));
            improve(EdgeToCorner<Real>(b, i, a.corner[j]));
        }
    return lower;
}

template <class Real>
void SetPoint(const Triangle& t, const PointOn<Real>& on, double* out)
{
    const double* corner = t.corner[on.corner];
    const double *next = t.corner[Next(on.corner)], *last = t.corner[Next(Next(on.corner))];
    for (int k = 0; k < 3; ++k)
        out[k] = Head(Real(corner[k]) + (on.s * Difference<Real>(next[k], corner[k]) +
                                         on.t * Difference<Real>(last[k], corner[k])));
}

/// The upper half of the certificate, the points and their features.
template <class Real>
PairDistance PointsOf(const Triangle& a, const Triangle& b, const NearestPoints<Real>& nearest,
                      double size)
{
    PairDistance out{};
    const Bounded<double> length = LengthOf(nearest.between, size);
    out.distance = length.value;
    out.upper = UpperBound(length);
    SetPoint(a, nearest.onA, out.pointA);
    SetPoint(b, nearest.onB, out.pointB);
    out.featureA = FeatureOf(nearest.onA);
    out.featureB = FeatureOf(nearest.onB);
    return out;
}

bool IsTight(const PairDistance& d, double resolution)
{
    return d.upper - d.lower <= std::max(resolution, kRelativeWidth * d.upper);
}

void SetLower(double lower, PairDistance& out) { out.lower = std::min(lower, out.distance); }

PairDistance ZeroDistance(const Triangle& a, const Triangle& b)
{
    PairDistance out{};
    SharedPoints shared;
    SetSharedPoints(a, b, shared);
    for (int k = 0; k < 3; ++k) out.pointA[k] = out.pointB[k] = shared.mean[k];
    out.featureA = out.featureB = kFaceFeature;
    return out;
}

/// All candidates and all directions once more, in twice the precision.
PairDistance PreciseDistance(const Triangle& a, const Triangle& b)
{
    NearestPoints<DoubleDouble> nearest = NearestOf<DoubleDouble>(a, b, CandidateOf(0));
    for (int number = 1; number < kCandidates; ++number) {
        const auto next = NearestOf<DoubleDouble>(a, b, CandidateOf(number));
        if (next.square < nearest.square) nearest = next;
    }
    const auto pair = CentredOf<DoubleDouble>(a, b);
    PairDistance out = PointsOf(a, b, nearest, pair.size);
    SetLower(BestLowerBound(a, b, pair, nearest.between), out);
    return out;
}

/// @pre  the greatest coordinate of both, seen from a corner, is within kLeastSize and
/// kGreatestSize
PairDistance DistanceInRange(const Triangle& a, const Triangle& b, const Centred<double>& pair,
                             double resolution)
{
    const auto nearest = NearestOf<double>(a, b, NearestCandidate(a, b));
    PairDistance out = PointsOf(a, b, nearest, pair.size);
    SetLower(LowerBoundAlong(
                 pair, SeparatingDirection(a, b, out.featureA, out.featureB, nearest.between)),
             out);
    if (IsTight(out, resolution)) return out;
    SetLower(std::max(out.lower, BestLowerBound(a, b, pair, nearest.between)), out);
    if (IsTight(out, resolution)) return out;
    if (!(out.lower > 0) && TrianglesMeet(a.corner, b.corner)) return ZeroDistance(a, b);
    PairDistance precise = PreciseDistance(a, b);
    SetLower(std::max(out.lower, precise.lower), precise);
    return precise;
}

bool IsInRange(double size) { return kLeastSize <= size && size <= kGreatestSize; }

/// What scaling takes from a pair: coordinates that all six corners share, and a power of two.
struct Scaling {
    double plane[3]; ///< 0 where the corners differ
    int exponent;
};

/// Scales by a power of two to where the greatest coordinate is about 1. A coordinate that all
/// corners share goes first: it could overflow where the others are tiny.
Scaling Scale(Triangle& a, Triangle& b)
{
    Scaling out{};
    double greatest = 0;
    double* corners[6] = {a.corner[0], a.corner[1], a.corner[2],
                          b.corner[0], b.corner[1], b.corner[2]};
    for (int k = 0; k < 3; ++k) {
        const double first = corners[0][k];
        if (std::all_of(corners, corners + 6, [&](double* c) { return c[k] == first; })) {
            out.plane[k] = first;
            for (double* corner : corners) corner[k] = 0;
        }
        for (double* corner : corners) greatest = std::max(greatest, std::fabs(corner[k]));
    }
    out.exponent = std::ilogb(greatest);
    for (double* corner : corners)
        for (int k = 0; k < 3; ++k) corner[k] = std::ldexp(corner[k], -out.exponent);
    return out;
}

/// The bounds, rounded outwards where they end among the denormal numbers or beyond the last.
void Unscale(const Scaling& scaling, PairDistance& d)
{
    constexpr double kGreatest = std::numeric_limits<double>::max();
    const auto unscale = [&](double x) { return std::ldexp(x, scaling.exponent); };
    const double lower = std::min(unscale(d.lower), kGreatest), upper = unscale(d.upper);
    const bool isAbove = std::ldexp(lower, -scaling.exponent) > d.lower;
    const bool isBelow = std::ldexp(upper, -scaling.exponent) < d.upper;
    d.lower = isAbove ? std::nextafter(lower, 0) : lower;
    d.upper = isBelow ? std::nextafter(upper, kInfinity) : upper;
    d.distance = std::clamp(std::min(unscale(d.distance), kGreatest), d.lower, d.upper);
    for (int k = 0; k < 3; ++k) {
        d.pointA[k] = unscale(d.pointA[k]) + scaling.plane[k];
        d.pointB[k] = unscale(d.pointB[k]) + scaling.plane[k];
    }
}

bool AreFinite(const Triangle& t)
{
    for (const auto& corner : t.corner)
        if (!std::all_of(corner, corner + 3, [](double x) { return std::isfinite(x); }))
            return false;
    return true;
}

/// Of a pair of extreme size.
PairDistance DistanceOutOfRange(Triangle a, Triangle b, double resolution)
{
    if (!AreFinite(a) || !AreFinite(b)) return {0, 0, kInfinity, {}, {}, 0, 0};
    if (TrianglesMeet(a.corner, b.corner)) return ZeroDistance(a, b);
    const Scaling scaling = Scale(a, b);
    PairDistance out =
        DistanceInRange(a, b, CentredOf<double>(a, b), std::ldexp(resolution, -scaling.exponent));
    if (scaling.exponent > 0) {
        // Scaled down, a coordinate may have lost bits below the least denormal number.
        constexpr double kLost = 0x1p-1000;
        out.lower = std::max(0.0, out.lower - kLost);
        out.upper += kLost;
    }
    Unscale(scaling, out);
    return out;
}

} // namespace

PairDistance DistanceOf(const Triangle& a, const Triangle& b, double resolution)
{
    const auto pair = CentredOf<double>(a, b);
    if (!IsInRange(pair.size)) return DistanceOutOfRange(a, b, resolution);
    return DistanceInRange(a, b, pair, resolution);
}

bool FartherThan(const Triangle& a, const Triangle& b, double limit)
{
    const auto pair = CentredOf<double>(a, b);
    if (!IsInRange(pair.size)) return DistanceOutOfRange(a, b, 0).lower > limit;
    Vector<double> middles{};
    for (int i = 0; i < 3; ++i)
        for (std::size_t k = 0; k < 3; ++k) middles[k] += pair.b[i][k] - pair.a[i][k];
    return LowerBoundAlong(pair, middles) > limit ||
           LowerBoundAlong(pair, NormalOf<double>(a)) > limit ||
           LowerBoundAlong(pair, NormalOf<double>(b)) > limit;
}

} // namespace proximity
