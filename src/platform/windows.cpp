#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cstring>
#include <vector>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#include <winnetwk.h>

#include "platform/files.h"
#include "platform/memory.h"

// msvcrt has these under the names of a C++ compiler, and for allocations of C alike.
// gcc's assembler takes such a name in quotes only; clang writes the object itself.
#ifdef __clang__
#define MSVCRT_NAME(name) name
#else
#define MSVCRT_NAME(name) "\"" name "\""
#endif
extern "C" int __cdecl SetNewMode(int) __asm__(MSVCRT_NAME("?_set_new_mode@@YAHH@Z"));
extern "C" int __cdecl _callnewh(std::size_t);

namespace
{

struct CloseTheHandle {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
/// Null where the system gives INVALID_HANDLE_VALUE.
using Handle = std::unique_ptr<HANDLE, CloseTheHandle>;

/// Others may do with an open file what they like; replace it, above all.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// @return empty when the bytes are no text of the code page
std::wstring Widen(UINT codePage, DWORD flags, const char* text)
{
    const int length = ::MultiByteToWideChar(codePage, flags, text, -1, nullptr, 0);
    if (length <= 0) return {};
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(codePage, flags, text, -1, wide.data(), length);
    wide.pop_back(); // the terminator
    return wide;
}

/// @return empty when a character is missing from the code page
std::string Narrow(UINT codePage, const std::wstring& wide)
{
    // The system's code page may be UTF-8, which has all of them and takes no such question.
    const bool isUtf8 = codePage == CP_UTF8 || ::GetACP() == CP_UTF8;
    const DWORD flags = isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS;
    BOOL lossy = FALSE, *const asks = isUtf8 ? nullptr : &lossy;
    const int length =
        ::WideCharToMultiByte(codePage, flags, wide.c_str(), -1, nullptr, 0, nullptr, asks);
    if (length <= 0 || lossy) return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    ::WideCharToMultiByte(codePage, flags, wide.c_str(), -1, text.data(), length, nullptr, asks);
    text.pop_back();
    return text;
}

std::wstring WidenUtf8(const char* text) { return Widen(CP_UTF8, MB_ERR_INVALID_CHARS, text); }

/// Hosts hand over UTF-8, or, as older ones do, the code page of the system.
std::wstring Widen(const char* path)
{
    std::wstring wide = WidenUtf8(path);
    return wide.empty() ? Widen(CP_ACP, 0, path) : wide;
}

/// The path from its drive or server on, in a form that may be longer than MAX_PATH.
/// @return empty for an empty path
std::wstring FullPath(const char* path)
{
    const std::wstring wide = Widen(path);
    const DWORD room = wide.empty() ? 0 : ::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    std::wstring full(room, L'\0');
    if (room) full.resize(::GetFullPathNameW(wide.c_str(), room, full.data(), nullptr));
    // Short ones stay as they are: the long form takes every character at its word.
    constexpr std::size_t kLong = MAX_PATH - 13; // a folder must have room for a name of DOS
    if (full.size() < kLong || full.starts_with(LR"(\\?\)") || full.starts_with(LR"(\\.\)"))
        return full;
    return full.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + full.substr(1) : LR"(\\?\)" + full;
}

Handle Open(const std::wstring& path, DWORD access, DWORD creation, DWORD flags)
{
    // A device is not even opened: that alone can raise a line of a serial port, or take a pipe.
    if (path.empty() || path.starts_with(LR"(\\.\)")) return nullptr;
    HANDLE handle =
        ::CreateFileW(path.c_str(), access, kShareAll, nullptr, creation, flags, nullptr);
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

/// Looks at what a path names, folders included, without rights to its contents.
Handle OpenToLook(const char* path)
{
    return Open(FullPath(path), FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
}

/// What is on no disk passes for a file by its name alone, as pipes of other machines do.
bool IsRegular(HANDLE handle, FILE_STANDARD_INFO& info)
{
    return ::GetFileType(handle) == FILE_TYPE_DISK &&
           ::GetFileInformationByHandleEx(handle, FileStandardInfo, &info, sizeof info) &&
           !info.Directory;
}

bool IsRegular(HANDLE handle)
{
    FILE_STANDARD_INFO info;
    return IsRegular(handle, info);
}

/// Read-only files are told by the attribute too: it does not bind administrators everywhere.
bool HasAttribute(HANDLE handle, DWORD attributes)
{
    FILE_BASIC_INFO info;
    return !::GetFileInformationByHandleEx(handle, FileBasicInfo, &info, sizeof info) ||
           (info.FileAttributes & attributes);
}

/// A stream of the C run time, which then owns the handle.
std::FILE* StreamOf(Handle handle, int flags, const char* mode)
{
    const int descriptor = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()),
                                             flags | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0) return nullptr;
    (void)handle.release();
    std::FILE* file = ::_fdopen(descriptor, mode);
    if (!file) ::_close(descriptor);
    return file;
}

} // namespace

std::FILE* OpenForReading(const char* path)
{
    Handle handle = Open(FullPath(path), GENERIC_READ, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
    if (!handle || !IsRegular(handle.get())) return nullptr;
    return StreamOf(std::move(handle), _O_RDONLY, "rb");
}

std::FILE* OpenForWriting(const char* path)
{
    const std::wstring full = FullPath(path);
    // Emptied by the open itself, so what is no file must be known before; a hidden file refuses.
    if (const Handle old = OpenToLook(path))
        if (!IsRegular(old.get()) || HasAttribute(old.get(), FILE_ATTRIBUTE_READONLY))
            return nullptr;
    Handle handle = Open(full, GENERIC_WRITE, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    if (!handle || !IsRegular(handle.get())) return nullptr;
    return StreamOf(std::move(handle), _O_WRONLY, "wb");
}

bool IsReplaceable(const char* path)
{
    const std::wstring full = FullPath(path);
    if (::GetFileAttributesW(full.c_str()) == INVALID_FILE_ATTRIBUTES)
        return ::GetLastError() == ERROR_FILE_NOT_FOUND;
    // Asks for the right to write, as whoever wrote in place would.
    const Handle file = Open(full, GENERIC_WRITE | FILE_READ_ATTRIBUTES, OPEN_EXISTING,
                             FILE_FLAG_OPEN_REPARSE_POINT);
    constexpr DWORD kHindrances = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_REPARSE_POINT;
    FILE_STANDARD_INFO info;
    return file && IsRegular(file.get(), info) && info.NumberOfLinks == 1 &&
           !HasAttribute(file.get(), kHindrances);
}

std::FILE* CreateBeside(const char* path, std::string& name)
{
    constexpr int kTries = 100; // names are only taken where processes were killed
    std::string prefix = path;
    prefix.append(".").append(std::to_string(::GetCurrentProcessId())).append("-");
    for (int i = 0; i < kTries; ++i) {
        name = prefix + std::to_string(i) + ".tmp";
        Handle handle =
            Open(FullPath(name.c_str()), GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
        if (!handle && ::GetLastError() == ERROR_FILE_EXISTS) continue;
        if (!handle) break;
        if (std::FILE* file = StreamOf(std::move(handle), _O_WRONLY, "wb")) return file;
        RemoveFile(name.c_str());
        break;
    }
    name.clear();
    return nullptr;
}

bool MoveOver(const char* from, const char* to)
{
    const std::wstring source = FullPath(from), target = FullPath(to);
    // In the manner of POSIX first, which readers of the old file do not hinder. Where system or
    // disk have no such way, the old one can be replaced only while nobody has it open.
    constexpr DWORD kReplaceIfExists = 1, kPosixSemantics = 2;
    constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
    std::vector<std::byte> block(sizeof(FILE_RENAME_INFO) + target.size() * sizeof(wchar_t));
    auto* rename = reinterpret_cast<FILE_RENAME_INFO*>(block.data());
    const DWORD flags = kReplaceIfExists | kPosixSemantics;
    std::memcpy(rename, &flags, sizeof flags); // over the field ReplaceIfExists of the older form
    rename->FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
    std::memcpy(rename->FileName, target.data(), rename->FileNameLength);
    if (const Handle file = Open(source, DELETE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
        file && ::SetFileInformationByHandle(file.get(), kFileRenameInfoEx, rename,
                                             static_cast<DWORD>(block.size())))
        return true;
    return ::MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING);
}

void RemoveFile(const char* path) { ::DeleteFileW(FullPath(path).c_str()); }

bool AreSameFile(const char* a, const char* b)
{
    const Handle first = OpenToLook(a), second = OpenToLook(b);
    BY_HANDLE_FILE_INFORMATION one, other;
    if (!first || !second || !::GetFileInformationByHandle(first.get(), &one) ||
        !::GetFileInformationByHandle(second.get(), &other))
        return false;
    const bool numbered = one.nFileIndexLow || one.nFileIndexHigh;
    if (!numbered) // a file system without such numbers: only the spelling is left
        return ::CompareStringOrdinal(FullPath(a).c_str(), -1, FullPath(b).c_str(), -1, TRUE) ==
               CSTR_EQUAL;
    return one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
           one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

namespace
{

/// Where the name begins: after the last separator, or after the colon of a drive.
std::size_t NameStart(const std::string& path)
{
    std::size_t start = path.size() > 1 && path[1] == ':' ? 2 : 0;
    // In some code pages a backslash can be the second half of a character.
    const bool isUtf8 = !WidenUtf8(path.c_str()).empty();
    for (std::size_t i = start; i < path.size(); ++i) {
        if (path[i] == '/' || path[i] == '\\') start = i + 1;
        if (!isUtf8 && ::IsDBCSLeadByte(static_cast<BYTE>(path[i]))) ++i;
    }
    return start;
}

} // namespace

std::size_t ExtensionStart(const std::string& path)
{
    const std::size_t dot = path.rfind('.');
    return dot != path.npos && dot >= NameStart(path) ? dot : path.size();
}

bool NamesFolder(const std::string& path) { return NameStart(path) > 0; }

void MakeUniversalPath(std::string& path)
{
    // The call takes and gives the code page of the system alone.
    const std::string local = Narrow(CP_ACP, Widen(path.c_str()));
    alignas(UNIVERSAL_NAME_INFOA) char answer[1024];
    DWORD size = sizeof answer;
    if (local.empty() ||
        ::WNetGetUniversalNameA(local.c_str(), UNIVERSAL_NAME_INFO_LEVEL, answer, &size))
        return;
    const char* name = reinterpret_cast<const UNIVERSAL_NAME_INFOA*>(answer)->lpUniversalName;
    path = Narrow(CP_UTF8, Widen(CP_ACP, 0, name));
}

std::string RunningModule(std::size_t most)
{
    // The terminator counts among the bytes.
    std::string path(most, '\0');
    ::GetModuleFileNameA(::GetModuleHandleA(nullptr), path.data(), static_cast<DWORD>(most));
    path.resize(::strnlen(path.data(), most - 1)); // some systems leave it out when they cut
    return path;
}

std::int64_t StreamLength(std::FILE* file)
{
    const std::int64_t length = ::_filelengthi64(::_fileno(file));
    return length > 0 ? length : 0;
}

std::int64_t StreamPosition(std::FILE* file) { return ::_ftelli64(file); }

std::int32_t StreamModTime(std::FILE* file)
{
    // The C run time's number, which hosts may compare with one of their own.
    struct _stat64 status {};
    return ::_fstat64(::_fileno(file), &status) == 0 ? static_cast<std::int32_t>(status.st_mtime)
                                                     : 0;
}

// Large pages need a privilege there that hosts do not have.
void PreferLargePages(void*, std::size_t) {}

void RouteFailedAllocations() { SetNewMode(1); }

bool CallAllocationHandler(std::size_t bytes) { return ::_callnewh(bytes) != 0; }
