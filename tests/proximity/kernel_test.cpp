#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "kernel/candidates.h"
#include "kernel/triangle_pair.h"
#include "kernel_oracle.h"
#include "kernel_pairs.h"

using namespace proximity;

namespace
{

std::uint64_t Seed()
{
    const char* text = std::getenv("PROXIMITY_SEED");
    return text ? std::strtoull(text, nullptr, 10) : 1;
}

double Size(const Pair& pair)
{
    double out = 0x1p-1074; // never 0: it divides
    ForEachCoordinate(pair, [&](double x) { out = std::max(out, std::fabs(x)); });
    return out;
}

/// The greatest difference of coordinates.
double Extent(const Pair& pair)
{
    double out = 0;
    for (int k = 0; k < 3; ++k) {
        double low = pair.a.corner[0][k], high = low;
        for (const Triangle* t : {&pair.a, &pair.b})
            for (const auto& corner : t->corner)
                low = std::min(low, corner[k]), high = std::max(high, corner[k]);
        out = std::max(out, high - low);
    }
    return out;
}

double RelativeError(double computed, const mpf_class& truth)
{
    return truth == 0 ? computed : mpf_class(abs(mpf_class(computed, 256) / truth - 1)).get_d();
}

mpq_class Square(double x) { return mpq_class(x) * mpq_class(x); }

mpq_class SquaredDistance(const Point& p, const auto& q)
{
    mpq_class sum = 0;
    for (std::size_t k = 0; k < 3; ++k) sum += (p[k] - q[k]) * (p[k] - q[k]);
    return sum;
}

/// Is a rounded point within a few units in the last place of the coordinates of one of these?
bool IsNear(const double* point, const std::vector<Point>& points, double size)
{
    const mpq_class limit = Square(8 * 0x1p-53) * Square(size) + Square(0x1p-1070);
    return std::any_of(points.begin(), points.end(),
                       [&](const Point& p) { return SquaredDistance(p, point) <= limit; });
}

struct Worst {
    double error = 0, width = 0;
};

void CheckDistance(const Pair& pair, const Truth& truth, bool isTight, Worst& worst)
{
    const PairDistance d = DistanceOf(pair.a, pair.b);
    ASSERT_TRUE(0 <= d.lower && d.lower <= d.distance && d.distance <= d.upper);
    ASSERT_LE(Square(d.lower), truth.squaredDistance);
    ASSERT_TRUE(std::isinf(d.upper) || Square(d.upper) >= truth.squaredDistance);
    ASSERT_EQ(d.upper == 0, truth.squaredDistance == 0);
    if (truth.squaredDistance == 0) return;
    ASSERT_FALSE(FartherThan(pair.a, pair.b, d.upper));
    // Among the denormal numbers, and where corners were scaled down, there is less to be had.
    const double widest = std::max(0x1p-20 * d.upper, 0x1p-50 * Extent(pair)) + 0x1p-1000;
    ASSERT_TRUE(std::isinf(d.upper) || d.upper - d.lower <= widest);
    if (!isTight) return;
    worst.error = std::max(worst.error, RelativeError(d.distance, RootOf(truth.squaredDistance)));
    worst.width = std::max(worst.width, (d.upper - d.lower) / d.upper);
    // A coarser certificate is as true, and no wider than asked for.
    const PairDistance coarse = DistanceOf(pair.a, pair.b, 1e-6);
    ASSERT_LE(Square(coarse.lower), truth.squaredDistance);
    ASSERT_GE(Square(coarse.upper), truth.squaredDistance);
    ASSERT_LE(coarse.upper - coarse.lower, std::max(1e-6, widest));
}

void CheckContact(const Pair& pair, const Truth& truth)
{
    const PairContact contact = ContactOf(pair.a, pair.b);
    ASSERT_EQ(int(contact.relation), int(truth.relation));
    const bool crosses = truth.relation == PairRelation::kCrossing;
    ASSERT_EQ(InteriorsCross(pair.a, pair.b), crosses);
    ASSERT_EQ(InteriorsMeet(pair.a, pair.b), crosses || truth.relation == PairRelation::kCoplanar);
    if (truth.relation == PairRelation::kApart) return;
    const double size = Size(pair);
    ASSERT_TRUE(IsNear(contact.segment[0], truth.shared, size));
    ASSERT_TRUE(IsNear(contact.segment[1], truth.shared, size));
    mpq_class most = 0;
    for (const Point& p : truth.shared)
        for (const Point& q : truth.shared) most = std::max(most, SquaredDistance(p, q));
    double length = 0;
    for (int k = 0; k < 3; ++k)
        length = std::hypot(length, contact.segment[1][k] / size - contact.segment[0][k] / size);
    const mpf_class length256 = RootOf(most) / mpf_class(size, 256);
    ASSERT_NEAR(length, length256.get_d(), 16 * 0x1p-53 + 0x1p-1070 / size);
}

class KernelAgainstRationals : public testing::TestWithParam<int> {};

TEST_P(KernelAgainstRationals, DistanceCertificateAndContact)
{
    const Family& family = kFamilies[GetParam()];
    Random random(Seed());
    Worst worst;
    long meeting = 0;
    const long count = PairCount(400);
    for (long n = 0; n < count; ++n) {
        const Pair pair = family.make(random);
        const Truth truth = TruthOf(pair.a, pair.b);
        meeting += truth.squaredDistance == 0;
        CheckDistance(pair, truth, family.isTight, worst);
        CheckContact(pair, truth);
        if (HasFatalFailure()) FAIL() << family.name << ", pair " << n << '\n' << Print(pair);
    }
    std::printf("%s: %ld pairs, %ld meet, error %.3g, width %.3g\n", family.name, count, meeting,
                worst.error, worst.width);
}

INSTANTIATE_TEST_SUITE_P(Families, KernelAgainstRationals, testing::Range(0, 13),
                         [](const auto& row) { return std::string(kFamilies[row.param].name); });

TEST(Kernel, FindsTheTinyDistanceBesideLongParallelEdges)
{
    const Pair pair{{{{8000.0000000000036, 6817.7672478170962, 571.00166381103077},
                      {7500.0000000000009, 6817.7672478170962, 571.00166381103077},
                      {7500.0000000000009, 6327.6345143037688, 571.00166381103077}}},
                    {{{8000.0000000000009, 6327.6345143037670, 88.336618780016408},
                      {7500, 6327.6345143037670, 88.336618780016408},
                      {7500, 6327.6345143037670, 1015.9309593449836}}}};
    const PairDistance d = DistanceOf(pair.a, pair.b);
    EXPECT_EQ(d.distance, 0x1p-39);
    EXPECT_LE(d.upper - d.lower, 0x1p-59);
    EXPECT_EQ(ContactOf(pair.a, pair.b).relation, PairRelation::kApart);
}

TEST(Kernel, CornersThatAreNotNumbersAreNeitherClearNorContact)
{
    for (double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL})
        for (int place = 0; place < 18; ++place) {
            Pair pair{{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}, {{{0, 0, 9}, {1, 0, 9}, {0, 1, 9}}}};
            (place < 9 ? pair.a : pair.b).corner[place % 9 / 3][place % 3] = bad;
            const PairDistance d = DistanceOf(pair.a, pair.b);
            EXPECT_TRUE(d.lower == 0 && std::isinf(d.upper)) << place;
            EXPECT_FALSE(FartherThan(pair.a, pair.b, 0)) << place;
        }
}

/// Swapped, or with corners in another order.
Pair Reordered(const Pair& pair, int order)
{
    Pair out = order % 2 ? Pair{pair.b, pair.a} : pair;
    const Triangle a = out.a;
    for (int i = 0; i < 3; ++i) std::copy_n(a.corner[(i + order / 2) % 3], 3, out.a.corner[i]);
    if (order >= 6) std::swap(out.b.corner[0], out.b.corner[2]);
    return out;
}

// The order of corners and triangles may cost roundings, never the relation nor the certificate; a
// power of two as a scale costs nothing. The lanes of the search must round as the plain formulas
// do. The cheap proof pays only if it succeeds on pairs that boxes leave over.
TEST(Kernel, OrderScaleLanesAndTheCheapProofDoNotMatter)
{
    Random random(Seed());
    int far = 0, proven = 0;
    for (long n = 0; n < PairCount(2000); ++n) {
        const Pair pair = kFamilies[n % 11].make(random);
        const PairDistance d = DistanceOf(pair.a, pair.b);
        const Pair other = Reordered(pair, static_cast<int>(random() % 12));
        const PairDistance e = DistanceOf(other.a, other.b);
        ASSERT_TRUE(e.lower <= d.upper && d.lower <= e.upper) << Print(pair);
        ASSERT_EQ(ContactOf(other.a, other.b).relation, ContactOf(pair.a, pair.b).relation)
            << Print(pair);
        const double scale = n % 2 ? 0x1p9 : 0x1p-7;
        Pair scaled = pair;
        ForEachCoordinate(scaled, [&](double& x) { x *= scale; });
        const PairDistance f = DistanceOf(scaled.a, scaled.b);
        ASSERT_TRUE(f.distance == scale * d.distance && f.lower == scale * d.lower &&
                    f.upper == scale * d.upper && f.featureA == d.featureA)
            << Print(pair);
        const auto square = [&](Candidate c) {
            return NearestOf<double>(pair.a, pair.b, c).square;
        };
        double least = HUGE_VAL;
        for (int number = 0; number < kCandidates; ++number)
            least = std::min(least, square(CandidateOf(number)));
        ASSERT_EQ(square(NearestCandidate(pair.a, pair.b)), least) << Print(pair);
        if (n % 11 || d.lower <= 0) continue;
        ++far, proven += FartherThan(pair.a, pair.b, d.lower / 2);
    }
    EXPECT_GT(proven, far * 3 / 4);
}

} // namespace
