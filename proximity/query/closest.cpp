#include "proximity/query/closest.h"

#include <cfloat>
#include <optional>

#include "proximity/exact/intersection.h"
#include "proximity/query/containment.h"
#include "proximity/query/extent_gaps.h"
#include "proximity/query/leaf_cache.h"

namespace proximity
{
namespace
{

/// State of a search, shared by both kinds.
struct Search {
    const Body& a;
    const Body& b;
    const PlacedPair& pair;
    const Limits& limits;
    NodeSlack slack;
    double error; ///< of placing
    Closest closest;
    double leastLower = HUGE_VAL;
    int ties = 0; ///< pairs of nodes that floats could not tell from the limit
    std::optional<ExtentGaps> gaps;
    PlacedLeaf leafA, leafB;

    Search(const Body& bodyA, const Body& bodyB, const PlacedPair& placed, const Limits& given)
        : a(bodyA), b(bodyB), pair(placed), limits(given),
          slack(MakeNodeSlack(bodyA, bodyB, placed, kFloatUnit)), error(placed.Error())
    {
    }

    bool Spend() { return ++closest.tests <= limits.budget; }

    void SetNearest(std::int32_t numberA, std::int32_t numberB, const PairDistance& distance)
    {
        closest.a = numberA, closest.b = numberB;
        closest.pointA = VecOf(distance.pointA), closest.pointB = VecOf(distance.pointB);
    }

    /// Adds a certified pair to what is known. @return whether it crosses
    bool Note(const Triangle& triangleA, const Triangle& triangleB, std::int32_t numberA,
              std::int32_t numberB, const PairDistance& distance)
    {
        leastLower = std::min(leastLower, std::max(0.0, distance.lower - error));
        const double upper = distance.upper + error;
        if (upper < closest.upper) {
            closest.upper = upper;
            SetNearest(numberA, numberB, distance);
        }
        if (distance.lower > 0) return false;
        // A certificate that is good enough need not show that a point is shared.
        if (InteriorsCross(triangleA, triangleB)) {
            closest.crosses = true;
            SetNearest(numberA, numberB, distance);
            return true;
        }
        return false;
    }

    /// A pair that was not shown to be apart may share a point: then nothing is nearer.
    void NoteTouch(const Triangle& triangleA, const Triangle& triangleB, std::int32_t numberA,
                   std::int32_t numberB, const PairDistance& distance)
    {
        if (distance.lower > 0 || CanOnlyCross()) return;
        if (!TrianglesMeet(triangleA.corner, triangleB.corner)) return;
        closest.upper = error;
        SetNearest(numberA, numberB, DistanceOf(triangleA, triangleB));
    }

    /// Once a pair shares a point, other pairs can but cross: where large faces lie on each other
    /// there are as many as pairs of triangles that overlap.
    bool CanOnlyCross() const { return leastLower <= 0 && closest.upper <= error; }

    const ExtentGaps& Gaps()
    {
        if (!gaps) gaps.emplace(MakeExtentGaps(a, b, pair));
        return *gaps;
    }

    /// Nodes that do no more than touch along an axis hold nothing that crosses.
    bool CanOnlyTouch(const NodePair& nodes) { return GapInWorld(Gaps(), nodes.a, nodes.b) >= 0; }

    bool HasHint(const Scratch& scratch) const
    {
        return scratch.lastA >= 0 && scratch.lastB >= 0 &&
               static_cast<std::size_t>(scratch.lastA) < a.tree.triangle.size() &&
               static_cast<std::size_t>(scratch.lastB) < b.tree.triangle.size();
    }

    /// Tests the pairs of two leaves that may be no farther apart than `far`.
    /// @return false where the answer or the end of the budget is reached
    bool TestNear(auto& search, Leaf inA, Leaf inB, double far)
    {
        leafA.Place(a.tree, pair.a, inA), leafB.Place(b.tree, pair.b, inB);
        return ForEachPair(NearPairs(leafA, leafB, far), [&](int i, int j) {
            return Spend() && search.Test(leafA.TriangleAt(i), leafB.TriangleAt(j), inA.first + i,
                                          inB.first + j);
        });
    }

    void Finish(bool walked, Scratch& scratch)
    {
        closest.finished = walked;
        if (closest.a >= 0) scratch.lastA = closest.a, scratch.lastB = closest.b;
    }
};

/// Of the least distance so far: a pair that is hardly nearer is none to look for.
constexpr double kWorthwhile = 1 - 0x1p-21;

/// So many ties are worth a look at exact extents, which are computed at the first.
constexpr int kManyTies = 256;

struct ClosestSearch : Search {
    float limit = 0;
    float tie = 0; ///< bounds from here to the limit are too rough

    using Search::Search;

    /// Nothing at this distance or farther is of interest. Certificates are no narrower, and where
    /// many pairs are equally far apart all but the first are passed over.
    double Far() const { return std::min(closest.upper * kWorthwhile, limits.upperBound); }
    float Limit() const { return limit; }
    void UpdateLimit()
    {
        limit = PruneLimit(slack, Far());
        const double sure = std::max(0.0, Far() - slack.length);
        tie = static_cast<float>(std::min(sure * sure, double(FLT_MAX)));
    }
    bool PassesOver(const NodePair& nodes)
    {
        if (CanOnlyCross()) return CanOnlyTouch(nodes);
        return nodes.bound >= tie && Far() < HUGE_VAL && ++ties >= kManyTies &&
               AreFarther(Gaps(), nodes.a, nodes.b, Far());
    }

    bool Test(const Triangle& x, const Triangle& y, std::int32_t numberA, std::int32_t numberB)
    {
        if (CanOnlyCross() && !InteriorsCross(x, y)) return true;
        if (Far() < HUGE_VAL && FartherThan(x, y, Far() + error)) return true;
        const double before = closest.upper;
        const PairDistance distance = DistanceOf(x, y, error);
        const bool crosses = Note(x, y, numberA, numberB, distance);
        if (!crosses) NoteTouch(x, y, numberA, numberB, distance);
        if (closest.upper < before) UpdateLimit();
        return !crosses;
    }

    bool VisitLeaves(Leaf inA, Leaf inB) { return TestNear(*this, inA, inB, Far() + error); }
};

struct WithinSearch : Search {
    double near;         ///< what is farther apart than this need not be looked at
    bool certain = true; ///< no pair so far that may or may not be within the tolerance
    float limit;

    WithinSearch(const Body& bodyA, const Body& bodyB, const PlacedPair& placed,
                 const Limits& given)
        : Search(bodyA, bodyB, placed, given)
    {
        // Far enough for containment too, where the tolerance is 0.
        SetNear(std::max(given.tolerance, 2 * ContainmentMargin(bodyA, bodyB, placed)));
    }
    void SetNear(double distance)
    {
        near = distance;
        limit = PruneLimit(slack, distance);
    }
    float Limit() const { return limit; }
    bool PassesOver(const NodePair& nodes)
    {
        return InContact() && CanOnlyCross() && CanOnlyTouch(nodes);
    }
    bool InContact() const { return closest.upper <= limits.tolerance + limits.resolution; }

    /// @return false where the answer is found
    bool Test(const Triangle& x, const Triangle& y, std::int32_t numberA, std::int32_t numberB)
    {
        if (InContact() && CanOnlyCross() && !InteriorsCross(x, y)) return limits.wantRelation;
        if (FartherThan(x, y, near + error)) return true;
        const PairDistance distance = DistanceOf(x, y, 0.25 * limits.resolution);
        if (Note(x, y, numberA, numberB, distance)) return false;
        if (!(distance.lower > limits.tolerance + error)) certain = false;
        if (!InContact()) return true;
        // What crosses shares a point, so nothing farther apart matters from here on.
        if (!limits.wantRelation) return false;
        NoteTouch(x, y, numberA, numberB, distance);
        SetNear(0);
        return true;
    }

    bool VisitLeaves(Leaf inA, Leaf inB) { return TestNear(*this, inA, inB, near + error); }
};

template <class Any>
bool TestHint(Any& search, const Scratch& scratch)
{
    return search.Test(PlaceTriangle(search.a.tree, search.pair.a, scratch.lastA),
                       PlaceTriangle(search.b.tree, search.pair.b, scratch.lastB), scratch.lastA,
                       scratch.lastB);
}

} // namespace

Closest FindClosest(const Body& a, const Body& b, const PlacedPair& pair, const Limits& limits,
                    Scratch& scratch)
{
    ClosestSearch search(a, b, pair, limits);
    search.UpdateLimit();
    const bool goesOn = !search.HasHint(scratch) || TestHint(search, scratch);
    const bool walked =
        goesOn && WalkPairs(a.tree, b.tree, PairFrames(pair), scratch.stack, search);
    search.Finish(walked, scratch);
    // All pairs that were passed over are at least as far apart as the least upper bound.
    Closest& closest = search.closest;
    if (walked) closest.lower = closest.apart = std::min(search.leastLower, search.Far());
    closest.clear = closest.lower > limits.tolerance;
    return search.closest;
}

Closest FindWithin(const Body& a, const Body& b, const PlacedPair& pair, const Limits& limits,
                   Scratch& scratch)
{
    WithinSearch search(a, b, pair, limits);
    if (BodiesAreFarther(a, b, MakeFrameChange(pair.a, pair.b), search.Limit())) {
        Closest apart;
        apart.finished = apart.clear = apart.outside = true;
        apart.lower = limits.tolerance, apart.apart = search.near;
        return apart;
    }
    const bool goesOn = !search.HasHint(scratch) || TestHint(search, scratch);
    const bool walked =
        goesOn && WalkPairs(a.tree, b.tree, PairFrames(pair), scratch.stack, search);
    Closest& closest = search.closest;
    if (!search.InContact()) closest.a = closest.b = -1, closest.upper = HUGE_VAL;
    search.Finish(walked, scratch);
    closest.clear = walked && search.certain;
    if (closest.clear) {
        closest.lower = limits.tolerance;
        closest.apart = std::min(search.leastLower, search.near);
    }
    return closest;
}

int Judge(const Body& a, const Body& b, const PlacedPair& pair, const Limits& limits,
          const Closest& closest, int& relation)
{
    relation = closest.crosses ? SCAPI_CROSSING : SCAPI_UNKNOWN;
    const bool apart = closest.finished && closest.apart > 0;
    if (apart)
        relation = closest.outside || limits.surfacesOnly
                       ? SCAPI_APART
                       : RelationApart(a, b, pair, closest.apart);
    else if (closest.finished && closest.upper <= limits.tolerance + limits.resolution &&
             !closest.crosses)
        relation = SCAPI_TOUCHING;
    if (closest.upper <= limits.tolerance + limits.resolution) return SCAPI_CONTACT;
    if (!closest.clear) return SCAPI_INDETERMINATE;
    if (relation == SCAPI_A_IN_B || relation == SCAPI_B_IN_A) return SCAPI_INSIDE;
    return relation == SCAPI_APART ? SCAPI_CLEAR : SCAPI_INDETERMINATE;
}

} // namespace proximity
