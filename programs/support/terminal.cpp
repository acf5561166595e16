#include "support/terminal.h"

#include <cstdio>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>

#include <cstdlib>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace
{

UINT codePageBefore = 0;

/// A device that is no console, such as NUL, is none.
bool IsTerminal()
{
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

} // namespace

void PrepareStreams()
{
    ::_setmode(::_fileno(stdout), _O_BINARY);
    ::_setmode(::_fileno(stderr), _O_BINARY);
    // The C run time gives a console single bytes, of which it makes no characters.
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    std::setvbuf(stderr, nullptr, _IOFBF, BUFSIZ);
    // The console is the user's, and goes on after this program.
    codePageBefore = ::GetConsoleOutputCP();
    if (!codePageBefore || codePageBefore == CP_UTF8) return;
    ::SetConsoleOutputCP(CP_UTF8);
    std::atexit([] { ::SetConsoleOutputCP(codePageBefore); });
}
#else
#include <unistd.h>

namespace
{

bool IsTerminal() { return isatty(STDERR_FILENO) != 0; }

} // namespace

void PrepareStreams() {}
#endif

void ShowLine(const std::string& line)
{
    static const bool shows = IsTerminal();
    static std::size_t written = 0;
    if (!shows || (line.empty() && !written)) return;
    // Blanks in place of sequences, which not every console takes; no character is wider than its
    // bytes are many.
    const std::size_t rest = written > line.size() ? written - line.size() : 0;
    std::string text = "\r" + line + std::string(rest, ' ');
    if (line.empty()) text += '\r';
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
    written = line.size();
}
