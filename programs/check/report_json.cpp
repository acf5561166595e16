#include <nlohmann/json.hpp>

#include "report.h"

namespace check
{
namespace
{

using Json = nlohmann::ordered_json;

/// So that a certified value stays one.
double RoundedDown(double mm) { return std::floor(mm * 1e6) / 1e6; }

Json Place(const Job& job, std::uint32_t index)
{
    const Move& move = job.program.moves[index];
    return {{"line", move.line}, {"move", index}, {"kind", NameOf(move.kind)}};
}

Json PositionAt(const Job& job, std::uint32_t index, double time)
{
    const Path path =
        PathOf(job.machine, job.program, job.program.moves[index], job.settings.dogLeg);
    const Position position = At(path, time);
    Json out = Json::object();
    for (std::size_t i = 0; i < job.machine.axes.size(); ++i)
        out[std::string(1, job.machine.axes[i].letter)] = position[i];
    return out;
}

Json HitsOf(const Report& report)
{
    Json out = Json::array();
    std::vector<std::size_t> incidentOf;
    IncidentsOf(report.findings, &incidentOf);
    for (std::size_t i = 0; i < report.findings.hits.size(); ++i) {
        const Hit& hit = report.findings.hits[i];
        Json row = Place(report.job, hit.move);
        row["incident"] = incidentOf[i];
        row["a"] = report.job.bodies[std::size_t(hit.a)].name;
        row["b"] = report.job.bodies[std::size_t(hit.b)].name;
        row["fraction"] = hit.time;
        row["at_start"] = hit.atStart, row["inside"] = hit.inside;
        row["distance"] = hit.distance, row["approach"] = hit.approach;
        row["point"] = hit.point, row["normal"] = hit.normal;
        row["axes"] = PositionAt(report.job, hit.move, hit.time);
        row["block"] = LineOf(report.job.program, report.job.program.moves[hit.move].line);
        out.push_back(row);
    }
    return out;
}

Json UndecidedOf(const Report& report)
{
    Json out = Json::array();
    for (const Undecided& undecided : report.findings.undecided) {
        Json row = Place(report.job, undecided.move);
        row["a"] = report.job.bodies[std::size_t(undecided.a)].name;
        row["b"] = report.job.bodies[std::size_t(undecided.b)].name;
        row["clear_until"] = undecided.time;
        row["open_mesh"] = undecided.openMesh;
        out.push_back(row);
    }
    return out;
}

/// Of each move: null beyond the range, false where it was not checked.
Json LeastOf(const Findings& findings)
{
    Json out = Json::array();
    for (const Clearance& clearance : findings.clearance) {
        if (!clearance.checked)
            out.push_back(false);
        else if (clearance.low == HUGE_VAL)
            out.push_back(nullptr);
        else
            out.push_back(RoundedDown(clearance.low));
    }
    return out;
}

Json NearOf(const Report& report)
{
    Json out = Json::array();
    for (const std::uint32_t index : NearMoves(report)) {
        const Clearance& clearance = report.findings.clearance[index];
        Json row = Place(report.job, index);
        row["a"] = report.job.bodies[std::size_t(clearance.a)].name;
        row["b"] = report.job.bodies[std::size_t(clearance.b)].name;
        row["clearance"] = RoundedDown(clearance.low);
        out.push_back(row);
    }
    return out;
}

} // namespace

std::string JsonReport(const Report& report)
{
    const Job& job = report.job;
    const Settings& s = job.settings;
    Json out;
    out["format"] = "scapi-check-report", out["version"] = 1;
    out["job"] = job.name, out["machine"] = job.machine.name;
    out["verdict"] = NameOf(VerdictOf(report)), out["summary"] = Summary(report);
    out["moves"] = job.program.moves.size(), out["checked"] = CheckedMoves(report.findings);
    out["settings"] = {{"tolerance", s.tolerance}, {"precision", s.precision},
                       {"chord", s.chord},         {"limit", s.limit},
                       {"range", s.range},         {"rapids", s.dogLeg ? "dog-leg" : "straight"}};
    out["hits"] = HitsOf(report);
    out["undecided"] = UndecidedOf(report);
    out["near"] = NearOf(report);
    out["warnings"] = Json::array();
    for (const Problem& problem : job.program.warnings)
        out["warnings"].push_back({{"line", problem.line}, {"text", problem.text}});
    out["not_closed"] = Json::array();
    for (const Body& body : job.bodies)
        if (!body.closed) out["not_closed"].push_back(body.name);
    out["not_checked"] = Json::array();
    for (const Pair& pair : report.pairs.ignored)
        out["not_checked"].push_back({{"a", job.bodies[std::size_t(pair.a)].name},
                                      {"b", job.bodies[std::size_t(pair.b)].name},
                                      {"reason", pair.contact.reason}});
    out["clearance"] = LeastOf(report.findings);
    return out.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace check
