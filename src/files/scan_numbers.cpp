// Numbers as scanf takes them: the longest run of characters that could begin a number, never to be
// taken back. So "1e+" is 1, the number after "1.5.5" starts at ".5", "nan(1)" is a NaN before a
// word, and "infinit" and "0x" are no numbers at all. "Scraps of numbers" in docs/behaviour.md.
#include "files/scan_numbers.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

namespace
{

constexpr int kMostExponent = 100000; ///< beyond every float, far from where an int ends

struct Text {
    const char* at;
    const char* end;
};

/// The next character, 0 at the end.
char Peek(const Text& text) { return text.at != text.end ? *text.at : '\0'; }

constexpr bool IsBlank(char c) { return c == ' ' || ('\t' <= c && c <= '\r'); }
constexpr char Lower(char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Value of a digit; Base or more for any other character.
template <unsigned Base>
constexpr unsigned DigitOf(char c)
{
    const auto decimal = static_cast<unsigned>(c) - '0';
    if (Base == 10 || decimal < 10) return decimal;
    const auto letter = static_cast<unsigned>(Lower(c)) - 'a';
    return letter < 6 ? letter + 10 : Base;
}

/// Takes a sign, if there is one. @return whether it is a minus
bool TakeSign(Text& text)
{
    const char sign = Peek(text);
    text.at += sign == '-' || sign == '+';
    return sign == '-';
}

/// Takes letters in either case. @return whether all of them are there
bool TakeLetters(Text& text, std::string_view letters)
{
    for (const char letter : letters) {
        if (Lower(Peek(text)) != letter) return false;
        ++text.at;
    }
    return true;
}

/// A number without its exponent: digits * base to the power `exponent`.
struct Mantissa {
    std::uint64_t digits = 0;
    int kept = 0; ///< digits that count, from the first that is not 0
    int exponent = 0;
    bool any = false;  ///< whether there was a digit at all
    bool lost = false; ///< whether one other than 0 came after the last that was kept
};

/// Takes a run of digits. @param perDigit  what each adds to the exponent: -1 after the point
template <unsigned Base, int MostKept>
[[gnu::always_inline]] inline void TakeDigits(Text& text, int perDigit, Mantissa& m)
{
    const char* at = text.at;
    if (m.kept == 0)
        while (at != text.end && *at == '0') ++at;
    const char* const first = at;
    const char* const full = at + std::min<std::ptrdiff_t>(text.end - at, MostKept - m.kept);
    unsigned digit;
    for (; at != full && (digit = DigitOf<Base>(*at)) < Base; ++at)
        m.digits = m.digits * Base + digit;
    m.kept += static_cast<int>(at - first);
    if (at == full)
        for (; at != text.end && (digit = DigitOf<Base>(*at)) < Base; ++at, ++m.exponent)
            m.lost |= digit != 0;
    m.exponent += static_cast<int>(at - text.at) * perDigit;
    m.any |= at != text.at;
    text.at = at;
}

template <unsigned Base, int MostKept>
[[gnu::always_inline]] inline Mantissa TakeMantissa(Text& text)
{
    Mantissa m;
    TakeDigits<Base, MostKept>(text, 0, m);
    if (Peek(text) != '.') return m;
    ++text.at;
    TakeDigits<Base, MostKept>(text, -1, m);
    return m;
}

/// Takes an exponent, if its letter comes next. One without digits counts as 0.
[[gnu::always_inline]] inline int TakeExponent(Text& text, char letter)
{
    if (Lower(Peek(text)) != letter) return 0;
    ++text.at;
    const bool negative = TakeSign(text);
    int exponent = 0;
    for (unsigned digit; (digit = DigitOf<10>(Peek(text))) < 10; ++text.at)
        if (exponent < kMostExponent) exponent = exponent * 10 + static_cast<int>(digit);
    return negative ? -exponent : exponent;
}

/// Whether a double is so near to the middle between two normal floats that an error of two units
/// in its last place could have led across.
bool IsNearHalfway(double value)
{
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 28, kMargin = 4;
    const std::uint64_t belowFloat = std::bit_cast<std::uint64_t>(value) & (2 * kHalf - 1);
    return belowFloat - (kHalf - kMargin) <= 2 * kMargin;
}

/// The float nearest to a mantissa times a power of ten, where doubles are precise enough to find
/// it: the mantissa and the operation are rounded by half a unit in the last place each, and digits
/// that did not fit are less than a hundredth of one.
bool RoundByDouble(const Mantissa& m, int exponent, float& number)
{
    constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22}; // all exact
    constexpr int kLast = std::size(kPowers) - 1;
    if (exponent < -kLast || exponent > kLast - 10) return false;
    const auto digits = static_cast<double>(m.digits);
    const double value = exponent < 0 ? digits / kPowers[-exponent] : digits * kPowers[exponent];
    number = static_cast<float>(value);
    return !IsNearHalfway(value);
}

[[gnu::always_inline]] inline bool TakeDecimal(Text& text, float& number)
{
    const char* const start = text.at;
    const Mantissa m = TakeMantissa<10, 19>(text);
    if (!m.any) return false;
    const int exponent = m.exponent + TakeExponent(text, 'e');
    if (RoundByDouble(m, exponent, number)) return true;
    // Without a result the value is beyond all floats, or nearer to 0 than to any other.
    if (std::from_chars(start, text.at, number).ec != std::errc())
        number = m.kept + exponent > 0 ? std::numeric_limits<float>::infinity() : 0.0f;
    return true;
}

/// After the "0x".
bool TakeHexadecimal(Text& text, float& number)
{
    const char* const start = text.at;
    const Mantissa m = TakeMantissa<16, 12>(text);
    if (text.at == start) return false;
    const int exponent = 4 * m.exponent + (m.any ? TakeExponent(text, 'p') : 0);
    // 48 bits and one for all that did not fit: a double holds them, and the float is rounded once.
    number =
        static_cast<float>(std::ldexp(static_cast<double>(m.digits * 2 + m.lost), exponent - 1));
    return true;
}

bool TakeMagnitude(Text& text, float& number)
{
    switch (Lower(Peek(text))) {
    case 'n':
        number = std::numeric_limits<float>::quiet_NaN();
        return TakeLetters(text, "nan");
    case 'i':
        number = std::numeric_limits<float>::infinity();
        return TakeLetters(text, "inf") && (Lower(Peek(text)) != 'i' || TakeLetters(text, "inity"));
    case '0':
        if (text.end - text.at < 2 || Lower(text.at[1]) != 'x') return TakeDecimal(text, number);
        text.at += 2;
        return TakeHexadecimal(text, number);
    default:
        return TakeDecimal(text, number);
    }
}

void SkipBlanks(Text& text)
{
    while (IsBlank(Peek(text))) ++text.at;
}

} // namespace

void ScanThreeNumbers(std::string_view text, float* numbers)
{
    Text rest{text.data(), text.data() + text.size()};
    SkipBlanks(rest);
    while (Peek(rest) && !IsBlank(*rest.at)) ++rest.at;
    for (int i = 0; i < 3; ++i) {
        SkipBlanks(rest);
        const bool negative = TakeSign(rest);
        float magnitude;
        if (!TakeMagnitude(rest, magnitude)) return;
        numbers[i] = std::copysign(magnitude, negative ? -1.0f : 1.0f);
    }
}
