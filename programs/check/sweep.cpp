#include "sweep.h"

#include <algorithm>
#include <chrono>

namespace check
{
namespace
{

/// Of the precision: half for what two deviations may add to a distance, the rest for the library's
/// own resolution and for telling the distance at the true place (Lemma C4).
constexpr double kDeviationShare = 0.25, kResolutionShare = 0.25;
/// A motion that is farther off than this part of the smaller body tells nothing: divide first.
constexpr double kUsefulDeviation = 0.05;
/// Below this part of a move nothing is divided any more.
constexpr double kLeastPiece = 1e-9;

/// A placement costs a hundredth of a time of impact: down to this part of a move, and this room in
/// mm, it is tried on halves first.
constexpr double kLeastPlaced = 1.0 / 16, kNarrowRoom = 0.1;

using Clock = std::chrono::steady_clock;

struct Timer {
    double& seconds;
    Clock::time_point start = Clock::now();
    ~Timer() { seconds += std::chrono::duration<double>(Clock::now() - start).count(); }
};

/// The bodies where they truly are at a time.
scapi_result Measure(const SweepContext& c, double time, double bound)
{
    const LinkPoses at = PlaceLinks(c.job.machine, At(c.path, time));
    const Pose poseA = Composed(at[c.a.frame.link], c.a.frame.mount);
    const Pose poseB = Composed(at[c.b.frame.link], c.b.frame.mount);
    scapi_options options{};
    options.size = sizeof options;
    options.flags = SCAPI_SURFACES_ONLY;
    options.resolution = kResolutionShare * c.job.settings.precision;
    options.upper_bound = bound;
    scapi_result found{};
    found.upper = HUGE_VAL;
    scapi_distance(c.query, c.a.mesh.get(), poseA.data(), c.b.mesh.get(), poseB.data(), &options,
                   &found);
    return found;
}

struct Span {
    double start, end;
};

struct Sweeper {
    const SweepContext& c;
    double tolerance;
    bool leaving;
    double begin; ///< where the sweep starts
    SweepResult result{};
    std::vector<Span> spans{}; ///< still to do, the earliest last

    double Precision() const { return c.job.settings.precision; }

    scapi_options Options(double within, const Piece& piece) const
    {
        scapi_options options{};
        options.size = sizeof options;
        options.tolerance = within;
        options.resolution = kResolutionShare * Precision();
        // What is outside at the start and never touches stays outside.
        const bool settled = piece.start > begin;
        if (settled || leaving || c.a.surface || c.b.surface) options.flags |= SCAPI_SURFACES_ONLY;
        // Each call lets contact deepen by the resolution: not for every part of a divided move.
        const auto& breaks = c.path.breaks;
        const bool whole = std::find(breaks.begin(), breaks.end(), piece.start) != breaks.end();
        if (leaving && whole) options.flags |= SCAPI_IGNORE_START_CONTACT;
        return options;
    }

    /// Placed half way, with room for all that the piece moves either body.
    bool ClearByPlace(const Piece& piece, double room)
    {
        const Timer timer{c.work.placeSeconds};
        const scapi_options options = Options(tolerance + room, piece);
        const Pose poseA = Composed(piece.middle[c.a.frame.link], c.a.frame.mount);
        const Pose poseB = Composed(piece.middle[c.b.frame.link], c.b.frame.mount);
        scapi_result found{};
        const int code = scapi_within(c.query, c.a.mesh.get(), poseA.data(), c.b.mesh.get(),
                                      poseB.data(), &options, &found);
        return code == SCAPI_OK && found.verdict == SCAPI_CLEAR;
    }

    void TellContact(double time, const scapi_impact& impact)
    {
        result.outcome = Outcome::kContact;
        result.time = time;
        result.clearUntil = std::min(result.clearUntil, time);
        result.inside = impact.verdict == SCAPI_INSIDE;
        const scapi_result found = Measure(c, time, 0);
        result.distance = found.upper;
        for (std::size_t i = 0; i < 3; ++i) {
            result.point[i] = (found.point_a[i] + found.point_b[i]) / 2;
            result.normal[i] = impact.normal[i];
        }
    }

    void Divide(double from, double end)
    {
        const double middle = from + (end - from) / 2;
        spans.push_back({middle, end});
        spans.push_back({from, middle});
    }

    void NoteUndecided(const Piece& piece, const scapi_impact& impact)
    {
        if (result.outcome == Outcome::kUndecided) return;
        result.outcome = Outcome::kUndecided;
        // Surfaces apart are not clear where one body may be inside the other.
        const double clear = impact.relation == SCAPI_UNKNOWN ? 0 : impact.t_clear;
        result.time = piece.start + (piece.end - piece.start) * clear;
        result.clearUntil = result.time;
        result.openMesh = !(c.a.closed && c.b.closed);
    }

    /// @return whether the sweep goes on
    bool TakeImpact(const Piece& piece, const scapi_impact& impact, bool exact, bool surfacesOnly)
    {
        const double length = piece.end - piece.start;
        if (impact.verdict == SCAPI_CLEAR) return true;
        // Later pieces look at the surfaces alone: none of them can tell what this one could not.
        if (!surfacesOnly && impact.relation == SCAPI_UNKNOWN && impact.t_clear > 0)
            NoteUndecided(piece, impact);
        // The start of a piece is in its true place, so what is inside there is inside.
        if (impact.verdict == SCAPI_INSIDE ||
            (exact && (impact.verdict == SCAPI_CONTACT || impact.verdict == SCAPI_START_CONTACT))) {
            const double within = impact.verdict == SCAPI_CONTACT ? impact.t_contact : 0;
            TellContact(piece.start + length * within, impact);
            return false;
        }
        if (exact)
            NoteUndecided(piece, impact);
        else
            Divide(std::min(piece.start + length * impact.t_clear, piece.end - kLeastPiece),
                   piece.end);
        return true;
    }

    bool Take(const Span& span)
    {
        const Machine& machine = c.job.machine;
        const Piece piece = PieceOf(machine, c.path, span.start, span.end);
        if (GapAlong(machine, piece, c.a.frame, c.b.frame) > tolerance + Precision()) {
            ++c.work.byBoxes;
            return true;
        }
        const double room =
            Displacement(machine, piece, c.a.frame) + Displacement(machine, piece, c.b.frame);
        if (!leaving && room <= std::min(c.a.radius, c.b.radius) && ClearByPlace(piece, room)) {
            ++c.work.byPlace;
            return true;
        }
        if (!leaving && room > std::max(tolerance, kNarrowRoom) &&
            span.end - span.start > kLeastPlaced) {
            Divide(span.start, span.end);
            return true;
        }
        const BodyMotion motionA = MotionOf(machine, piece, c.a.frame);
        const BodyMotion motionB = MotionOf(machine, piece, c.b.frame);
        const double deviation = motionA.deviation + motionB.deviation;
        const bool exact =
            deviation <= kDeviationShare * Precision() || span.end - span.start <= 2 * kLeastPiece;
        // Contact that is left may not get deeper, not even by a deviation.
        if (!exact &&
            (leaving || !(deviation <= kUsefulDeviation * std::min(c.a.radius, c.b.radius)))) {
            Divide(span.start, span.end);
            return true;
        }
        const Timer timer{c.work.impactSeconds};
        ++c.work.impacts;
        const scapi_options options = Options(tolerance + deviation, piece);
        scapi_impact impact{};
        // A call that fails leaves INDETERMINATE.
        scapi_time_of_impact(c.query, c.a.mesh.get(), &motionA.motion, c.b.mesh.get(),
                             &motionB.motion, &options, &impact);
        return TakeImpact(piece, impact, exact, (options.flags & SCAPI_SURFACES_ONLY) != 0);
    }
};

} // namespace

double DistanceAt(const SweepContext& context, double time, double bound)
{
    const scapi_result found = Measure(context, time, bound);
    return found.triangle_a >= 0 ? found.upper : HUGE_VAL;
}

SweepResult Sweep(const SweepContext& context, double tolerance, double start, bool leaving)
{
    Sweeper sweeper{context, tolerance, leaving, start};
    const std::vector<double>& breaks = context.path.breaks;
    for (std::size_t i = breaks.size(); i-- > 1;)
        if (breaks[i] > start || i + 1 == breaks.size())
            sweeper.spans.push_back({std::max(breaks[i - 1], start), breaks[i]});
    while (!sweeper.spans.empty()) {
        const Span span = sweeper.spans.back();
        sweeper.spans.pop_back();
        if (!sweeper.Take(span)) break;
    }
    return sweeper.result;
}

} // namespace check
