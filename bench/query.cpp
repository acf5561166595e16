// Time of a query, a new pose and its answer, for two bumpy spheres: apart; one inside the other,
// with room between the surfaces; 0.01 apart; in contact. And for a shaft in a bore, with 0.05 of
// air all round. Placed, and moved by 30 to that pose. And of the first query after a load.
// And of fine facets near each other, and of a bore moved within its air, which once cost the
// square. And of a plate that passes through a gear, and of fine edges in contact with coarse
// triangles. And of spheres side by side to which a host has done odd things, most of which once
// cost the square of the triangles: a facet without area in a crowded cell, rotations in place,
// motions with a divide or a shear. Each row shows how many of its answers were contact, so that a
// change of an answer shows.
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

struct Pose {
    float row[4][4];
};

/// From where a solid comes to a pose, from that.
struct Approach {
    float x, y;
};
constexpr Approach kStill{0, 0}, kAlong{30, 0}, kAcross{0, 0.04f}, kThrough{-600, 0};

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
/// @param within  where it is in contact
float ContactAt(float angle, float within)
{
    float hit = within, clear = 250;
    while (clear - hit > 1e-3f) {
        const float middle = 0.5f * (hit + clear);
        (Touches(MakePose(1, angle, middle)) ? hit : clear) = middle;
    }
    return clear;
}

enum Situation { kApart, kNested, kNear, kHit, kFit };

std::array<Pose, kPoses> MakePoses(Situation situation, float within)
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
            poses[static_cast<std::size_t>(i)] =
                MakePose(1, angle, ContactAt(angle, within) + 0.01f);
            break;
        case kFit:
            poses[static_cast<std::size_t>(i)] = MakePose(1, angle, 0.5f * step);
            break;
        case kHit:
            poses[static_cast<std::size_t>(i)] =
                MakePose(1, angle, ContactAt(angle, within) - 0.5f);
            break;
        }
    }
    return poses;
}

void LoadInto(int slot, std::string path)
{
    SCAPI_LoadSTL(slot, reinterpret_cast<unsigned char*>(path.data()), 0);
}

enum Solids {
    kSpheres,
    kFineByCoarse,
    kTori,
    kShaftInBore,
    kBoreRoundShaft,
    kGearByPlate,
    kCrowded,
    kCrowdedWithoutArea
};

void WriteSolids(const std::string& first, const std::string& second, int triangles, Solids solids)
{
    switch (solids) {
    case kSpheres:
        WriteSphere(first, triangles, false);
        WriteSphere(second, triangles, false);
        break;
    case kFineByCoarse:
        WriteSphere(first, 1000, false);
        WriteSphere(second, triangles, false);
        break;
    case kTori:
        WriteTorus(first, triangles, 80, 20);
        WriteTorus(second, triangles, 80, 20);
        break;
    case kShaftInBore:
    case kBoreRoundShaft:
        WriteTube(solids == kShaftInBore ? first : second, triangles, 18, 60, 24);
        WriteTube(solids == kShaftInBore ? second : first, triangles, 5, 17.95, 60);
        break;
    case kGearByPlate:
        WriteGear(first, triangles);
        WritePlate(second, triangles, 0);
        break;
    case kCrowded:
    case kCrowdedWithoutArea:
        WriteCrowded(first, triangles, solids == kCrowdedWithoutArea);
        WriteSphere(second, triangles, false);
        break;
    }
}

/// The solids of a situation in slots 0 and 1, of a size, loaded from their caches where the
/// situation before was alike.
void Load(int triangles, Solids solids)
{
    static const auto folder = std::filesystem::temp_directory_path() / "scapi_bench_query";
    static std::array<int, 2> written{};
    const std::array<int, 2> wanted{triangles, solids};
    const std::string first = (folder / "first.stl").string(),
                      second = (folder / "second.stl").string();
    if (written != wanted) {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        WriteSolids(first, second, triangles, solids);
        written = wanted;
    }
    LoadInto(0, first);
    LoadInto(1, second);
}

void FirstQuery(benchmark::State& state, Solids solids)
{
    Pose pose = MakePose(1, 0, 0);
    for (auto _ : state) {
        Load(static_cast<int>(state.range(0)), solids);
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(Touches(pose));
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}

void Query(benchmark::State& state, Solids solids, Situation situation, Approach approach)
{
    Load(static_cast<int>(state.range(0)), solids);
    std::array<Pose, kPoses> ends = MakePoses(situation, solids == kGearByPlate ? 50 : 150),
                             starts = ends;
    for (Pose& start : starts) {
        start.row[0][3] += approach.x;
        start.row[1][3] += approach.y;
    }
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

enum Oddity {
    kTool,          ///< round the part in its frame
    kRotatedFirst,  ///< in place, after the load
    kRotatedSecond, ///< likewise
    kRotatedLate,   ///< the second, after its motion was defined
    kDivide,        ///< a motion whose w falls along x
    kSheared        ///< both in motion, the second so sheared that its edges pass by the first
};

Pose ShearedPose(float x)
{
    return {{{30, -30, 0, x}, {30, -30, 0.5f, -x}, {30, -30, 1, 0}, {0, 0, 0, 1}}};
}

void Odd(benchmark::State& state, Solids solids, Oddity oddity)
{
    Load(static_cast<int>(state.range(0)), solids);
    Pose slight = MakePose(1, 0.01f, 0), start = MakePose(1, 0, 149);
    start.row[1][3] = 149;
    if (oddity == kTool) start = MakePose(0.2f, 0, 0);
    if (oddity == kDivide) start.row[3][0] = -1e-4f;
    if (oddity == kSheared) start = ShearedPose(300);
    if (oddity == kRotatedFirst) SCAPI_Rotate(0, slight.row);
    if (oddity == kRotatedSecond) SCAPI_Rotate(1, slight.row);
    if (oddity == kSheared) SCAPI_DefSweep(0, slight.row, start.row);
    // The first query of a solid makes what the others use.
    Touches(start);
    int contacts = 0;
    for (auto _ : state) {
        Pose end = start;
        if (oddity == kSheared) end.row[2][3] += 5;
        SCAPI_DefSweep(1, start.row, end.row);
        if (oddity == kRotatedLate) SCAPI_Rotate(1, slight.row);
        contacts += SCAPI_DetectInterference(0, 1) == SCAPI_INTERFERENCE;
        start.row[2][3] += 1e-4f;
    }
    state.counters["contact"] = double(contacts) / double(state.iterations());
}

void DefSweep(benchmark::State& state, bool moves)
{
    Load(static_cast<int>(state.range(0)), kSpheres);
    Pose start = MakePose(1, 0, 400), end = start;
    if (moves) start.row[0][3] += kAlong.x;
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

/// Doubled from size to size, which shows whether time grows with the square.
void OddSizes(benchmark::internal::Benchmark* bench)
{
    bench->RangeMultiplier(2)->Range(3750, 30000)->Unit(benchmark::kMicrosecond)->MinTime(0.05);
}

BENCHMARK_CAPTURE(DefSweep, placed, false)->Apply(Sizes);
BENCHMARK_CAPTURE(DefSweep, moved, true)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, apart_placed, kSpheres, kApart, kStill)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, nested_placed, kSpheres, kNested, kStill)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, near_placed, kSpheres, kNear, kStill)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, hit_placed, kSpheres, kHit, kStill)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, apart_moved, kSpheres, kApart, kAlong)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, nested_moved, kSpheres, kNested, kAlong)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, near_moved, kSpheres, kNear, kAlong)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, hit_moved, kSpheres, kHit, kAlong)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, fit_placed, kShaftInBore, kFit, kStill)->Apply(SmallSizes);
BENCHMARK_CAPTURE(Query, fit_moved, kShaftInBore, kFit, kAlong)->Apply(SmallSizes);
BENCHMARK_CAPTURE(Query, fit_bore_across, kBoreRoundShaft, kFit, kAcross)->Apply(SmallSizes);
BENCHMARK_CAPTURE(Query, tori_near_placed, kTori, kNear, kStill)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, tori_near_moved, kTori, kNear, kAlong)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, plate_near_moved, kGearByPlate, kNear, kAlong)->Apply(Sizes);
BENCHMARK_CAPTURE(Query, plate_through, kGearByPlate, kNear, kThrough)->Apply(SmallSizes);
BENCHMARK_CAPTURE(Query, fine_hits_coarse, kFineByCoarse, kHit, kStill)->Apply(Sizes);
BENCHMARK_CAPTURE(Odd, crowded, kCrowded, kTool)->Apply(OddSizes);
BENCHMARK_CAPTURE(Odd, crowded_degenerate_facets, kCrowdedWithoutArea, kTool)->Apply(OddSizes);
BENCHMARK_CAPTURE(Odd, rotated_first, kSpheres, kRotatedFirst)->Apply(OddSizes);
BENCHMARK_CAPTURE(Odd, rotated_second, kSpheres, kRotatedSecond)->Apply(OddSizes);
BENCHMARK_CAPTURE(Odd, rotated_late, kSpheres, kRotatedLate)->Apply(OddSizes);
BENCHMARK_CAPTURE(Odd, divided_motion, kSpheres, kDivide)->Apply(OddSizes);
BENCHMARK_CAPTURE(Odd, both_swept_sheared, kSpheres, kSheared)->Apply(OddSizes);
BENCHMARK_CAPTURE(FirstQuery, spheres, kSpheres)->Apply(Sizes)->UseManualTime();
BENCHMARK_CAPTURE(FirstQuery, fit, kShaftInBore)->Apply(SmallSizes)->UseManualTime();

} // namespace

BENCHMARK_MAIN();
