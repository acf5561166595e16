#include "host.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "api/table.h"
#include "mesh/triangle.h"

namespace
{

/// A folder that lives as long as the process.
struct TemporaryFolder {
    std::filesystem::path path;
    TemporaryFolder()
    {
        const std::filesystem::path shared = "/dev/shm";
        path = std::filesystem::exists(shared) ? shared : std::filesystem::temp_directory_path();
        path /= "scapi_fuzz_" + std::to_string(::getpid());
        std::filesystem::create_directories(path);
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path); }
};

const std::filesystem::path& Folder()
{
    static const TemporaryFolder folder;
    return folder.path;
}

/// Counts what a walk gives; it must end by itself.
template <class Call>
void Walk(int slot, const char* name, Call call)
{
    const int most = std::max(SolidIn(slot)->vertexCount, SolidIn(slot)->triangleCount) + 1;
    int cursor = 0;
    for (int step = 0; cursor >= 0; ++step) {
        Require(step <= most, name);
        if (call(slot, &cursor) != 0) break;
    }
}

} // namespace

void Require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

std::string FreshFile(const std::string& name, const void* data, std::size_t size)
{
    for (const auto& entry : std::filesystem::directory_iterator(Folder()))
        std::filesystem::remove_all(entry);
    const std::string path = (Folder() / name).string();
    std::ofstream(path, std::ios::binary)
        .write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    return path;
}

void TakeMotion(Choices& choices, float (*start)[4], float (*end)[4])
{
    for (int i = 0; i < 16; ++i) start[i / 4][i % 4] = i % 5 == 0 ? 1.0f : 0.0f;
    const int free = choices.Of(8);
    for (int i = 0; i < 3; ++i) start[i][3] = TakeFloat(choices);
    if (free == 1)
        for (int i = 0; i < 16; ++i) start[i / 4][i % 4] = TakeFloat(choices);
    if (free == 2) start[3][3] = TakeFloat(choices);
    if (free == 3)
        for (int i = 0; i < 3; ++i) start[choices.Of(3)][choices.Of(3)] = TakeFloat(choices);
    std::copy_n(start[0], 16, end[0]);
    for (int i = 0; i < 3; ++i)
        if (choices.Of(2)) end[i][3] += TakeFloat(choices);
}

float TakeFloat(Choices& choices)
{
    if (choices.Of(8) == 0) return choices.Take<float>();
    return float(choices.Take<std::int16_t>()) / float(1 << choices.Of(16));
}

void RequireResult(int result, std::initializer_list<int> possible)
{
    Require(std::find(possible.begin(), possible.end(), result) != possible.end(),
            "a result is one that the call can give");
}

void RequireSound(int slot)
{
    const SOLIDC& solid = *SolidIn(slot);
    Require(solid.triangleCount >= 0 && (solid.triangles || solid.triangleCount == 0),
            "counts have their arrays");
    if (solid.isSimple || !solid.edges) return;
    std::int64_t uses = 0;
    bool closed = true;
    for (int t = 0; t < solid.triangleCount; ++t)
        for (int k = 0; k < 3; ++k) {
            Require(InRange(solid.triangles[t].vertex[k], solid.vertexCount), "vertex of triangle");
            const int edge = solid.triangles[t].edge[k];
            Require(edge == -1 || InRange(edge, solid.edgeCount), "edge of triangle");
            closed = closed && edge != -1;
        }
    for (int e = 0; e < solid.edgeCount; ++e)
        for (int k = 0; k < 2; ++k)
            Require(InRange(solid.edges[e].vertex[k], solid.vertexCount) &&
                        InRange(solid.edges[e].triangle[k], solid.triangleCount),
                    "records of edge");
    for (int v = 0; v < solid.vertexCount; ++v) uses += solid.vertices[v].useCount;
    // A cache file may say what it likes of counts; what was built from a source adds up.
    const bool built = solid.stlStream->fileLength > 0;
    Require(!built || !closed || uses == 3 * std::int64_t{solid.triangleCount}, "use counts");
}

void UseAsHost(Choices& choices)
{
    const int a = 0, b = 1;
    float start[4][4], end[4][4], box[6] = {-1, -2, -3, 4, 3, 2}, point[9], normal[3];
    int loop[3];
    SCAPI_LoadBox(b, box);
    for (const int slot : {a, b}) {
        TakeMotion(choices, start, end);
        RequireResult(SCAPI_DefSweep(slot, start, end), {0});
        RequireResult(SCAPI_BboxesInterference(a, start[0], end[0], b, end[0], start[0]), {0, 1});
    }
    for (const int slot : {a, b}) {
        RequireResult(SCAPI_DetectInterference(slot, a + b - slot), {1, 2});
        Walk(slot, "vertices end", [&](int s, int* c) { return SCAPI_GetVertex(s, c, point); });
        Walk(slot, "loops end", [&](int s, int* c) { return SCAPI_GetLoop(s, c, loop, point); });
        Walk(slot, "triangles end", [&](int s, int* c) {
            return SCAPI_GetTriangles(s, c, reinterpret_cast<float(*)[3]>(point), normal);
        });
        RequireResult(SCAPI_GetBbox(slot, box), {0, SCAPI_EMPTY_SLOT});
        RequireSound(slot);
    }
    std::string saved = (Folder() / "saved.stl").string();
    RequireResult(SCAPI_SaveSTL(a, reinterpret_cast<unsigned char*>(saved.data())), {0});
    if (choices.Of(2)) {
        SCAPI_Rotate(a, start);
        RequireResult(SCAPI_DetectInterference(a, b), {1, 2});
    }
    SCAPI_ReleaseSolids();
    Require(SCAPI_GetUsedRAM() == 0, "nothing is left after the release");
}
