// What a run shows and hears while it works.
#ifndef SCAPI_CHECK_TERMINAL_H
#define SCAPI_CHECK_TERMINAL_H

#include <chrono>
#include <cstdint>
#include <string>

namespace check
{

/// From now on an interrupt (Ctrl-C) only asks the run to end; a second one ends the program.
void CatchInterrupts();
bool Interrupted();

/// A line on standard error with the part done and the time left; nothing where that is no
/// terminal.
class Progress {
public:
    Progress(std::string what, std::int64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void Show(std::int64_t done);

private:
    std::string what_;
    std::int64_t total_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point start_, last_;
};

} // namespace check

#endif
