#include "numbers.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace pair
{
namespace
{

/// @return an error message, empty when the whole text is one finite number
std::string ParseNumber(std::string_view text, double& value)
{
    const std::string quoted = '"' + std::string(text) + '"';
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    const char* end = text.data() + text.size();
    const auto [after, code] = std::from_chars(text.data(), end, value);
    if (code == std::errc::result_out_of_range) return quoted + " is too large or too small";
    if (code != std::errc() || after != end) return quoted + " is no number";
    if (!std::isfinite(value)) return quoted + " is not finite";
    return {};
}

} // namespace

std::vector<double> ParseNumbers(std::string_view text, std::string& error)
{
    std::vector<double> numbers;
    for (error.clear(); error.empty();) {
        const std::size_t comma = text.find(',');
        double value = 0;
        error = ParseNumber(text.substr(0, comma), value);
        numbers.push_back(value);
        if (comma == std::string_view::npos) break;
        text.remove_prefix(comma + 1);
    }
    return numbers;
}

std::string Format(double value)
{
    char text[32];
    const auto result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
    return {text, result.ptr};
}

std::string FormatDown(double value)
{
    const std::string text = Format(value);
    double rounded = 0;
    if (!ParseNumber(text, rounded).empty() || rounded <= value) return text;
    const double lastDigit = std::pow(10.0, std::floor(std::log10(std::fabs(value))) - 5);
    return Format(rounded - lastDigit);
}

std::string FormatPoint(const double* point)
{
    std::string text;
    for (int axis = 0; axis < 3; ++axis)
        text += (axis > 0 ? ", " : "") + Format(std::fabs(point[axis]) < 1e-9 ? 0 : point[axis]);
    return text;
}

} // namespace pair
