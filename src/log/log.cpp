#include "log/log.h"

#include <cstdio>
#include <ctime>

#include "platform/files.h"

std::string LogPath;
int LogStarted = 0;
int LogErrorsStarted = 0;

namespace
{

constexpr std::size_t kMaxModuleName = 250;

File LogStream(const char* mode) { return File(std::fopen(LogPath.c_str(), mode)); }

void WriteBanner(const char* title)
{
    const std::time_t now = std::time(nullptr);
    const File stream = LogStream("wt");
    if (!stream) return;
    std::fputs("----------------------------\n", stream.get());
    std::fputs(title, stream.get());
    std::fprintf(stream.get(), "- %s", std::asctime(std::localtime(&now)));
    std::fputs("----------------------------\n\n", stream.get());
    LogStarted = 1;
}

void Append(const char* text)
{
    const File stream = LogStream("at");
    if (!stream) return;
        // The log format (docs/behaviour.md): hosts write %% for one %.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::fprintf(stream.get(), text);
#pragma GCC diagnostic pop
}

} // namespace

void LogInit()
{
    LogPath = "LOG.LOG";
    const std::string module = RunningModule(kMaxModuleName);
    if (!module.empty()) {
        LogPath = module;
        const std::size_t dot = LogPath.rfind('.');
        if (dot != LogPath.npos) LogPath.replace(dot, LogPath.npos, ".LOG");
    }
    LogStarted = 1;
}

void LogStartChook() { WriteBanner("-       CHOOK LOG FILE     -\n"); }
void LogStartMdl() { WriteBanner("-     MDL LOG FILE     -\n"); }
void LogStartMain() { WriteBanner("-     WKVMAIN LOG FILE     -\n"); }

int LogAppend(const char* text)
{
    if (!LogStarted) return 0;
    Append(text);
    return 1;
}

void LogError(const char* text)
{
    if (!LogStarted && !LogErrorsStarted) {
        if (const File stream = LogStream("wt")) {
            std::fputs("---------------------------\n- WKVMAIN ERRORS LOG FILE -\n"
                       "---------------------------\n\n",
                       stream.get());
            LogErrorsStarted = 1;
        }
    }
    Append(text);
}
