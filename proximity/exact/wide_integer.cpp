#include "exact/wide_integer.h"

#include <bit>
#include <cmath>

namespace proximity
{
namespace
{

/// x = mantissa * 2^exponent, the mantissa an integer below 2^53.
struct Parts {
    std::uint64_t mantissa;
    int exponent;
};

Parts Split(double x)
{
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const auto exponent = static_cast<int>(bits >> 52 & 0x7ff);
    const std::uint64_t fraction = bits & 0xfffffffffffff;
    if (exponent == 0) return {fraction, -1074};
    return {fraction | std::uint64_t{1} << 52, exponent - 1075};
}

std::size_t At(int limb) { return static_cast<std::size_t>(limb); }

void DropLeadingZeros(WideInteger& x)
{
    while (x.limbCount > 0 && x.limb[At(x.limbCount - 1)] == 0) --x.limbCount;
    if (x.limbCount == 0) x.sign = 0;
}

/// -1, 0 or 1 as |a| is less than, equal to or greater than |b|.
int CompareMagnitudes(const WideInteger& a, const WideInteger& b)
{
    if (a.limbCount != b.limbCount) return a.limbCount < b.limbCount ? -1 : 1;
    for (int i = a.limbCount - 1; i >= 0; --i)
        if (a.limb[At(i)] != b.limb[At(i)]) return a.limb[At(i)] < b.limb[At(i)] ? -1 : 1;
    return 0;
}

/// |out| = |a| + |b|, where a has at least as many limbs.
void AddMagnitudes(const WideInteger& a, const WideInteger& b, WideInteger& out)
{
    std::uint64_t carry = 0;
    for (int i = 0; i < a.limbCount; ++i) {
        carry += std::uint64_t{a.limb[At(i)]} + (i < b.limbCount ? b.limb[At(i)] : 0);
        out.limb[At(i)] = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    out.limbCount = a.limbCount;
    if (carry) out.limb[At(out.limbCount++)] = 1;
}

/// |out| = |a| - |b|, where |a| >= |b|.
void SubtractMagnitudes(const WideInteger& a, const WideInteger& b, WideInteger& out)
{
    std::uint64_t borrow = 0;
    for (int i = 0; i < a.limbCount; ++i) {
        const std::uint64_t take = borrow + (i < b.limbCount ? b.limb[At(i)] : 0);
        const std::uint64_t from = a.limb[At(i)];
        borrow = from < take;
        out.limb[At(i)] = static_cast<std::uint32_t>((borrow << 32) + from - take);
    }
    out.limbCount = a.limbCount;
    DropLeadingZeros(out);
}

/// The highest 64 bits as a double in [1/2, 1], and the power of two that goes with it.
double Leading(const WideInteger& x, int& exponent)
{
    double value = 0;
    for (int i = x.limbCount - 1; i >= 0 && i >= x.limbCount - 3; --i)
        value = value * 0x1p32 + x.limb[At(i)];
    const int limbs = x.limbCount < 3 ? x.limbCount : 3;
    int shift;
    value = std::frexp(value, &shift);
    exponent = shift + 32 * (x.limbCount - limbs);
    return x.sign * value;
}

} // namespace

int LowestBit(double x)
{
    const Parts parts = Split(x);
    return parts.exponent + std::countr_zero(parts.mantissa);
}

void SetWide(double x, int exponent, WideInteger& out)
{
    out.sign = 0 < x ? 1 : x < 0 ? -1 : 0;
    out.limbCount = 0;
    if (x == 0) return;
    Parts parts = Split(x);
    if (parts.exponent < exponent) {
        parts.mantissa >>= exponent - parts.exponent; // the bits that go are zeros
        parts.exponent = exponent;
    }
    const int shift = parts.exponent - exponent;
    while (out.limbCount < shift / 32) out.limb[At(out.limbCount++)] = 0;
    const std::uint64_t low = parts.mantissa << shift % 32;
    const std::uint64_t high = parts.mantissa >> 32 >> (32 - shift % 32);
    out.limb[At(out.limbCount++)] = static_cast<std::uint32_t>(low);
    out.limb[At(out.limbCount++)] = static_cast<std::uint32_t>(low >> 32);
    out.limb[At(out.limbCount++)] = static_cast<std::uint32_t>(high);
    DropLeadingZeros(out);
}

void AddWide(const WideInteger& a, const WideInteger& b, int sign, WideInteger& out)
{
    const int signB = sign * b.sign;
    const int order = CompareMagnitudes(a, b);
    const WideInteger& large = order < 0 ? b : a;
    const WideInteger& small = order < 0 ? a : b;
    out.sign = order < 0 ? signB : a.sign;
    if (a.sign * signB >= 0) {
        if (a.sign == 0) out.sign = signB;
        AddMagnitudes(large, small, out);
    } else {
        SubtractMagnitudes(large, small, out);
    }
}

void MultiplyWide(const WideInteger& a, const WideInteger& b, WideInteger& out)
{
    out.sign = a.sign * b.sign;
    out.limbCount = out.sign ? a.limbCount + b.limbCount : 0;
    for (int i = 0; i < out.limbCount; ++i) out.limb[At(i)] = 0;
    if (out.sign == 0) return;
    for (int i = 0; i < a.limbCount; ++i) {
        std::uint64_t carry = 0;
        for (int j = 0; j < b.limbCount; ++j) {
            carry += std::uint64_t{a.limb[At(i)]} * b.limb[At(j)] + out.limb[At(i + j)];
            out.limb[At(i + j)] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        out.limb[At(i + b.limbCount)] = static_cast<std::uint32_t>(carry);
    }
    DropLeadingZeros(out);
}

double WideRatio(const WideInteger& a, const WideInteger& b)
{
    if (a.sign == 0) return 0;
    int exponentA, exponentB;
    const double leadA = Leading(a, exponentA), leadB = Leading(b, exponentB);
    return std::ldexp(leadA / leadB, exponentA - exponentB);
}

} // namespace proximity
