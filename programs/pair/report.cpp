#include "report.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>

#include "numbers.h"

namespace pair
{
namespace
{

using Json = nlohmann::ordered_json;

std::string Percent(double time) { return Format(100 * time) + " %"; }

/// How far both have come at a time: "after 12 mm and 30 degrees of B".
std::string Progress(const Request& request, double time)
{
    std::string text;
    for (std::size_t i = 0; i < 2; ++i) {
        const scapi_motion& motion = request.motions[i];
        const double length = std::hypot(motion.path[0], motion.path[1], motion.path[2]);
        std::string part;
        if (length > 0) part = Format(time * length) + " " + Name(request.unit);
        if (motion.angle != 0)
            part += (part.empty() ? "" : " and ") +
                    Format(std::fabs(time * motion.angle) * 180 / std::numbers::pi) + " degrees";
        if (!part.empty()) text += (text.empty() ? "after " : ", ") + part + " of " + "AB"[i];
    }
    return text;
}

std::string ContactAtRest(const Request& request, const Answer& answer)
{
    const std::string unit = Name(request.unit);
    std::string text = "CONTACT";
    if (answer.moving) text += " at the start";
    if (answer.relation == SCAPI_CROSSING)
        text += ": the surfaces cross";
    else if (answer.relation == SCAPI_TOUCHING)
        text += ": the surfaces touch";
    else
        text += ": the surfaces are " + Format(answer.nearest) + " " + unit + " apart, tolerance " +
                Format(answer.tolerance);
    const ContactRegion& region = *answer.region;
    Vector middle, size;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        middle[axis] = (region.low[axis] + region.high[axis]) / 2;
        size[axis] = region.high[axis] - region.low[axis];
    }
    text += ", around (" + FormatPoint(middle.data()) + "), over " +
            (region.complete ? "" : "at least ") + Format(size[0]) + " x " + Format(size[1]) +
            " x " + Format(size[2]) + " " + unit;
    return text;
}

std::string Contact(const Request& request, const Answer& answer)
{
    if (answer.region) return ContactAtRest(request, answer);
    return "CONTACT at " + Percent(answer.contactTime) + " of the way, " +
           Progress(request, answer.contactTime) + ", at (" + FormatPoint(answer.points->a.data()) +
           ") " + Name(request.unit) + "; clear until " + FormatDown(100 * answer.clearUntil) +
           " %";
}

std::string Clear(const Request& request, const Answer& answer)
{
    const std::string unit = Name(request.unit);
    std::string text = "CLEAR by at least " + FormatDown(answer.atLeast) + " " + unit;
    if (answer.moving) {
        text += " all the way";
        if (std::isfinite(answer.nearest)) text += ", nearest " + Format(answer.nearest);
    } else if (answer.points) {
        text += ", nearest at (" + FormatPoint(answer.points->a.data()) + ") of A and (" +
                FormatPoint(answer.points->b.data()) + ") of B";
    }
    return text;
}

std::string Inside(const Request& request, const Answer& answer)
{
    const bool aInB = answer.relation == SCAPI_A_IN_B;
    std::string text = std::string("INSIDE: ") + (answer.whole ? "" : "a part of ") +
                       (aInB ? "A lies inside B" : "B lies inside A");
    if (answer.moving) return text + " at the start";
    return text + ", the surfaces at least " + FormatDown(answer.atLeast) + " " +
           Name(request.unit) + " apart";
}

std::string Undecided(const Answer& answer)
{
    std::string text = "UNDECIDED: " + answer.reason;
    if (answer.moving && answer.clearUntil > 0)
        text += "; clear until " + FormatDown(100 * answer.clearUntil) + " % of the way";
    return text;
}

const char* Word(Verdict verdict)
{
    constexpr const char* words[] = {"clear", "contact", "inside", "undecided"};
    return words[static_cast<std::size_t>(verdict)];
}

const char* RelationWord(int relation)
{
    constexpr const char* words[] = {"unknown",  "apart",  "touching",
                                     "crossing", "a_in_b", "b_in_a"};
    return words[relation];
}

/// Names come from files and may hold what moves the cursor of a terminal.
std::string Printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 32 || c == 127; }, '?');
    return text;
}

Json FiniteOrNull(double value) { return std::isfinite(value) ? Json(value) : Json(nullptr); }

Json SolidToJson(const Solid& solid)
{
    return {{"name", solid.name},
            {"triangles", solid.info.triangles},
            {"closed", solid.info.closed != 0},
            {"low", solid.info.low},
            {"high", solid.info.high}};
}

Json RegionToJson(const ContactRegion& region)
{
    return {{"pairs", region.pairs},
            {"complete", region.complete},
            {"low", region.low},
            {"high", region.high}};
}

void AddMotion(const Answer& answer, Json& json)
{
    json["clear_until"] = answer.clearUntil;
    json["contact_time"] =
        answer.verdict == Verdict::kContact ? Json(answer.contactTime) : Json(nullptr);
}

} // namespace

int ExitStatus(Verdict verdict)
{
    constexpr int statuses[] = {0, 1, 1, 3};
    return statuses[static_cast<std::size_t>(verdict)];
}

std::string VerdictLine(const Request& request, const Answer& answer)
{
    switch (answer.verdict) {
    case Verdict::kClear:
        return Clear(request, answer);
    case Verdict::kContact:
        return Contact(request, answer);
    case Verdict::kInside:
        return Inside(request, answer);
    default:
        return Undecided(answer);
    }
}

std::string SolidLine(const Request& request, const Report& report, std::size_t index)
{
    const Solid& solid = report.solids[index];
    std::string text = std::string("AB").substr(index, 1) + "  " + Printable(solid.name) + ": " +
                       std::to_string(solid.info.triangles) + " triangles" +
                       (solid.info.closed ? "" : ", not closed");
    for (int axis = 0; axis < 3; ++axis)
        text += std::string(", ") + "xyz"[axis] + " " + Format(double(solid.info.low[axis])) +
                " to " + Format(double(solid.info.high[axis]));
    return text + " " + Name(request.unit);
}

std::string CallsText(const FifteenCalls& calls)
{
    if (!calls.problem.empty()) return "no answer, since " + calls.problem;
    const auto word = [](bool hit) { return hit ? "interference" : "no interference"; };
    return word(calls.Contact()) + std::string() +
           " (edges of B against A: " + word(calls.edgesOfB) +
           ", edges of A against B: " + word(calls.edgesOfA) + ")";
}

std::string ToJson(const Request& request, const Report& report)
{
    const Answer& answer = report.answer;
    Json json{{"verdict", Word(answer.verdict)},
              {"text", VerdictLine(request, answer)},
              {"unit", Name(request.unit)},
              {"tolerance", answer.tolerance},
              {"relation", RelationWord(answer.relation)},
              {"at_least", answer.atLeast},
              {"nearest", FiniteOrNull(answer.nearest)}};
    if (answer.moving) AddMotion(answer, json);
    if (answer.points) json["points"] = {{"a", answer.points->a}, {"b", answer.points->b}};
    if (answer.normal) json["normal"] = *answer.normal;
    if (answer.region) json["region"] = RegionToJson(*answer.region);
    if (answer.points) json["triangles"] = {{"a", answer.triangles[0]}, {"b", answer.triangles[1]}};
    json["solids"] = {{"a", SolidToJson(report.solids[0])}, {"b", SolidToJson(report.solids[1])}};
    if (report.calls && report.calls->problem.empty())
        json["fifteen_calls"] = {{"interference", report.calls->Contact()},
                                 {"edges_of_b", report.calls->edgesOfB},
                                 {"edges_of_a", report.calls->edgesOfA}};
    else if (report.calls)
        json["fifteen_calls"] = {{"problem", report.calls->problem}};
    json["warnings"] = report.warnings;
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

} // namespace pair
