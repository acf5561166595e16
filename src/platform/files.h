// What differs between systems about files.
#ifndef SCAPI_PLATFORM_FILES_H
#define SCAPI_PLATFORM_FILES_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

/// Opens a file for reading, bytes as they are. Only regular files: a pipe could block the host and
/// a device could deliver for ever. @return null when there is none to open
std::FILE* OpenForReading(const char* path);

/// Creates a file, or empties the one that is there. @return null when that fails; a pipe without a
/// reader fails instead of waiting for one
std::FILE* OpenForWriting(const char* path);

/// Whether a new file may take the place of what the path names: nothing, or a plain file of one
/// name that could be written to. A link's owner wants it to stay one.
bool IsReplaceable(const char* path);

/// Creates a file beside a path, under a name that no other file has, nor gets from another process
/// meanwhile.
/// @param name  takes it; empty when there is no file
/// @return null when the folder takes no new file
std::FILE* CreateBeside(const char* path, std::string& name);

/// Renames a file, in one step and over what stands at `to`. Both in one folder.
/// @return false when that fails; nothing has changed then
bool MoveOver(const char* from, const char* to);

/// Removes a file, if it can be removed.
void RemoveFile(const char* path);

/// Whether two paths name one file, by links or by spelling; false when either does not exist.
bool AreSameFile(const char* a, const char* b);

/// Length in bytes, 0 when the system does not tell.
std::int64_t StreamLength(std::FILE* file);

/// Where the next byte is read or written; lengths beyond 32 bits count.
std::int64_t StreamPosition(std::FILE* file);

/// Modification time, seconds cut to 32 bits; 0 when the system does not tell.
std::int32_t StreamModTime(std::FILE* file);

/// Where the extension of a path begins: at the last dot after the last separator, or at its end.
std::size_t ExtensionStart(const std::string& path);

/// Whether a path holds a folder or a drive besides the name.
bool NamesFolder(const std::string& path);

/// Turns a path on a mapped network drive into its network form; elsewhere there is none, and the
/// path stays as it is.
void MakeUniversalPath(std::string& path);

/// File name of the running program, cut at `most` bytes; empty when the system does not tell.
std::string RunningModule(std::size_t most);

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

#endif
