// Time of a first load, its cache file written, of meshes whose refinement takes most of it: cubes
// round each other, gears, plates, plates with needles. Sizes show how it grows; each row has the
// triangles after refinement and a hash of the cache file, so that a change of a bit shows.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "meshes.h"
#include "scapi/scapi.h"

namespace
{

/// Of a cache file, but for the four bytes that hold the time of its source.
std::string HashOfCache(const std::string& path)
{
    constexpr std::size_t kTime = 1024, kTimeEnd = kTime + 4;
    std::ifstream file(path, std::ios::binary);
    std::uint64_t hash = 14695981039346656037u;
    std::size_t at = 0;
    for (std::istreambuf_iterator<char> byte(file), end; byte != end; ++byte, ++at)
        if (at < kTime || at >= kTimeEnd)
            hash = (hash ^ static_cast<unsigned char>(*byte)) * 1099511628211u;
    std::ostringstream text;
    text << std::hex << hash;
    return text.str();
}

template <class Write>
void MeasureLoad(benchmark::State& state, Write write)
{
    const auto folder = std::filesystem::temp_directory_path() / "scapi_bench_refine";
    std::filesystem::create_directories(folder);
    std::string path = (folder / "mesh.stl").string();
    const std::string cache = (folder / "mesh.SLD").string();
    write(path, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        SCAPI_ReleaseSolids();
        std::filesystem::remove(cache);
        state.ResumeTiming();
        if (SCAPI_LoadSTL(0, reinterpret_cast<unsigned char*>(path.data()), 0) != 0)
            state.SkipWithError("the load failed");
    }
    std::ifstream file(cache, std::ios::binary);
    std::int32_t triangles = 0;
    file.seekg(1032).read(reinterpret_cast<char*>(&triangles), sizeof triangles);
    state.counters["triangles"] = triangles;
    state.SetLabel(HashOfCache(cache));
    SCAPI_ReleaseSolids();
    std::filesystem::remove_all(folder);
}

void Cubes(benchmark::State& state) { MeasureLoad(state, WriteNestedCubes); }

void Gears(benchmark::State& state) { MeasureLoad(state, WriteGear); }

void Plates(benchmark::State& state, int needles)
{
    MeasureLoad(state, [&](const std::string& path, int triangles) {
        WritePlate(path, triangles, needles);
    });
}

void NeedlesOnly(benchmark::State& state)
{
    MeasureLoad(state, [](const std::string& path, int needles) { WritePlate(path, 0, needles); });
}

BENCHMARK(Cubes)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(Gears)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Plates, sound, 0)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Plates, needle, 1)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(NeedlesOnly)->Arg(50)->Arg(200)->Arg(600)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
