#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <random>

#include "exact/filter.h"
#include "exact/predicates.h"
#include "kernel_pairs.h"

using namespace proximity;

namespace
{

using Points = std::array<std::array<double, 3>, 5>;

mpq_class Difference(const double* to, const double* from, int axis)
{
    return mpq_class(to[axis]) - mpq_class(from[axis]);
}

mpq_class ExactMinor(const double* a, const double* b, const double* c, int axis)
{
    const int l = (axis + 1) % 3, m = (axis + 2) % 3;
    return Difference(b, a, l) * Difference(c, a, m) - Difference(b, a, m) * Difference(c, a, l);
}

mpq_class ExactDeterminant(const double* a, const double* b, const double* c, const double* d)
{
    mpq_class sum = 0;
    for (int k = 0; k < 3; ++k) sum += ExactMinor(a, b, c, k) * Difference(d, a, k);
    return sum;
}

void ExpectExactSigns(const Points& p, const char* what)
{
    const double *a = p[0].data(), *b = p[1].data(), *c = p[2].data(), *d = p[3].data(),
                 *e = p[4].data();
    const mpq_class atD = ExactDeterminant(a, b, c, d), atE = ExactDeterminant(a, b, c, e);
    ASSERT_EQ(Orient3d(a, b, c, d), sgn(atD)) << what;
    for (int axis = 0; axis < 3; ++axis)
        ASSERT_EQ(Orient2d(a, b, c, axis), sgn(ExactMinor(a, b, c, axis))) << what;
    if (sgn(atD) == sgn(atE)) return;
    const double t = CrossingParameter(a, b, c, d, e);
    const mpq_class exact = atD / (atD - atE);
    ASSERT_LE(abs(mpq_class(t) - exact), exact * mpq_class(0x1p-51) + mpq_class(0x1p-1074)) << what;
}

/// Random points, the fourth and fifth near the plane of the others, or on it, or on a line.
Points NearlyFlat(Random& random)
{
    Points p;
    for (auto& point : p)
        for (double& x : point) x = Uniform(random, -1, 1);
    const double s = Uniform(random, -1, 2), t = random() % 3 ? Uniform(random, -1, 2) : 0;
    for (std::size_t k = 0; k < 3; ++k)
        p[3][k] = p[0][k] + s * (p[1][k] - p[0][k]) + t * (p[2][k] - p[0][k]);
    if (random() % 2) // on a coarse grid, where the fourth is in the plane exactly
        for (auto& point : p)
            for (double& x : point) x = std::floor(x * 4);
    // A face along an axis but for the fourth, and a corner that two share.
    const std::size_t axis = random() % 6, twin = random() % 12;
    for (std::size_t i = 1; i < 4 && axis < 3; ++i) p[i][axis] = p[0][axis];
    if (axis < 3 && random() % 2) p[3][axis] = std::nextafter(p[3][axis], 9);
    if (twin < 3) p[3] = p[twin];
    return p;
}

// What the floating-point filter cannot tell, and what it would get wrong through over- or
// underflow, the integers must: each case at scales from all denormal to nearly infinite.
TEST(Predicates, SignsAreThoseOfRationalsAtAnyScale)
{
    Random random(3);
    for (int exponent : {0, 300, 350, 1017, -300, -340, -400, -500, -1020, -1050})
        for (long n = 0; n < PairCount(150); ++n) {
            Points p = NearlyFlat(random);
            for (auto& point : p)
                for (double& x : point) x = std::ldexp(x, exponent);
            ExpectExactSigns(p, "one scale");
            for (auto& point : p)
                for (double& x : point) {
                    x = std::ldexp(x, static_cast<int>(random() % 1600) - 800);
                    x = std::clamp(x, -0x1.8p1023, 0x1.8p1023);
                }
            ExpectExactSigns(p, "mixed scales");
            if (HasFatalFailure()) FAIL() << exponent;
        }
}

/// Climbs to the worst error of a filter, in units of its bound, by changes of low bits.
template <class Ratio>
double Climb(Random& random, Points start, Ratio ratio)
{
    double worst = ratio(start);
    for (int step = 0; step < 400; ++step) {
        Points next = start;
        double& x = next[random() % 4][random() % 3];
        x = random() % 2 ? x + std::ldexp(Uniform(random, -1, 1), -static_cast<int>(random() % 50))
                         : std::nextafter(x, Uniform(random, -9, 9));
        const double value = ratio(next);
        if (value > worst) worst = value, start = next;
    }
    return worst;
}

double RatioOf(const Filtered& filtered, const mpq_class& exact)
{
    // The last rounding keeps the sign, so the bound does not count it.
    const double counted = filtered.error + 0x1p-53 * std::fabs(filtered.value);
    return mpq_class(abs(mpq_class(filtered.value) - exact) / mpq_class(counted)).get_d();
}

// Lemmas 1 and 2. The search comes near enough to the bounds that a half of either fails.
TEST(Filter, ErrorsStayWithinTheirBounds)
{
    Random random(5);
    double worst3d = 0, worst2d = 0;
    const auto ratio3d = [](const Points& q) {
        const double *a = q[0].data(), *b = q[1].data(), *c = q[2].data(), *d = q[3].data();
        return RatioOf(FilteredOrient3d(a, b, c, d), ExactDeterminant(a, b, c, d));
    };
    const auto ratio2d = [](const Points& q) {
        const double *a = q[0].data(), *b = q[1].data(), *c = q[2].data();
        return RatioOf(FilteredOrient2d(a, b, c, 2), ExactMinor(a, b, c, 2));
    };
    for (long n = 0; n < std::min(PairCount(30), 2000l); ++n) {
        const Points p = NearlyFlat(random);
        worst3d = std::max(worst3d, Climb(random, p, ratio3d));
        worst2d = std::max(worst2d, Climb(random, p, ratio2d));
    }
    std::printf("worst error, of the bound: %.3f in 3D, %.3f in 2D\n", worst3d, worst2d);
    EXPECT_LE(worst3d, 1);
    EXPECT_LE(worst2d, 1);
}

} // namespace
