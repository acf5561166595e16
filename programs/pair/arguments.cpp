#include "arguments.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <set>
#include <string_view>

#include "numbers.h"
#include "poses.h"

namespace pair
{
namespace
{

constexpr double kMillimetresOfAnInch = 25.4;
constexpr double kToleranceInMillimetres = 0.01;

/// What was said of the place of one solid, before it is put together.
struct Placement {
    std::optional<Pose> start, end;
    std::optional<Vector> path, pivot;
    std::optional<std::array<double, 4>> turn; ///< axis of any length, degrees
};

struct Parsed {
    std::vector<Source> sources;
    std::array<Placement, 2> placements;
    std::array<std::optional<Unit>, 2> fileUnits;
    std::optional<double> tolerance;
};

template <std::size_t kCount>
std::string ParseExactly(const std::string& value, std::optional<std::array<double, kCount>>& out)
{
    std::string error;
    const std::vector<double> numbers = ParseNumbers(value, error);
    if (!error.empty()) return error;
    if (numbers.size() != kCount)
        return "takes " + std::to_string(kCount) + " numbers, not " +
               std::to_string(numbers.size());
    out.emplace();
    std::copy(numbers.begin(), numbers.end(), out->begin());
    return {};
}

std::string ParsePose(const std::string& value, std::optional<Pose>& out)
{
    std::string error;
    const std::vector<double> numbers = ParseNumbers(value, error);
    if (!error.empty()) return error;
    out.emplace();
    error = PoseFromNumbers(numbers, *out);
    if (!error.empty()) return error;
    const int code = scapi_pose_check(out->data());
    return code == SCAPI_OK ? std::string() : scapi_error_text(code);
}

std::string ParseUnit(const std::string& value, Unit& unit)
{
    if (value != "mm" && value != "inch") return "takes mm or inch";
    unit = value == "mm" ? Unit::kMillimetre : Unit::kInch;
    return {};
}

std::string ParseTolerance(const std::string& value, std::optional<double>& out)
{
    std::optional<std::array<double, 1>> number;
    const std::string error = ParseExactly(value, number);
    if (!error.empty()) return error;
    if (!(0 <= (*number)[0] && (*number)[0] <= 1e9)) return "takes a length from 0 to 1e9";
    out = (*number)[0];
    return {};
}

std::string ParseBudget(const std::string& value, std::int64_t& out)
{
    std::optional<std::array<double, 1>> number;
    const std::string error = ParseExactly(value, number);
    if (!error.empty()) return error;
    const double budget = (*number)[0];
    if (!(1 <= budget && budget <= 1e15) || budget != std::floor(budget))
        return "takes a whole number from 1 to 1e15";
    out = static_cast<std::int64_t>(budget);
    return {};
}

/// An option of one solid, without its "-a" or "-b". @return nothing when there is no such option
std::optional<std::string> ParseOfSolid(std::string_view name, const std::string& value, int solid,
                                        Parsed& parsed)
{
    const auto index = static_cast<std::size_t>(solid);
    Placement& placement = parsed.placements[index];
    if (name == "--pose") return ParsePose(value, placement.start);
    if (name == "--to") return ParsePose(value, placement.end);
    if (name == "--path") return ParseExactly(value, placement.path);
    if (name == "--turn") return ParseExactly(value, placement.turn);
    if (name == "--pivot") return ParseExactly(value, placement.pivot);
    if (name == "--units") return ParseUnit(value, parsed.fileUnits[index].emplace());
    return std::nullopt;
}

/// An option that is followed by a value. @return nothing when there is no such option
std::optional<std::string> ParseValue(const std::string& option, const std::string& value,
                                      Parsed& parsed, Request& request)
{
    if (option == "--units") return ParseUnit(value, request.unit);
    if (option == "--tolerance") return ParseTolerance(value, parsed.tolerance);
    if (option == "--budget") return ParseBudget(value, request.budget);
    if (option == "--html") {
        request.html = value;
        return value.empty() ? "needs the path of a file" : std::string();
    }
    const std::size_t end = option.size() < 2 ? 0 : option.size() - 2;
    if (option.substr(end) == "-a") return ParseOfSolid(option.substr(0, end), value, 0, parsed);
    if (option.substr(end) == "-b") return ParseOfSolid(option.substr(0, end), value, 1, parsed);
    return std::nullopt;
}

/// An option that stands alone.
bool ParseFlag(const std::string& option, Request& request)
{
    if (option == "-h" || option == "--help") return request.help = true;
    if (option == "--json") return request.json = true;
    if (option == "--compare") return request.compare = true;
    if (option == "--surfaces") return request.surfaces = true;
    return false;
}

std::string ParseSource(const std::string& text, std::vector<Source>& sources)
{
    Source source{Source::kFile, text, {}, 1};
    if (text.empty()) return "a solid has an empty name: give an STL file, box:... or cyl:...";
    if (text.starts_with("box:")) source.kind = Source::kBox;
    if (text.starts_with("cyl:")) source.kind = Source::kCylinder;
    if (source.kind != Source::kFile) {
        std::string error;
        source.numbers = ParseNumbers(std::string_view(text).substr(4), error);
        if (!error.empty()) return text + ": " + error;
        if (source.kind == Source::kBox && source.numbers.size() != 6)
            return text + ": a box takes 6 numbers, minimum x, y, z and maximum x, y, z";
        if (source.kind == Source::kCylinder && source.numbers.size() != 7)
            return text + ": a cylinder takes 7 numbers, the ends of its axis and the radius";
    }
    sources.push_back(source);
    return {};
}

/// Two poses, or a path and a turn, as one motion.
std::string MakeMotion(const Placement& placement, const std::string& suffix, scapi_motion& motion,
                       bool& moves)
{
    const Pose start = placement.start.value_or(kRest);
    moves = placement.end || placement.path || placement.turn;
    if (placement.end && (placement.path || placement.turn))
        return "--to" + suffix + " does not go with --path" + suffix + " or --turn" + suffix +
               ": give the end, or the way there";
    if (placement.pivot && !placement.end && !placement.turn)
        return "--pivot" + suffix + " needs a rotation: add --turn" + suffix + " or --to" + suffix;
    motion = {};
    std::copy(start.begin(), start.end(), motion.start);
    motion.axis[2] = 1;
    const double* pivot = placement.pivot ? placement.pivot->data() : nullptr;
    if (placement.end) {
        const int code = scapi_motion_between(start.data(), placement.end->data(), pivot, &motion);
        if (code == SCAPI_ERROR_HALF_TURN)
            return "--to" + suffix +
                   " is half a turn away, and either way round is as short: give " + "--turn" +
                   suffix + ", and --path" + suffix + " if it moves";
        return code == SCAPI_OK ? std::string() : "--to" + suffix + ": " + scapi_error_text(code);
    }
    if (pivot) std::copy_n(pivot, 3, motion.pivot);
    if (placement.path) std::copy_n(placement.path->data(), 3, motion.path);
    if (!placement.turn) return {};
    const double* turn = placement.turn->data();
    const double length = std::hypot(turn[0], turn[1], turn[2]);
    if (!(length > 0)) return "--turn" + suffix + " needs an axis: x, y and z cannot all be 0";
    for (int axis = 0; axis < 3; ++axis) motion.axis[axis] = turn[axis] / length;
    motion.angle = turn[3] * std::numbers::pi / 180;
    return {};
}

/// Checks what a motion holds beside its start pose.
std::string CheckMotion(const scapi_motion& motion, const std::string& suffix)
{
    double pose[12];
    const int code = scapi_motion_pose(&motion, 1, pose);
    return code == SCAPI_OK ? std::string()
                            : "--path" + suffix + ", --turn" + suffix + ", --pivot" + suffix +
                                  ": " + scapi_error_text(code);
}

std::string Assemble(const Parsed& parsed, Request& request)
{
    if (parsed.sources.size() != 2)
        return "two solids are needed, not " + std::to_string(parsed.sources.size());
    request.tolerance = parsed.tolerance.value_or(kToleranceInMillimetres *
                                                  Factor(Unit::kMillimetre, request.unit));
    for (std::size_t i = 0; i < 2; ++i) {
        const std::string suffix = i == 0 ? "-a" : "-b";
        request.sources[i] = parsed.sources[i];
        if (parsed.fileUnits[i] && request.sources[i].kind != Source::kFile)
            return "--units" + suffix + " is for files; a box or cylinder is in --units";
        request.sources[i].scale = Factor(parsed.fileUnits[i].value_or(request.unit), request.unit);
        std::string error =
            MakeMotion(parsed.placements[i], suffix, request.motions[i], request.moves[i]);
        if (error.empty()) error = CheckMotion(request.motions[i], suffix);
        if (!error.empty()) return error;
    }
    return {};
}

} // namespace

const char* Name(Unit unit) { return unit == Unit::kInch ? "inch" : "mm"; }

double Factor(Unit from, Unit to)
{
    if (from == to) return 1;
    return from == Unit::kInch ? kMillimetresOfAnInch : 1 / kMillimetresOfAnInch;
}

std::string ParseArguments(const std::vector<std::string>& arguments, Request& request)
{
    Parsed parsed;
    std::set<std::string> seen;
    bool optionsEnd = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (optionsEnd || argument.empty() || argument[0] != '-') {
            const std::string error = ParseSource(argument, parsed.sources);
            if (!error.empty()) return error;
        } else if (argument == "--") {
            optionsEnd = true;
        } else if (!seen.insert(argument).second) {
            return argument + " was given twice: leave one out";
        } else if (ParseFlag(argument, request)) {
            if (request.help) return {};
        } else {
            const bool last = i + 1 == arguments.size();
            const auto error = ParseValue(argument, last ? "" : arguments[i + 1], parsed, request);
            if (!error) return "there is no option " + argument;
            if (last) return argument + " needs a value";
            if (!error->empty()) return argument + ": " + *error;
            ++i;
        }
    }
    return Assemble(parsed, request);
}

} // namespace pair
