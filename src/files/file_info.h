#ifndef SCAPI_FILES_FILE_INFO_H
#define SCAPI_FILES_FILE_INFO_H

#include <cstdint>
#include <string>

/// Length in bytes; 0 for a null or empty path and for a file that cannot be opened.
std::int64_t GetFileLength(const char* path);

/// A length as the 32-bit field of a solid holds it, 2147483647 at most.
constexpr std::int32_t ClampLength(std::int64_t length)
{
    return static_cast<std::int32_t>(length < INT32_MAX ? length : INT32_MAX);
}

/// Modification time as 32 bits; 0 for a null or empty path and for a file that cannot be opened.
std::int32_t GetFileModTime(const char* path);

/// Replaces the extension of a path, or adds one, if `force` is set or the path names no folder;
/// then makes the path universal.
/// @param extension  without its dot
void ChangePathExtension(std::string& path, const char* extension, bool force);

#endif
