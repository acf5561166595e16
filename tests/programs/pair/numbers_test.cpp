#include "numbers.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include "poses.h"

namespace
{

TEST(Numbers, WhatIsSaidToBeAtLeastSoMuchIsNeverRoundedUp)
{
    constexpr unsigned seed = 7;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> exponent(-12, 12), digits(1, 10);
    for (int i = 0; i < 20'000; ++i) {
        double value = std::pow(10.0, std::floor(exponent(random)));
        // Every third one just below a power of ten, where a digit is lost.
        value *= i % 3 == 0 ? std::nextafter(1.0, 0.0) : digits(random);
        const std::string text = pair::FormatDown(value);
        std::string error;
        const std::vector<double> said = pair::ParseNumbers(text, error);
        ASSERT_EQ(error, "") << text;
        ASSERT_LE(said[0], value) << text << ", seed " << seed;
        ASSERT_GE(said[0], value * (1 - 2e-5)) << text << ", seed " << seed;
    }
    EXPECT_EQ(pair::FormatDown(0), "0");
    EXPECT_EQ(pair::FormatDown(3), "3");
}

TEST(Poses, InverseUndoesAndQuarterTurnsAreExact)
{
    constexpr unsigned seed = 8;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> number(-180, 180);
    for (int i = 0; i < 1'000; ++i) {
        std::vector<double> numbers(6);
        for (double& n : numbers)
            n = i % 2 == 0 ? number(random) : 90 * std::round(number(random) / 90);
        pair::Pose pose;
        ASSERT_EQ(pair::PoseFromNumbers(numbers, pose), "");
        const pair::Pose rest = pair::Multiply(pair::Inverse(pose), pose);
        for (std::size_t k = 0; k < 12; ++k)
            ASSERT_NEAR(rest[k], pair::kRest[k], i % 2 == 0 ? 1e-12 : 0) << "seed " << seed;
    }
}

} // namespace
