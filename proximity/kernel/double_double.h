// Numbers of twice the precision, as unevaluated sums of two doubles: |lo| is at most half a unit
// in the last place of hi. After Dekker, "A Floating-Point Technique for Extending the Available
// Precision" (1971); the error bounds are those of Joldes, Muller and Popescu, "Tight and Rigorous
// Error Bounds for Basic Building Blocks of Double-Word Arithmetic" (2017).
#ifndef PROXIMITY_KERNEL_DOUBLE_DOUBLE_H
#define PROXIMITY_KERNEL_DOUBLE_DOUBLE_H

namespace proximity
{

struct DoubleDouble {
    double hi = 0, lo = 0;

    constexpr DoubleDouble() = default;
    constexpr DoubleDouble(double x) : hi(x) {}
    constexpr DoubleDouble(double high, double low) : hi(high), lo(low) {}
};

/// a + b, exactly (Knuth's TwoSum).
inline DoubleDouble ExactSum(double a, double b)
{
    const double sum = a + b, fromB = sum - a;
    return {sum, (a - (sum - fromB)) + (b - fromB)};
}

/// a + b, exactly, where |a| >= |b| or a is 0 (Dekker's Fast2Sum).
inline DoubleDouble OrderedSum(double a, double b)
{
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

/// a * b, exactly but for under- and overflow; Dekker's product, without a fused multiply-add,
/// which not every machine has.
inline DoubleDouble ExactProduct(double a, double b)
{
    constexpr double kSplitter = 0x1p27 + 1;
    const double bigA = kSplitter * a, highA = bigA - (bigA - a), lowA = a - highA;
    const double bigB = kSplitter * b, highB = bigB - (bigB - b), lowB = b - highB;
    const double product = a * b;
    return {product, ((highA * highB - product) + highA * lowB + lowA * highB) + lowA * lowB};
}

inline DoubleDouble operator-(DoubleDouble x) { return {-x.hi, -x.lo}; }

/// Relative error at most 3u^2 + 13u^3, u = 2^-53.
inline DoubleDouble operator+(DoubleDouble x, DoubleDouble y)
{
    const DoubleDouble high = ExactSum(x.hi, y.hi), low = ExactSum(x.lo, y.lo);
    const DoubleDouble sum = OrderedSum(high.hi, high.lo + low.hi);
    return OrderedSum(sum.hi, low.lo + sum.lo);
}

inline DoubleDouble operator-(DoubleDouble x, DoubleDouble y) { return x + -y; }

/// Relative error at most 7u^2.
inline DoubleDouble operator*(DoubleDouble x, DoubleDouble y)
{
    const DoubleDouble product = ExactProduct(x.hi, y.hi);
    return OrderedSum(product.hi, product.lo + (x.hi * y.lo + x.lo * y.hi));
}

/// To about twice the precision; no bound rests on it.
inline DoubleDouble operator/(DoubleDouble x, DoubleDouble y)
{
    const double first = x.hi / y.hi;
    const DoubleDouble rest = x - y * DoubleDouble(first);
    return OrderedSum(first, rest.hi / y.hi);
}

inline bool operator<(DoubleDouble x, DoubleDouble y)
{
    return x.hi < y.hi || (x.hi == y.hi && x.lo < y.lo);
}
inline bool operator>(DoubleDouble x, DoubleDouble y) { return y < x; }
inline bool operator<=(DoubleDouble x, DoubleDouble y)
{
    return x.hi < y.hi || (x.hi == y.hi && x.lo <= y.lo);
}
inline bool operator>=(DoubleDouble x, DoubleDouble y) { return y <= x; }

} // namespace proximity

#endif
