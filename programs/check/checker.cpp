#include "checker.h"

#include <algorithm>
#include <chrono>

#include "sweep.h"

namespace check
{
namespace
{

constexpr int kApproachSamples = 256;
/// A clearance is measured to this part of itself.
constexpr double kMeasureShare = 0.02;

RuleSubject SubjectOf(const Body& body)
{
    return {body.name, body.group, body.side, body.frame.link};
}

bool Moves(const Job& job, const Path& path, std::size_t link)
{
    std::array<std::size_t, kMaxAxes> chain{};
    const std::size_t count = ChainOf(job.machine, link, chain);
    return std::any_of(chain.begin(), chain.begin() + std::ptrdiff_t(count), [&](std::size_t axis) {
        const bool ofArc = path.arc && (axis == path.arc->first || axis == path.arc->second);
        return ofArc || path.from[axis] != path.to[axis];
    });
}

struct MoveChecker {
    const Job& job;
    std::uint32_t index;
    const Move& move;
    const Path path;
    const double tolerance, slack; ///< slack: how far the axes may be beside the path
    scapi_query* query;
    std::vector<Hit>& hits;
    std::vector<Undecided>& undecided;
    Work& work;
    Clearance best{};

    SweepContext ContextOf(const Pair& pair) const
    {
        return {job,   path, job.bodies[std::size_t(pair.a)], job.bodies[std::size_t(pair.b)],
                query, work};
    }

    /// A sweep at a distance, with room for the slack.
    SweepResult SweepAt(const Pair& pair, double distance, double start, bool leaving) const
    {
        return Sweep(ContextOf(pair), distance + slack, start, leaving);
    }

    /// A rapid begins where the feed before it was allowed to touch.
    bool LeavesContact(const Pair& pair) const
    {
        if (index == 0) return false;
        const Move& before = job.program.moves[index - 1];
        if (before.tool != move.tool || !pair.contact.MayTouch(before.kind)) return false;
        return DistanceAt(ContextOf(pair), 0, tolerance + 1) <= tolerance + job.settings.precision;
    }

    /// How far the rest of the move takes both bodies against each other, seen at the contact.
    double ApproachOf(const Pair& pair, const SweepResult& found) const
    {
        const BodyFrame& a = job.bodies[std::size_t(pair.a)].frame;
        const BodyFrame& b = job.bodies[std::size_t(pair.b)].frame;
        const LinkPoses there = PlaceLinks(job.machine, At(path, found.time));
        const Vec onA = Unplaced(there[a.link], found.point);
        const Vec onB = Unplaced(there[b.link], found.point);
        double most = 0;
        for (int k = 1; k <= kApproachSamples; ++k) {
            const double time = found.time + (1 - found.time) * k / kApproachSamples;
            const LinkPoses at = PlaceLinks(job.machine, At(path, time));
            const Vec apart = Placed(at[a.link], onA) - Placed(at[b.link], onB);
            most = std::max(most, Dot(found.normal, apart));
        }
        return most;
    }

    void NoteHit(const Pair& pair, const SweepResult& found)
    {
        Hit hit;
        hit.move = index, hit.a = pair.a, hit.b = pair.b;
        hit.atStart = found.time == 0, hit.inside = found.inside;
        hit.time = found.time, hit.distance = found.distance;
        hit.point = found.point, hit.normal = found.normal;
        hit.approach = ApproachOf(pair, found);
        hits.push_back(hit);
    }

    void NoteUndecided(const Pair& pair, const SweepResult& found)
    {
        undecided.push_back({index, pair.a, pair.b, found.time, found.openMesh});
    }

    /// @return whether the pair is clear
    bool Judge(const Pair& pair, double start, bool leaving)
    {
        const SweepResult found = SweepAt(pair, tolerance, start, leaving);
        if (found.outcome == Outcome::kContact) NoteHit(pair, found);
        if (found.outcome == Outcome::kUndecided) NoteUndecided(pair, found);
        return found.outcome == Outcome::kClear;
    }

    /// Of a pair that is clear at the tolerance, and nearer than `near` at a time.
    void MeasureClearance(const Pair& pair, double time, double near)
    {
        const SweepContext context = ContextOf(pair);
        double low = tolerance, high = near;
        for (const double sample : {0.0, 0.5, 1.0})
            high = std::min(high, DistanceAt(context, sample, high + slack) - slack);
        // Each sweep tells a contact from up to the precision away, so less would never be reached.
        const auto accuracy = [&] {
            return std::max(3 * job.settings.precision, kMeasureShare * high);
        };
        for (double guess = high - accuracy(); high - low > accuracy(); guess = (low + high) / 2) {
            const SweepResult found = SweepAt(pair, guess, time, false);
            if (found.outcome == Outcome::kUndecided) break;
            if (found.outcome == Outcome::kClear)
                low = guess;
            else
                high = std::min(found.distance - slack, high);
        }
        if (low < best.low) best = {true, pair.a, pair.b, low, std::max(low, high)};
    }

    void CheckPair(const Pair& pair)
    {
        ++work.pairs;
        if (LeavesContact(pair)) {
            Judge(pair, 0, true);
            return;
        }
        const double range = std::max(tolerance, std::min(job.settings.range, best.low));
        const SweepResult found = SweepAt(pair, range, 0, false);
        if (found.outcome == Outcome::kClear) return;
        // What is undecided at the range may be clear at the tolerance.
        const double start = found.clearUntil;
        if (!Judge(pair, start, false)) return;
        const double near = found.outcome == Outcome::kContact ? found.distance - slack : range;
        const auto from = std::chrono::steady_clock::now();
        MeasureClearance(pair, start, near);
        work.measureSeconds +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - from).count();
    }
};

} // namespace

Pairs PairsOf(const Job& job)
{
    Pairs out;
    out.ofTool.resize(job.tools.size() + 1);
    const auto count = static_cast<std::int32_t>(job.bodies.size());
    for (std::int32_t a = 0; a < count; ++a)
        for (std::int32_t b = a + 1; b < count; ++b) {
            const Body &first = job.bodies[std::size_t(a)], &second = job.bodies[std::size_t(b)];
            if (first.tool >= 0 && second.tool >= 0 && first.tool != second.tool) continue;
            const Pair pair{a, b, MayTouch(job.rules, SubjectOf(first), SubjectOf(second))};
            if (pair.contact.inRapid && pair.contact.inFeed) {
                out.ignored.push_back(pair);
                continue;
            }
            const std::int32_t tool = std::max(first.tool, second.tool);
            for (std::size_t i = 0; i < out.ofTool.size(); ++i)
                if (tool < 0 || std::size_t(tool) + 1 == i) out.ofTool[i].push_back(pair);
        }
    return out;
}

Clearance CheckMove(const Job& job, const Pairs& pairs, std::uint32_t index, std::vector<Hit>& hits,
                    std::vector<Undecided>& undecided, Work& work)
{
    const Move& move = job.program.moves[index];
    const Path path = PathOf(job.machine, job.program, move, job.settings.dogLeg);
    // A query of its own: what one remembers of its last call could show in the next.
    scapi_query* made = nullptr;
    scapi_query_create(&made);
    const QueryPtr query(made);
    const double slack = path.arc ? path.arc->slack : 0;
    MoveChecker checker{job,   index,       move, path,      job.settings.tolerance,
                        slack, query.get(), hits, undecided, work};
    std::array<bool, kMaxAxes + 1> moves{};
    for (std::size_t link = 0; link <= job.machine.axes.size(); ++link)
        moves[link] = Moves(job, path, link);
    for (const Pair& pair : pairs.ofTool[std::size_t(move.tool + 1)]) {
        if (pair.contact.MayTouch(move.kind)) continue;
        // Two bodies that both rest are as they were when the last move ended.
        const bool rest = !moves[job.bodies[std::size_t(pair.a)].frame.link] &&
                          !moves[job.bodies[std::size_t(pair.b)].frame.link];
        if (!rest || move.kind == MoveKind::kPlace) checker.CheckPair(pair);
    }
    checker.best.checked = true;
    return checker.best;
}

} // namespace check
