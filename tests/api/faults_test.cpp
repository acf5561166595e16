// Memory that runs out.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <new>

#include "bvh/query_trees.h"
#include "mesh/before_change.h"
#include "mesh/memory.h"
#include "support/cache_file.h"

namespace
{

/// The allocation that fails, counted down; 0 for none.
int untilFailure = 0;

bool FailsNow() { return untilFailure > 0 && --untilFailure == 0; }

void GiveUp() { throw std::bad_alloc(); }

#ifdef _WIN32
// There the handler is that of the C run time.
using CHandler = int(__cdecl*)(std::size_t);
extern "C" CHandler __cdecl SetCHandler(CHandler) __asm__(
    "\"?_set_new_handler@@YAP6AH_K@ZP6AH0@Z@Z\"");
int GiveUpFor(std::size_t) { throw std::bad_alloc(); }
#endif

} // namespace

// The linker leads the library's allocations here: see CMakeLists.txt. The name of operator new has
// the letter of std::size_t in it.
#ifdef _WIN64
#define __real_new __real__Znwy
#define __wrap_new __wrap__Znwy
#else
#define __real_new __real__Znwm
#define __wrap_new __wrap__Znwm
#endif
extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __real_new(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return FailsNow() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, std::size_t size)
{
    return FailsNow() ? nullptr : __real_realloc(block, size);
}
void* __wrap_new(std::size_t size)
{
    if (FailsNow()) std::get_new_handler()();
    return __real_new(size);
}
}

namespace
{

namespace fs = std::filesystem;

/// Loads, moves, asks, rotates and saves, and takes a cylinder.
void WholeRun(TemporaryFile& text, TemporaryFile& binary)
{
    fs::remove(CacheOf(text));
    SCAPI_LoadSTL(0, text.Path(), 0);
    SCAPI_LoadSTL(1, binary.Path(), 1);
    SCAPI_LoadSTL(2, text.Path(), 0);
    Matrix start = Translation(0.5f, 0, 0), end = Translation(4, 0, 0);
    SCAPI_DefSweep(2, Rows(start), Rows(end));
    SCAPI_DetectInterference(0, 2);
    SCAPI_DetectInterference(1, 2);
    SCAPI_DetectInterference(2, 0);
    std::string saved = binary.path + ".saved";
    SCAPI_SaveSTL(2, reinterpret_cast<unsigned char*>(saved.data()));
    float low[3] = {0, 0, 0}, high[3] = {0, 0, 9};
    SCAPI_LoadCylinder(0, low, high, 1);
}

/// Runs with one allocation after the other failing, and `check` after each.
/// @return how many can fail
template <class Run, class Check>
int FailEachAllocation(Run run, Check check)
{
    const std::new_handler before = std::set_new_handler(GiveUp);
#ifdef _WIN32
    const CHandler cBefore = SetCHandler(GiveUpFor);
#endif
    int failures = 0;
    for (bool failed = true; failed && !testing::Test::HasFailure(); failures += failed) {
        failed = false;
        untilFailure = failures + 1;
        try {
            run();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        untilFailure = 0;
        SCOPED_TRACE(failures);
        check();
    }
    std::set_new_handler(before);
#ifdef _WIN32
    SetCHandler(cBefore);
#endif
    return failures;
}

TEST(Faults, AllocationThatFailsUnwindsAndLosesNothing)
{
    TemporaryFile text(TextStl(BoxMesh({0, 0, 0}, {9, 1, 1}))),
        binary(BinaryStl(SoupMesh(1, 9, 5)));
    SCAPI_ReleaseSolids();
    const auto check = [&] {
        // Whatever stood half built, the slots serve the next calls.
        float box[6] = {0, 0, 0, 1, 1, 1};
        Matrix pose = Translation(0.5f, 0.5f, 0.5f);
        for (const int slot : {0, 1, 2}) {
            SCAPI_DefSweep(slot, Rows(pose), Rows(pose));
            SCAPI_DetectInterference(slot, (slot + 1) % 3);
        }
        ASSERT_EQ(SCAPI_LoadBox(0, box) | SCAPI_LoadBox(1, box), 0);
        ASSERT_EQ(SCAPI_DefSweep(1, Rows(pose), Rows(pose)), 0);
        ASSERT_EQ(SCAPI_DetectInterference(0, 1), SCAPI_INTERFERENCE);
        SCAPI_ReleaseSolids();
        ASSERT_EQ(SCAPI_GetUsedRAM(), 0);
        ASSERT_LE(FilesBeside(text), 2) << "a temporary file is left";
    };
    // Or few allocations pass by here.
    EXPECT_GT(FailEachAllocation([&] { WholeRun(text, binary); }, check), 60);
}

TEST(Faults, CacheThatUnwindsLeavesNoCountsWithoutArrays)
{
    TemporaryFile file(TextStl(BoxMesh({0, 0, 0}, {9, 1, 1})));
    Matrix pose = Translation(0.5f, 0.5f, 0.5f);
    ASSERT_EQ(SCAPI_LoadSTL(0, file.Path(), 0), 0);
    const auto check = [&] {
        for (const int slot : {0, 1}) {
            SCAPI_DefSweep(slot, Rows(pose), Rows(pose));
            SCAPI_DetectInterference(slot, 1 - slot);
        }
    };
    EXPECT_GT(FailEachAllocation([&] { SCAPI_LoadSTL(1, file.Path(), 0); }, check), 5);
    SCAPI_ReleaseSolids();
}

TEST(Faults, RefinementThatUnwindsLeavesAMeshThatIsWhole)
{
    const Mesh mesh = BoxMesh({0, 0, 0}, {900, 30, 1});
    std::unique_ptr<SOLIDC> solid;
    const auto prepare = [&] {
        solid = BareSolid(mesh);
        EXPECT_EQ(solid->SC_BuildVertexList() | solid->SC_BuildEdgesList(), 0);
        for (float& size : solid->octreeCellSize) size = 10;
    };
    prepare();
    const auto check = [&] {
        ExpectClosedMesh(*solid);
        EXPECT_EQ(solid->baseTriangleCount, solid->triangleCount);
        for (int t = 0; t < solid->triangleCount; ++t)
            ASSERT_EQ(solid->triangles[t].corners[2][0],
                      solid->vertices[solid->triangles[t].vertex[2]].position[0]);
        solid->SubdivideEdges(solid->octreeCellSize);
        ExpectRefined(*solid);
        prepare();
    };
    // Or the arrays hardly grew.
    EXPECT_GT(FailEachAllocation([&] { solid->SubdivideEdges(solid->octreeCellSize); }, check), 10);
}

TEST(Faults, QueryThatUnwindsLeavesNothingToTheNext)
{
    const auto a = LoadedSolid(SphereMesh(6, 1)), b = LoadedSolid(SphereMesh(6, 1));
    for (int e = 0; e < b->edgeCount; e += 3) b->edges[e].vertex[0] = 0; // foreign to most
    const auto build = [&] { TargetTreeOf(*a), ProbeTreeOf(*b); };
    const auto check = [&] {
        build();
        const auto& foreign = ProbeTreeOf(*b)->foreign;
        EXPECT_EQ(TargetTreeOf(*a)->target.size(), std::size_t(a->triangleCount));
        EXPECT_FALSE(foreign.empty());
        EXPECT_EQ(std::ranges::adjacent_find(foreign, std::ranges::greater_equal{}), foreign.end());
        ReleaseQueryTrees(*a);
        ReleaseQueryTrees(*b);
    };
    EXPECT_GT(FailEachAllocation(build, check), 10);
}

TEST(Faults, FlatCopyWithoutItsPointersReleasesWhatIsLeft)
{
    for (int kept = 0; kept < 5; ++kept) {
        auto owner = LoadedSolid(BoxMesh({0, 0, 0}, {1, 1, 1}));
        ASSERT_NE(ProbeTreeOf(*owner), nullptr);
        SOLIDC copy;
        ReleaseRecords(copy.stlStream);
        copy = *owner;
        // Each array is left to one of the two.
        const auto loser = [&](int array) -> SOLIDC& { return kept == array ? copy : *owner; };
        loser(0).triangles = nullptr;
        loser(1).vertices = nullptr;
        loser(2).edges = nullptr;
        loser(3).stlStream = nullptr;
        loser(4).octree = nullptr;
    }
}

} // namespace
