#include "gcode_block.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace check
{
namespace
{

constexpr double kMostWord = 1e6; ///< in the units of the program

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/// What cannot be read, for a message: a terminal should not obey it, and its beginning is enough.
std::string Quoted(const std::string& text)
{
    constexpr std::size_t kMost = 40;
    std::string out = "\"";
    for (const char c : text.substr(0, kMost)) {
        const auto code = static_cast<unsigned char>(c);
        out += code < ' ' || code == 127 ? '?' : c;
    }
    out += text.size() > kMost ? "...\"" : "\"";
    if (text.find_first_of("#[=<") != std::string::npos)
        out += "; variables, expressions and calls are not followed";
    return out;
}

/// Without blanks and comments, in capitals.
std::string Bare(std::string_view line, std::string& fault)
{
    std::string out;
    for (std::size_t at = 0; at < line.size() && line[at] != ';'; ++at) {
        if (line[at] == '(') {
            const std::size_t end = line.find(')', at);
            if (end == std::string_view::npos) {
                fault = "a comment has no end";
                return {};
            }
            at = end;
        } else if (!IsBlank(line[at])) {
            const char c = line[at];
            out += 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        }
    }
    return out;
}

/// A number from `at` on, as controls write it: a sign, digits with a point anywhere.
bool TakeNumber(const std::string& text, std::size_t& at, double& number)
{
    std::size_t start = at;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) start += text[at++] == '+';
    const std::size_t digits = at;
    while (at < text.size() && (text[at] == '.' || ('0' <= text[at] && text[at] <= '9'))) ++at;
    const char* last = text.data() + at;
    const auto result =
        std::from_chars(text.data() + start, last, number, std::chars_format::fixed);
    return at > digits && result.ec == std::errc() && result.ptr == last;
}

/// @return what is wrong with the word
std::string StoreWord(char letter, double number, const std::string& text, Block& block)
{
    if (!(std::fabs(number) <= kMostWord)) return text + " is out of range";
    if (letter == 'G' || letter == 'M') {
        const double tenths = std::round(number * 10);
        if (number < 0 || std::fabs(tenths - number * 10) > 1e-6) return text + " is not known";
        (letter == 'G' ? block.g : block.m).push_back(static_cast<int>(tenths));
        return {};
    }
    auto& place = block.word[static_cast<std::size_t>(letter - 'A')];
    if (place) return std::string("a second ") + letter + " in one block";
    place = number;
    return {};
}

} // namespace

bool Block::IsEmpty() const
{
    const auto given = [](const auto& w) { return w.has_value(); };
    return g.empty() && m.empty() && std::none_of(word.begin(), word.end(), given);
}

std::string ReadBlock(std::string_view line, Block& block)
{
    block = {};
    std::string fault;
    const std::string text = Bare(line, fault);
    if (!fault.empty() || text.empty()) return fault;
    block.programMark = text[0] == '%';
    if (block.programMark)
        return text.size() == 1 ? "" : "behind % stands " + Quoted(text.substr(1));
    std::size_t at = 0;
    if (text[0] == '/') block.deletable = true, ++at;
    while (at < text.size()) {
        const char letter = text[at] == ':' ? 'O' : text[at];
        const std::size_t start = at++;
        double number = 0;
        if (letter < 'A' || letter > 'Z')
            return "no word of a letter and a number: " + Quoted(text.substr(start));
        if (!TakeNumber(text, at, number))
            return std::string(1, letter) + " has no number: " + Quoted(text.substr(start));
        const std::string wrong = StoreWord(letter, number, text.substr(start, at - start), block);
        if (!wrong.empty()) return wrong;
    }
    return {};
}

std::string FormatNumber(double number)
{
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%.6f", number);
    std::string out(text, static_cast<std::size_t>(std::clamp(length, 0, 63)));
    while (out.find('.') != std::string::npos && (out.back() == '0' || out.back() == '.')) {
        const bool point = out.back() == '.';
        out.pop_back();
        if (point) break;
    }
    return out == "-0" ? "0" : out;
}

} // namespace check
