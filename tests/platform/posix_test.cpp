// What goes wrong outside on a system of the POSIX family: a disk that is full, other processes,
// rights, names that are no files.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

#include "support/cache_file.h"

namespace
{

namespace fs = std::filesystem;

/// Runs in a process of its own. @return its exit status, or -1 if it did not end by itself
template <class Work>
int InChild(Work work)
{
    const pid_t child = ::fork();
    if (child == 0) std::_Exit(work());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Posix, DiskThatFillsUpAtAnyByteLeavesTheOldCacheAndNothingElse)
{
    TemporaryFile file(BinaryStl(BoxMesh({0, 0, 0}, {9, 1, 1})));
    const std::uint64_t good = LoadedDigest(file);
    ASSERT_NE(good, 0u);
    const auto length = static_cast<rlim_t>(fs::file_size(CacheOf(file)));
    for (rlim_t most = 0; most < length; most += 211) {
        std::ofstream(CacheOf(file)) << "old";
        EXPECT_EQ(InChild([&] {
                      std::signal(SIGXFSZ, SIG_IGN);
                      const rlimit limit{most, most};
                      ::setrlimit(RLIMIT_FSIZE, &limit);
                      return LoadedDigest(file, SCAPI_NOT_WRITTEN) == good ? 0 : 1;
                  }),
                  0)
            << most;
        ASSERT_EQ(fs::file_size(CacheOf(file)), 3u) << most;
        ASSERT_EQ(FilesBeside(file), 2) << most;
        ASSERT_EQ(LoadedDigest(file), good) << most;
        ASSERT_EQ(fs::file_size(CacheOf(file)), length);
    }
}

TEST(Posix, LoadsThatMeetOrDieLeaveGoodSolids)
{
    TemporaryFile file(BinaryStl(SphereMesh(40, 9)));
    const std::uint64_t good = LoadedDigest(file);
    SCAPI_ReleaseSolids();
    for (int round = 0; round < 30; ++round) {
        fs::remove(CacheOf(file));
        // One is killed at some point of its load; two others load at the same time.
        pid_t child[3];
        for (pid_t& id : child)
            if ((id = ::fork()) == 0) std::_Exit(LoadedDigest(file) == good ? 0 : 1);
        ::usleep(static_cast<useconds_t>(300 * round));
        ::kill(child[0], SIGKILL);
        const std::string killed = "." + std::to_string(child[0]) + "-0.tmp";
        for (const pid_t id : child) {
            int status = 0;
            ::waitpid(id, &status, 0);
            EXPECT_TRUE(id == child[0] || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
        }
        ASSERT_EQ(LoadedDigest(file), good) << round;
        fs::remove(CacheOf(file) += killed);
        ASSERT_EQ(FilesBeside(file), 2) << "only the killed one may leave a file";
    }
    SCAPI_ReleaseSolids();
}

TEST(Posix, ReaderNeverMeetsAHalfWrittenCache)
{
    const auto solid = LoadedSolid(SphereMesh(40, 9));
    TemporaryFile file("", "mesh.SLD");
    ASSERT_EQ(solid->SC_SaveSLDfile(file.Path()), 0);
    const pid_t writer = ::fork();
    if (writer == 0)
        for (;;) solid->SC_SaveSLDfile(file.Path());
    for (int round = 0; round < 300; ++round) {
        SOLIDC read;
        ASSERT_EQ(read.SC_LoadSLDfile(file.Path()), 0) << round;
    }
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
}

TEST(Posix, CacheHasTheRightsOfAFreshOne)
{
    TemporaryFile source(BinaryStl(BoxMesh({0, 0, 0}, {9, 1, 1})));
    const fs::path sld = CacheOf(source);
    std::ofstream(sld) << "old";
    fs::permissions(sld, fs::perms::all);
    const mode_t before = ::umask(027);
    EXPECT_EQ(SCAPI_LoadSTL(0, source.Path(), 0), 0);
    ::umask(before);
    EXPECT_EQ(fs::status(sld).permissions(), fs::perms(0640));
}

TEST(Posix, RightsOfFolderAndFileDecideWhetherAndHowItIsWritten)
{
    TemporaryFile source(BinaryStl(BoxMesh({0, 0, 0}, {9, 1, 1})));
    const fs::path sld = CacheOf(source), folder = sld.parent_path();
    const struct {
        fs::perms folder, file;
        int result;
        bool replaced;
    } rows[] = {{fs::perms(0777), fs::perms(0666), 0, true},
                {fs::perms(0555), fs::perms(0666), 0, false},
                {fs::perms(0777), fs::perms(0444), 1, false},
                {fs::perms(0555), fs::perms(0444), 1, false}};
    for (const auto& row : rows) {
        std::ofstream(sld) << "old";
        std::ifstream old(sld);
        fs::permissions(sld, row.file);
        fs::permissions(folder, row.folder);
        // Root may do anything, so the load is somebody else's.
        const bool isRoot = ::geteuid() == 0;
        ASSERT_EQ(isRoot ? ::seteuid(65534) : 0, 0);
        EXPECT_EQ(SCAPI_LoadSTL(0, source.Path(), 0), row.result);
        ASSERT_EQ(isRoot ? ::seteuid(0) : 0, 0);
        fs::permissions(folder, fs::perms::all);
        std::string kept;
        std::getline(old, kept, '\0');
        EXPECT_EQ(kept == "old", row.replaced || row.result == 1);
        EXPECT_EQ(fs::file_size(sld) > 1024, row.result == 0);
        fs::remove(sld);
    }
}

TEST(Posix, WhatIsNoFileIsRefusedAtOnce)
{
    TemporaryFile file(BinaryStl(BoxMesh({0, 0, 0}, {9, 1, 1})));
    std::string pipe = file.path + ".pipe", zero = "/dev/zero", full = "/dev/full";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const auto bytes = [](std::string& path) {
        return reinterpret_cast<unsigned char*>(path.data());
    };
    for (std::string* path : {&pipe, &zero}) EXPECT_EQ(SCAPI_LoadSTL(0, bytes(*path), 1), 65535);
    ASSERT_EQ(SCAPI_LoadSTL(0, file.Path(), 0), 0);
    for (std::string* path : {&pipe, &full}) EXPECT_EQ(SCAPI_SaveSTL(0, bytes(*path)), 1);
}

} // namespace
