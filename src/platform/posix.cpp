#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/files.h"
#include "platform/memory.h"

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

std::FILE* OpenForWriting(const char* path)
{
    // A pipe would make the host wait for whoever reads from it.
    struct stat status {};
    if (::stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) return nullptr;
    const int descriptor =
        ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666);
    if (descriptor < 0) return nullptr;
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    std::FILE* file = ::fdopen(descriptor, "wb");
    if (!file) ::close(descriptor);
    return file;
}

namespace
{

/// Whether a file may be renamed over: in a sticky folder only its owner and the folder's may.
bool IsOursToReplace(const char* path, const struct stat& file)
{
    const std::string name = path;
    const std::size_t slash = name.rfind('/');
    const std::string folder = slash == name.npos ? "." : name.substr(0, slash + 1);
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || !(status.st_mode & S_ISVTX)) return true;
    const uid_t user = ::geteuid();
    return user == 0 || user == file.st_uid || user == status.st_uid;
}

} // namespace

bool IsReplaceable(const char* path)
{
    struct stat status {};
    if (::lstat(path, &status) != 0) return true;
    return S_ISREG(status.st_mode) && status.st_nlink == 1 &&
           ::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0 && IsOursToReplace(path, status);
}

std::FILE* CreateBeside(const char* path, std::string& name)
{
    constexpr int kTries = 100; // names are only taken where processes were killed
    for (int i = 0; i < kTries; ++i) {
        name =
            std::string(path) + '.' + std::to_string(::getpid()) + '-' + std::to_string(i) + ".tmp";
        const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno == EEXIST) continue;
        if (descriptor < 0) break;
        if (std::FILE* file = ::fdopen(descriptor, "wb")) return file;
        ::close(descriptor);
        ::unlink(name.c_str());
        break;
    }
    name.clear();
    return nullptr;
}

bool MoveOver(const char* from, const char* to) { return ::rename(from, to) == 0; }

void RemoveFile(const char* path) { ::unlink(path); }

bool AreSameFile(const char* a, const char* b)
{
    struct stat first {
    }, second{};
    return ::stat(a, &first) == 0 && ::stat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

std::size_t ExtensionStart(const std::string& path)
{
    const std::size_t name = path.rfind('/') + 1; // npos + 1 is 0
    const std::size_t dot = path.rfind('.');
    return dot != path.npos && dot >= name ? dot : path.size();
}

bool NamesFolder(const std::string& path) { return path.find('/') != path.npos; }

void MakeUniversalPath(std::string&) {}

std::string RunningModule(std::size_t most)
{
    std::string path(most, '\0');
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), most);
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return path;
}

std::int64_t StreamLength(std::FILE* file)
{
    struct stat status {};
    return ::fstat(::fileno(file), &status) == 0 ? std::int64_t{status.st_size} : 0;
}

std::int64_t StreamPosition(std::FILE* file) { return ::ftello(file); }

std::int32_t StreamModTime(std::FILE* file)
{
    struct stat status {};
    return ::fstat(::fileno(file), &status) == 0 ? static_cast<std::int32_t>(status.st_mtime) : 0;
}

void PreferLargePages(void* block, std::size_t bytes)
{
#ifdef MADV_HUGEPAGE
    // Whole pages from the first to the last: advice for a part would split the mapping that
    // realloc made, and realloc moves by page only what is one mapping.
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = start / page * page, last = (start + bytes - 1) / page * page;
    ::madvise(static_cast<char*>(block) - (start - first), last + page - first, MADV_HUGEPAGE);
#else
    (void)block, (void)bytes;
#endif
}

void RouteFailedAllocations() {}

bool CallAllocationHandler(std::size_t)
{
    const std::new_handler handler = std::get_new_handler();
    if (handler) handler();
    return handler != nullptr;
}
