// scapi.dll as a host meets it: loaded by name, with run times of its own, memory that runs out.
// Usage: windows_host_test LIBRARY
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include "scapi/scapi.h"

// The C run time's, under the names that it has.
using Handler = int(__cdecl*)(std::size_t);
extern "C" int __cdecl SetNewMode(int) __asm__("\"?_set_new_mode@@YAHH@Z\"");
extern "C" int __cdecl NewMode() __asm__("\"?_query_new_mode@@YAHXZ\"");
extern "C" Handler __cdecl SetHandler(Handler) __asm__(
    "\"?_set_new_handler@@YAP6AH_K@ZP6AH0@Z@Z\"");

namespace
{

namespace fs = std::filesystem;

fs::path libraryPath;

/// The library, loaded afresh: its first call is still to come.
struct Library {
    HMODULE module = ::LoadLibraryW(libraryPath.c_str());
    ~Library() { ::FreeLibrary(module); }

    template <class Function>
    Function* Find(const char* name) const
    {
        const FARPROC address = ::GetProcAddress(module, name);
        EXPECT_NE(address, nullptr) << name;
        Function* function;
        std::memcpy(&function, &address, sizeof function);
        return function;
    }
};

using Call = std::function<void(const Library&, const char* name)>;

template <class Function>
Call With(auto... arguments)
{
    return [=](const Library& library, const char* name) {
        library.Find<Function>(name)(arguments...);
    };
}

float box[6] = {0, 0, 0, 1, 1, 1}, pose[4][4] = {{1}, {0, 1}, {0, 0, 1}, {0, 0, 0, 1}};
int cursor = 0, indices[3];

TEST(Dll, NewModeIsSetByTheFourCallsThatSayItAndNoOther)
{
    const struct {
        const char* name;
        int mode;
        Call call;
    } rows[] = {
        {"", 0, [](const Library&, const char*) {}}, // the attach alone
        {"SCAPI_LoadSTL", 1, With<decltype(SCAPI_LoadSTL)>(-1, nullptr, 0)},
        {"SCAPI_LoadBox", 1, With<decltype(SCAPI_LoadBox)>(-1, box)},
        {"SCAPI_LoadCylinder", 1, With<decltype(SCAPI_LoadCylinder)>(-1, box, box, 1.0f)},
        {"SCAPI_DefSweep", 1, With<decltype(SCAPI_DefSweep)>(-1, pose, pose)},
        {"SCAPI_SaveSTL", 0, With<decltype(SCAPI_SaveSTL)>(0, nullptr)},
        {"SCAPI_DetectInterference", 0, With<decltype(SCAPI_DetectInterference)>(0, 1)},
        {"SCAPI_BboxesInterference", 0,
         With<decltype(SCAPI_BboxesInterference)>(0, box, box, 1, box, box)},
        {"SCAPI_Rotate", 0, With<decltype(SCAPI_Rotate)>(0, pose)},
        {"SCAPI_GetVertex", 0, With<decltype(SCAPI_GetVertex)>(0, &cursor, box)},
        {"SCAPI_GetTriangles", 0, With<decltype(SCAPI_GetTriangles)>(0, &cursor, nullptr, box)},
        {"SCAPI_GetLoop", 0, With<decltype(SCAPI_GetLoop)>(0, &cursor, indices, box)},
        {"SCAPI_GetBbox", 0, With<decltype(SCAPI_GetBbox)>(0, nullptr)},
        {"SCAPI_GetUsedRAM", 0, With<decltype(SCAPI_GetUsedRAM)>()},
        {"SCAPI_ReleaseSolids", 0, With<decltype(SCAPI_ReleaseSolids)>()},
        {"SCAPI_Close", 0, With<decltype(SCAPI_Close)>()}};
    for (const auto& [name, mode, call] : rows) {
        SetNewMode(0);
        const Library library;
        ASSERT_NE(library.module, nullptr);
        call(library, name);
        EXPECT_EQ(NewMode(), mode) << name;
        SetNewMode(0);
        if (mode) call(library, name);
        EXPECT_EQ(NewMode(), 0) << name << ": the first call alone";
    }
}

/// Binary, of one box and many facets that are dropped, in a folder of its own.
struct Source {
    fs::path folder =
        fs::temp_directory_path() / ("scapi_dll_" + std::to_string(::GetCurrentProcessId()));
    explicit Source(const char* under, std::uintmax_t bytes)
    {
        fs::create_directories(folder / under);
        path = (folder / under / "part.stl").string();
        std::ofstream out(path, std::ios::binary);
        out << std::string(80, ' ') << std::string("\x4\0\0\0", 4);
        const float corners[4][3] = {{0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {0, 0, 9}};
        for (const auto& face : {std::array{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}}) {
            out << std::string(12, '\0');
            for (const int corner : face)
                out.write(reinterpret_cast<const char*>(corners[corner]), 12);
            out << std::string(2, '\0');
        }
        out.close();
        if (bytes) fs::resize_file(path, bytes);
    }
    ~Source() { fs::remove_all(folder); }
    unsigned char* Path() { return reinterpret_cast<unsigned char*>(path.data()); }
    std::string path;
};

TEST(Dll, CacheOfAMappedDriveStandsUnderItsUniversalNameAndNothingElseIsAsked)
{
    Source source("mapped", 0);
    fs::create_directories(source.folder / "server");
    Library library;
    struct Asked {
        int count;
        char path[600];
        DWORD level, size;
    };
    const FARPROC address = ::GetProcAddress(::GetModuleHandleA("mpr.dll"), "LastAsked");
    ASSERT_NE(address, nullptr) << "the test's own mpr.dll is not taken";
    Asked* (*lastAsked)();
    std::memcpy(&lastAsked, &address, sizeof lastAsked);
    Asked& asked = *lastAsked();
    asked.count = 0;
    ASSERT_EQ(library.Find<decltype(SCAPI_LoadSTL)>("SCAPI_LoadSTL")(0, source.Path(), 0), 0);
    EXPECT_EQ(asked.count, 1);
    EXPECT_EQ(std::string(asked.path), fs::path(source.path).replace_extension("SLD").string());
    EXPECT_EQ(asked.level, 1u);
    EXPECT_EQ(asked.size, 1024u);
    EXPECT_TRUE(fs::exists(source.folder / "server" / "part.SLD"));
    EXPECT_FALSE(fs::exists(source.folder / "mapped" / "part.SLD"));
    EXPECT_EQ(library.Find<decltype(SCAPI_SaveSTL)>("SCAPI_SaveSTL")(0, source.Path()), 0);
    EXPECT_EQ(asked.count, 1);
    library.Find<decltype(SCAPI_Close)>("SCAPI_Close")();
}

/// All that the process may have but pieces of less than 64 MB. Its limit is set where it is
/// started; without one the first chunks are refused by nobody and the test fails.
std::vector<void*> addressSpace;

void TakeAddressSpace()
{
    std::size_t left = std::size_t{1} << 35;
    for (std::size_t bytes = std::size_t{1} << 30; bytes >= std::size_t{1} << 26; bytes /= 2)
        for (; left >= bytes; left -= bytes) {
            void* piece = ::VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS);
            if (!piece) break;
            addressSpace.push_back(piece);
        }
}
void GiveAddressSpace()
{
    for (void* piece : addressSpace) ::VirtualFree(piece, 0, MEM_RELEASE);
    addressSpace.clear();
}

int handled = 0;
struct Unwound {};

TEST(Dll, FailedAllocationsGoToTheHandlerOfTheCRunTime)
{
    const struct {
        const char* handler;
        Handler handle;
        int result; ///< -1: unwinds
    } rows[] = {{"none", nullptr, 65535},
                {"gives up", [](std::size_t) { return ++handled, 0; }, 65535},
                {"frees", [](std::size_t) { return ++handled, GiveAddressSpace(), 1; }, 0},
                {"frees late",
                 [](std::size_t) { return ++handled > 2 ? GiveAddressSpace() : void(), 1; }, 0},
                {"unwinds",
                 [](std::size_t) -> int {
                     ++handled;
                     throw Unwound();
                 },
                 -1}};
    Source source("big", 60 << 20); // more than three times as many bytes of records
    Library library;
    const auto loadSTL = library.Find<decltype(SCAPI_LoadSTL)>("SCAPI_LoadSTL");
    for (const auto& [name, handler, result] : rows) {
        SCOPED_TRACE(name);
        addressSpace.reserve(100000);
        handled = 0;
        SetHandler(handler);
        int loaded = 0;
        TakeAddressSpace();
        try {
            loaded = loadSTL(0, source.Path(), 0);
        } catch (const Unwound&) {
            loaded = -1;
        }
        GiveAddressSpace();
        SetHandler(nullptr);
        EXPECT_EQ(loaded, result);
        EXPECT_EQ(handled > 0, handler != nullptr);
        // Whatever happened, the library serves on, and no file is left open or half written.
        EXPECT_EQ(fs::remove(fs::path(source.path).replace_extension("SLD")), result == 0);
        EXPECT_EQ(std::distance(fs::directory_iterator(source.folder / "big"), {}), 1);
        EXPECT_EQ(library.Find<decltype(SCAPI_LoadBox)>("SCAPI_LoadBox")(0, box), 0);
        EXPECT_EQ(library.Find<decltype(SCAPI_LoadBox)>("SCAPI_LoadBox")(1, box), 0);
        EXPECT_EQ(library.Find<decltype(SCAPI_DefSweep)>("SCAPI_DefSweep")(1, pose, pose), 0);
    }
    library.Find<decltype(SCAPI_Close)>("SCAPI_Close")();
}

} // namespace

int main(int count, char** arguments)
{
    testing::InitGoogleTest(&count, arguments);
    libraryPath = count > 1 ? arguments[1] : "scapi.dll";
    return RUN_ALL_TESTS();
}
