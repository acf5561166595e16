#include "kernel/angles.h"

#include <array>
#include <cmath>
#include <numbers>

#include "kernel/double_double.h"

namespace proximity
{
namespace
{

/// Half of pi less its first 53 bits, and less the first 106.
constexpr DoubleDouble kHalfPiRest{0x1.1a62633145c07p-54, -0x1.f1976b7ed8fbcp-110};

/// -1 / (k (k + 1)): each term of the series of sine and cosine over the one before.
constexpr auto kNextTerm = [] {
    std::array<double, 24> next{};
    for (std::size_t k = 1; k < next.size(); ++k) next[k] = -1.0 / static_cast<double>(k * (k + 1));
    return next;
}();

/// The series over its first term, less 1. Eight terms leave less than 2^-60.
/// @param z  the square of an angle up to pi / 4
template <std::size_t kFirst>
double Series(double z)
{
    double sum = 0;
    for (std::size_t term = 8; term-- > 0;) sum = (1 + sum) * (z * kNextTerm[kFirst + 2 * term]);
    return sum;
}

/// Of an angle up to pi / 4 that ends in `rest`.
SineCosine Small(double x, double rest)
{
    const double z = x * x, half = 0.5 * z;
    const double near = 1 - half; // what this rounds off comes back in the sum
    return {x + (x * Series<2>(z) + rest * near),
            near + (((1 - near) - half) - (half * Series<3>(z) + x * rest))};
}

} // namespace

SineCosine SineCosineOf(double angle)
{
    const double quarters = std::floor(angle * (2 / std::numbers::pi) + 0.5);
    if (quarters == 0) return Small(angle, 0);
    const DoubleDouble first = ExactProduct(quarters, std::numbers::pi / 2);
    const DoubleDouble left = DoubleDouble(angle) - first - DoubleDouble(quarters) * kHalfPiRest;
    const SineCosine small = Small(left.hi, left.lo);
    switch (static_cast<int>(quarters) & 3) {
    case 0:
        return small;
    case 1:
        return {small.cosine, -small.sine};
    case 2:
        return {-small.sine, -small.cosine};
    default:
        return {-small.cosine, small.sine};
    }
}

double AngleOf(double sine, double cosine)
{
    const double s = std::fabs(sine), c = std::fabs(cosine);
    const double slope = s < c ? s / c : c / s;
    // Within 0.005 of the angle; each step leaves the fifth power.
    double angle = slope * (std::numbers::pi / 4 + 0.273 * (1 - slope));
    if (!(s < c)) angle = std::numbers::pi / 2 - angle;
    for (int step = 0; step < 2; ++step) {
        const auto [sineThere, cosineThere] = SineCosineOf(angle);
        const double off = (s * cosineThere - c * sineThere) / (c * cosineThere + s * sineThere);
        angle += off - off * off * off / 3;
    }
    if (cosine < 0) angle = std::numbers::pi - angle;
    return std::copysign(angle, sine);
}

} // namespace proximity
