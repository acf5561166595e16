#include "files/read_buffer.h"

#include <algorithm>
#include <cstring>

namespace
{

/// Makes at least `count` bytes available, unless the file ends before. What was given stays in
/// front as long as there is room, so that a reader can go back.
void Require(StlReadBuffer& buffer, std::size_t count)
{
    if (buffer.end - buffer.at >= count) return;
    if (buffer.at > buffer.bytes.size() / 2) {
        std::memmove(buffer.bytes.data(), buffer.bytes.data() + buffer.at, buffer.end - buffer.at);
        buffer.start += static_cast<std::int64_t>(buffer.at);
        buffer.end -= buffer.at;
        buffer.at = 0;
    }
    buffer.end += std::fread(buffer.bytes.data() + buffer.end, 1, buffer.bytes.size() - buffer.end,
                             buffer.file);
}

} // namespace

void StartBuffer(StlReadBuffer& buffer, std::FILE* file)
{
    // The blocks are large: a second buffer inside the stream would only copy.
    std::setvbuf(file, nullptr, _IONBF, 0);
    buffer.file = file;
    buffer.start = buffer.beyond = 0;
    buffer.at = buffer.end = 0;
}

bool TakeBytes(StlReadBuffer& buffer, void* out, std::size_t count)
{
    Require(buffer, count);
    if (buffer.end - buffer.at < count) return false;
    std::memcpy(out, buffer.bytes.data() + buffer.at, count);
    buffer.at += count;
    return true;
}

void SkipBytes(StlReadBuffer& buffer, std::size_t count)
{
    Require(buffer, count);
    const std::size_t held = std::min(count, buffer.end - buffer.at);
    buffer.at += held;
    buffer.beyond += static_cast<std::int64_t>(count - held);
}

std::string_view TakeLine(StlReadBuffer& buffer, std::size_t most)
{
    Require(buffer, most);
    const char* line = buffer.bytes.data() + buffer.at;
    const std::size_t available = std::min(most, buffer.end - buffer.at);
    const void* newline = available ? std::memchr(line, '\n', available) : nullptr;
    const std::size_t length =
        newline ? static_cast<std::size_t>(static_cast<const char*>(newline) - line) + 1
                : available;
    buffer.at += length;
    return {line, length};
}

std::int64_t Position(const StlReadBuffer& buffer)
{
    return buffer.start + static_cast<std::int64_t>(buffer.at) + buffer.beyond;
}

void GoBack(StlReadBuffer& buffer, std::int64_t position)
{
    buffer.at = static_cast<std::size_t>(position - buffer.start);
    buffer.beyond = 0;
}
