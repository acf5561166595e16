#include "path.h"

#include <algorithm>

#include "read_file.h"

namespace check
{

const char* NameOf(MoveKind kind)
{
    constexpr const char* kNames[] = {"place", "rapid", "feed", "arc", "retract"};
    return kNames[static_cast<std::size_t>(kind)];
}

std::string LineOf(const Program& program, std::int32_t line)
{
    if (line < 1 || static_cast<std::size_t>(line) > program.lines.size()) return {};
    const std::size_t start = program.lines[static_cast<std::size_t>(line) - 1];
    const std::size_t end =
        std::min(program.text.find_first_of("\r\n", start), program.text.size());
    return program.text.substr(start, end - start);
}

bool ReadText(const std::string& path, Program& program, Problems& problems)
{
    if (!ReadFile(path, program.text, problems)) return false;
    // A carriage return alone ends a line too: a comment must not swallow the line behind it.
    const std::string& text = program.text;
    for (std::size_t at = text.starts_with("\xef\xbb\xbf") ? 3 : 0; at < text.size();) {
        program.lines.push_back(at);
        at = text.find_first_of("\r\n", at);
        if (at == std::string::npos) break;
        at += text.compare(at, 2, "\r\n") == 0 ? 2 : 1;
    }
    return true;
}

Path PathOf(const Machine& machine, const Program& program, const Move& move, bool dogLeg)
{
    Path path{move.from, move.to, nullptr, {}, {0, 1}};
    path.ends.fill(1);
    if (move.arc >= 0) path.arc = &program.arcs[static_cast<std::size_t>(move.arc)];
    if (!dogLeg || move.kind != MoveKind::kRapid) return path;
    double longest = 0;
    for (std::size_t i = 0; i < machine.axes.size(); ++i) {
        path.ends[i] = std::fabs(move.to[i] - move.from[i]) / machine.axes[i].rapid;
        longest = std::max(longest, path.ends[i]);
    }
    for (std::size_t i = 0; i < machine.axes.size(); ++i) {
        path.ends[i] = longest > 0 ? path.ends[i] / longest : 1;
        if (0 < path.ends[i] && path.ends[i] < 1) path.breaks.push_back(path.ends[i]);
    }
    std::sort(path.breaks.begin(), path.breaks.end());
    path.breaks.erase(std::unique(path.breaks.begin(), path.breaks.end()), path.breaks.end());
    return path;
}

Position At(const Path& path, double time)
{
    Position out = path.to;
    for (std::size_t i = 0; i < kMaxAxes; ++i)
        if (time < path.ends[i])
            out[i] = path.from[i] + (path.to[i] - path.from[i]) * (time / path.ends[i]);
    if (!path.arc || time <= 0 || time >= 1) return time <= 0 ? path.from : out;
    const Arc& arc = *path.arc;
    const double radius = arc.radius[0] + (arc.radius[1] - arc.radius[0]) * time;
    const double angle = arc.angle + arc.sweep * time;
    out[arc.first] = arc.center[0] + radius * std::cos(angle);
    out[arc.second] = arc.center[1] + radius * std::sin(angle);
    return out;
}

std::array<double, 2> RangeOf(const Path& path, std::size_t axis)
{
    std::array<double, 2> range{std::min(path.from[axis], path.to[axis]),
                                std::max(path.from[axis], path.to[axis])};
    if (!path.arc || (axis != path.arc->first && axis != path.arc->second)) return range;
    // The farthest points of an arc lie where its angle is a multiple of a quarter turn.
    const double quarter = kPi / 2, start = path.arc->angle, end = start + path.arc->sweep;
    for (double k = std::ceil(std::min(start, end) / quarter); k * quarter <= std::max(start, end);
         ++k) {
        const double position = At(path, (k * quarter - start) / path.arc->sweep)[axis];
        range = {std::min(range[0], position), std::max(range[1], position)};
    }
    return range;
}

} // namespace check
