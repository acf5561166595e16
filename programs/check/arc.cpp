#include "arc.h"

#include <algorithm>

#include "gcode_block.h"

namespace check
{
namespace
{

/// mm: positions that no program tells apart, but rounding may
constexpr double kSamePlace = 1e-5;

/// The angle from start to end in the sense of the arc: above 0 to a full turn, with its sign.
double SweepOf(const Arc& arc, const ArcWords& words)
{
    if (std::hypot(words.to[0] - words.from[0], words.to[1] - words.from[1]) < kSamePlace)
        return words.clockwise ? -2 * kPi : 2 * kPi;
    const double end = std::atan2(words.to[1] - arc.center[1], words.to[0] - arc.center[0]);
    double turn = words.clockwise ? arc.angle - end : end - arc.angle;
    while (turn <= 0) turn += 2 * kPi;
    return words.clockwise ? -turn : turn;
}

/// The centre by R: on the left of the way for an arc against the clock of up to half a turn.
std::string CenterByRadius(const ArcWords& words, Arc& arc)
{
    const double dx = words.to[0] - words.from[0], dy = words.to[1] - words.from[1];
    const double chord = std::hypot(dx, dy), radius = std::fabs(*words.radius);
    if (chord < kSamePlace) return "an arc by R needs an end that differs from its start";
    if (radius == 0) return "R is 0";
    if (chord / 2 - radius > kMostArcSlack)
        return 'R' + FormatNumber(radius) + " mm is too small for ends " + FormatNumber(chord) +
               " mm apart";
    arc.slack = std::max(0.0, chord / 2 - radius);
    const double height = std::sqrt(std::max(0.0, radius * radius - chord * chord / 4));
    const bool left = words.clockwise == (*words.radius < 0);
    const double side = (left ? height : -height) / chord;
    arc.center[0] = (words.from[0] + words.to[0]) / 2 - side * dy;
    arc.center[1] = (words.from[1] + words.to[1]) / 2 + side * dx;
    return {};
}

} // namespace

std::string ArcFromWords(const ArcWords& words, Arc& arc)
{
    const bool byOffset = words.offset[0] || words.offset[1];
    if (byOffset && words.radius) return "an arc has its centre by R or by I, J, K, not by both";
    if (!byOffset && !words.radius) return "an arc needs R, or I, J, K of its plane";
    if (words.radius) {
        const std::string fault = CenterByRadius(words, arc);
        if (!fault.empty()) return fault;
    } else {
        for (int i = 0; i < 2; ++i) arc.center[i] = words.from[i] + words.offset[i].value_or(0);
    }
    arc.radius[0] = std::hypot(words.from[0] - arc.center[0], words.from[1] - arc.center[1]);
    arc.radius[1] = std::hypot(words.to[0] - arc.center[0], words.to[1] - arc.center[1]);
    const double difference = std::fabs(arc.radius[1] - arc.radius[0]);
    if (!(std::min(arc.radius[0], arc.radius[1]) > 1e-6)) return "the arc has radius 0";
    if (difference > kMostArcSlack)
        return "the arc does not close: its start is " + FormatNumber(arc.radius[0]) +
               " mm from the centre, its end " + FormatNumber(arc.radius[1]);
    arc.slack = std::max(arc.slack, difference);
    arc.angle = std::atan2(words.from[1] - arc.center[1], words.from[0] - arc.center[0]);
    arc.sweep = SweepOf(arc, words);
    return {};
}

} // namespace check
