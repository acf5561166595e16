#include <fcntl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files.h"
#include "platform/scan.h"

std::FILE* OpenForReading(const char* path)
{
    // Without O_NONBLOCK the open itself would wait for the other end of a pipe.
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return nullptr;
    struct stat status {};
    std::FILE* file = nullptr;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        file = ::fdopen(descriptor, "rb");
    if (!file) ::close(descriptor);
    return file;
}

std::int64_t StreamLength(std::FILE* file)
{
    struct stat status {};
    return ::fstat(::fileno(file), &status) == 0 ? std::int64_t{status.st_size} : 0;
}

std::int32_t StreamModTime(std::FILE* file)
{
    struct stat status {};
    return ::fstat(::fileno(file), &status) == 0 ? static_cast<std::int32_t>(status.st_mtime) : 0;
}

void ScanThreeNumbers(const char* text, float* numbers)
{
    static const locale_t cLocale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t hosts = ::uselocale(cLocale);
    // The result is not asked for: what could be read has been stored.
    (void)std::sscanf(text, "%*s %f %f %f", &numbers[0], &numbers[1], &numbers[2]);
    ::uselocale(hosts);
}
