#include "support/arguments_utf8.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// After windows.h, whose types it takes.
#include <shellapi.h>

namespace
{

std::string Utf8(const wchar_t* wide)
{
    const int length = ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(length > 0 ? length : 1), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), length, nullptr, nullptr);
    text.pop_back(); // the terminator
    return text;
}

} // namespace

std::vector<std::string> Utf8Arguments(int count, char** arguments)
{
    int wideCount = 0;
    wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &wideCount);
    if (!wide) return {arguments, arguments + count};
    std::vector<std::string> utf8;
    for (int i = 0; i < wideCount; ++i) utf8.push_back(Utf8(wide[i]));
    ::LocalFree(wide);
    return utf8;
}
#else
std::vector<std::string> Utf8Arguments(int count, char** arguments)
{
    return {arguments, arguments + count};
}
#endif
