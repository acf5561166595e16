#include <algorithm>
#include <map>

#include "gcode_block.h"
#include "page_mesh.h"
#include "report.h"

namespace check
{
namespace
{

/// The page stays below some ten megabytes; of longer programs it shows some of the moves.
constexpr std::size_t kMostSteps = 20000;
constexpr double kArcStep = 12 * kRadians; ///< the page goes straight between steps
constexpr double kTurnStep = 10;           ///< degrees of a rotary axis

struct Step {
    std::uint32_t move;
    double time; ///< of the move
};

/// How many straight parts show a move as it is.
int PartsOf(const Job& job, const Move& move)
{
    double parts = 1;
    if (move.arc >= 0)
        parts = std::ceil(std::fabs(job.program.arcs[std::size_t(move.arc)].sweep) / kArcStep);
    for (std::size_t i = 0; i < job.machine.axes.size(); ++i)
        if (job.machine.axes[i].rotary)
            parts = std::max(parts, std::ceil(std::fabs(move.to[i] - move.from[i]) / kTurnStep));
    return static_cast<int>(std::min(parts, 100.0));
}

/// The ends of moves, and times within them where the axes do not go straight.
std::vector<Step> StepsOf(const Report& report)
{
    const Job& job = report.job;
    const std::size_t moves = job.program.moves.size();
    const std::size_t stride = 1 + (moves - 1) / kMostSteps;
    std::vector<Step> steps;
    for (std::size_t i = 0; i < moves; ++i) {
        const Move& move = job.program.moves[i];
        if (i % stride != 0 && i + 1 != moves) continue;
        std::vector<double> times =
            PathOf(job.machine, job.program, move, job.settings.dogLeg).breaks;
        const int parts = stride == 1 ? PartsOf(job, move) : 1;
        for (int k = 1; k < parts; ++k) times.push_back(double(k) / parts);
        std::sort(times.begin(), times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
        // The start is where the move before has ended.
        for (const double time : times)
            if (time == 1 || (time > 0 && stride == 1)) steps.push_back({std::uint32_t(i), time});
    }
    return steps;
}

struct PageBuilder {
    const Report& report;
    const Job& job;
    std::vector<Step> steps;
    std::vector<LinkPoses> links{};
    view::Scene scene{};

    /// The step of a time of a move, with its fraction.
    double StepAt(std::uint32_t move, double time) const
    {
        const auto before = [](const Step& x, const Step& y) {
            return x.move != y.move ? x.move < y.move : x.time < y.time;
        };
        const auto after = std::lower_bound(steps.begin(), steps.end(), Step{move, time}, before);
        const auto index = static_cast<double>(after - steps.begin());
        if (after == steps.end()) return index - 1;
        if (index == 0) return 0;
        const double from = (after - 1)->move == after->move ? (after - 1)->time : 0;
        if (after->move != move || !(after->time > from)) return index;
        return index - 1 + (time - from) / (after->time - from);
    }

    void AddSteps()
    {
        links.reserve(steps.size());
        for (std::size_t i = 0; i < steps.size(); ++i) {
            const Path path = PathOf(job.machine, job.program, job.program.moves[steps[i].move],
                                     job.settings.dogLeg);
            links.push_back(PlaceLinks(job.machine, At(path, steps[i].time)));
            // From here on runs the move that ends at the next step, as a control shows it.
            const std::uint32_t index = steps[std::min(i + 1, steps.size() - 1)].move;
            const Move& move = job.program.moves[index];
            scene.steps.push_back(
                {std::to_string(index) + " " + NameOf(move.kind),
                 {},
                 std::to_string(move.line) + ": " + LineOf(job.program, move.line)});
        }
    }

    /// Tools that are not in the spindle stand in a row beside everything else, on its floor.
    view::Pose InRack(const Body& body) const
    {
        constexpr double kApart = 100;
        double left = 0, floor = HUGE_VAL, tip = HUGE_VAL;
        for (const Body& other : job.bodies) {
            const Vec low = BoundsAt(other.frame.mount, other.frame).low;
            left = std::min(left, low[0]);
            if (other.tool < 0) floor = std::min(floor, low[2]);
            if (other.tool == body.tool) tip = std::min(tip, low[2]);
        }
        return Composed(Shift({left - kApart * (body.tool + 1), 0, floor - tip}), body.frame.mount);
    }

    std::vector<view::Pose> PosesOf(const Body& body) const
    {
        if (body.frame.link == 0 && body.tool < 0) return {body.frame.mount};
        const view::Pose rack = body.tool < 0 ? body.frame.mount : InRack(body);
        std::vector<view::Pose> out;
        out.reserve(links.size());
        for (std::size_t i = 0; i < links.size(); ++i) {
            const bool away = body.tool >= 0 && job.program.moves[steps[i].move].tool != body.tool;
            out.push_back(away ? rack : Composed(links[i][body.frame.link], body.frame.mount));
        }
        return out;
    }

    void AddBodies()
    {
        constexpr const char* kColors[] = {"#d9a441", "#b8b8c0", "#7f8c99", "#5b6570",
                                           "#6fa8dc", "#93a86b", "#a0a0a0"};
        for (const Body& body : job.bodies) {
            view::Body shown;
            shown.name = body.name, shown.group = NameOf(body.group);
            shown.mesh = scene.meshes.size();
            shown.color = kColors[static_cast<std::size_t>(body.group)];
            if (body.group == Group::kSpindle || body.group == Group::kMachine)
                shown.opacity = 0.45;
            shown.poses = PosesOf(body);
            scene.meshes.push_back(PageMesh(body.mesh.get()));
            scene.bodies.push_back(shown);
        }
    }

    void AddMark(view::Kind kind, std::uint32_t move, double time, const Vec& point,
                 const Vec& normal, std::int32_t a, std::int32_t b, const std::string& text)
    {
        view::Mark mark;
        mark.kind = kind, mark.step = StepAt(move, time), mark.point = point;
        if (Length(normal) > 0.5) mark.normal = normal;
        mark.bodies = {std::size_t(a), std::size_t(b)};
        mark.text = "line " + std::to_string(job.program.moves[move].line) + ": " +
                    PairName(job, a, b) + text;
        scene.marks.push_back(mark);
    }

    /// A mark needs a place: the tip, where there is none.
    Vec PlaceOf(std::uint32_t move) const
    {
        const Position& at = job.program.moves[move].to;
        return Placed(PlaceLinks(job.machine, at)[job.machine.HeadLink()],
                      Translation(job.machine.gauge));
    }

    void AddMarks()
    {
        constexpr std::size_t kMostNear = 100;
        for (const Incident& incident : IncidentsOf(report.findings)) {
            const Hit& hit = report.findings.hits[incident.first];
            AddMark(view::Kind::kHit, hit.move, hit.time, hit.point, hit.normal, hit.a, hit.b,
                    hit.inside
                        ? ", one inside the other"
                        : ", approach " + FormatNumber(std::round(incident.approach * 1e3) / 1e3) +
                              " mm");
        }
        for (const Undecided& row : report.findings.undecided)
            AddMark(view::Kind::kUndecided, row.move, row.time, PlaceOf(row.move), {}, row.a, row.b,
                    ", undecided");
        std::vector<std::uint32_t> near = NearMoves(report);
        const auto low = [&](std::uint32_t i) { return report.findings.clearance[i].low; };
        std::stable_sort(near.begin(), near.end(),
                         [&](std::uint32_t x, std::uint32_t y) { return low(x) < low(y); });
        near.resize(std::min(near.size(), kMostNear));
        std::sort(near.begin(), near.end());
        for (const std::uint32_t i : near) {
            const Clearance& c = report.findings.clearance[i];
            AddMark(view::Kind::kWarning, i, 1, PlaceOf(i), {}, c.a, c.b,
                    ", " + FormatNumber(std::floor(c.low * 1e3) / 1e3) + " mm");
        }
    }

    /// Of each move the least clearance: 0 in a hit, the range where nothing came nearer.
    double ClearanceOf(std::uint32_t move, const std::vector<bool>& hit) const
    {
        const Clearance& c = report.findings.clearance[move];
        if (!c.checked) return view::kGap;
        return hit[move] ? 0 : std::min(c.low, job.settings.range);
    }

    /// Of each step the less of the moves that end and start there.
    void AddPlot()
    {
        view::Plot plot;
        plot.label = "least clearance, up to " + FormatNumber(job.settings.range) + " mm";
        plot.unit = "mm";
        plot.limit = job.settings.limit;
        std::vector<bool> hit(job.program.moves.size());
        for (const Hit& row : report.findings.hits) hit[row.move] = true;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            const std::uint32_t next = steps[std::min(i + 1, steps.size() - 1)].move;
            plot.values.push_back(
                std::fmin(ClearanceOf(steps[i].move, hit), ClearanceOf(next, hit)));
        }
        scene.plot = plot;
    }

    void AddSummary()
    {
        const Verdict verdict = VerdictOf(report);
        const bool near = !NearMoves(report).empty();
        scene.title = job.name;
        scene.unit = "mm";
        scene.verdict = Summary(report);
        scene.status = verdict == Verdict::kHits        ? view::Status::kHit
                       : verdict == Verdict::kUndecided ? view::Status::kUndecided
                       : near                           ? view::Status::kWarning
                                                        : view::Status::kClear;
        scene.summary = {{"machine", job.machine.name},
                         {"program", job.programPath},
                         {"tolerance", FormatNumber(job.settings.tolerance) + " mm"},
                         {"rapids", job.settings.dogLeg ? "dog-leg" : "straight"},
                         {"pairs that may touch", std::to_string(report.pairs.ignored.size())}};
        if (job.program.moves.size() > kMostSteps)
            scene.summary.push_back({"shown", "the ends of some of the moves only"});
        for (const Problem& warning : job.program.warnings) {
            if (scene.summary.size() > 20) break;
            scene.summary.push_back({"line " + std::to_string(warning.line), warning.text});
        }
    }
};

} // namespace

bool WritePathPage(const std::string& path, const Report& report, Problems& problems)
{
    PageBuilder builder{report, report.job, StepsOf(report)};
    builder.AddSummary();
    builder.AddSteps();
    builder.AddBodies();
    builder.AddMarks();
    builder.AddPlot();
    std::string error = view::Problem(builder.scene);
    if (error.empty() && view::WritePage(path, builder.scene, error)) return true;
    problems.push_back({path, 0, "", error});
    return false;
}

} // namespace check
