#ifndef SCAPI_FILES_DECIMAL_H
#define SCAPI_FILES_DECIMAL_H

#include <charconv>
#include <string>

/// Appends a number with `digits` after the point, rounded from its exact value, ties to even, and
/// with a point whatever locale the host has set.
inline void AppendDecimal(std::string& text, float number, int digits)
{
    char buffer[64]; // a float has 39 digits before the point at most
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, double(number),
                                   std::chars_format::fixed, digits);
    text.append(buffer, end.ptr);
}

#endif
