#include <algorithm>
#include <cstdio>

#include "gcode_block.h"
#include "report.h"

namespace check
{
namespace
{

constexpr std::size_t kMostRows = 50; ///< of each table; the JSON report has all

std::string Fixed(double number, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, number);
    return text;
}

/// Lines up columns: all to the left but those of numbers.
std::string Table(const std::vector<std::vector<std::string>>& rows)
{
    std::vector<std::size_t> width;
    for (const auto& row : rows) {
        width.resize(std::max(width.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) width[i] = std::max(width[i], row[i].size());
    }
    std::string out;
    for (const auto& row : rows) {
        std::string text;
        for (std::size_t i = 0; i < row.size(); ++i)
            text += "  " + row[i] + std::string(width[i] - row[i].size(), ' ');
        out += text.substr(0, text.find_last_not_of(' ') + 1) + "\n";
    }
    return out;
}

std::string MoveName(const Job& job, std::uint32_t index)
{
    const Move& move = job.program.moves[index];
    return std::to_string(index) + " " + NameOf(move.kind);
}

std::string Lines(const Job& job, std::uint32_t first, std::uint32_t last)
{
    const std::int32_t from = job.program.moves[first].line, to = job.program.moves[last].line;
    return std::to_string(from) + (from == to ? "" : '-' + std::to_string(to));
}

std::string HitTable(const Report& report)
{
    std::vector<std::vector<std::string>> rows{
        {"line", "move", "pair", "at", "point (machine)", "approach", "block"}};
    const auto incidents = IncidentsOf(report.findings);
    for (const Incident& incident : incidents) {
        if (rows.size() > kMostRows) break;
        const Hit& hit = report.findings.hits[incident.first];
        const std::int32_t line = report.job.program.moves[hit.move].line;
        rows.push_back(
            {Lines(report.job, hit.move, incident.lastMove), MoveName(report.job, hit.move),
             PairName(report.job, hit.a, hit.b), hit.inside ? "inside" : Fixed(hit.time, 4),
             Fixed(hit.point[0], 3) + " " + Fixed(hit.point[1], 3) + " " + Fixed(hit.point[2], 3),
             Fixed(incident.approach, 3), LineOf(report.job.program, line)});
    }
    std::string out =
        "\nHits: at is the fraction of the move, approach the mm that the move goes on "
        "into the contact\n" +
        Table(rows);
    if (incidents.size() > kMostRows)
        out += "  and " + std::to_string(incidents.size() - kMostRows) + " more\n";
    return out;
}

std::string UndecidedTable(const Report& report)
{
    std::vector<std::vector<std::string>> rows{{"line", "move", "pair", "clear until", "reason"}};
    for (const Undecided& row : report.findings.undecided) {
        if (rows.size() > kMostRows) break;
        rows.push_back(
            {Lines(report.job, row.move, row.move), MoveName(report.job, row.move),
             PairName(report.job, row.a, row.b), Fixed(row.time, 4),
             row.openMesh ? "a mesh is not closed, so inside cannot be told" : "too many tests"});
    }
    std::string out = "\nUndecided\n" + Table(rows);
    if (report.findings.undecided.size() > kMostRows)
        out += "  and " + std::to_string(report.findings.undecided.size() - kMostRows) + " more\n";
    return out;
}

/// The nearest moves first.
std::string NearTable(const Report& report, std::vector<std::uint32_t> near)
{
    const auto& clearance = report.findings.clearance;
    std::stable_sort(near.begin(), near.end(), [&](std::uint32_t x, std::uint32_t y) {
        return clearance[x].low < clearance[y].low;
    });
    std::vector<std::vector<std::string>> rows{{"line", "move", "pair", "clearance", "block"}};
    for (const std::uint32_t index : near) {
        if (rows.size() > kMostRows / 2) break;
        const Clearance& row = clearance[index];
        const std::int32_t line = report.job.program.moves[index].line;
        rows.push_back({std::to_string(line), MoveName(report.job, index),
                        PairName(report.job, row.a, row.b), Fixed(row.low, 3),
                        LineOf(report.job.program, line)});
    }
    std::string out =
        "\nNearer than " + FormatNumber(report.job.settings.limit) + " mm\n" + Table(rows);
    if (near.size() > kMostRows / 2)
        out += "  and " + std::to_string(near.size() - kMostRows / 2) + " more\n";
    return out;
}

} // namespace

std::string TextReport(const Report& report)
{
    const Job& job = report.job;
    std::string out;
    const Problems& warnings = job.program.warnings;
    for (std::size_t i = 0; i < warnings.size() && i < kMostRows; ++i)
        out += "warning: " + Describe(warnings[i]) + "\n";
    if (warnings.size() > kMostRows)
        out += "and " + std::to_string(warnings.size() - kMostRows) + " warnings more\n";
    for (const Body& body : job.bodies)
        if (!body.closed)
            out += "warning: " + body.name + " is not closed" +
                   (body.surface ? ": only its surface is checked\n"
                                 : ": what is inside cannot be told (or set \"surface\")\n");
    for (const Pair& pair : report.pairs.ignored)
        if (pair.contact.reason != std::string("on one link"))
            out += "not checked: " + PairName(job, pair.a, pair.b) + " (" + pair.contact.reason +
                   ")\n";
    if (!report.findings.hits.empty()) out += HitTable(report);
    if (!report.findings.undecided.empty()) out += UndecidedTable(report);
    const auto near = NearMoves(report);
    if (!near.empty()) out += NearTable(report, near);
    out += "\n" + job.name + ": " + Summary(report) + "\n";
    return out;
}

} // namespace check
