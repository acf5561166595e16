// Determinants of the predicates in plain doubles, each with a bound on its error. The bounds are
// Lemma 1 and Lemma 2.
#ifndef PROXIMITY_EXACT_FILTER_H
#define PROXIMITY_EXACT_FILTER_H

#include <cmath>

namespace proximity
{

/// A computed value whose sign is that of the exact one where |value| > error. NaN in either, which
/// overflow brings, fails that comparison.
struct Filtered {
    double value, error;
};

/// Underflow can add to an error what is far below this, per unit of the factor beside it.
constexpr double kUnderflow = 0x1p-1000;

/// Shewchuk, "Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates"
/// (1997), has the filter; the term for underflow is added here.
inline Filtered FilteredOrient3d(const double* a, const double* b, const double* c, const double* d)
{
    constexpr double kError = 8 * 0x1p-53; // Lemma 1
    double u[3], v[3], w[3];
    for (int k = 0; k < 3; ++k) u[k] = b[k] - a[k], v[k] = c[k] - a[k], w[k] = d[k] - a[k];
    double term[3], size[3];
    for (int k = 0; k < 3; ++k) {
        const int l = (k + 1) % 3, m = (k + 2) % 3;
        const double first = u[l] * v[m], second = u[m] * v[l];
        term[k] = w[k] * (first - second);
        size[k] = std::fabs(w[k]) * (std::fabs(first) + std::fabs(second));
    }
    const double reach = std::fabs(w[0]) + std::fabs(w[1]) + std::fabs(w[2]);
    return {term[0] + term[1] + term[2],
            kError * (size[0] + size[1] + size[2]) + kUnderflow * (1 + reach)};
}

inline Filtered FilteredOrient2d(const double* a, const double* b, const double* c, int axis)
{
    constexpr double kError = 4 * 0x1p-53; // Lemma 2
    const int l = (axis + 1) % 3, m = (axis + 2) % 3;
    const double first = (b[l] - a[l]) * (c[m] - a[m]), second = (b[m] - a[m]) * (c[l] - a[l]);
    return {first - second, kError * (std::fabs(first) + std::fabs(second)) + kUnderflow};
}

} // namespace proximity

#endif
