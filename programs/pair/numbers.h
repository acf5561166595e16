// Numbers as people write them on a command line.
#ifndef SCAPI_PROGRAMS_PAIR_NUMBERS_H
#define SCAPI_PROGRAMS_PAIR_NUMBERS_H

#include <string>
#include <string_view>
#include <vector>

namespace pair
{

/// Reads numbers between commas, with a decimal point in any locale.
/// @param error  takes what is wrong: a text that is no number or not finite; empty when all is
/// well
std::vector<double> ParseNumbers(std::string_view text, std::string& error);

/// A number with six digits, and a decimal point in any locale.
std::string Format(double value);

/// As Format, but never above the value: for what is said to be at least so much.
std::string FormatDown(double value);

/// "x, y, z". Below 1e-9, what rounding leaves of a zero, it is 0.
std::string FormatPoint(const double* point);

} // namespace pair

#endif
