#include "files/stl_text.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "platform/scan.h"

namespace
{

constexpr std::size_t kMostLine = 1023;

constexpr bool IsBlank(char c) { return c == ' ' || ('\t' <= c && c <= '\r'); }
constexpr bool IsDigit(char c) { return '0' <= c && c <= '9'; }
constexpr char Upper(char c) { return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

/// The line from the first occurrence of a keyword (in capitals) on, empty when there is none.
std::string_view FindKeyword(std::string_view line, std::string_view keyword)
{
    const auto at = std::search(line.begin(), line.end(), keyword.begin(), keyword.end(),
                                [](char a, char b) { return Upper(a) == b; });
    return line.substr(static_cast<std::size_t>(at - line.begin()));
}

/// Takes a plain decimal number and the blank behind it from the text. Anything that scanf might
/// read in another way (a hexadecimal, an infinity, a dangling exponent, an overflow) is left to
/// it.
bool TakeNumber(const char*& at, const char* end, float& number)
{
    while (at != end && IsBlank(*at)) ++at;
    const char* digits = at != end && (*at == '-' || *at == '+') ? at + 1 : at;
    if (digits == end || !(IsDigit(*digits) || *digits == '.')) return false;
    const auto [behind, error] = std::from_chars(*at == '+' ? digits : at, end, number);
    if (error != std::errc() || (behind != end && !IsBlank(*behind))) return false;
    at = behind;
    return true;
}

bool ScanPlain(std::string_view text, float* numbers)
{
    const char *at = text.data(), *end = at + text.size();
    while (at != end && !IsBlank(*at)) ++at;
    float read[3];
    for (float& number : read)
        if (!TakeNumber(at, end, number)) return false;
    std::copy(read, read + 3, numbers);
    return true;
}

/// Skips a word and reads three numbers, as scanf does in the C locale.
void ScanNumbers(std::string_view text, float* numbers)
{
    if (ScanPlain(text, numbers)) return;
    char line[kMostLine + 1];
    std::transform(text.begin(), text.end(), line, Upper);
    line[text.size()] = 0;
    ScanThreeNumbers(line, numbers);
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
    ScanNumbers(found, normal);
    NextLine(buffer, line);
    if (FindKeyword(line, "LOOP").empty()) return false;
    for (int corner = 0; corner < 3; ++corner) {
        NextLine(buffer, line);
        // A line that is no vertex takes the place of those that were to come.
        if ((found = FindKeyword(line, "VERTEX")).empty()) break;
        ScanNumbers(found, corners + 3 * corner);
    }
    // The end of the loop may be any line.
    NextLine(buffer, line);
    NextLine(buffer, line);
    return !FindKeyword(line, "ENDFACET").empty();
}
