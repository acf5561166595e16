#include "report.h"

#include <algorithm>
#include <map>

#include "gcode_block.h"

namespace check
{

const char* NameOf(Verdict verdict)
{
    constexpr const char* kNames[] = {"clear", "hits", "error", "undecided"};
    return kNames[static_cast<std::size_t>(verdict)];
}

std::vector<Incident> IncidentsOf(const Findings& findings, std::vector<std::size_t>* incidentOf)
{
    std::vector<Incident> out;
    std::map<std::pair<std::int32_t, std::int32_t>, std::size_t> latest;
    for (std::size_t i = 0; i < findings.hits.size(); ++i) {
        const Hit& hit = findings.hits[i];
        const auto [at, fresh] = latest.emplace(std::pair{hit.a, hit.b}, out.size());
        if (fresh || hit.move != out[at->second].lastMove + 1) {
            at->second = out.size();
            out.push_back({i, hit.move, 0});
        }
        Incident& incident = out[at->second];
        incident.lastMove = hit.move;
        incident.approach = std::max(incident.approach, hit.approach);
        if (incidentOf) incidentOf->push_back(at->second);
    }
    return out;
}

std::size_t CheckedMoves(const Findings& findings)
{
    return static_cast<std::size_t>(
        std::count_if(findings.clearance.begin(), findings.clearance.end(),
                      [](const Clearance& clearance) { return clearance.checked; }));
}

std::vector<std::uint32_t> NearMoves(const Report& report)
{
    std::vector<std::uint32_t> out;
    const auto& clearance = report.findings.clearance;
    for (std::size_t i = 0; i < clearance.size(); ++i)
        if (clearance[i].low < report.job.settings.limit)
            out.push_back(static_cast<std::uint32_t>(i));
    return out;
}

Verdict VerdictOf(const Report& report)
{
    const Findings& findings = report.findings;
    if (!findings.hits.empty()) return Verdict::kHits;
    const bool complete = CheckedMoves(findings) == findings.clearance.size();
    return findings.undecided.empty() && complete ? Verdict::kClear : Verdict::kUndecided;
}

std::string Summary(const Report& report)
{
    const Findings& findings = report.findings;
    const auto count = [](std::size_t n, const std::string& what) {
        return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
    };
    const std::size_t hits = IncidentsOf(findings).size(), near = NearMoves(report).size();
    const std::size_t checked = CheckedMoves(findings), all = findings.clearance.size();
    std::string out = hits > 0 ? count(hits, "hit") : "no hit";
    out += " in " + count(all, "move");
    if (!findings.undecided.empty())
        out += ", " + std::to_string(findings.undecided.size()) + " undecided";
    if (near > 0)
        out += ", " + count(near, "move") + " nearer than " +
               FormatNumber(report.job.settings.limit) + " mm";
    if (checked < all) out += ", only " + std::to_string(checked) + " of them checked";
    return out;
}

std::string PairName(const Job& job, std::int32_t a, std::int32_t b)
{
    return job.bodies[std::size_t(a)].name + " / " + job.bodies[std::size_t(b)].name;
}

} // namespace check
