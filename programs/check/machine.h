// A machine: two chains of axes that start at the base. One carries the table, one the spindle.
#ifndef SCAPI_CHECK_MACHINE_H
#define SCAPI_CHECK_MACHINE_H

#include <limits>
#include <string>
#include <vector>

#include "json_file.h"

namespace check
{

constexpr std::size_t kMaxAxes = 6;
constexpr char kAxisLetters[] = "XYZABC";
constexpr double kMostLength = 1e6;  ///< mm: no coordinate, position or size is larger
constexpr double kMostDegrees = 1e6; ///< of a rotary axis

/// Of each axis, in the order of Machine::axes: mm, or degrees.
using Position = std::array<double, kMaxAxes>;

struct Axis {
    char letter = 'X'; ///< X Y Z linear, A B C rotary
    bool rotary = false;
    Vec direction{1, 0, 0}; ///< unit vector: what the axis carries goes, or turns, this way as its
                            ///< position rises; machine coordinates with all axes at 0
    Vec through{};          ///< rotary: a point of the axis; the same coordinates
    double rapid = 0;       ///< mm or degrees a minute; 0: not given
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
    double home = 0; ///< where G28 goes
};

/// Link 0 is the base; link i + 1 is what axis i carries.
struct Machine {
    std::string name;
    std::vector<Axis> axes;    ///< those of the table from the base on, then those of the head
    std::size_t tableAxes = 0; ///< so many of them carry the table
    Pose gauge = kRest;        ///< the gauge point, z along the spindle away from the tool; machine
                               ///< coordinates with all axes at 0
    std::size_t TableLink() const { return tableAxes; }
    std::size_t HeadLink() const { return axes.size() > tableAxes ? axes.size() : 0; }
};

/// @return the index of the axis of a letter, -1 where the machine has none
int AxisOf(const Machine& machine, char letter);

/// The link that carries an axis.
inline std::size_t ParentLink(const Machine& machine, std::size_t axis)
{
    return axis == machine.tableAxes ? 0 : axis;
}

/// The axes from the base to a link, as indexes.
/// @return how many
std::size_t ChainOf(const Machine& machine, std::size_t link,
                    std::array<std::size_t, kMaxAxes>& chain);

using LinkPoses = std::array<Pose, kMaxAxes + 1>;

/// Where each link stands, relative to its place with all axes at 0.
LinkPoses PlaceLinks(const Machine& machine, const Position& position);

/// Reads a machine: {"name", "units", "table": [axes], "head": [axes], "spindle": {"at", "axis"}}.
Machine ReadMachine(const Node& node);

/// mm of a unit of length: {"units": "mm" or "inch"}, mm where it is missing.
double UnitOf(const Node& object, double fallback);

} // namespace check

#endif
