#include "proximity/query/answers.h"

#include "proximity/query/closest.h"
#include "proximity/query/contacts.h"
#include "proximity/query/containment.h"
#include "proximity/query/impact.h"

namespace proximity
{
namespace
{

double Diagonal(const Tree& tree)
{
    Vec extent{};
    for (int axis = 0; axis < 3; ++axis) extent[axis] = double(tree.high[axis]) - tree.low[axis];
    return Length(extent);
}

std::int32_t SourceOf(const Tree& tree, std::int32_t triangle)
{
    return triangle < 0 ? -1 : tree.source[static_cast<std::size_t>(triangle)];
}

void StorePoint(const Vec& point, const Vec& origin, double* out)
{
    for (int axis = 0; axis < 3; ++axis) out[axis] = point[axis] + origin[axis];
}

scapi_result ResultOf(const Body& a, const Body& b, const PlacedPair& pair, const Limits& limits,
                      const Closest& closest)
{
    scapi_result result{};
    result.verdict = Judge(a, b, pair, limits, closest, result.relation);
    result.lower = closest.lower, result.upper = closest.upper;
    result.triangle_a = SourceOf(a.tree, closest.a);
    result.triangle_b = SourceOf(b.tree, closest.b);
    if (closest.a >= 0) {
        StorePoint(closest.pointA, pair.origin, result.point_a);
        StorePoint(closest.pointB, pair.origin, result.point_b);
    }
    result.tests = closest.tests;
    return result;
}

/// What contacts say of the relation, as far as those that are stored tell.
int RelationOfContacts(const scapi_contacts_result& result, const scapi_contact* contacts)
{
    bool meet = false;
    for (std::int64_t i = 0; i < result.stored; ++i) {
        if (contacts[i].kind == SCAPI_KIND_CROSSING) return SCAPI_CROSSING;
        meet = meet || contacts[i].lower == 0;
    }
    return meet && !result.truncated ? SCAPI_TOUCHING : SCAPI_UNKNOWN;
}

void StoreContact(const Body& a, const Body& b, const Impact& impact, const Vec& origin,
                  scapi_impact& result)
{
    result.t_contact = result.t_clear;
    result.lower = impact.lower, result.upper = impact.upper;
    StorePoint(impact.pointA, origin, result.point_a);
    StorePoint(impact.pointB, origin, result.point_b);
    std::copy(impact.normal.x, impact.normal.x + 3, result.normal);
    result.triangle_a = SourceOf(a.tree, impact.a);
    result.triangle_b = SourceOf(b.tree, impact.b);
}

/// The contact of the closest pair at the start, in the form of an impact.
Impact StartImpact(const Body& a, const Body& b, const PlacedPair& start, const Closest& closest)
{
    const Triangle x = PlaceTriangle(a.tree, start.a, closest.a);
    const Triangle y = PlaceTriangle(b.tree, start.b, closest.b);
    Impact impact;
    impact.a = closest.a, impact.b = closest.b;
    impact.lower = closest.lower, impact.upper = closest.upper;
    impact.pointA = closest.pointA, impact.pointB = closest.pointB;
    impact.normal = ContactNormal(x, y, DistanceOf(x, y));
    return impact;
}

/// What is known where a motion starts. Where bodies are well apart, it would take most of the time
/// to find out how far; a short search gives an upper bound, and that they are apart is enough.
Closest FindStart(const Body& a, const Body& b, const PlacedPair& start, const Limits& limits,
                  Scratch& scratch, scapi_impact& result)
{
    constexpr std::int64_t kShort = 200;
    Limits allowed = limits;
    allowed.budget = std::min(limits.budget, kShort);
    const Closest near = FindClosest(a, b, start, allowed, scratch);
    result.tests = near.tests, result.clearance = near.upper;
    if (near.tests <= allowed.budget) return near;
    allowed.budget = std::max<std::int64_t>(0, limits.budget - result.tests);
    const Closest within = FindWithin(a, b, start, allowed, scratch);
    result.tests += within.tests;
    if (within.clear) return within;
    allowed.budget = std::max<std::int64_t>(0, limits.budget - result.tests);
    const Closest closest = FindClosest(a, b, start, allowed, scratch);
    result.tests += closest.tests, result.clearance = std::min(result.clearance, closest.upper);
    return closest;
}

} // namespace

Limits Complete(Limits limits, const Body& a, const Body& b)
{
    if (limits.resolution == 0) limits.resolution = 0.1 * limits.tolerance;
    if (limits.resolution == 0)
        limits.resolution = 1e-6 * std::min(Diagonal(a.tree), Diagonal(b.tree));
    // Bodies that are a point each.
    if (limits.resolution == 0) limits.resolution = 1e-12;
    return limits;
}

scapi_result AnswerWithin(const Body& a, const double* poseA, const Body& b, const double* poseB,
                          const Limits& limits, Scratch& scratch)
{
    const Limits complete = Complete(limits, a, b);
    const PlacedPair pair = PlacePair(a, poseA, b, poseB);
    return ResultOf(a, b, pair, complete, FindWithin(a, b, pair, complete, scratch));
}

scapi_result AnswerDistance(const Body& a, const double* poseA, const Body& b, const double* poseB,
                            const Limits& limits, Scratch& scratch)
{
    const Limits complete = Complete(limits, a, b);
    const PlacedPair pair = PlacePair(a, poseA, b, poseB);
    return ResultOf(a, b, pair, complete, FindClosest(a, b, pair, complete, scratch));
}

scapi_contacts_result AnswerContacts(const Body& a, const double* poseA, const Body& b,
                                     const double* poseB, const Limits& limits, Scratch& scratch,
                                     scapi_contact* contacts, std::int64_t capacity)
{
    const Limits complete = Complete(limits, a, b);
    const PlacedPair pair = PlacePair(a, poseA, b, poseB);
    const ContactSearchResult found =
        FindContacts(a, b, pair, complete, complete.tolerance, capacity, scratch);
    scapi_contacts_result result{};
    result.count = found.count;
    for (const ContactPair& contact : found.pairs)
        contacts[result.stored++] = DescribeContact(a, b, pair, complete, contact);
    result.exhausted = !found.finished;
    result.truncated = result.stored < result.count || result.exhausted;
    result.tests = found.tests;
    const bool apart = found.finished && found.apart > 0;
    if (apart)
        result.relation =
            complete.surfacesOnly ? int(SCAPI_APART) : RelationApart(a, b, pair, found.apart);
    else
        result.relation = RelationOfContacts(result, contacts);
    const bool clear = found.finished && found.count == 0;
    if (found.certain > 0)
        result.verdict = SCAPI_CONTACT;
    else if (clear && (result.relation == SCAPI_A_IN_B || result.relation == SCAPI_B_IN_A))
        result.verdict = SCAPI_INSIDE;
    else if (clear && result.relation == SCAPI_APART)
        result.verdict = SCAPI_CLEAR;
    return result;
}

scapi_impact AnswerImpact(const Body& a, const scapi_motion& motionA, const Body& b,
                          const scapi_motion& motionB, const Limits& limits, Scratch& scratch)
{
    Limits complete = Complete(limits, a, b);
    const MovingPair moving = MakeMovingPair(a, motionA, b, motionB);
    const PlacedPair start{PlaceAt(moving.a, 0), PlaceAt(moving.b, 0), moving.origin};
    scapi_impact result{};
    result.triangle_a = result.triangle_b = -1;
    result.t_contact = 1;
    const Closest closest = FindStart(a, b, start, complete, scratch, result);
    const int verdict = Judge(a, b, start, complete, closest, result.relation);
    if (verdict == SCAPI_INSIDE) {
        result.verdict = verdict;
        return result;
    }
    const bool leaves = verdict == SCAPI_CONTACT && complete.ignoreStartContact;
    if (verdict == SCAPI_CONTACT && !leaves) {
        result.verdict = SCAPI_START_CONTACT;
        StoreContact(a, b, StartImpact(a, b, start, closest), start.origin, result);
        return result;
    }
    if (!leaves && !closest.clear) return result;
    complete.budget = std::max<std::int64_t>(0, limits.budget - result.tests);
    const Impact impact = FindImpact(a, b, moving, complete, leaves, scratch);
    result.tests += impact.tests;
    result.t_clear = impact.timeClear;
    result.clearance = std::min(result.clearance, impact.clearance);
    if (impact.contact) {
        result.verdict = SCAPI_CONTACT;
        StoreContact(a, b, impact, moving.origin, result);
    } else if (impact.finished && verdict != SCAPI_INDETERMINATE) {
        result.verdict = SCAPI_CLEAR;
    }
    return result;
}

} // namespace proximity
