// Random numbers that are the same on every platform.
#ifndef SCAPI_TESTS_SAMPLER_H
#define SCAPI_TESTS_SAMPLER_H

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>

struct Sampler {
    const std::function<std::uint32_t()>& random;

    float Between(double low, double high) const
    {
        return static_cast<float>(low + (high - low) * random() * 0x1p-32);
    }
    int Below(int count) const { return static_cast<int>(random() % static_cast<unsigned>(count)); }
    /// A signed distance, most often near the contact tolerance of 1e-4.
    float ContactGap() const
    {
        const double gaps[] = {0, 0.5e-4, 1e-4, 1.5e-4, 3e-4, 1e-2, 1};
        const double gap = gaps[Below(7)], sign = Below(2) ? 1 : -1;
        return static_cast<float>(gap * sign * (Below(3) ? 1.0 : Between(0.9, 1.1)));
    }
    /// A size between two bounds, distributed evenly by order of magnitude.
    float Size(double low, double high) const
    {
        double size = low, root = high / low;
        for (int bit = 0; bit < 6; ++bit) {
            root = std::sqrt(root);
            if (Below(2)) size *= root;
        }
        return static_cast<float>(size);
    }
};

struct RandomSource {
    std::function<std::uint32_t()> numbers;
};
/// A sampler with numbers of its own.
struct Draws : private RandomSource, Sampler {
    explicit Draws(unsigned seed)
        : RandomSource{[engine = std::mt19937(seed)]() mutable { return std::uint32_t(engine()); }},
          Sampler{numbers}
    {
    }
    Draws(const Draws&) = delete;
};

/// How many draws a test makes, and from which: a variable with first:count gives others than
/// usual.
struct DrawRange {
    unsigned first = 1, count;
};
inline DrawRange DrawsFrom(const char* variable, unsigned usualCount)
{
    DrawRange range{1, usualCount};
    if (const char* draws = std::getenv(variable))
        (void)std::sscanf(draws, "%u:%u", &range.first, &range.count);
    return range;
}

#endif
