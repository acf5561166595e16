// Each lemma of the kernel alone, against rationals. Searches climb to the worst case they can
// find; they come near enough to the bounds that a weaker constant fails.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "kernel/candidates.h"
#include "kernel/certificate.h"
#include "kernel_oracle.h"
#include "kernel_pairs.h"

using namespace proximity;

namespace
{

mpq_class Exact(double x) { return x; }
mpq_class Exact(DoubleDouble x) { return mpq_class(x.hi) + mpq_class(x.lo); }

struct Attack {
    Pair pair;
    double direction[3], low[3]; ///< of the direction, its high and low words
};

/// Where roundings are greatest for the size: coordinates, seen from corner 0 of a, just above a
/// power of two, in all axes alike. With `wide` the others lie on both sides of it, so that edges
/// are twice as long.
Attack DrawAttack(Random& random, bool wide)
{
    Attack out;
    for (int k = 0; k < 3; ++k) {
        const double sign = random() % 2 ? 1 : -1;
        const auto draw = [&] { return sign * Uniform(random, 1, 1.1); };
        auto &a = out.pair.a.corner, &b = out.pair.b.corner;
        a[0][k] = wide ? 0 : -draw() / 2;
        a[1][k] = wide ? -draw() : draw() / 2;
        a[2][k] = wide ? draw() : draw() / 2;
        for (int j = 0; j < 3; ++j) b[j][k] = wide ? (j == 1 ? -draw() : draw()) : draw() / 2;
        out.direction[k] = draw();
        out.low[k] = Uniform(random, -0x1p-54, 0x1p-54);
    }
    return out;
}

void Mutate(Random& random, Attack& attack)
{
    double* const fields[4] = {attack.pair.a.corner[0], attack.pair.b.corner[0], attack.direction,
                               attack.low};
    const auto which = random() % 4;
    double& x = fields[which][random() % (which < 2 ? 9 : 3)];
    const double step = std::ldexp(Uniform(random, -1, 1), -static_cast<int>(random() % 55));
    x = which == 3 ? x + step * 0x1p-55 : x + step;
}

/// The greatest ratio found of an error to its bound.
template <class Ratio>
double Climb(Ratio ratio, bool wide, long starts)
{
    Random random(1);
    double worst = 0;
    for (long n = 0; n < std::min(PairCount(starts), 400l); ++n) {
        Attack attack = DrawAttack(random, wide);
        double best = ratio(attack);
        for (int step = 0; step < 1500; ++step) {
            Attack next = attack;
            Mutate(random, next);
            if (random() % 2) Mutate(random, next);
            const double value = ratio(next);
            if (value >= best) best = value, attack = next;
        }
        worst = std::max(worst, best);
    }
    return worst;
}

template <class Real>
double GapRatio(const Attack& attack)
{
    Vector<Real> direction;
    for (std::size_t k = 0; k < 3; ++k)
        if constexpr (std::is_same_v<Real, double>)
            direction[k] = attack.direction[k];
        else
            direction[k] = ExactSum(attack.direction[k], attack.low[k]);
    const auto along = [&](const double* corner) {
        mpq_class sum = 0;
        for (std::size_t k = 0; k < 3; ++k) sum += Exact(direction[k]) * mpq_class(corner[k]);
        return sum;
    };
    const auto &a = attack.pair.a.corner, &b = attack.pair.b.corner;
    const mpq_class onA[3] = {along(a[0]), along(a[1]), along(a[2])};
    const mpq_class onB[3] = {along(b[0]), along(b[1]), along(b[2])};
    const auto [lowA, highA] = std::minmax_element(onA, onA + 3);
    const auto [lowB, highB] = std::minmax_element(onB, onB + 3);
    const mpq_class exact = std::max(mpq_class(*lowB - *highA), mpq_class(*lowA - *highB));
    const auto gap = GapAlong(CentredOf<Real>(attack.pair.a, attack.pair.b), direction);
    return mpq_class(abs(Exact(gap.value) - exact) / mpq_class(gap.error)).get_d();
}

/// The exact point that parameters name, pulled back where rounding put it beyond the third side.
template <class Real>
Point PointAt(const Triangle& t, const PointOn<Real>& on)
{
    mpq_class first = Exact(on.s), second = Exact(on.t);
    const mpq_class sum = first + second;
    if (sum > 1) first /= sum, second /= sum;
    const double* corner = t.corner[on.corner];
    const double *next = t.corner[(on.corner + 1) % 3], *last = t.corner[(on.corner + 2) % 3];
    Point out{corner[0], corner[1], corner[2]};
    for (std::size_t k = 0; k < 3; ++k)
        out[k] += first * (mpq_class(next[k]) - mpq_class(corner[k])) +
                  second * (mpq_class(last[k]) - mpq_class(corner[k]));
    return out;
}

template <class Real>
double BetweenRatio(const Attack& attack)
{
    const Triangle &a = attack.pair.a, &b = attack.pair.b;
    const double size = CentredOf<Real>(a, b).size;
    double worst = 0;
    for (int number : {1, 7}) {
        const auto nearest = NearestOf<Real>(a, b, CandidateOf(number));
        if (!(Head(nearest.square) < 1e9)) continue;
        const Point onA = PointAt(a, nearest.onA), onB = PointAt(b, nearest.onB);
        mpq_class square = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const mpq_class error = Exact(nearest.between[k]) - (onB[k] - onA[k]);
            square += error * error;
        }
        const auto length = LengthOf(nearest.between, size);
        // The last rounding is relative to the length, and counted there.
        const mpf_class ratio = RootOf(square) / (length.error + kRoundoff<Real> * length.value);
        worst = std::max(worst, ratio.get_d());
    }
    return worst;
}

void ExpectWithin(const char* lemma, double worst)
{
    std::printf("%s: worst error, of the bound: %.3f\n", lemma, worst);
    EXPECT_LE(worst, 1) << lemma;
    EXPECT_GT(worst, 0) << lemma;
}

TEST(Certificate, GapErrorsStayWithinTheirBound)
{
    ExpectWithin("Lemma 3, double", Climb(GapRatio<double>, false, 12));
    ExpectWithin("Lemma 3, DoubleDouble", Climb(GapRatio<DoubleDouble>, false, 3));
}

TEST(Certificate, LengthErrorsStayWithinTheirBound)
{
    ExpectWithin("Lemma 4, double", Climb(BetweenRatio<double>, true, 30));
    ExpectWithin("Lemma 4, DoubleDouble", Climb(BetweenRatio<DoubleDouble>, true, 3));
}

TEST(DoubleDouble, ErrorsAreThoseThatTheLemmasCount)
{
    Random random(2);
    double worstSum = 0, worstProduct = 0;
    const auto draw = [&] {
        return ExactSum(Uniform(random, -1, 1), Uniform(random, -0x1p-53, 0x1p-53));
    };
    for (long n = 0; n < PairCount(20000); ++n) {
        const DoubleDouble x = draw(), drawn = draw();
        // Of another scale, or all but cancelled.
        const double scale = std::ldexp(1, -static_cast<int>(random() % 53));
        const DoubleDouble y = n % 2 ? ExactSum(-x.hi * (1 + scale * drawn.hi), scale * drawn.lo)
                                     : DoubleDouble(scale * drawn.hi, scale * drawn.lo);
        const mpq_class sum = Exact(x) + Exact(y), product = Exact(x) * Exact(y);
        worstSum = std::max(worstSum, mpq_class(abs(Exact(x + y) / sum - 1)).get_d());
        worstProduct = std::max(worstProduct, mpq_class(abs(Exact(x * y) / product - 1)).get_d());
        ASSERT_EQ(Exact(ExactProduct(x.hi, y.hi)), mpq_class(x.hi) * mpq_class(y.hi));
    }
    ExpectWithin("sum of DoubleDoubles", worstSum / kRoundoff<DoubleDouble>);
    ExpectWithin("product of DoubleDoubles", worstProduct / kRoundoff<DoubleDouble>);
}

} // namespace
