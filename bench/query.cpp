// Time of a query, a new pose and its answer, for two bumpy spheres: apart; one inside the other,
// with room between the surfaces; 0.01 apart; in contact. And for a shaft in a bore, with 0.05 of
// air all round. Placed, and moved by 30 to that pose. And of the first query after a load.
// Each row shows how many of its answers were contact, so that a change of an answer shows.
#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>

#include "meshes.h"
#include "scapi/scapi.h"

namespace
{

constexpr int kPoses = 16;
constexpr float kMotion = 30;

struct Pose {
    float row[4][4];
};

/// Scaled, turned about x and moved. Turning about the line of approach keeps the gap nearly alike.
Pose MakePose(float scale, float angle, float x)
{
    const float c = scale * std::cos(angle), s = scale * std::sin(angle);
    return {{{scale, 0, 0, x}, {0, c, -s, 0}, {0, s, c, 0}, {0, 0, 0, 1}}};
}

bool Touches(Pose pose)
{
    SCAPI_DefSweep(1, pose.row, pose.row);
    return SCAPI_DetectInterference(0, 1) == SCAPI_INTERFERENCE;
}

/// Where a solid that comes along x, turned by an angle, first touches.
float ContactAt(float angle)
{
    float hit = 150, clear = 250;
    while (clear - hit > 1e-3f) {
        const float middle = 0.5f * (hit + clear);
        (Touches(MakePose(1, angle, middle)) ? hit : clear) = middle;
    }
    return clear;
}

enum Situation { kApart, kNested, kNear, kHit, kFit };

std::array<Pose, kPoses> MakePoses(Situation situation)
{
    std::array<Pose, kPoses> poses{};
    for (int i = 0; i < kPoses; ++i) {
        const auto step = static_cast<float>(i);
        const float angle = 0.37f * step;
        switch (situation) {
        case kApart:
            poses[static_cast<std::size_t>(i)] = MakePose(1, angle, 400 + step);
            break;
        case kNested:
            poses[static_cast<std::size_t>(i)] = MakePose(0.5f, angle, step);
            break;
        case kNear:
            poses[static_cast<std::size_t>(i)] = MakePose(1, angle, ContactAt(angle) + 0.01f);
            break;
        case kFit:
            poses[static_cast<std::size_t>(i)] = MakePose(1, angle, 0.5f * step);
            break;
        case kHit:
            poses[static_cast<std::size_t>(i)] = MakePose(1, angle, ContactAt(angle) - 0.5f);
            break;
        }
    }
    return poses;
}

void LoadInto(int slot, std::string path)
{
    SCAPI_LoadSTL(slot, reinterpret_cast<unsigned char*>(path.data()), 0);
}

/// The solids of a situation in slots 0 and 1, of a size, loaded from their caches where the
/// situation before was alike.
void Load(int triangles, bool fit)
{
    static const auto folder = std::filesystem::temp_directory_path() / "scapi_bench_query";
    static int written = 0;
    const int wanted = fit ? -triangles : triangles;
    const std::string first = (folder / "first.stl").string(),
                      second = (folder / "second.stl").string();
    if (written != wanted) {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        if (fit) {
            WriteTube(first, triangles, 18, 60, 24);
            WriteTube(second, triangles, 5, 17.95, 60);
        } else {
            WriteSphere(first, triangles, false);
            WriteSphere(second, triangles, false);
        }
        written = wanted;
    }
    LoadInto(0, first);
    LoadInto(1, second);
}

void FirstQuery(benchmark::State& state, bool fit)
{
    Pose pose = MakePose(1, 0, 0);
    for (auto _ : state) {
        Load(static_cast<int>(state.range(0)), fit);
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(Touches(pose));
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}

void Query(benchmark::State& state, Situation situation, bool moves)
{
    Load(static_cast<int>(state.range(0)), situation == kFit);
    std::array<Pose, kPoses> ends = MakePoses(situation), starts = ends;
    for (Pose& start : starts)
        if (moves) start.row[0][3] += kMotion;
    // The first query of a solid makes what the others use.
    SCAPI_DefSweep(1, starts[0].row, ends[0].row);
    SCAPI_DetectInterference(0, 1);
    std::size_t next = 0;
    int contacts = 0;
    for (auto _ : state) {
        SCAPI_DefSweep(1, starts[next].row, ends[next].row);
        contacts += SCAPI_DetectInterference(0, 1) == SCAPI_INTERFERENCE;
        next = (next + 1) % kPoses;
    }
    state.counters["contact"] = double(contacts) / double(state.iterations());
}

void DefSweep(benchmark::State& state, bool moves)
{
    Load(static_cast<int>(state.range(0)), false);
    Pose start = MakePose(1, 0, 400), end = start;
    if (moves) start.row[0][3] += kMotion;
    for (auto _ : state) {
        end.row[1][3] += 1e-3f;
        SCAPI_DefSweep(1, start.row, end.row);
    }
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);
}

/// Refinement makes thirty triangles of each that is long and thin.
void SmallSizes(benchmark::internal::Benchmark* bench)
{
    bench->RangeMultiplier(10)->Range(1000, 10000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(DefSweep, placed, false)->Apply(Sizes);
BENCHMARK_CAPTURE(DefSweep, moved, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, apart_placed, kApart, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, nested_placed, kNested, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, near_placed, kNear, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, hit_placed, kHit, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, apart_moved, kApart, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, nested_moved, kNested, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, near_moved, kNear, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, hit_moved, kHit, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, fit_placed, kFit, false)->Apply(SmallSizes);
BENCHMARK_CAPTURE(Query, fit_moved, kFit, true)->Apply(SmallSizes);
BENCHMARK_CAPTURE(FirstQuery, spheres, false)->Apply(Sizes)->UseManualTime();
BENCHMARK_CAPTURE(FirstQuery, fit, true)->Apply(SmallSizes)->UseManualTime();

} // namespace

BENCHMARK_MAIN();
