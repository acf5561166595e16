// What the kernel's formulas are written in, so that each stands once: a Real is a double, a pair
// of doubles computed at once (every lane rounds as a double does, so bits do not depend on it), or
// a DoubleDouble. And vectors of three of them.
#ifndef PROXIMITY_KERNEL_ARITHMETIC_H
#define PROXIMITY_KERNEL_ARITHMETIC_H

#include <array>
#include <cfloat>
#include <cstddef>

#include "kernel/double_double.h"

namespace proximity
{

static_assert(FLT_EVAL_METHOD == 0, "the error bounds count one rounding for each operation");

/// Both gcc and clang know such types, on every machine.
using Pack = double __attribute__((vector_size(16)));

constexpr int kPackLanes = 2;

/// Each sum, difference and product of Reals has a relative error of at most this (DoubleDouble:
/// 7u^2, u = 2^-53), and what underflow adds.
template <class Real>
inline constexpr double kRoundoff = 0x1p-53;
template <>
inline constexpr double kRoundoff<DoubleDouble> = 0x1p-103;

/// The rounded value as a double.
inline double Head(double x) { return x; }
inline double Head(DoubleDouble x) { return x.hi; }

/// x - y: rounded once as a double, exact as a DoubleDouble.
template <class Real>
Real Difference(double x, double y)
{
    return x - y;
}
template <>
inline DoubleDouble Difference<DoubleDouble>(double x, double y)
{
    return ExactSum(x, -y);
}

template <class Real>
Real Constant(double x)
{
    return Real(x);
}
template <>
inline Pack Constant<Pack>(double x)
{
    return Pack{x, x};
}

/// Into [0, 1]; NaN becomes 0.
template <class Real>
Real Clamp(Real x)
{
    const Real zero = Constant<Real>(0), one = Constant<Real>(1);
    x = x > zero ? x : zero;
    return x < one ? x : one;
}

template <class Real>
using Vector = std::array<Real, 3>;

template <class Real>
Vector<Real> operator-(const Vector<Real>& a, const Vector<Real>& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

template <class Real>
Real Dot(const Vector<Real>& a, const Vector<Real>& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

template <class Real>
Vector<Real> Cross(const Vector<Real>& a, const Vector<Real>& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// to - from, from corners as given.
template <class Real>
Vector<Real> Between(const double* from, const double* to)
{
    return {Difference<Real>(to[0], from[0]), Difference<Real>(to[1], from[1]),
            Difference<Real>(to[2], from[2])};
}

} // namespace proximity

#endif
