#include "position_table.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "gcode_block.h"

namespace check
{
namespace
{

constexpr std::size_t kMostProblems = 20;

std::vector<std::string> CellsOf(std::string line)
{
    line.resize(std::min(line.find('#'), line.size()));
    std::vector<std::string> cells;
    std::string cell;
    for (const char c : line + " ") {
        if (c != ',' && c != ';' && c != ' ' && c != '\t') {
            cell += c;
        } else if (!cell.empty()) {
            cells.push_back(std::exchange(cell, {}));
        }
    }
    return cells;
}

bool ReadNumber(const std::string& cell, double& number)
{
    const char* last = cell.data() + cell.size();
    const auto result = std::from_chars(cell.data(), last, number);
    return result.ec == std::errc() && result.ptr == last &&
           std::fabs(number) <= kMostLength / 25.4;
}

struct TableReader {
    Job& job;
    Problems& problems;
    std::vector<std::string> columns{};
    std::int32_t line = 0;
    std::int32_t tool = -1;
    Position at{};

    void Complain(const std::string& text)
    {
        problems.push_back({job.programPath, line, "", text});
    }

    void TakeHeader(const std::vector<std::string>& cells)
    {
        columns = cells;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const bool axis = cells[i].size() == 1 && AxisOf(job.machine, cells[i][0]) >= 0;
            if (!axis && cells[i] != "kind" && cells[i] != "tool")
                Complain("column \"" + cells[i] +
                         "\" is no axis of the machine, nor \"kind\" or \"tool\"");
            if (std::find(cells.begin(), cells.begin() + std::ptrdiff_t(i), cells[i]) !=
                cells.begin() + std::ptrdiff_t(i))
                Complain("a second column \"" + cells[i] + "\"");
        }
    }

    void TakeTool(const std::string& cell)
    {
        double number = -1;
        const auto known = std::find_if(job.tools.begin(), job.tools.end(), [&](const Tool& t) {
            return ReadNumber(cell, number) && t.number == number;
        });
        if (ReadNumber(cell, number) && number == 0)
            tool = -1;
        else if (known == job.tools.end())
            Complain("no tool has the number \"" + cell + "\"");
        else
            tool = static_cast<std::int32_t>(known - job.tools.begin());
    }

    void TakeCell(const std::string& column, const std::string& cell, MoveKind& kind, Position& to)
    {
        double number = 0;
        if (column == "kind") {
            kind = cell == "rapid" ? MoveKind::kRapid : MoveKind::kFeed;
            if (cell != "rapid" && cell != "feed")
                Complain("kind must be rapid or feed, not \"" + cell + "\"");
        } else if (column == "tool") {
            TakeTool(cell);
        } else if (!ReadNumber(cell, number)) {
            Complain(column + " is no number of less than 39370: \"" + cell + "\"");
        } else {
            const auto axis = static_cast<std::size_t>(AxisOf(job.machine, column[0]));
            to[axis] = number * (job.machine.axes[axis].rotary ? 1 : job.programUnit);
        }
    }

    void TakeRow(const std::vector<std::string>& cells)
    {
        if (cells.size() != columns.size())
            return Complain("has " + std::to_string(cells.size()) + " cells, the header " +
                            std::to_string(columns.size()));
        MoveKind kind = MoveKind::kFeed;
        Position to = at;
        const std::int32_t before = tool;
        for (std::size_t i = 0; i < cells.size(); ++i) TakeCell(columns[i], cells[i], kind, to);
        std::vector<Move>& moves = job.program.moves;
        // The first row is where the axes stand.
        if (moves.empty() || tool != before)
            moves.push_back({moves.empty() ? to : at, moves.empty() ? to : at, line, tool, -1,
                             MoveKind::kPlace});
        if (to != moves.back().to) moves.push_back({at, to, line, tool, -1, kind});
        at = to;
    }

    void Run()
    {
        const auto count = static_cast<std::int32_t>(job.program.lines.size());
        for (line = 1; line <= count && problems.size() < kMostProblems; ++line) {
            const std::vector<std::string> cells = CellsOf(LineOf(job.program, line));
            if (cells.empty()) continue;
            if (columns.empty())
                TakeHeader(cells);
            else
                TakeRow(cells);
            if (!problems.empty() && job.program.moves.empty()) return;
        }
    }
};

} // namespace

bool ReadPositionTable(Job& job, Problems& problems)
{
    if (!ReadText(job.programPath, job.program, problems)) return false;
    TableReader reader{job, problems};
    reader.tool = job.startTool;
    reader.at = job.start;
    reader.Run();
    if (problems.empty() && job.program.moves.empty())
        problems.push_back({job.programPath, 0, "", "has no rows"});
    return problems.empty();
}

} // namespace check
