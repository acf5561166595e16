#include "files/file_info.h"

#include "platform/files.h"

namespace
{

File OpenNamed(const char* path) { return File(path && *path ? OpenForReading(path) : nullptr); }

} // namespace

std::int64_t GetFileLength(const char* path)
{
    const File file = OpenNamed(path);
    return file ? StreamLength(file.get()) : 0;
}

std::int32_t GetFileModTime(const char* path)
{
    const File file = OpenNamed(path);
    return file ? StreamModTime(file.get()) : 0;
}

void ChangePathExtension(std::string& path, const char* extension, bool force)
{
    if (force || !NamesFolder(path))
        path.replace(ExtensionStart(path), path.npos, std::string(".") + extension);
    MakeUniversalPath(path);
}
