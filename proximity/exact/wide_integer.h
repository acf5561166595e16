// Integers wide enough for the determinants of predicates.cpp over any finite doubles. All are
// multiples of 2^-1074 below 2^1024, so a coordinate takes 2098 bits, a difference 2099, a product
// of three of those 6297, and the sum of six such products 6300. Only the limbs in use are touched.
#ifndef PROXIMITY_EXACT_WIDE_INTEGER_H
#define PROXIMITY_EXACT_WIDE_INTEGER_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace proximity
{

constexpr int kWideLimbs = 200;
static_assert(32 * kWideLimbs >= 6300);

/// Sign and magnitude, the least significant limb first.
struct WideInteger {
    int sign;      ///< 1, 0 or -1
    int limbCount; ///< the first limbCount limbs are in use, the last of them is not 0
    std::array<std::uint32_t, kWideLimbs> limb; ///< the rest is not initialised
};

/// The power of two of the lowest bit that is set in x. @pre x is finite and not 0
int LowestBit(double x);

/// out = x * 2^-exponent. @pre x is 0, or finite with LowestBit(x) >= exponent >= -1074
void SetWide(double x, int exponent, WideInteger& out);

/// out = a + sign * b, sign being 1 or -1. `out` may be neither a nor b.
void AddWide(const WideInteger& a, const WideInteger& b, int sign, WideInteger& out);

/// out = a * b. `out` may be neither a nor b.
void MultiplyWide(const WideInteger& a, const WideInteger& b, WideInteger& out);

/// a / b, correct to 2^-51 of itself where the result is not denormal. @pre b is not 0
double WideRatio(const WideInteger& a, const WideInteger& b);

} // namespace proximity

#endif
