// Time of a first load over the number of triangles: text and binary, full and simple solids.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "meshes.h"
#include "scapi/scapi.h"

namespace
{

void Load(benchmark::State& state, bool text, int simple)
{
    const auto folder = std::filesystem::temp_directory_path();
    const std::string path = (folder / "scapi_bench_load.stl").string();
    const int triangles = WriteSphere(path, static_cast<int>(state.range(0)), text);
    std::string name = path;
    for (auto _ : state) {
        const int result = SCAPI_LoadSTL(0, reinterpret_cast<unsigned char*>(name.data()), simple);
        if (result != 0) state.SkipWithError("the load failed");
        state.PauseTiming();
        state.counters["bytes"] = SCAPI_GetUsedRAM();
        SCAPI_ReleaseSolids();
        state.ResumeTiming();
    }
    state.counters["triangles"] = triangles;
    state.SetItemsProcessed(state.iterations() * triangles);
    std::filesystem::remove(path);
}

void Sizes(benchmark::internal::Benchmark* bench)
{
    bench->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(Load, binary_full, false, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(Load, text_full, true, 0)->Apply(Sizes);
BENCHMARK_CAPTURE(Load, binary_simple, false, 1)->Apply(Sizes);

} // namespace

BENCHMARK_MAIN();
