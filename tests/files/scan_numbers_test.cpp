// Numbers of text files: against a table that holds on every platform, and against glibc's sscanf.
#include "files/scan_numbers.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>

namespace
{

using Three = std::array<float, 3>;

/// What a line gives over numbers that were 7 before.
Three Scanned(std::string_view line)
{
    Three numbers{7, 7, 7};
    ScanThreeNumbers(line, numbers.data());
    return numbers;
}

/// The bits; for a NaN its sign alone.
std::array<std::uint32_t, 3> Bits(Three numbers)
{
    for (float& x : numbers)
        if (std::isnan(x)) x = std::copysign(std::numeric_limits<float>::quiet_NaN(), x);
    return std::bit_cast<std::array<std::uint32_t, 3>>(numbers);
}

const std::string kZeros(900, '0'), kNines(900, '9');

TEST(StlNumbers, RowsOfTheTable)
{
    constexpr float kInf = std::numeric_limits<float>::infinity(),
                    kNan = std::numeric_limits<float>::quiet_NaN(),
                    kMax = std::numeric_limits<float>::max();
    const std::pair<std::string, Three> rows[] = {
        {"vertex", {7, 7, 7}},
        {"vertex1 2 3", {2, 3, 7}},
        {" v\t1\v2\f\r\n3", {1, 2, 3}},
        {"v 1 2 3 4", {1, 2, 3}},
        {"v 1 x 3", {1, 7, 7}},
        {std::string("v 1 2\0 3", 8), {1, 2, 7}},
        {std::string("v\0x 1", 5), {7, 7, 7}},
        {"v 1. .5 -.25", {1, 0.5f, -0.25f}},
        {"v . 1", {7, 7, 7}},
        {"v 1 -. 1", {1, 7, 7}},
        {"v 1 +-1", {1, 7, 7}},
        {"v 1.5.5 2", {1.5f, 0.5f, 2}},
        {"v 1-2+3", {1, -2, 3}},
        {"v 1e 2E+ 3e-", {1, 2, 3}},
        {"v 1e+-2 3", {1, -2, 3}},
        {"v 1e1.5 2", {10, 0.5f, 2}},
        {"v 1ee1", {1, 7, 7}},
        {"v e1", {7, 7, 7}},
        {"v 1,5 2", {1, 7, 7}},
        {"v -0 -0e999 0e-999", {-0.0f, -0.0f, 0}},
        {"v 0x1p3 -0X.8 0x1.8P-1", {8, -0.5f, 0.75f}},
        {"v 1 0x 3", {1, 7, 7}},
        {"v -0x. 2 3", {-0.0f, 2, 3}},
        {"v 0x1p 0x1p+ 0xe", {1, 1, 14}},
        {"v 0x1p1f 2", {2, 7, 7}},
        {"v 0x1000001 0x1000003 0x1000001.0000000000000000001", {16777216, 16777220, 16777218}},
        {"v 0x1.ffffffp127 0x1p-150 0x1.8p-150", {kInf, 0, 0x1p-149f}},
        {"v 0x1p99999999999 0x1p-99999999999 0x0p99999999999", {kInf, 0, 0}},
        {"v inf -INFINITY +Inf", {kInf, -kInf, kInf}},
        {"v 1 infinit 3", {1, 7, 7}},
        {"v infx 2", {kInf, 7, 7}},
        {"v nan -NaN nax", {kNan, -kNan, 7}},
        {"v nan(1) 2", {kNan, 7, 7}},
        {"v 16777217 16777219 16777217.0000000000000000001", {16777216, 16777220, 16777218}},
        // By way of a double 1.00000017881393432617187499 would come out one step higher.
        {"v 1.00000017881393432617187499 1.00000005960464477539062501 0.1",
         {0x1.000002p0f, 0x1.000002p0f, 0x1.99999ap-4f}},
        {"v 3.4028235e38 3.40282356779733662e38 3.40282356779733661e38", {kMax, kInf, kMax}},
        {"v 1.17549435e-38 1e-45 1.4e-45", {0x1p-126f, 0x1p-149f, 0x1p-149f}},
        {"v 7.006492321624085e-46 7.006492321624086e-46 -1e-60", {0, 0x1p-149f, -0.0f}},
        {"v 1e99999999999 -1e-99999999999 1e400", {kInf, -0.0f, kInf}},
        {"v 0." + kZeros + "1e901 1" + kZeros + "e-900 2", {1, 1, 2}},
        {"v " + kNines + " 2", {kInf, 2, 7}},
        {"v 0." + kNines + " 2", {1, 2, 7}},
    };
    for (const auto& [line, expected] : rows)
        EXPECT_EQ(Bits(Scanned(line)), Bits(expected)) << line;
}

#ifdef __GLIBC__
/// Digits in base ten or sixteen, mostly zeros.
std::string Digits(std::mt19937& random, unsigned most, const char* of)
{
    std::string digits;
    for (auto n = random() % (most + 1); n > 0; --n)
        digits += random() % 3 ? of[random() % std::strlen(of)] : '0';
    return digits;
}

/// A number as some program prints it, one aimed at a halfway point, or scraps of numbers.
std::string RandomNumber(std::mt19937& random)
{
    const char* const scraps[] = {"0",   "9", "e", "E-", "+",   "-",    ".",     "0x", "p",
                                  "inf", "i", "n", "f",  "nan", "(12)", "INITY", "1,", "\v"};
    char text[400];
    float number;
    const auto bits = static_cast<std::uint32_t>(random());
    std::memcpy(&number, &bits, sizeof number);
    std::string made;
    switch (random() % 6) {
    case 0:
    case 1:
        std::snprintf(text, sizeof text, random() % 2 ? "%.*e" : "%.*g", int(random() % 20),
                      double(number));
        return text;
    case 2: {
        const float next = std::nextafter(number, 0.0f);
        std::snprintf(text, sizeof text, "%.170e", (double(number) + next) / 2);
        if (random() % 2 && std::isfinite(number)) text[std::strchr(text, 'e') - text - 1] = '1';
        return text;
    }
    case 3:
        return Digits(random, 40, "0123456789") + "." + Digits(random, 40, "0123456789") + "e" +
               (random() % 2 ? "-" : "") + Digits(random, 2, "0123456789");
    case 4: // not denormal: there some versions of glibc round the wrong way
        return "0x1" + Digits(random, 12, "0123456789abcDEF") + "." +
               Digits(random, 12, "0123456789abcDEF") + "p" + Digits(random, 2, "0123456789");
    default:
        for (auto n = random() % 5; n > 0; --n) made += scraps[random() % std::size(scraps)];
        return made;
    }
}

TEST(StlNumbers, AreReadAsScanfReadsThem)
{
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string line = "vertex";
        for (int n = 0; n < 3; ++n)
            line += (random() % 20 ? " " : "") + RandomNumber(random) + (random() % 9 ? "" : "-x");
        Three expected{7, 7, 7};
        (void)std::sscanf(line.c_str(), "%*s %f %f %f", &expected[0], &expected[1], &expected[2]);
        ASSERT_EQ(Bits(Scanned(line)), Bits(expected)) << "[" << line << "]";
    }
}
#endif

TEST(StlNumbers, PointIsAPointInEveryLocale)
{
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "German"))
        GTEST_SKIP() << "this machine has no such locale";
    // The second needs more than doubles, the third has a comma.
    const Three numbers = Scanned("v 1.5 16777217.0000000000000000001 2,5");
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(Bits(numbers), Bits({1.5f, 16777218, 2}));
}

} // namespace
