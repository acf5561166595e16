#include "machine.h"

namespace check
{
namespace
{

/// A direction of any length above 0, as a unit vector.
Vec UnitVector(const Node& node, const Vec& fallback)
{
    const Vec given = Triple(node, kMostLength, fallback);
    const double length = Length(given);
    if (length > 1e-9) return (1 / length) * given;
    Complain(node, "has no direction");
    return fallback;
}

Axis ReadAxis(const Node& node, double unit)
{
    Axis axis;
    if (!IsObject(node, {"axis", "direction", "through", "rapid", "min", "max", "home"}))
        return axis;
    const int letter = Choice(Need(node, "axis"), {"X", "Y", "Z", "A", "B", "C"}, 0);
    axis.letter = kAxisLetters[letter];
    axis.rotary = letter >= 3;
    const double scale = axis.rotary ? 1 : unit;
    const double most = axis.rotary ? kMostDegrees : kMostLength / unit;
    axis.direction = UnitVector(Need(node, "direction"), {1, 0, 0});
    if (axis.rotary)
        axis.through = unit * Triple(Need(node, "through"), kMostLength / unit, {});
    else if (const Node through = Find(node, "through"))
        Complain(through, "belongs to rotary axes");
    axis.rapid = scale * Number(Find(node, "rapid"), 1e-6, 1e9, 0);
    if (const Node low = Find(node, "min")) axis.low = scale * Number(low, -most, most, 0);
    if (const Node high = Find(node, "max")) axis.high = scale * Number(high, -most, most, 0);
    axis.home = scale * Number(Find(node, "home"), -most, most, 0);
    if (!(axis.low <= axis.home && axis.home <= axis.high))
        Complain(node, "needs min <= home <= max (home is 0 where it is not given)");
    return axis;
}

void ReadChain(const Node& node, double unit, Machine& machine)
{
    for (const Node& element : Elements(node, 0)) {
        const Axis axis = ReadAxis(element, unit);
        if (AxisOf(machine, axis.letter) >= 0)
            Complain(element, std::string("is a second axis ") + axis.letter);
        else
            machine.axes.push_back(axis);
    }
}

/// A frame with this z; its x is as near to that of the machine as it can be.
Pose FrameAlong(const Vec& at, const Vec& z)
{
    const Vec guess = std::fabs(z[0]) < 0.9 ? Vec{1, 0, 0} : Vec{0, 1, 0};
    const Vec across = guess - Dot(guess, z) * z;
    const Vec x = (1 / Length(across)) * across, y = Cross(z, x);
    return {x[0], y[0], z[0], at[0], x[1], y[1], z[1], at[1], x[2], y[2], z[2], at[2]};
}

} // namespace

int AxisOf(const Machine& machine, char letter)
{
    for (std::size_t i = 0; i < machine.axes.size(); ++i)
        if (machine.axes[i].letter == letter) return static_cast<int>(i);
    return -1;
}

std::size_t ChainOf(const Machine& machine, std::size_t link,
                    std::array<std::size_t, kMaxAxes>& chain)
{
    const std::size_t first = link > machine.tableAxes ? machine.tableAxes : 0;
    for (std::size_t axis = first; axis < link; ++axis) chain[axis - first] = axis;
    return link - first;
}

LinkPoses PlaceLinks(const Machine& machine, const Position& position)
{
    LinkPoses poses;
    poses.fill(kRest);
    for (std::size_t i = 0; i < machine.axes.size(); ++i) {
        const Axis& axis = machine.axes[i];
        const Pose own = axis.rotary
                             ? TurnAbout(axis.through, axis.direction, position[i] * kRadians)
                             : Shift(position[i] * axis.direction);
        poses[i + 1] = Composed(poses[ParentLink(machine, i)], own);
    }
    return poses;
}

Machine ReadMachine(const Node& node)
{
    Machine machine;
    if (!IsObject(node, {"$schema", "name", "units", "table", "head", "spindle"})) return machine;
    machine.name = Text(Find(node, "name"), "machine");
    const double unit = UnitOf(node, 1);
    ReadChain(Need(node, "table"), unit, machine);
    machine.tableAxes = machine.axes.size();
    ReadChain(Need(node, "head"), unit, machine);
    Vec at{}, up{0, 0, 1};
    if (const Node spindle = Find(node, "spindle"); IsObject(spindle, {"at", "axis"})) {
        at = unit * Triple(Find(spindle, "at"), kMostLength / unit, {});
        if (const Node axis = Find(spindle, "axis")) up = UnitVector(axis, up);
    }
    machine.gauge = FrameAlong(at, up);
    return machine;
}

double UnitOf(const Node& object, double fallback)
{
    const Node units = Find(object, "units");
    if (!units) return fallback;
    return Choice(units, {"mm", "inch"}, 0) == 1 ? 25.4 : 1.0;
}

} // namespace check
