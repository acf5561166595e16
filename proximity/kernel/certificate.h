// The two halves of a certificate, each true whatever it is given: any direction yields a lower
// bound on the distance (Lemma 3), any points of the two triangles an upper one (Lemma 4). How good
// they are hangs on the direction and the points; that they hold does not.
#ifndef PROXIMITY_KERNEL_CERTIFICATE_H
#define PROXIMITY_KERNEL_CERTIFICATE_H

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "kernel/arithmetic.h"
#include "kernel/triangle_pair.h"

namespace proximity
{

/// Outside of these the kernel scales its input: within them nothing overflows, and what underflow
/// adds is lost in the bounds.
constexpr double kLeastSize = 0x1p-60, kGreatestSize = 0x1p60;

/// Of the square of a direction. Below it underflow could spoil the length.
constexpr double kLeastSquare = 0x1p-900;

/// Covers a few more roundings than end a bound, in either direction.
constexpr double kRoundDown = 1 - 0x1p-49, kRoundUp = 1 + 0x1p-49;

/// Both triangles with a's corner 0 as origin.
template <class Real>
struct Centred {
    Vector<Real> a[3], b[3];
    double size; ///< the greatest coordinate by magnitude
};

template <class Real>
Centred<Real> CentredOf(const Triangle& a, const Triangle& b)
{
    Centred<Real> out;
    // Magnitudes in the order of their bits: a NaN is the greatest, so none is overlooked.
    std::uint64_t greatest = 0;
    for (int i = 0; i < 3; ++i) {
        out.a[i] = Between<Real>(a.corner[0], a.corner[i]);
        out.b[i] = Between<Real>(a.corner[0], b.corner[i]);
        for (std::size_t k = 0; k < 3; ++k)
            greatest =
                std::max({greatest, std::bit_cast<std::uint64_t>(std::fabs(Head(out.a[i][k]))),
                          std::bit_cast<std::uint64_t>(std::fabs(Head(out.b[i][k])))});
    }
    out.size = std::bit_cast<double>(greatest);
    return out;
}

/// A number and a bound on its error.
template <class Real>
struct Bounded {
    Real value;
    double error;
};

/// How far apart the triangles are along a direction, times its length; negative where they
/// overlap.
template <class Real>
Bounded<Real> GapAlong(const Centred<Real>& pair, const Vector<Real>& direction)
{
    constexpr double kError = 11 * kRoundoff<Real>; // Lemma 3
    Real lowA = Dot(direction, pair.a[0]), highA = lowA;
    Real lowB = Dot(direction, pair.b[0]), highB = lowB;
    for (int i = 1; i < 3; ++i) {
        const Real a = Dot(direction, pair.a[i]), b = Dot(direction, pair.b[i]);
        lowA = a < lowA ? a : lowA, highA = highA < a ? a : highA;
        lowB = b < lowB ? b : lowB, highB = highB < b ? b : highB;
    }
    const Real aFirst = lowB - highA, bFirst = lowA - highB;
    double sum = 0;
    for (const Real& x : direction) sum += std::fabs(Head(x));
    return {aFirst < bFirst ? bFirst : aFirst, kError * (sum * pair.size)};
}

/// @return a lower bound on the distance; 0 where the direction shows none
template <class Real>
double LowerBoundAlong(const Centred<Real>& pair, const Vector<Real>& direction)
{
    double square = 0;
    for (const Real& x : direction) square += Head(x) * Head(x);
    const Bounded<Real> gap = GapAlong(pair, direction);
    const double value = Head(gap.value);
    if (!(square >= kLeastSquare) || !(value > gap.error)) return 0;
    return (value - gap.error) / std::sqrt(square) * kRoundDown;
}

/// Of a vector between points of the triangles, found by the formulas of features.h.
template <class Real>
Bounded<double> LengthOf(const Vector<Real>& between, double size)
{
    constexpr double kError = 21 * kRoundoff<Real>; // Lemma 4
    double square = 0;
    for (const Real& x : between) square += Head(x) * Head(x);
    return {std::sqrt(square), kError * size};
}

/// @return an upper bound on the distance
inline double UpperBound(Bounded<double> length) { return length.value * kRoundUp + length.error; }

} // namespace proximity

#endif
