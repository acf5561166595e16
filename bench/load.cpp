// Time of loads over the number of triangles: the first one, from text and binary files, the one
// from the cache, and, to compare, a plain read of the cache file into fresh memory.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "meshes.h"
#include "scapi/scapi.h"

namespace
{

/// A sphere as an STL file in a folder of its own, gone with this object.
struct Source {
    std::filesystem::path folder = std::filesystem::temp_directory_path() / "scapi_bench_load";
    std::string path = (folder / "sphere.stl").string();
    std::string cache = (folder / "sphere.SLD").string();
    int triangles;

    Source(int about, bool text)
    {
        std::filesystem::create_directories(folder);
        triangles = WriteSphere(path, about, text);
    }
    ~Source() { std::filesystem::remove_all(folder); }
    int Load(int simple)
    {
        return SCAPI_LoadSTL(0, reinterpret_cast<unsigned char*>(path.data()), simple);
    }
};

/// @param keepsCache  whether each load finds the cache file of the one before
void MeasureLoads(benchmark::State& state, bool text, int simple, bool keepsCache)
{
    Source source(static_cast<int>(state.range(0)), text);
    if (keepsCache) source.Load(simple);
    for (auto _ : state) {
        state.PauseTiming();
        SCAPI_ReleaseSolids();
        if (!keepsCache) std::filesystem::remove(source.cache);
        state.ResumeTiming();
        if (source.Load(simple) != 0) state.SkipWithError("the load failed");
    }
    state.counters["triangles"] = source.triangles;
    state.counters["bytes"] = SCAPI_GetUsedRAM();
    SCAPI_ReleaseSolids();
}

void FirstLoad(benchmark::State& state, bool text, int simple)
{
    MeasureLoads(state, text, simple, false);
}

void CachedLoad(benchmark::State& state, int simple) { MeasureLoads(state, false, simple, true); }

void PlainRead(benchmark::State& state)
{
    Source source(static_cast<int>(state.range(0)), false);
    source.Load(0);
    SCAPI_ReleaseSolids();
    const auto bytes = std::filesystem::file_size(source.cache);
    struct FreeMemory {
        void operator()(void* memory) const { std::free(memory); }
    };
    for (auto _ : state) {
        const std::unique_ptr<void, FreeMemory> memory(std::calloc(bytes, 1));
        std::FILE* file = std::fopen(source.cache.c_str(), "rb");
        if (std::fread(memory.get(), 1, bytes, file) != bytes) state.SkipWithError("short read");
        std::fclose(file);
    }
    state.counters["triangles"] = source.triangles;
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(FirstLoad, binary, false, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(FirstLoad, text, true, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(FirstLoad, simple, false, 1)->Apply(Sizes);
BENCHMARK_CAPTURE(CachedLoad, full, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(CachedLoad, simple, 1)->Apply(Sizes);
BENCHMARK(PlainRead)->Apply(Sizes);

} // namespace

BENCHMARK_MAIN();
