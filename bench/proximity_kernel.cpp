// Time per pair of triangles: distance with its certificate, the cheap proof of a limit, contact.
// For pairs far apart, near, nearly touching (the precise path), and crossing; each row walks over
// 1024 pairs. `sum` is of the distances, so that a change of a result shows.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kernel/triangle_pair.h"

namespace
{

using namespace proximity;

struct Pair {
    Triangle a, b;
};

/// From -1 to 1, the same on every machine.
double Next(std::uint64_t& state)
{
    state = state * 6364136223846793005u + 1442695040888963407u;
    return static_cast<double>(static_cast<std::int64_t>(state) >> 11) * 0x1p-52;
}

/// Triangles of size 1; b is moved by `apart` along x. With `parallel` it is a copy of a.
std::vector<Pair> MakePairs(double apart, bool parallel)
{
    std::vector<Pair> pairs(1024);
    std::uint64_t state = 1;
    for (Pair& pair : pairs) {
        for (Triangle* t : {&pair.a, &pair.b})
            for (auto& corner : t->corner)
                for (double& x : corner) x = Next(state);
        if (parallel) pair.b = pair.a;
        for (auto& corner : pair.b.corner) corner[0] += apart;
    }
    return pairs;
}

constexpr double kFar = 10, kNear = 2.1, kMixed = 1, kGrazing = 0x1p-40, kSame = 0;

std::vector<Pair> PairsOf(const benchmark::State& state)
{
    constexpr std::array<double, 5> kApart = {kFar, kNear, kMixed, kGrazing, kSame};
    const auto row = static_cast<std::size_t>(state.range(0));
    return MakePairs(kApart[row], row == 3);
}

template <class Call>
void Run(benchmark::State& state, Call call)
{
    const std::vector<Pair> pairs = PairsOf(state);
    double sum = 0;
    for (const Pair& pair : pairs) sum += call(pair);
    std::size_t n = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(call(pairs[n]));
        n = (n + 1) % pairs.size();
    }
    state.counters["sum"] = sum;
}

void Distance(benchmark::State& state)
{
    Run(state, [](const Pair& p) { return DistanceOf(p.a, p.b).distance; });
}

void DistanceToAResolution(benchmark::State& state)
{
    Run(state, [](const Pair& p) { return DistanceOf(p.a, p.b, 1e-9).distance; });
}

void Farther(benchmark::State& state)
{
    Run(state, [](const Pair& p) { return FartherThan(p.a, p.b, 1e-3) ? 1.0 : 0.0; });
}

void Contact(benchmark::State& state)
{
    Run(state, [](const Pair& p) { return static_cast<double>(ContactOf(p.a, p.b).relation); });
}

void Rows(benchmark::internal::Benchmark* b)
{
    b->ArgName("far0_near1_mixed2_grazing3_same4")->DenseRange(0, 4);
}

BENCHMARK(Distance)->Apply(Rows);
BENCHMARK(DistanceToAResolution)->Apply(Rows);
BENCHMARK(Farther)->Apply(Rows);
BENCHMARK(Contact)->Apply(Rows);

} // namespace

BENCHMARK_MAIN();
