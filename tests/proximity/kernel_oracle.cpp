#include "kernel_oracle.h"

#include <algorithm>
#include <climits>
#include <cmath>

using proximity::PairRelation;
using proximity::Triangle;

namespace
{

/// Points are integers, in units of the lowest bit of all coordinates.
using Whole = std::array<mpz_class, 3>;

Whole Minus(const Whole& a, const Whole& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
mpz_class Dot(const Whole& a, const Whole& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
template <class V>
V Cross(const V& a, const V& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// The exponent of a bit that is no higher than any of the coordinates.
int UnitOf(const Triangle& a, const Triangle& b)
{
    int unit = INT_MAX;
    for (const Triangle* t : {&a, &b})
        for (const auto& corner : t->corner)
            for (double x : corner)
                if (x != 0) unit = std::min(unit, std::ilogb(x) - 52);
    return unit == INT_MAX ? 0 : unit;
}

mpq_class PowerOfTwo(int exponent)
{
    const mpz_class power = mpz_class(1) << static_cast<mp_bitcnt_t>(std::abs(exponent));
    return exponent < 0 ? mpq_class(mpz_class(1), power) : mpq_class(power);
}

using Corners = std::array<Whole, 3>;

Corners CornersOf(const Triangle& t, const mpq_class& unit)
{
    Corners out;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t k = 0; k < 3; ++k) out[i][k] = mpq_class(t.corner[i][k] / unit).get_num();
    return out;
}

/// One pair of sub-simplices, as sets of corners (bits): the nearest points of their affine hulls,
/// where those are unique and have weights of no corner below zero.
struct Solution {
    mpz_class numerator, scale;       ///< the squared distance, times `scale`; 0 if there are none
    std::array<mpz_class, 3> weightA; ///< the same
};

Solution Solve(const Corners& a, unsigned setA, const Corners& b, unsigned setB)
{
    std::vector<Whole> basis;
    std::vector<std::size_t> cornersA, cornersB;
    for (std::size_t i = 0; i < 3; ++i) {
        if (setA >> i & 1) cornersA.push_back(i);
        if (setB >> i & 1) cornersB.push_back(i);
    }
    for (std::size_t n = 1; n < cornersA.size(); ++n)
        basis.push_back(Minus(a[cornersA[n]], a[cornersA[0]]));
    for (std::size_t n = 1; n < cornersB.size(); ++n)
        basis.push_back(Minus(b[cornersB[0]], b[cornersB[n]]));
    Solution out;
    const std::size_t size = basis.size();
    if (size > 3) return out;
    // Least squares by Cramer's rule: the sum of x[n] * basis[n] comes nearest to `target`.
    const Whole target = Minus(b[cornersB[0]], a[cornersA[0]]);
    std::array<Whole, 3> gram;
    Whole right{0, 0, 0};
    for (std::size_t m = 0; m < 3; ++m) {
        for (std::size_t n = 0; n < 3; ++n)
            gram[m][n] = m < size && n < size ? Dot(basis[m], basis[n]) : mpz_class(m == n);
        if (m < size) right[m] = Dot(basis[m], target);
    }
    const mpz_class determinant = Dot(gram[0], Cross(gram[1], gram[2]));
    if (determinant == 0) return out;
    Whole x;
    for (std::size_t n = 0; n < 3; ++n) {
        auto replaced = gram; // the matrix is symmetric: rows for columns
        replaced[n] = right;
        x[n] = Dot(replaced[0], Cross(replaced[1], replaced[2]));
    }
    mpz_class restA = determinant, restB = determinant;
    for (std::size_t n = 0; n < size; ++n) {
        if (x[n] < 0) return out;
        (n + 1 < cornersA.size() ? restA : restB) -= x[n];
    }
    if (restA < 0 || restB < 0) return out;
    out.scale = determinant;
    out.numerator = Dot(target, target) * determinant - Dot(right, x);
    out.weightA[cornersA[0]] = restA;
    for (std::size_t n = 1; n < cornersA.size(); ++n) out.weightA[cornersA[n]] = x[n - 1];
    return out;
}

Point PointOf(const Corners& a, const Solution& solution)
{
    Point out;
    for (std::size_t k = 0; k < 3; ++k) {
        mpz_class sum = 0;
        for (std::size_t i = 0; i < 3; ++i) sum += solution.weightA[i] * a[i][k];
        out[k] = mpq_class(sum, solution.scale);
        out[k].canonicalize();
    }
    return out;
}

/// Number of dimensions of a triangle.
int DimensionOf(const Corners& t)
{
    if (Cross(Minus(t[1], t[0]), Minus(t[2], t[0])) != Whole{}) return 2;
    return t[1] == t[0] && t[2] == t[0] ? 0 : 1;
}

/// Is a point of the closed triangle, given that it is one, off its border?
bool IsInside(const Corners& t, const Point& p)
{
    const int dimension = DimensionOf(t);
    std::array<Point, 3> to;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t k = 0; k < 3; ++k) to[i][k] = mpq_class(t[i][k]) - p[k];
    for (std::size_t i = 0; i < 3; ++i) {
        const Point &a = to[i], &b = to[(i + 1) % 3];
        if (dimension == 2 && Cross(a, b) == Point{}) return false;
        for (std::size_t k = 0; k < 3 && dimension == 1; ++k)
            if (a[k] * b[k] < 0) return true;
    }
    return dimension != 1;
}

/// The mean of points that have all corners of the shared set among them is inside it; and where
/// the relative interiors meet, the inside of what is shared is what they share.
PairRelation RelationOf(const Corners& a, const Corners& b, const std::vector<Point>& shared)
{
    if (shared.empty()) return PairRelation::kApart;
    Point mean{0, 0, 0};
    for (const Point& p : shared)
        for (std::size_t k = 0; k < 3; ++k) mean[k] += p[k] / mpq_class(shared.size());
    if (!IsInside(a, mean) || !IsInside(b, mean)) return PairRelation::kTouching;
    const int dimensionA = DimensionOf(a), dimensionB = DimensionOf(b);
    if (std::min(dimensionA, dimensionB) == 0 || dimensionA + dimensionB < 3)
        return PairRelation::kTouching;
    const Corners& face = dimensionA == 2 ? a : b;
    const Corners& other = dimensionA == 2 ? b : a;
    const Whole normal = Cross(Minus(face[1], face[0]), Minus(face[2], face[0]));
    for (const Whole& corner : other)
        if (Dot(normal, Minus(corner, face[0])) != 0) return PairRelation::kCrossing;
    return dimensionA + dimensionB == 4 ? PairRelation::kCoplanar : PairRelation::kTouching;
}

} // namespace

// The pairs of nearest points form a convex set. An end of it lies inside two sub-simplices whose
// hulls have no other nearest points: with others it could be moved both ways.
Truth TruthOf(const Triangle& a, const Triangle& b)
{
    const mpq_class unit = PowerOfTwo(UnitOf(a, b));
    const Corners cornersA = CornersOf(a, unit), cornersB = CornersOf(b, unit);
    Solution least;
    std::vector<Point> shared;
    for (unsigned setA = 1; setA < 8; ++setA)
        for (unsigned setB = 1; setB < 8; ++setB) {
            Solution next = Solve(cornersA, setA, cornersB, setB);
            if (next.scale == 0) continue;
            if (next.numerator == 0) {
                Point p = PointOf(cornersA, next);
                if (std::find(shared.begin(), shared.end(), p) == shared.end())
                    shared.push_back(std::move(p));
            }
            if (least.scale == 0 || next.numerator * least.scale < least.numerator * next.scale)
                least = std::move(next);
        }
    const PairRelation relation = RelationOf(cornersA, cornersB, shared);
    for (Point& p : shared)
        for (mpq_class& x : p) x *= unit;
    mpq_class square(least.numerator, least.scale);
    square.canonicalize();
    return {square * unit * unit, std::move(shared), relation};
}

mpf_class RootOf(const mpq_class& square) { return sqrt(mpf_class(square, 256)); }
