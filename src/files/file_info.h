#ifndef SCAPI_FILES_FILE_INFO_H
#define SCAPI_FILES_FILE_INFO_H

#include <cstdint>

/// Length in bytes; 0 for a null or empty path and for a file that cannot be opened.
std::int64_t GetFileLength(const char* path);

/// Modification time as 32 bits; 0 for a null or empty path and for a file that cannot be opened.
std::int32_t GetFileModTime(const char* path);

#endif
