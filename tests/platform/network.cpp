// Stands in for the network provider: what lies in a folder "mapped" has a universal form.
#include <cstring>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#include <winnetwk.h>

namespace
{

/// What was asked last, for the test.
struct Asked {
    int count;
    char path[600];
    DWORD level, size;
} asked;

} // namespace

extern "C" __declspec(dllexport) Asked* LastAsked() { return &asked; }

extern "C" __declspec(dllexport) DWORD WINAPI
    UniversalName(const char* path, DWORD level, void* buffer, DWORD* size)
{
    ++asked.count;
    std::strncpy(asked.path, path, sizeof asked.path - 1);
    asked.level = level, asked.size = *size;
    const char* folder = std::strstr(path, "mapped");
    if (!folder) return ERROR_NOT_CONNECTED;
    auto* info = static_cast<UNIVERSAL_NAME_INFOA*>(buffer);
    info->lpUniversalName = reinterpret_cast<char*>(info + 1);
    std::strcpy(info->lpUniversalName, path);
    std::memcpy(info->lpUniversalName + (folder - path), "server", 6);
    return NO_ERROR;
}
