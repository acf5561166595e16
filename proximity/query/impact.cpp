// Conservative advancement (Mirtich 1996), for each pair of nodes by itself: a pair is shown to be
// clear up to a time of its own and is looked at again at that time, so most pairs are never placed
// where they are near nothing. The pair whose time is the earliest comes next, so all that is found
// at a time is known to be the first.
#include "proximity/query/impact.h"

#include <optional>
#include <utility>

#include "proximity/query/leaf_cache.h"
#include "proximity/query/moving_box.h"
#include "proximity/query/separation.h"

namespace proximity
{
namespace
{

/// Of the size of a scene: what lies so far apart has a direction that rounding leaves alone.
constexpr double kSureDirection = 1e-9;

/// Below it the axis is lost to underflow.
constexpr double kLeastTurn = 1e-100;

/// So many pairs in a row at one time, as far as contact can tell, are large faces that meet.
constexpr int kMostInInstant = 32;

/// What comes next is on top of the heap: the earliest, and of those the smallest, since it leads
/// to a contact soonest.
constexpr auto ComesLater = [](const Event& x, const Event& y) {
    return x.time != y.time ? x.time > y.time : x.size > y.size;
};

/// Everything that depends on the time alone.
struct Moment {
    double time = -1;
    PlacedPair placed{};
    Rates ratesA{}, ratesB{};
    double size[3][3]; ///< absolute values of A's rotation transposed times B's
};

/// As SupportOf, for all angles that the body may turn to (Lemma M4).
double SupportAtAnyAngle(const Rates& rates, const NodeBox& box, const Vec& direction)
{
    if (rates.speed == 0) return SupportOf(box, direction);
    const Vec axis = (1 / rates.speed) * rates.spin;
    const double share = Dot(direction, axis);
    const double along = SupportOf(box, share * axis) - share * Dot(axis, rates.pivot);
    const double across = Length(direction - share * axis) * box.points.radius;
    return Dot(direction, rates.pivot) + along + across;
}

/// How near or deep two triangles are: the widest gap between them, negative for depth.
double WidestGap(const Triangle& a, const Triangle& b, const PairDistance& distance)
{
    const Directions directions =
        SeparatingDirections(a, b, VecOf(distance.pointB) - VecOf(distance.pointA));
    const double widest = directions.widest < 0 ? 0.0 : directions.gap[directions.widest];
    return distance.lower > 0 ? std::max(distance.lower, widest) : widest;
}

/// The corners of a triangle, as their motion sees them.
struct CornerRates {
    double at[3], now[3], gain[3], most[3];
    double straight; ///< speed of the pivot
    double farthest; ///< of all corners, at any angle (Lemma M4)
};

CornerRates RatesAlong(const Rates& rates, const Triangle& triangle, const Vec& direction)
{
    CornerRates out;
    const double straight = Dot(direction, rates.path);
    const Vec turn = Cross(direction, rates.spin);
    const double size = Length(turn);
    const bool turns = rates.speed > 0;
    const double share = turns ? Dot(direction, rates.spin) / (rates.speed * rates.speed) : 0;
    out.straight = straight, out.farthest = -HUGE_VAL;
    for (int i = 0; i < 3; ++i) {
        const Vec corner = VecOf(triangle.corner[i]);
        const Vec arm = corner - rates.pivot;
        const double most = size * RadiusOf(rates, arm, 0);
        out.at[i] = Dot(direction, corner);
        out.now[i] = straight + Dot(turn, arm);
        out.most[i] = straight + most;
        out.gain[i] = most * rates.speed;
        const double any =
            turns ? Dot(direction, rates.pivot) + share * Dot(rates.spin, arm) + most / rates.speed
                  : out.at[i];
        out.farthest = std::max(out.farthest, any);
    }
    return out;
}

struct ImpactSearch {
    const Body& a;
    const Body& b;
    const MovingPair& moving;
    const Limits& limits;
    std::vector<Event>& events;
    Impact impact;
    Moment moment;
    double size = 0;    ///< of the scene: no coordinate that is computed with is larger
    double fastest = 0; ///< no point moves faster against another
    double boxError = 0, pointError = 0, speedError = 0; ///< of gaps and speeds (Lemma M3)
    double boxTolerance = 0;
    std::optional<PlacedPair> start; ///< where contacts there are left out of account
    std::optional<Vec> away; ///< then, of A from B, where neither turns: its path's direction
    double instant = 0;      ///< nothing moves farther in it than a part of the resolution
    double instantEnd = 0;
    int inInstant = 0; ///< events since the last look ahead, none of them later than instantEnd
    bool looksAhead = false;
    std::optional<Event> ahead; ///< what is looked at next, before its time

    ImpactSearch(const Body& bodyA, const Body& bodyB, const MovingPair& pair, const Limits& given,
                 bool leaves, Scratch& scratch)
        : a(bodyA), b(bodyB), moving(pair), limits(given), events(scratch.events)
    {
        const double off = pair.a.offRigid + pair.b.offRigid;
        for (const auto& [body, motion] : {std::pair{&a, &pair.a}, std::pair{&b, &pair.b}}) {
            const double turned = body->reach + SumOfSizes(motion->arm);
            size += turned + SumOfSizes(motion->pivotStart) + SumOfSizes(motion->path);
            fastest += (Length(motion->path) + std::fabs(motion->angle) * turned) * (1 + off);
        }
        pointError = 2 * (pair.a.error + pair.b.error) + 64 * kUnit * size;
        boxError = pointError + off * size;
        boxTolerance = limits.tolerance * (1 + off);
        speedError = 256 * kUnit * fastest;
        instant = fastest > 0 ? 0.25 * limits.resolution / fastest : 0;
        if (!leaves) return;
        start = {PlaceAt(pair.a, 0), PlaceAt(pair.b, 0), pair.origin};
        const Vec path = pair.a.path - pair.b.path;
        if (const double length = Length(path);
            length > 0 && pair.a.angle == 0 && pair.b.angle == 0)
            away = (1 / length) * path;
    }

    void GoTo(double time)
    {
        if (moment.time == time) return;
        const bool turns = moving.a.angle != 0 || moving.b.angle != 0 || moment.time < 0;
        moment.time = time;
        moment.placed = {PlaceAt(moving.a, time), PlaceAt(moving.b, time), moving.origin};
        moment.ratesA = RatesAt(moving.a, time), moment.ratesB = RatesAt(moving.b, time);
        if (!turns) return;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                moment.size[i][j] = std::fabs(
                    Dot(Column(moment.placed.a.rotation, i), Column(moment.placed.b.rotation, j)));
    }

    void Push(double wait, float size_, std::int32_t x, std::int32_t y, bool triangles)
    {
        // Rounded down: the sum loses at most two units in the last place of 1.
        const double time = moment.time + wait - 2 * kUnit;
        if (time > 1) return;
        Event event{std::max(time, moment.time), size_, x, y, triangles};
        if (looksAhead && event.time <= instantEnd) {
            if (!ahead) {
                ahead = event;
                return;
            }
            if (ComesLater(*ahead, event)) std::swap(*ahead, event);
        }
        events.push_back(event);
        std::push_heap(events.begin(), events.end(), ComesLater);
    }

    /// Where large faces meet, all their pairs of nodes are near at once and each is due before any
    /// pair of triangles. Every so often one is followed down at the same moment: all others are
    /// clear up to it, so that a contact found there is the first.
    void LookAheadInInstants(double time)
    {
        looksAhead = false;
        if (time == 0) return;
        if (time > instantEnd) instantEnd = time + instant, inInstant = 0;
        if (++inInstant < kMostInInstant) return;
        looksAhead = true, inInstant = 0;
    }

    double WaitAlong(const NodeBox& x, const NodeBox& y, const Vec& direction, double gap) const
    {
        const double taken = boxError + boxTolerance;
        const bool straight = moment.ratesA.speed == 0 && moment.ratesB.speed == 0;
        if (straight && !(gap > taken)) return 0;
        const Vec opposite = -1.0 * direction;
        Closing closing{speedError, 0, speedError};
        AddClosing(moment.ratesA, moment.placed.a.rotation, x.points, direction, closing);
        AddClosing(moment.ratesB, moment.placed.b.rotation, y.points, opposite, closing);
        const double wait = TimeOfGap(gap - taken, closing);
        if (straight) return wait;
        const double least = -SupportAtAnyAngle(moment.ratesA, x, direction) -
                             SupportAtAnyAngle(moment.ratesB, y, opposite) - taken;
        if (!(least > 0)) return wait;
        const double speed = Dot(direction, moment.ratesA.path - moment.ratesB.path) + speedError;
        return std::max(wait, speed > 0 ? least / speed * (1 - 1e-12) : HUGE_VAL);
    }

    /// The same for the normal of a slab, either way.
    double WaitAlongNormal(const NodeBox& x, const NodeBox& y, const Vec& normal) const
    {
        const Vec direction = Dot(normal, y.center - x.center) < 0 ? -1.0 * normal : normal;
        const double gap = -SupportOf(x, direction) - SupportOf(y, -1.0 * direction);
        return WaitAlong(x, y, direction, gap);
    }

    /// The longest wait along the axes of one body and along the line between the boxes there.
    double WaitInFrame(const NodeBox& x, const NodeBox& y, const Mat& rotation, const Vec& gap,
                       const Vec& sign, double enough) const
    {
        Vec between{};
        for (int i = 0; i < 3; ++i) between[i] = gap[i] > 0 ? sign[i] * gap[i] : 0.0;
        const double length = Length(between);
        if (!(length - boxError > boxTolerance)) return 0;
        double wait = WaitAlong(x, y, rotation * ((1 / length) * between), length);
        for (int i = 0; i < 3 && wait < enough; ++i)
            if (gap[i] > 0)
                wait = std::max(wait, WaitAlong(x, y, sign[i] * Column(rotation, i), gap[i]));
        return wait;
    }

    /// How long two boxes stay farther apart than the tolerance, at the least.
    double WaitOfBoxes(const NodeBox& x, const NodeBox& y) const
    {
        const Vec between = y.center - x.center;
        const Vec inA = TransposedTimes(moment.placed.a.rotation, between);
        const Vec inB = TransposedTimes(moment.placed.b.rotation, between);
        Vec gapA, gapB, signA, signB;
        for (int i = 0; i < 3; ++i) {
            gapA[i] = std::fabs(inA[i]) - x.half[i], gapB[i] = std::fabs(inB[i]) - y.half[i];
            for (int j = 0; j < 3; ++j) {
                gapA[i] -= moment.size[i][j] * y.half[j];
                gapB[i] -= moment.size[j][i] * x.half[j];
            }
            signA[i] = inA[i] < 0 ? -1 : 1, signB[i] = inB[i] < 0 ? -1 : 1;
        }
        const double enough = 1 - moment.time;
        const double wait = WaitInFrame(x, y, moment.placed.a.rotation, gapA, signA, enough);
        if (wait > enough) return wait;
        return std::max({wait, WaitInFrame(x, y, moment.placed.b.rotation, gapB, signB, enough),
                         WaitAlongNormal(x, y, x.normal), WaitAlongNormal(x, y, y.normal)});
    }

    /// Nodes at the start of a straight motion out of contact, no pair below which comes closer or
    /// deeper by as much as counts.
    bool Leave(const NodeBox& x, const NodeBox& y) const
    {
        return away && moment.time == 0 &&
               PartsForGood(x, y, *away, 0.25 * limits.resolution - boxError);
    }

    void DivideNodes(const Event& event)
    {
        const bool dividesA = DividesA(a.tree, b.tree, event.a, event.b);
        const Tree& tree = dividesA ? a.tree : b.tree;
        const std::int32_t below = tree.Child(dividesA ? event.a : event.b);
        const Placement& placement = dividesA ? moment.placed.a : moment.placed.b;
        const Rates& rates = dividesA ? moment.ratesA : moment.ratesB;
        const NodeBox other = dividesA
                                  ? PlaceBox(moment.placed.b, moment.ratesB, b.tree.BoxOf(event.b))
                                  : PlaceBox(moment.placed.a, moment.ratesA, a.tree.BoxOf(event.a));
        for (int lane = 0; lane < kLanes; ++lane) {
            const Handle handle = HandleOf(below, lane);
            if (tree.Child(handle) == kNoChild) break;
            const NodeBox box = PlaceBox(placement, rates, tree.BoxOf(handle));
            if (dividesA ? Leave(box, other) : Leave(other, box)) continue;
            const double wait = dividesA ? WaitOfBoxes(box, other) : WaitOfBoxes(other, box);
            Push(wait, static_cast<float>(box.extent + other.extent), dividesA ? handle : event.a,
                 dividesA ? event.b : handle, false);
        }
    }

    /// How long the gap of two triangles along a direction stays above `least` (Lemma M2, for each
    /// pair of corners).
    double WaitOfCorners(const Triangle& x, const Triangle& y, const Vec& direction,
                         double least) const
    {
        if (moment.ratesA.speed == 0 && moment.ratesB.speed == 0) {
            const double speed =
                Dot(direction, moment.ratesA.path - moment.ratesB.path) + speedError;
            return TimeOfGap(GapAlong(x, y, direction) - least - pointError, {speed, 0, speed});
        }
        const CornerRates ratesA = RatesAlong(moment.ratesA, x, direction);
        const CornerRates ratesB = RatesAlong(moment.ratesB, y, -1.0 * direction);
        const double straight = ratesA.straight + ratesB.straight + speedError;
        const double always = -ratesB.farthest - ratesA.farthest - least - pointError;
        const double atAnyAngle = TimeOfGap(always, {straight, 0, straight});
        double wait = HUGE_VAL;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                const double gap = -ratesB.at[j] - ratesA.at[i] - least - pointError;
                const Closing closing{ratesA.now[i] + ratesB.now[j] + speedError,
                                      ratesA.gain[i] + ratesB.gain[j],
                                      ratesA.most[i] + ratesB.most[j] + speedError};
                // Its steady time alone is longer than that of another pair of corners.
                if (gap > 0 && gap * (1 - 1e-11) >= wait * closing.most) continue;
                wait = std::min(wait, TimeOfGap(gap, closing));
                if (wait <= atAnyAngle) return atAnyAngle;
            }
        return wait;
    }

    /// The pairs of two leaves that their distances from the axis keep clear to the end, where only
    /// one body turns (Lemma M5): all of a shaft in its bore.
    PairBits PairsKeptByRings(const PlacedLeaf& x, const PlacedLeaf& y) const
    {
        const Rates &inA = moment.ratesA, &inB = moment.ratesB;
        if ((inA.speed > 0) == (inB.speed > 0)) return 0;
        const Rates& turning = inA.speed > 0 ? inA : inB;
        if (!(turning.speed > kLeastTurn)) return 0;
        const Rings ringsX = RingsOf(turning, x), ringsY = RingsOf(turning, y);
        const double across = Length(AcrossAxis(turning, inA.path - inB.path)) + speedError;
        const double gap = across * (1 - moment.time) + limits.tolerance + pointError;
        PairBits kept = 0;
        for (int i = 0; i < x.count; ++i)
            for (int j = 0; j < y.count; ++j)
                if (ringsX.least[i] - ringsY.most[j] > gap ||
                    ringsY.least[j] - ringsX.most[i] > gap)
                    kept |= 1u << (kMostInLeaf * i + j);
        return kept;
    }

    void DivideLeaves(Leaf inA, Leaf inB)
    {
        PlacedLeaf x, y;
        x.Place(a.tree, moment.placed.a, inA), y.Place(b.tree, moment.placed.b, inB);
        const PairBits kept = PairsKeptByRings(x, y);
        Triangle triangleB[kMostInLeaf];
        for (int j = 0; j < y.count; ++j) triangleB[j] = y.TriangleAt(j);
        for (int i = 0; i < x.count; ++i) {
            const Triangle triangleA = x.TriangleAt(i);
            for (int j = 0; j < y.count; ++j) {
                if ((kept >> (kMostInLeaf * i + j) & 1) != 0) continue;
                Vec between{};
                for (int axis = 0; axis < 3; ++axis) {
                    const double after = y.low[axis][j] - x.high[axis][i];
                    const double before = x.low[axis][i] - y.high[axis][j];
                    if (after > 0) between[axis] = after;
                    if (before > 0) between[axis] = -before;
                }
                const double length = Length(between);
                const double wait = length > limits.tolerance
                                        ? WaitOfCorners(triangleA, triangleB[j],
                                                        (1 / length) * between, limits.tolerance)
                                        : 0.0;
                Push(wait, 0, inA.first + i, inB.first + j, true);
            }
        }
    }

    /// How near or deep a pair may come that is in contact at the start: a gap, negative for depth.
    /// @param now  its distance at this moment
    std::optional<double> LeastGapOfLeaving(const Event& event, const PairDistance& now) const
    {
        if (!start) return std::nullopt;
        const Triangle x = PlaceTriangle(a.tree, start->a, event.a);
        const Triangle y = PlaceTriangle(b.tree, start->b, event.b);
        const double near = limits.tolerance + limits.resolution + start->Error();
        if (moment.time > 0 && FartherThan(x, y, near)) return std::nullopt;
        const PairDistance then =
            moment.time > 0 ? DistanceOf(x, y, 0.25 * limits.resolution) : now;
        if (then.lower > near) return std::nullopt;
        return std::min(limits.tolerance, WidestGap(x, y, then) - limits.resolution);
    }

    void NoteContact(const Event& event, const Triangle& x, const Triangle& y,
                     const PairDistance& distance)
    {
        impact.contact = true;
        impact.a = event.a, impact.b = event.b;
        impact.lower = std::max(0.0, distance.lower - moment.placed.Error());
        impact.upper = distance.upper + moment.placed.Error();
        impact.pointA = VecOf(distance.pointA), impact.pointB = VecOf(distance.pointB);
        impact.normal = ContactNormal(x, y, distance);
    }

    /// Waits for a pair that was in contact at the start: until it comes deeper.
    double WaitOfLeaving(const Triangle& x, const Triangle& y, const PairDistance& distance,
                         double least, bool& deeper) const
    {
        double wait = 0, gap = distance.lower > 0 ? distance.lower : -HUGE_VAL;
        const auto look = [&](const Directions& directions) {
            for (int i = 0; i < directions.count; ++i) {
                gap = std::max(gap, directions.gap[i]);
                wait = std::max(wait, WaitOfCorners(x, y, directions.direction[i], least));
            }
            deeper = gap <= least + 0.5 * limits.resolution;
            return deeper || wait <= 1 - moment.time;
        };
        // Of faces that lie on each other the normals tell all.
        if (look(DirectionsOfNormals(x, y)))
            look(SeparatingDirections(x, y, VecOf(distance.pointB) - VecOf(distance.pointA)));
        return wait;
    }

    double WaitOfTriangles(const Triangle& x, const Triangle& y, const PairDistance& distance) const
    {
        const double error = moment.placed.Error();
        const double left = distance.lower - error - limits.tolerance;
        double wait = left > 0 && fastest > 0 ? left / fastest * (1 - 1e-12) : 0;
        if (left > 0 && fastest == 0) return HUGE_VAL;
        const Vec between = VecOf(distance.pointB) - VecOf(distance.pointA);
        const double length = Length(between);
        const double floor = wait;
        if (length > 0)
            wait = std::max(wait, WaitOfCorners(x, y, (1 / length) * between, limits.tolerance));
        // Of points that are near each other the direction is mostly rounding: faces that slide
        // along each other are told by their normals.
        if (wait > 2 * floor || length > kSureDirection * size) return wait;
        const Directions directions = SeparatingDirections(x, y, {});
        for (int i = 0; i < directions.count; ++i)
            if (directions.gap[i] > limits.tolerance)
                wait =
                    std::max(wait, WaitOfCorners(x, y, directions.direction[i], limits.tolerance));
        return wait;
    }

    /// @return false where the search ends
    bool TestTriangles(const Event& event)
    {
        const Triangle x = PlaceTriangle(a.tree, moment.placed.a, event.a);
        const Triangle y = PlaceTriangle(b.tree, moment.placed.b, event.b);
        const PairDistance distance = DistanceOf(x, y, 0.25 * limits.resolution);
        const double upper = distance.upper + moment.placed.Error();
        double wait = 0;
        bool contact = upper <= limits.tolerance + limits.resolution;
        if (const std::optional<double> least = LeastGapOfLeaving(event, distance)) {
            wait = WaitOfLeaving(x, y, distance, *least, contact);
        } else {
            impact.clearance = std::min(impact.clearance, upper);
            if (!contact) wait = WaitOfTriangles(x, y, distance);
        }
        if (contact) {
            NoteContact(event, x, y, distance);
            impact.finished = true;
            return false;
        }
        wait = std::max(wait, event.time - moment.time);
        // Rounding holds the pair where it is: nothing can be shown beyond this time.
        if (!(wait > 4 * kUnit)) return false;
        Push(wait, 0, event.a, event.b, true);
        return true;
    }

    /// @return false where the search ends
    bool Look(const Event& event)
    {
        if (++impact.tests > limits.budget) return false;
        if (event.triangles) return TestTriangles(event);
        const std::int32_t childA = a.tree.Child(event.a), childB = b.tree.Child(event.b);
        if (IsLeaf(childA) && IsLeaf(childB))
            DivideLeaves(LeafOf(childA), LeafOf(childB));
        else
            DivideNodes(event);
        return true;
    }

    bool Take(const Event& event)
    {
        GoTo(event.time);
        impact.timeClear = event.time;
        LookAheadInInstants(event.time);
        if (!Look(event)) return false;
        while (ahead) {
            looksAhead = !ahead->triangles;
            if (!Look(*std::exchange(ahead, std::nullopt))) return false;
        }
        return true;
    }

    void Run()
    {
        events.assign(1, {0.0, HUGE_VALF, kRoot, kRoot, false});
        while (!events.empty()) {
            std::pop_heap(events.begin(), events.end(), ComesLater);
            const Event event = events.back();
            events.pop_back();
            if (!Take(event)) return;
        }
        impact.timeClear = 1;
        impact.finished = true;
    }
};

} // namespace

Impact FindImpact(const Body& a, const Body& b, const MovingPair& moving, const Limits& limits,
                  bool leaves, Scratch& scratch)
{
    ImpactSearch search(a, b, moving, limits, leaves, scratch);
    search.Run();
    return search.impact;
}

Vec ContactNormal(const Triangle& a, const Triangle& b, const PairDistance& distance)
{
    const Vec between = VecOf(distance.pointB) - VecOf(distance.pointA);
    const double length = Length(between);
    if (distance.lower > 0 && length > 0) return (1 / length) * between;
    const Directions directions = SeparatingDirections(a, b, {});
    return directions.widest < 0 ? Vec{} : directions.direction[directions.widest];
}

} // namespace proximity
