#include "log/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/meshes.h"

namespace
{

/// With lines that end in LF; in the file they end as the system's text files do.
std::string LogText()
{
    std::string text = ReadFile(LogPath);
#ifdef _WIN32
    EXPECT_EQ(std::count(text.begin(), text.end(), '\r'),
              std::count(text.begin(), text.end(), '\n'));
    std::erase(text, '\r');
#endif
    return text;
}

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
    EXPECT_EQ(LogText(), "---------------------------\n- WKVMAIN ERRORS LOG FILE -\n"
                         "---------------------------\n\nfirst\n100 %\n");
    EXPECT_EQ(LogAppend("lost"), 0) << "errors alone do not start the log";
    LogStartMdl();
    EXPECT_EQ(LogAppend("text\n"), 1);
    const std::string rule = "----------------------------\n",
                      head = rule + "-     MDL LOG FILE     -\n- ";
    EXPECT_EQ(LogText().substr(0, head.size()), head);
    EXPECT_EQ(LogText().substr(head.size() + 25), rule + "\ntext\n");
    LogInit();
    EXPECT_EQ(std::filesystem::path(LogPath).filename().string().substr(0, 10), "unit_tests");
}

} // namespace
