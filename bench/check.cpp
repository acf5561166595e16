// Moves a second of scapi-check: tool, holder and spindle along 10,000 moves over five bumpy bodies
// of 10,000 triangles each, near enough that boxes alone do not settle it, and where the time goes.
// Usage: check [FOLDER [MOVES [TRIANGLES]]]
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "meshes.h"
#include "report.h"
#include "run.h"

namespace
{

namespace fs = std::filesystem;

constexpr double kHill = 122; ///< mm: spheres of radius 100 with bumps, and room for the holder

/// A tool path over five hills at a distance of some mm, in short moves as a CAM system writes
/// them.
void WriteProgram(const fs::path& path, int moves)
{
    std::ofstream out(path);
    out << "G21 G90 G54\nT1 M6\nG43 H1 G0 Z250\nG1 F2000\n";
    const int rows = 100;
    for (int i = 0; i < moves; ++i) {
        const int row = i * rows / moves, at = i % (moves / rows);
        const double along = double(at) / (moves / rows - 1);
        const double x = -650 + 1300 * (row % 2 ? 1 - along : along), y = -130 + 260.0 * row / rows;
        double height = 0;
        for (int k = -2; k <= 2; ++k) {
            const double square = kHill * kHill - (x - 260 * k) * (x - 260 * k) - y * y;
            height = std::max(height, square > 0 ? std::sqrt(square) : 0.0);
        }
        out << "X" << x << " Y" << y << " Z" << height << "\n";
    }
    out << "G0 Z250\nM30\n";
}

void WriteJob(const fs::path& folder)
{
    std::ofstream out(folder / "job.json");
    out << R"({"machine": {"table": [{"axis": "Y", "direction": [0, -1, 0], "rapid": 30000}],
 "head": [{"axis": "X", "direction": [1, 0, 0], "rapid": 30000}, {"axis": "Z", "direction": [0, 0, 1], "rapid": 30000}]},
 "tools": [{"number": 1, "length": 60, "profile": [[0, 0], [3, 3], [3, 40]], "cutting_length": 15,
 "holder": {"profile": [[12, -30], [20, -10], [20, 0]]}}],
 "program": "program.nc", "start": {"Z": 400}, "clearance": {"limit": 0.5, "range": 0.5}, "bodies": [)";
    out << R"({"name": "spindle", "group": "spindle", "on": "spindle", "cylinder": {"radius": 40, "height": 150}})";
    for (int k = -2; k <= 2; ++k)
        out << R"(, {"name": "hill )" << k
            << R"(", "group": "fixture", "stl": "hill.stl", "pose": {"at": [)" << 260 * k
            << ", 0, 0]}}";
    out << "]}\n";
}

void Run(const check::Job& job, unsigned threads)
{
    const auto start = std::chrono::steady_clock::now();
    check::Work work;
    const check::Pairs pairs = check::PairsOf(job);
    const check::Findings findings = check::CheckMoves(job, pairs, {}, threads, work);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const auto moves = double(findings.clearance.size());
    std::printf("| %u | %.0f | %lld | %lld | %lld | %lld | %.1f | %.1f | %.1f | %zu |\n", threads,
                moves / seconds, static_cast<long long>(work.pairs),
                static_cast<long long>(work.byBoxes), static_cast<long long>(work.byPlace),
                static_cast<long long>(work.impacts), 100 * work.placeSeconds / (seconds * threads),
                100 * work.impactSeconds / (seconds * threads),
                100 * work.measureSeconds / (seconds * threads), findings.hits.size());
}

} // namespace

int main(int count, char** words)
{
    const fs::path folder =
        count > 1 ? words[1] : (fs::temp_directory_path() / "scapi_bench_check").string();
    const int moves = count > 2 ? std::atoi(words[2]) : 10000;
    const int triangles = count > 3 ? std::atoi(words[3]) : 10000;
    fs::create_directories(folder);
    WriteSphere((folder / "hill.stl").string(), triangles, false);
    WriteProgram(folder / "program.nc", moves);
    WriteJob(folder);
    const auto start = std::chrono::steady_clock::now();
    check::Problems problems;
    check::Job job;
    if (!check::ReadJob((folder / "job.json").string(), job, problems)) {
        for (const check::Problem& problem : problems)
            std::fprintf(stderr, "%s\n", Describe(problem).c_str());
        return 2;
    }
    std::printf("read in %.2f s\n",
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    std::printf("| threads | moves/s | pairs | by boxes | by placement | impacts | %% placing | %% "
                "impacts | "
                "%% measuring | hits |\n|---|---|---|---|---|---|---|---|---|---|\n");
    for (const unsigned threads : {1u, 2u}) Run(job, threads);
    return 0;
}
