// Read-ahead of a file in large blocks: lines and records are taken where they lie.
#ifndef SCAPI_FILES_READ_BUFFER_H
#define SCAPI_FILES_READ_BUFFER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

struct StlReadBuffer {
    std::FILE* file;
    std::int64_t start;  ///< file position of bytes[0]
    std::int64_t beyond; ///< how far a skip went past the end of the file
    std::size_t at;      ///< next byte to give
    std::size_t end;     ///< bytes held
    std::array<char, 1 << 18> bytes;
};

/// Starts at the beginning of a file that has just been opened; the file stays the caller's.
void StartBuffer(StlReadBuffer& buffer, std::FILE* file);

/// Copies `count` bytes out. @return whether there were as many
bool TakeBytes(StlReadBuffer& buffer, void* out, std::size_t count);

/// Passes over `count` bytes. As with a seek, the position may come to lie past the end.
void SkipBytes(StlReadBuffer& buffer, std::size_t count);

/// Takes bytes up to and including a newline, but no more than `most`; empty only at the file's
/// end. The view holds until a call finds more to read.
std::string_view TakeLine(StlReadBuffer& buffer, std::size_t most);

std::int64_t Position(const StlReadBuffer& buffer);

/// Goes back to a position noted less than half a buffer ago.
void GoBack(StlReadBuffer& buffer, std::int64_t position);

#endif
