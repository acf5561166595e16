// The formulas for nearest points of two features, for any Real. Each gives points of the two
// triangles, whatever rounding does to where they lie: parameters are clamped, not trusted.
#ifndef PROXIMITY_KERNEL_FEATURES_H
#define PROXIMITY_KERNEL_FEATURES_H

#include "kernel/arithmetic.h"

namespace proximity
{

/// Two edges: the points s along e from its start, and t along f from its start; w runs from the
/// start of e to that of f.
template <class Real>
struct EdgePair {
    Vector<Real> e, f, w;
    Real inverseEE, inverseFF;
};

template <class Real>
struct EdgeParameters {
    Real s, t;
};

/// Where the lines are nearest to each other, clamped to the edges, each in turn. Of parallel
/// edges, or where an edge is a point, some points of the edges.
template <class Real>
EdgeParameters<Real> NearestInside(const EdgePair<Real>& p)
{
    const Real ef = Dot(p.e, p.f), ew = Dot(p.e, p.w), fw = Dot(p.f, p.w);
    const Real ee = Dot(p.e, p.e), ff = Dot(p.f, p.f);
    const Real first = Clamp<Real>((ew * ff - ef * fw) / (ee * ff - ef * ef));
    const Real t = Clamp<Real>((first * ef - fw) * p.inverseFF);
    return {Clamp<Real>((ew + t * ef) * p.inverseEE), t};
}

/// The start of e against f.
template <class Real>
EdgeParameters<Real> NearestToStartOfE(const EdgePair<Real>& p)
{
    return {Constant<Real>(0), Clamp<Real>(-Dot(p.f, p.w) * p.inverseFF)};
}

/// The start of f against e.
template <class Real>
EdgeParameters<Real> NearestToStartOfF(const EdgePair<Real>& p)
{
    return {Clamp<Real>(Dot(p.e, p.w) * p.inverseEE), Constant<Real>(0)};
}

/// From the point s along e to the point t along f.
template <class Real>
Vector<Real> BetweenEdges(const EdgePair<Real>& p, const EdgeParameters<Real>& at)
{
    Vector<Real> out;
    for (std::size_t k = 0; k < 3; ++k) out[k] = (p.w[k] + at.t * p.f[k]) - at.s * p.e[k];
    return out;
}

/// A face with sides f and g from its corner 0, and what gives a point's parameters along them.
template <class Real>
struct FaceFrame {
    Vector<Real> f, g;
    Vector<Real> dualF, dualG; ///< times the square of the normal, and so is
    Real inverse;              ///< 1 / that; not finite for a degenerate face
};

template <class Real>
FaceFrame<Real> FrameOf(const Vector<Real>& f, const Vector<Real>& g)
{
    const Vector<Real> normal = Cross(f, g);
    return {f, g, Cross(g, normal), Cross(normal, f), Constant<Real>(1) / Dot(normal, normal)};
}

/// The point f * s + g * t of the face's plane that is nearest to a point v away from corner 0.
template <class Real>
EdgeParameters<Real> NearestOnPlane(const FaceFrame<Real>& face, const Vector<Real>& v)
{
    return {Dot(v, face.dualF) * face.inverse, Dot(v, face.dualG) * face.inverse};
}

/// From the point v to the point s, t of the face.
template <class Real>
Vector<Real> BetweenFace(const FaceFrame<Real>& face, const Vector<Real>& v,
                         const EdgeParameters<Real>& at)
{
    Vector<Real> out;
    for (std::size_t k = 0; k < 3; ++k) out[k] = (at.s * face.f[k] + at.t * face.g[k]) - v[k];
    return out;
}

} // namespace proximity

#endif
