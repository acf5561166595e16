// Moves of a program, and the way of the axes along each of them.
#ifndef SCAPI_CHECK_PATH_H
#define SCAPI_CHECK_PATH_H

#include <cstdint>

#include "machine.h"

namespace check
{

enum class MoveKind : std::uint8_t {
    kPlace,   ///< nothing moves: the start of the program, or a tool that was put in
    kRapid,   ///< G0
    kFeed,    ///< G1
    kArc,     ///< G2 and G3
    kRetract, ///< a rapid of a canned cycle, within what the feed of the same cycle has cut
};
const char* NameOf(MoveKind kind);

/// A circular way of two linear axes; the others go evenly.
struct Arc {
    std::size_t first = 0, second = 0; ///< axes; the angle runs from the first to the second
    double center[2]{};
    double radius[2]{}; ///< at the start and at the end: equal but for rounding of the program
    double angle = 0;   ///< at the start, radians
    double sweep = 0;   ///< radians, of either sign, up to a full turn
    double slack = 0; ///< mm: how far the program leaves open where the arc runs, by a radius that
                      ///< doesn't quite fit its ends
};

struct Move {
    Position from{}, to{};
    std::int32_t line = 0;  ///< of the program, from 1
    std::int32_t tool = -1; ///< into the tools of the job; -1: none in the spindle
    std::int32_t arc = -1;  ///< into Program::arcs
    MoveKind kind = MoveKind::kPlace;
};

struct Program {
    std::vector<Move> moves;
    std::vector<Arc> arcs;
    std::string text;               ///< of the file
    std::vector<std::size_t> lines; ///< where each line begins in the text
    Problems warnings; ///< what was met that does not keep the program from being checked
};

/// A line of the program, without its end. Empty for a number that names none.
std::string LineOf(const Program& program, std::int32_t line);

/// Takes a file as the text of the program. @return whether it could be read
bool ReadText(const std::string& path, Program& program, Problems& problems);

/// The axes from time 0 to 1 of a move. Between its breaks each goes evenly, or along the arc.
struct Path {
    Position from{}, to{};
    const Arc* arc = nullptr;
    std::array<double, kMaxAxes> ends{}; ///< when each axis has arrived
    std::vector<double> breaks;          ///< from 0 to 1
};

/// @param dogLeg  rapids take each axis at its own speed, all from the start on
Path PathOf(const Machine& machine, const Program& program, const Move& move, bool dogLeg);

Position At(const Path& path, double time);

/// The least and the greatest position of an axis along a path.
std::array<double, 2> RangeOf(const Path& path, std::size_t axis);

} // namespace check

#endif
