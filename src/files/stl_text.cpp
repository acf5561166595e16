#include "files/stl_text.h"

#include <algorithm>
#include <cstring>

#include "files/scan_numbers.h"

namespace
{

constexpr std::size_t kMostLine = 1023;

constexpr char Upper(char c) { return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

/// The line from the first occurrence of a keyword (in capitals) on, empty when there is none.
std::string_view FindKeyword(std::string_view line, std::string_view keyword)
{
    const auto at = std::search(line.begin(), line.end(), keyword.begin(), keyword.end(),
                                [](char a, char b) { return Upper(a) == b; });
    return line.substr(static_cast<std::size_t>(at - line.begin()));
}

} // namespace

void NextLine(StlReadBuffer& buffer, std::string_view& line)
{
    const std::string_view next = TakeLine(buffer, kMostLine);
    if (next.empty()) return;
    const void* zero = std::memchr(next.data(), 0, next.size());
    line =
        zero
            ? next.substr(0, static_cast<std::size_t>(static_cast<const char*>(zero) - next.data()))
            : next;
}

bool TakeTextFacet(StlReadBuffer& buffer, float* normal, float* corners)
{
    std::string_view line, found;
    NextLine(buffer, line);
    if ((found = FindKeyword(line, "NORMAL")).empty()) return false;
    ScanThreeNumbers(found, normal);
    NextLine(buffer, line);
    if (FindKeyword(line, "LOOP").empty()) return false;
    for (int corner = 0; corner < 3; ++corner) {
        NextLine(buffer, line);
        // "Line for the rest" in docs/behaviour.md.
        if ((found = FindKeyword(line, "VERTEX")).empty()) break;
        ScanThreeNumbers(found, corners + 3 * corner);
    }
    // "Any sixth line" in docs/behaviour.md.
    NextLine(buffer, line);
    NextLine(buffer, line);
    return !FindKeyword(line, "ENDFACET").empty();
}
