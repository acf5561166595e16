#include "proximity/query/contacts.h"

#include "proximity/query/containment.h"
#include "proximity/query/leaf_cache.h"

namespace proximity
{
namespace
{

struct ContactSearch {
    const Body& a;
    const Body& b;
    const PlacedPair& pair;
    const Limits& limits;
    double within, near, error;
    std::int64_t capacity;
    float limit;
    ContactSearchResult result;
    PlacedLeaf leafA, leafB;

    ContactSearch(const Body& bodyA, const Body& bodyB, const PlacedPair& placed,
                  const Limits& given, double distance, std::int64_t room)
        : a(bodyA), b(bodyB), pair(placed), limits(given), within(distance),
          near(std::max(distance, 2 * ContainmentMargin(bodyA, bodyB, placed))),
          error(placed.Error()), capacity(room),
          limit(PruneLimit(MakeNodeSlack(bodyA, bodyB, placed, kFloatUnit), near)), result{}
    {
        result.apart = near;
    }

    float Limit() const { return limit; }
    static bool PassesOver(const NodePair&) { return false; }
    bool Spend() { return ++result.tests <= limits.budget; }

    /// A heap whose top is the last of those kept.
    void Keep(const ContactPair& found)
    {
        ++result.count;
        if (capacity == 0) return;
        auto& pairs = result.pairs;
        if (static_cast<std::int64_t>(pairs.size()) == capacity) {
            if (!(found < pairs.front())) return;
            std::pop_heap(pairs.begin(), pairs.end());
            pairs.pop_back();
        }
        pairs.push_back(found);
        std::push_heap(pairs.begin(), pairs.end());
    }

    void Test(int i, int j)
    {
        const Triangle x = leafA.TriangleAt(i), y = leafB.TriangleAt(j);
        if (FartherThan(x, y, near + error)) return;
        const PairDistance distance = DistanceOf(x, y, 0.25 * limits.resolution);
        result.apart = std::min(result.apart, std::max(0.0, distance.lower - error));
        if (distance.lower > within + error) return;
        if (distance.upper + error <= limits.tolerance + limits.resolution) ++result.certain;
        const std::int32_t inA = leafA.first + i, inB = leafB.first + j;
        Keep({a.tree.source[static_cast<std::size_t>(inA)],
              b.tree.source[static_cast<std::size_t>(inB)], inA, inB});
    }

    bool VisitLeaves(Leaf inA, Leaf inB)
    {
        leafA.Place(a.tree, pair.a, inA), leafB.Place(b.tree, pair.b, inB);
        return ForEachPair(NearPairs(leafA, leafB, near + error), [&](int i, int j) {
            if (!Spend()) return false;
            Test(i, j);
            return true;
        });
    }
};

int KindOf(const PairContact& contact)
{
    switch (contact.relation) {
    case PairRelation::kTouching:
        return SCAPI_KIND_TOUCHING;
    case PairRelation::kCrossing:
        return SCAPI_KIND_CROSSING;
    case PairRelation::kCoplanar:
        return SCAPI_KIND_COPLANAR;
    case PairRelation::kApart:
        break;
    }
    return SCAPI_KIND_NEAR;
}

void Store(const Vec& point, const Vec& origin, double* out)
{
    for (int axis = 0; axis < 3; ++axis) out[axis] = point[axis] + origin[axis];
}

} // namespace

ContactSearchResult FindContacts(const Body& a, const Body& b, const PlacedPair& pair,
                                 const Limits& limits, double within, std::int64_t capacity,
                                 Scratch& scratch)
{
    ContactSearch search(a, b, pair, limits, within, capacity);
    search.result.finished = WalkPairs(a.tree, b.tree, PairFrames(pair), scratch.stack, search);
    std::sort_heap(search.result.pairs.begin(), search.result.pairs.end());
    return std::move(search.result);
}

scapi_contact DescribeContact(const Body& a, const Body& b, const PlacedPair& pair,
                              const Limits& limits, const ContactPair& contact)
{
    const Triangle x = PlaceTriangle(a.tree, pair.a, contact.a);
    const Triangle y = PlaceTriangle(b.tree, pair.b, contact.b);
    const PairDistance distance = DistanceOf(x, y, pair.Error());
    const PairContact meeting = ContactOf(x, y);
    scapi_contact out{};
    out.triangle_a = contact.sourceA, out.triangle_b = contact.sourceB;
    out.kind = KindOf(meeting);
    out.lower = std::max(0.0, distance.lower - pair.Error());
    out.upper = distance.upper + pair.Error();
    out.certain = out.upper <= limits.tolerance + limits.resolution;
    const Vec pointA = VecOf(distance.pointA), pointB = VecOf(distance.pointB);
    Store(pointA, pair.origin, out.point_a);
    Store(pointB, pair.origin, out.point_b);
    const Vec middle = 0.5 * (pointA + pointB);
    const bool crosses = meeting.relation == PairRelation::kCrossing;
    for (int end = 0; end < 2; ++end)
        Store(crosses ? VecOf(meeting.segment[end]) : middle, pair.origin, out.segment[end]);
    return out;
}

} // namespace proximity
