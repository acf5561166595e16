// What differs between systems about files.
#ifndef SCAPI_PLATFORM_FILES_H
#define SCAPI_PLATFORM_FILES_H

#include <cstdint>
#include <cstdio>
#include <memory>

/// Opens a file for reading, bytes as they are. Only regular files: a pipe could block the host and
/// a device could deliver for ever. @return null when there is none to open
std::FILE* OpenForReading(const char* path);

/// Length in bytes, 0 when the system does not tell.
std::int64_t StreamLength(std::FILE* file);

/// Modification time, seconds cut to 32 bits; 0 when the system does not tell.
std::int32_t StreamModTime(std::FILE* file);

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

#endif
