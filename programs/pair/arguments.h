// The command line of scapi-pair.
#ifndef SCAPI_PROGRAMS_PAIR_ARGUMENTS_H
#define SCAPI_PROGRAMS_PAIR_ARGUMENTS_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "scapi/proximity.h"

namespace pair
{

enum class Unit { kMillimetre, kInch };

/// "mm" or "inch".
const char* Name(Unit unit);

/// How many of unit `to` a length of 1 in unit `from` is.
double Factor(Unit from, Unit to);

/// A solid as it was named: an STL file, a box or a cylinder.
struct Source {
    enum Kind { kFile, kBox, kCylinder } kind = kFile;
    std::string text;            ///< as it was given; the path of a file
    std::vector<double> numbers; ///< six of a box, seven of a cylinder
    double scale = 1;            ///< coordinates of the file are multiplied by it
};

struct Request {
    std::array<Source, 2> sources;       ///< A and B
    std::array<scapi_motion, 2> motions; ///< of bodies at rest: no path, no angle
    std::array<bool, 2> moves{};         ///< whether a motion was asked for
    Unit unit = Unit::kMillimetre;       ///< of all numbers, in and out
    double tolerance = 0;
    std::int64_t budget = 0; ///< as in scapi_options
    bool surfaces = false;
    bool compare = false;
    bool json = false;
    bool help = false;
    std::string html; ///< path of the page, or empty
};

/// Reads the arguments behind the name of the program.
/// @return a message that says what to do, empty when all is well
std::string ParseArguments(const std::vector<std::string>& arguments, Request& request);

} // namespace pair

#endif
