#include "terminal.h"

#include <atomic>
#include <csignal>
#include <cstdio>

#include "support/terminal.h"

namespace check
{
namespace
{

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void NoteInterrupt(int signal)
{
    interrupted = true;
    std::signal(signal, SIG_DFL);
}

std::string Duration(double seconds)
{
    const auto whole = static_cast<long long>(seconds + 0.5);
    char text[40];
    if (whole < 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    return text;
}

} // namespace

void CatchInterrupts()
{
    std::signal(SIGINT, NoteInterrupt);
    std::signal(SIGTERM, NoteInterrupt);
#ifdef SIGBREAK
    std::signal(SIGBREAK, NoteInterrupt); // Ctrl-Break
#endif
}

bool Interrupted() { return interrupted; }

Progress::Progress(std::string what, std::int64_t total)
    : what_(std::move(what)), total_(total), start_(std::chrono::steady_clock::now()), last_(start_)
{
}

Progress::~Progress() { ShowLine(""); }

void Progress::Show(std::int64_t done)
{
    constexpr int kWidth = 30;
    if (total_ <= 0) return;
    const auto now = std::chrono::steady_clock::now();
    if (shown_ && now - last_ < std::chrono::milliseconds(150)) return;
    last_ = now, shown_ = true;
    const double share = static_cast<double>(done) / static_cast<double>(total_);
    const double spent = std::chrono::duration<double>(now - start_).count();
    const std::string left =
        done > 0 && spent > 1 ? ", " + Duration(spent * (1 - share) / share) + " left" : "";
    const std::string bar(static_cast<std::size_t>(share * kWidth), '#');
    char text[60];
    std::snprintf(text, sizeof text, " [%-*s] %3.0f %%", kWidth, bar.c_str(), 100 * share);
    ShowLine(what_ + text + left);
}

} // namespace check
