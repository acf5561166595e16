#include "log/log.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/meshes.h"

namespace
{

TEST(Log, BannersEmptyTheFileAndTextsAreFormats)
{
    TemporaryFile file("old", "host.LOG");
    LogPath.clear();
    EXPECT_EQ(LogAppend("lost"), 0);
    LogError("lost");
    EXPECT_EQ(LogErrorsStarted, 0) << "there was no path";
    LogPath = file.path;
    LogError("first\n");
    LogError("100 %%\n");
    EXPECT_EQ(ReadFile(LogPath), "---------------------------\n- WKVMAIN ERRORS LOG FILE -\n"
                                 "---------------------------\n\nfirst\n100 %\n");
    EXPECT_EQ(LogAppend("lost"), 0) << "errors alone do not start the log";
    LogStartMdl();
    EXPECT_EQ(LogAppend("text\n"), 1);
    const std::string rule = "----------------------------\n",
                      head = rule + "-     MDL LOG FILE     -\n- ";
    EXPECT_EQ(ReadFile(LogPath).substr(0, head.size()), head);
    EXPECT_EQ(ReadFile(LogPath).substr(head.size() + 25), rule + "\ntext\n");
    LogInit();
    EXPECT_EQ(std::filesystem::path(LogPath).filename().string().substr(0, 10), "unit_tests");
}

} // namespace
