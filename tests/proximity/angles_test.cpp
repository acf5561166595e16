#include "proximity/kernel/angles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using proximity::AngleOf;
using proximity::SineCosineOf;

namespace
{

double Ulp(double x) { return std::nextafter(std::fabs(x), 9) - std::fabs(x); }

TEST(Angles, AreThoseOfTheMathematicalLibraryUpToTheLastPlace)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        double x = std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 60) - 100);
        // Near multiples of half a right angle, where reduction and cancellation are worst.
        if (i % 3 == 0) x = static_cast<double>(random() % (1 << 23)) * (std::numbers::pi / 4);
        if (x > 1e7) continue;
        const auto [sine, cosine] = SineCosineOf(x);
        const long double trueSine = std::sin(static_cast<long double>(x)),
                          trueCosine = std::cos(static_cast<long double>(x));
        // The library's own argument reduction has no more than 64 bits on some systems.
        const double floor = x * 0x1p-63;
        ASSERT_LE(double(std::fabs(sine - trueSine)), Ulp(sine) + floor) << x;
        ASSERT_LE(double(std::fabs(cosine - trueCosine)), Ulp(cosine) + floor) << x;
        const double angle = AngleOf(sine, cosine), truth = std::atan2(sine, cosine);
        ASSERT_LE(std::fabs(angle - truth), 4 * Ulp(truth)) << x;
    }
    EXPECT_EQ(AngleOf(-1, 0), -std::numbers::pi / 2);
}

} // namespace
