// Paths of programs are texts in UTF-8, as the libraries take them; the system's form of a path is
// made where the standard library wants one, and nowhere else.
#ifndef SCAPI_PROGRAMS_PATHS_H
#define SCAPI_PROGRAMS_PATHS_H

#include <filesystem>
#include <string>

/// @param text  UTF-8 on Windows, where other bytes throw; any bytes elsewhere
inline std::filesystem::path ToPath(const std::string& text)
{
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

inline std::string ToUtf8(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

#endif
