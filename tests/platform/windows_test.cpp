// Paths, names that are no files, sharing and identity of files on Windows.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include "files/file_info.h"
#include "platform/files.h"
#include "support/cache_file.h"

namespace
{

namespace fs = std::filesystem;

const std::string kBox = BinaryStl(BoxMesh({0, 0, 0}, {9, 1, 1}));

/// Wine has no way yet to replace a file that is open.
const bool kReplacesOpenFiles =
    !::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version");

int Load(std::string path)
{
    return SCAPI_LoadSTL(0, reinterpret_cast<unsigned char*>(path.data()), 0);
}
int Save(std::string path)
{
    return SCAPI_SaveSTL(0, reinterpret_cast<unsigned char*>(path.data()));
}

std::string InCodePage(const std::wstring& wide)
{
    char text[100];
    const int length =
        ::WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, text, sizeof text, nullptr, nullptr);
    return {text, static_cast<std::size_t>(std::max(length - 1, 0))};
}

TEST(Windows, PathsInEveryFormNameTheFile)
{
    TemporaryFile place("");
    const fs::path folder = fs::path(place.path).parent_path();
    const std::string deep = std::string(120, 'd') + '/' + std::string(120, 'e') + '/';
    const struct {
        const char* fault;
        std::wstring name;
        std::string asked;
    } rows[] = {{"Utf8", L"夹具 1/夹 具.stl", "夹具 1/夹 具.stl"},
                {"Backslashes", L"back/slash.stl", "back\\.\\slash.stl"},
                {"CodePage", L"\u00e4\u00f6.stl", InCodePage(L"\u00e4\u00f6.stl")},
                {"BeyondMaxPath", fs::path(deep + "long.stl").wstring(), deep + "long.stl"},
                {"BeyondMaxPathWithDots", fs::path(deep + "dots.stl").wstring(),
                 "./" + deep + "../" + std::string(120, 'e') + "/dots.stl"}};
    for (const auto& [fault, name, asked] : rows) {
        SCOPED_TRACE(fault);
        const fs::path file = LR"(\\?\)" + (folder / name).make_preferred().wstring();
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << kBox;
        const std::string path = folder.generic_string() + "/" + asked;
        EXPECT_EQ(Load(path), 0);
        EXPECT_EQ(GetFileLength(path.c_str()), 684);
        EXPECT_TRUE(fs::exists(fs::path(file).replace_extension("SLD")));
        EXPECT_EQ(Save(path), 0) << "onto the source";
        EXPECT_EQ(Load(path), 0);
    }
    // Short again, for whoever removes the folder.
    fs::rename(folder / std::string(120, 'd'), folder / "d");
    fs::rename(folder / "d" / std::string(120, 'e'), folder / "d" / "e");
}

TEST(Windows, WhatIsNoFileIsRefusedUnopened)
{
    ASSERT_EQ(Load(TemporaryFile(kBox).path), 0);
    const std::string name = R"(\\.\pipe\scapi_test_)" + std::to_string(::GetCurrentProcessId());
    HANDLE pipe = ::CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                     PIPE_TYPE_BYTE, 2, 64, 64, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    for (const char* path :
         {"NUL",        "nul",    "CON",        "CONIN$",    "COM1",
          "LPT1",       "AUX",    R"(\\.\NUL)", R"(\\.\C:)", R"(\\.\PhysicalDrive0)",
          "C:",         R"(C:\)", "/",          ".",         R"(\\?\NUL)",
          R"(\\?\C:\)", "?",      "a<b.stl",    "\\\\",      R"(\\?\)"}) {
        SOLIDC solid;
        std::string bytes = path;
        EXPECT_EQ(solid.SC_LoadSTLfile(reinterpret_cast<unsigned char*>(bytes.data()), 1), 65535)
            << path;
        EXPECT_EQ(Save(path), 1) << path;
    }
    EXPECT_EQ(Save(name), 1);
    EXPECT_FALSE(::PeekNamedPipe(pipe, nullptr, 0, nullptr, nullptr, nullptr)) << "never connected";
    EXPECT_NE(::GetLastError(), DWORD{ERROR_BROKEN_PIPE}) << "and so was never left";
    ::CloseHandle(pipe);
}

TEST(Windows, CacheThatOthersHoldIsReplacedWholeOrLeft)
{
    constexpr DWORD kWriting = FILE_SHARE_READ | FILE_SHARE_WRITE,
                    kAll = kWriting | FILE_SHARE_DELETE;
    const struct {
        const char* fault;
        DWORD attributes;
        bool isOpen;
        DWORD share;
        int result;
    } rows[] = {{"Hidden", FILE_ATTRIBUTE_HIDDEN, false, 0, 0},
                {"System", FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_HIDDEN, false, 0, 0},
                {"ReadOnly", FILE_ATTRIBUTE_READONLY, false, 0, 1},
                {"ReadElsewhere", 0, true, kAll, kReplacesOpenFiles ? 0 : 1},
                {"ReadWithoutDelete", 0, true, kWriting, 1},
                {"ReadWithoutWrite", 0, true, FILE_SHARE_READ, 1},
                {"Exclusive", 0, true, 0, 1}};
    TemporaryFile file(kBox);
    const fs::path sld = CacheOf(file);
    const std::uint64_t good = LoadedDigest(file);
    for (const auto& [fault, attributes, isOpen, share, result] : rows) {
        SCOPED_TRACE(fault);
        const std::string old = "old cache";
        std::ofstream(sld, std::ios::binary) << old;
        ::SetFileAttributesW(sld.c_str(), attributes | FILE_ATTRIBUTE_ARCHIVE);
        HANDLE held = isOpen ? ::CreateFileW(sld.c_str(), GENERIC_READ, share, nullptr,
                                             OPEN_EXISTING, 0, nullptr)
                             : INVALID_HANDLE_VALUE;
        EXPECT_EQ(LoadedDigest(file, result), good);
        if (isOpen) { // whoever reads goes on in the old file
            char bytes[20] = {};
            DWORD read = 0;
            EXPECT_TRUE(::ReadFile(held, bytes, sizeof bytes, &read, nullptr));
            EXPECT_EQ(std::string(bytes, read), old);
            ::CloseHandle(held);
        }
        EXPECT_EQ(ReadFile(sld.string()) == old, result == 1);
        EXPECT_EQ(FilesBeside(file), 2) << "a temporary file is left";
        ::SetFileAttributesW(sld.c_str(), FILE_ATTRIBUTE_NORMAL);
        EXPECT_EQ(LoadedDigest(file), good);
        fs::remove(sld);
    }
}

TEST(Windows, OpenFilesCanBeReplacedRemovedAndRead)
{
    TemporaryFile file("old"), other("new");
    {
        const File open(OpenForReading(file.path.c_str()));
        EXPECT_EQ(MoveOver(other.path.c_str(), file.path.c_str()), kReplacesOpenFiles);
        EXPECT_EQ(ReadFile(file.path), kReplacesOpenFiles ? "new" : "old");
        char bytes[4] = {};
        EXPECT_EQ(std::fread(bytes, 1, 4, open.get()), 3u);
        EXPECT_STREQ(bytes, "old");
    }
    std::ofstream(other.path) << "newer";
    EXPECT_TRUE(MoveOver(other.path.c_str(), file.path.c_str()));
    EXPECT_EQ(ReadFile(file.path), "newer");
    const File again(OpenForReading(file.path.c_str())), written(OpenForWriting(file.path.c_str()));
    EXPECT_TRUE(written) << "a file that is being read";
    EXPECT_TRUE(::DeleteFileA(file.path.c_str()));
}

TEST(Windows, FilesAreToldApartByIdentity)
{
    TemporaryFile file(kBox, "part.stl"), other(kBox, "part.stl");
    const auto areSame = [&](const std::string& b) {
        return AreSameFile(file.path.c_str(), b.c_str());
    };
    std::string capitals = file.path, link = file.path + ".link";
    for (char& c : capitals) c = static_cast<char>(std::toupper(c));
    fs::create_hard_link(file.path, link);
    EXPECT_TRUE(areSame(capitals) && areSame(link) && areSame(file.path + "."));
    EXPECT_FALSE(areSame(other.path) || areSame(file.path + ".none"));
    TemporaryFile small(kBox, "part.sld");
    EXPECT_EQ(Load(small.path), 0);
    EXPECT_EQ(ReadFile(small.path), kBox) << "a source is never its own cache, in capitals or not";
    // A cache that is current is taken: the source may change, if not its time.
    ASSERT_EQ(Load(other.path), 0);
    const auto time = fs::last_write_time(other.path);
    std::ofstream(other.path, std::ios::binary) << BinaryStl(BoxMesh({0, 0, 0}, {5, 1, 1}));
    fs::last_write_time(other.path, time);
    ASSERT_EQ(Load(other.path), 0);
    EXPECT_EQ(SolidIn(0)->bbox[3], 9);
}

TEST(Windows, TimeIsThatOfTheRunTimeAndLengthsTake64Bits)
{
    TemporaryFile file(kBox);
    for (const char* date : {"2001-09-09", "2024-01-15", "2024-07-15"}) { // winter and summer time
        SYSTEMTIME day{};
        std::sscanf(date, "%hu-%hu-%hu", &day.wYear, &day.wMonth, &day.wDay);
        FILETIME time;
        ::SystemTimeToFileTime(&day, &time);
        HANDLE open = ::CreateFileA(file.path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
        EXPECT_TRUE(::SetFileTime(open, nullptr, nullptr, &time));
        ::CloseHandle(open);
        struct _stat64 status {};
        ASSERT_EQ(::_stat64(file.path.c_str(), &status), 0);
        EXPECT_EQ(GetFileModTime(file.path.c_str()), status.st_mtime) << date;
        EXPECT_GT(status.st_mtime, 999900000) << date;
    }
    const std::int64_t many = 5'000'000'123;
    fs::resize_file(file.path, static_cast<std::uintmax_t>(many));
    EXPECT_EQ(GetFileLength(file.path.c_str()), many);
    const File open(OpenForReading(file.path.c_str()));
    ::_fseeki64(open.get(), many - 1, SEEK_SET);
    EXPECT_EQ(StreamPosition(open.get()), many - 1);
}

TEST(Windows, PathsSplitAtBothSlashesAndTheDrive)
{
    const std::tuple<std::string, const char*, bool> rows[] = {
        {R"(C:\a.d\b)", R"(C:\a.d\b.SLD)", true},
        {"C:b.stl", "C:b.SLD", true},
        {"C:b.stl", "C:b.stl", false},
        {R"(\b.stl)", R"(\b.stl)", false},
        {R"(a\b.c/d.stl)", R"(a\b.c/d.SLD)", true},
        {"b.stl:x", "b.SLD", true},
        {R"(\\s\d\.x\b)", R"(\\s\d\.x\b.SLD)", true},
        {".C:b", ".SLD", true}};
    for (auto [path, expected, force] : rows) {
        ChangePathExtension(path, "SLD", force);
        EXPECT_EQ(path, expected);
    }
    EXPECT_EQ(RunningModule(4).size(), 3u) << "the terminator counts";
    EXPECT_TRUE(fs::exists(RunningModule(250)));
}

/// The other process of the test below.
TEST(Windows, DISABLED_WritesUntilItIsKilled)
{
    const auto solid = LoadedSolid(SphereMesh(40, 9));
    std::string path = std::getenv("SCAPI_WRITES");
    for (;;) solid->SC_SaveSLDfile(reinterpret_cast<unsigned char*>(path.data()));
}

TEST(Windows, ReaderNeverMeetsAHalfWrittenCacheAndTheKilledLeavesOneFile)
{
    TemporaryFile file("", "mesh.SLD");
    ASSERT_EQ(LoadedSolid(SphereMesh(40, 9))->SC_SaveSLDfile(file.Path()), 0);
    ::SetEnvironmentVariableA("SCAPI_WRITES", file.path.c_str());
    std::string command = "\"" + RunningModule(1000) +
                          "\" --gtest_also_run_disabled_tests --gtest_filter=*WritesUntil*";
    STARTUPINFOA start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION writer{};
    ASSERT_TRUE(::CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                 nullptr, &start, &writer));
    int read = 0, seen = 0;
    for (int round = 0; round < 2000 && (read < 300 || !seen); ++round) {
        SOLIDC solid;
        const int result = solid.SC_LoadSLDfile(file.Path());
        // While it is replaced the system may refuse to open it; that is a miss, no mixture.
        ASSERT_TRUE(result == 0 || result == SCAPI_NO_FILE) << result;
        read += result == 0;
        seen += FilesBeside(file) > 1;
        if (!seen) ::Sleep(5);
    }
    EXPECT_GT(read, 100);
    EXPECT_GT(seen, 0) << "nobody wrote meanwhile";
    ::TerminateProcess(writer.hProcess, 0);
    ::WaitForSingleObject(writer.hProcess, INFINITE);
    ::CloseHandle(writer.hThread), ::CloseHandle(writer.hProcess);
    EXPECT_LE(FilesBeside(file), 2);
    SOLIDC solid;
    EXPECT_EQ(solid.SC_LoadSLDfile(file.Path()), 0);
}

} // namespace
