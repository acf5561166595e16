#include "part.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace check
{
namespace
{

using Json = nlohmann::ordered_json;

std::string Hex(std::uint64_t number)
{
    char text[20];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
    return text;
}

/// Infinity has no JSON number; no clearance is negative.
double OrMinus(double clearance) { return clearance == HUGE_VAL ? -1 : clearance; }
double OrInfinity(double number) { return number < 0 ? HUGE_VAL : number; }

Json RowOf(const Clearance& c) { return {c.checked, c.a, c.b, OrMinus(c.low), OrMinus(c.high)}; }
Json RowOf(const Hit& h)
{
    return {h.move, h.a,        h.b,        h.atStart, h.inside,
            h.time, h.distance, h.approach, h.point,   h.normal};
}
Json RowOf(const Undecided& u) { return {u.move, u.a, u.b, u.time, u.openMesh}; }

/// Exceptions of the JSON library end here: a part that was tampered with is refused as a whole.
struct PartReader {
    const Job& job;
    const nlohmann::json& root;
    Findings& findings;

    bool Fits(std::int32_t body) const
    {
        return -1 <= body && body < static_cast<std::int32_t>(job.bodies.size());
    }

    bool Take(const Shard& shard)
    {
        const std::size_t first = FirstMove(shard, findings.clearance.size());
        const std::size_t end =
            FirstMove({shard.index + 1, shard.count}, findings.clearance.size());
        const auto& rows = root.at("clearance");
        if (rows.size() != end - first) return false;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto& row = rows[i];
            const Clearance c{row.at(0), row.at(1), row.at(2), OrInfinity(row.at(3)),
                              OrInfinity(row.at(4))};
            if (!Fits(c.a) || !Fits(c.b)) return false;
            findings.clearance[first + i] = c;
        }
        for (const auto& row : root.at("hits")) {
            findings.hits.push_back({row.at(0), row.at(1), row.at(2), row.at(3), row.at(4),
                                     row.at(5), row.at(6), row.at(7), row.at(8), row.at(9)});
            if (!IsOf(findings.hits.back(), first, end)) return false;
        }
        for (const auto& row : root.at("undecided")) {
            findings.undecided.push_back({row.at(0), row.at(1), row.at(2), row.at(3), row.at(4)});
            if (!IsOf(findings.undecided.back(), first, end)) return false;
        }
        return true;
    }

    bool IsOf(const auto& row, std::size_t first, std::size_t end) const
    {
        return first <= row.move && row.move < end && Fits(row.a) && Fits(row.b) && row.a >= 0 &&
               row.b >= 0;
    }
};

/// @return what is wrong; empty when the part was taken
std::string TakePart(const Job& job, const nlohmann::json& root, std::vector<bool>& taken,
                     Findings& findings)
{
    try {
        if (root.at("format") != "scapi-check-part" || root.at("version") != 1)
            return "is no part that this version wrote";
        if (root.at("digest") != Hex(job.digest))
            return "is a part of another job, or the job, its program or its meshes have changed";
        const Shard shard{root.at("shard").at(0), root.at("shard").at(1)};
        if (taken.empty()) taken.resize(std::clamp<std::size_t>(shard.count, 1, 1000000));
        if (shard.count != taken.size() || shard.index >= shard.count)
            return "is of another number of shards than the first part";
        if (taken[shard.index]) return "is a second part of the same shard";
        taken[shard.index] = true;
        return PartReader{job, root, findings}.Take(shard) ? "" : "is damaged";
    } catch (const nlohmann::json::exception& error) {
        return std::string("is no part: ") + error.what();
    }
}

} // namespace

std::string PartJson(const Job& job, const Shard& shard, const Findings& findings)
{
    Json out;
    out["format"] = "scapi-check-part", out["version"] = 1;
    out["digest"] = Hex(job.digest);
    out["shard"] = {shard.index, shard.count};
    for (const char* list : {"clearance", "hits", "undecided"}) out[list] = Json::array();
    const std::size_t end = FirstMove({shard.index + 1, shard.count}, findings.clearance.size());
    for (std::size_t i = FirstMove(shard, findings.clearance.size()); i < end; ++i)
        out["clearance"].push_back(RowOf(findings.clearance[i]));
    for (const Hit& hit : findings.hits) out["hits"].push_back(RowOf(hit));
    for (const Undecided& undecided : findings.undecided)
        out["undecided"].push_back(RowOf(undecided));
    return out.dump() + "\n";
}

bool MergeParts(const Job& job, const std::vector<std::string>& paths, Findings& findings,
                Problems& problems)
{
    findings = {};
    findings.clearance.resize(job.program.moves.size());
    std::vector<bool> taken;
    for (const std::string& path : paths) {
        JsonFile file;
        if (!ParseJson(path, file, problems)) continue;
        const std::string fault = TakePart(job, *file.root, taken, findings);
        if (!fault.empty()) problems.push_back({path, 0, "", fault});
    }
    for (std::size_t i = 0; problems.empty() && i < taken.size(); ++i)
        if (!taken[i])
            problems.push_back({job.path, 0, "",
                                "the part of shard " + std::to_string(i + 1) + "/" +
                                    std::to_string(taken.size()) + " is missing"});
    Sort(findings);
    return problems.empty();
}

} // namespace check
