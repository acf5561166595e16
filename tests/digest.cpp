// Prints one number over many solids, motions, answers and files. It is the same with every
// compiler, optimised or not: a change of it changes every cache file, or an answer.
// Usage: digest [EXPECTED]
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "query/deferred_sweep.h"
#include "query/fast_detect.h"
#include "support/scenes.h"
#include "sweep/define.h"

namespace
{

std::uint64_t digest = 14695981039346656037u;

void Add(const void* data, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        digest = (digest ^ static_cast<const unsigned char*>(data)[i]) * 1099511628211u;
}

void AddFile(const std::string& path)
{
    const std::string bytes = ReadFile(path);
    Add(bytes.data(), bytes.size());
}

void AddSolid(SOLIDC& solid)
{
    const std::uint64_t records = Digest(solid);
    Add(&records, sizeof records);
    TemporaryFile file("");
    solid.SC_SaveSTLfile(file.Path());
    AddFile(file.path);
    solid.sourceTime = 0; // that of the file just now
    solid.SC_SaveSLDfile(file.Path());
    AddFile(file.path);
}

} // namespace

int main(int count, char** arguments)
{
    std::mt19937 random(1);
    for (int i = 0; i < 60; ++i) {
        Scene scene = RandomScene([&] { return random(); });
        DefineSweepDeferred(*scene.b, Rows(scene.start), Rows(scene.end));
        const int answer = DetectFast(*scene.a, *scene.b);
        Add(&answer, sizeof answer);
        CompleteSweep(*scene.b);
        AddSolid(*scene.a);
        AddSolid(*scene.b);
    }
    float from[3] = {0.1f, 2, -3}, to[3] = {4, 1.7f, 9};
    SOLIDC cylinder;
    cylinder.LoadCyl(from, to, 2.5f);
    AddSolid(cylinder);
    TemporaryFile text(TextStl(SphereMesh(30, 50)));
    SOLIDC sphere;
    sphere.SC_LoadSTLfile(text.Path(), 0);
    AddSolid(sphere);
    std::printf("%016" PRIx64 "\n", digest);
    return count > 1 && std::strtoull(arguments[1], nullptr, 16) != digest;
}
