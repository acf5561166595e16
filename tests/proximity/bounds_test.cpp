// Each bound of the proximity library by itself, against what it bounds.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "proximity/query/extent_gaps.h"
#include "proximity/query/leaf_cache.h"
#include "proximity/query/moving_box.h"
#include "proximity/query/node_bounds.h"
#include "proximity/query/separation.h"
#include "support.h"

namespace
{

using namespace proximity;

struct Random {
    std::mt19937 engine;

    double Unit() { return std::uniform_real_distribution<double>(-1, 1)(engine); }
    Vec Vector(double size) { return {{size * Unit(), size * Unit(), size * Unit()}}; }
    Vec Direction()
    {
        for (;;)
            if (const Vec v = Vector(1); Dot(v, v) > 0.01 && Dot(v, v) < 1)
                return (1 / Length(v)) * v;
    }
    scapi_motion Motion(double distance, double turn)
    {
        const auto point = [](const Vec& v) { return Point{v[0], v[1], v[2]}; };
        return Turn(RandomPose(engine, distance), point(Vector(5)), point(Direction()),
                    turn * Unit(), point(Vector(5)));
    }
    /// A strip of `count` triangles, flat where `flat` is small.
    Triangles Strip(int count, double size, double flat)
    {
        Triangles triangles;
        const Vec at = Vector(size), along = Vector(size), across = Vector(size);
        Vec last[2] = {at, at + across};
        for (int i = 0; i < count; ++i) {
            const Vec next = last[0] + (1.0 / count) * along + Vector(flat);
            const Vec corner[3] = {last[0], last[1], next};
            triangles.emplace_back();
            for (int k = 0; k < 9; ++k)
                triangles.back().corner[k / 3][k % 3] = static_cast<float>(corner[k / 3][k % 3]);
            last[0] = last[1], last[1] = next;
        }
        return triangles;
    }
};

/// Calls visit(triangle) for what lies below a lane.
template <class Visit>
void ForEachBelow(const Tree& tree, Handle handle, Visit visit)
{
    const std::int32_t child = tree.Child(handle);
    if (IsLeaf(child)) {
        const Leaf leaf = LeafOf(child);
        for (int i = 0; i < leaf.count; ++i) visit(leaf.first + i);
        return;
    }
    for (int lane = 0; lane < kLanes && tree.Child(HandleOf(child, lane)) != kNoChild; ++lane)
        ForEachBelow(tree, HandleOf(child, lane), visit);
}

TEST(ProximityTree, BoxesAndSlabsHoldAllBelowThem)
{
    Random random{std::mt19937(1)};
    for (const double offset : {0.0, 1e3, 1e8}) {
        Triangles triangles = random.Strip(300, 10, 0.3);
        for (FloatTriangle& t : triangles)
            for (auto& corner : t.corner) corner[1] += static_cast<float>(offset);
        const Body body(triangles);
        std::vector<int> seen(300);
        const std::vector<Extents> extents = ExtentsOf(body.tree);
        for (std::size_t n = 0; n < body.tree.node.size(); ++n)
            for (int lane = 0; lane < kLanes; ++lane) {
                const Handle handle = HandleOf(static_cast<std::int32_t>(n), lane);
                if (body.tree.Child(handle) == kNoChild) continue;
                const proximity::Box box = body.tree.BoxOf(handle);
                const Extents& exact = extents[static_cast<std::size_t>(handle)];
                ForEachBelow(body.tree, handle, [&](std::int32_t t) {
                    if (n == 0)
                        ++seen[static_cast<std::size_t>(
                            body.tree.source[static_cast<std::size_t>(t)])];
                    for (const auto& corner :
                         body.tree.triangle[static_cast<std::size_t>(t)].corner) {
                        double along = 0;
                        for (int i = 0; i < 3; ++i) {
                            const double q = double(corner[i]) - body.tree.center[i];
                            ASSERT_LE(std::fabs(q - box.center[i]), box.half[i]);
                            ASSERT_TRUE(exact.low[i] <= corner[i] && corner[i] <= exact.high[i]);
                            along += q * box.normal[i];
                        }
                        ASSERT_LE(box.low, along + 1e-15 * body.reach);
                        ASSERT_GE(box.high, along - 1e-15 * body.reach);
                    }
                });
            }
        EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), 300) << "each triangle once";
    }
}

TEST(ProximityBounds, OfNodesAreNeverAboveTheDistance)
{
    Random random{std::mt19937(2)};
    int needed = 0, tight = 0, told = 0;
    for (int i = 0; i < 4000; ++i) {
        // Near each other, and far out, where floats are coarse.
        const double far = i % 2 ? 3 : 300;
        // Or a small triangle over a corner of a large one: the slab tells the gap, while all that
        // floats compute with is a hundred thousand times as large.
        const bool parallel = i % 4 == 0;
        Triangles large = random.Strip(parallel ? 1 : 1 + i % 4, parallel ? 1000 : 3, 0.01);
        // Or along an axis of both bodies, which exact extents tell.
        const bool level = i % 8 == 0;
        if (level) large[0].corner[1][2] = large[0].corner[2][2] = large[0].corner[0][2];
        Triangles small = large;
        for (auto& corner : small[0].corner)
            for (int k = 0; k < 3; ++k)
                corner[k] = large[0].corner[0][k] + 0.01f * (corner[k] - large[0].corner[0][k]);
        const Body a(large), b(parallel ? small : random.Strip(1 + i % 3, 3, 0.01));
        const scapi_motion x = random.Motion(far, 0);
        scapi_motion y = random.Motion(far, 0);
        if (parallel) {
            y = x;
            const Triangle placed = PlaceTriangle(a.tree, PlacePair(a, x.start, a, x.start).a, 0);
            const Vec p = VecOf(placed.corner[0]);
            const Vec normal = Cross(VecOf(placed.corner[1]) - p, VecOf(placed.corner[2]) - p);
            for (int k = 0; k < 3; ++k) y.start[4 * k + 3] += 1e-2 / Length(normal) * normal[k];
        }
        const PlacedPair pair = PlacePair(a, x.start, b, y.start);
        double distance = HUGE_VAL;
        for (std::int32_t s = 0; s < static_cast<std::int32_t>(a.tree.triangle.size()); ++s)
            for (std::int32_t t = 0; t < static_cast<std::int32_t>(b.tree.triangle.size()); ++t)
                distance = std::min(distance, DistanceOf(PlaceTriangle(a.tree, pair.a, s),
                                                         PlaceTriangle(b.tree, pair.b, t))
                                                  .upper);
        const FrameChange change = MakeFrameChange(pair.a, pair.b);
        const float bound = SquaredBounds(change, a.tree.node[0],
                                          PrepareBox(change, b.tree.BoxOf(kRoot)), HUGE_VALF)[0];
        const NodeSlack slack = MakeNodeSlack(a, b, pair, kFloatUnit);
        ASSERT_LT(bound, PruneLimit(slack, distance + pair.Error())) << i;
        const ExtentGaps gaps = MakeExtentGaps(a, b, pair);
        // All that it takes off is for what the placing of the corners rounds, and for more.
        ASSERT_FALSE(AreFarther(gaps, kRoot, kRoot, distance - 0.5 * pair.Error())) << i;
        if (level) told += AreFarther(gaps, kRoot, kRoot, (1 - 1e-8) * distance);
        needed += bound > distance * distance;
        tight += bound > 0.25 * distance * distance;
    }
    EXPECT_GT(needed, 0) << "without a margin the bound would be wrong here";
    EXPECT_GT(tight, 1000);
    EXPECT_GT(told, 400) << "of 500";
}

TEST(ProximityBounds, OfExtentsHoldTheCornersAsPlacedAndNoMore)
{
    Random random{std::mt19937(10)};
    for (int i = 0; i < 1000; ++i) {
        const bool quarters = i % 2 == 0;
        const Pose turned = quarters ? Pose{0, -1, 0, 0.1, 0, 0, -1, 0.7, 1, 0, 0, 1e-3}
                                     : RandomPose(random.engine, 10);
        const Body a(random.Strip(20, 10, 1)), b(random.Strip(1 + i % 3, 10, 1));
        const PlacedPair pair = PlacePair(a, turned.data(), b, kIdentity.data());
        const auto low = [&](const Body& body, const Placement& placement, int axis, int sign) {
            double least = HUGE_VAL;
            for (int t = 0; t < static_cast<int>(body.tree.triangle.size()); ++t)
                for (const auto& corner : PlaceTriangle(body.tree, placement, t).corner)
                    least = std::min(least, sign * corner[axis]);
            return least;
        };
        double gap = -HUGE_VAL;
        for (int axis = 0; axis < 3; ++axis)
            for (const int sign : {1, -1})
                gap = std::max(gap, low(a, pair.a, axis, sign) + low(b, pair.b, axis, -sign));
        const double bound = GapInWorld(MakeExtentGaps(a, b, pair), kRoot, kRoot);
        ASSERT_TRUE(quarters ? bound == gap : bound <= gap) << i;
    }
}

TEST(ProximityBounds, OfLeavingHoldEvenWhereBoxesReachAhead)
{
    Random random{std::mt19937(12)};
    int dropped = 0, nearer = 0, deeper = 0;
    const auto gapOf = [](const Triangle& x, const Triangle& y) { // negative for depth
        if (const PairDistance apart = DistanceOf(x, y); apart.lower > 0) return apart.distance;
        const Directions all = SeparatingDirections(x, y, {});
        return all.gap[all.widest];
    };
    for (int i = 0; i < 4000; ++i) {
        const Body a(random.Strip(1, 2, 0.1)), b(random.Strip(1, 2, 0.1));
        const scapi_motion x = random.Motion(1, 0), y = random.Motion(1, 0);
        const MovingPair moving = MakeMovingPair(a, x, b, y);
        const Placement placeA = PlaceAt(moving.a, 0), placeB = PlaceAt(moving.b, 0);
        const NodeBox boxA = PlaceBox(placeA, RatesAt(moving.a, 0), a.tree.BoxOf(kRoot));
        const NodeBox boxB = PlaceBox(placeB, RatesAt(moving.b, 0), b.tree.BoxOf(kRoot));
        const Vec away = random.Direction();
        const double room = i % 3 ? 0.0 : 1.0;
        if (!PartsForGood(boxA, boxB, away, room)) continue;
        ++dropped;
        const Triangle rests = PlaceTriangle(b.tree, placeB, 0);
        const double start = gapOf(PlaceTriangle(a.tree, placeA, 0), rests);
        for (double way = 0.01; way < 5; way *= 1.5) {
            Triangle gone = PlaceTriangle(a.tree, placeA, 0);
            for (auto& corner : gone.corner)
                for (int k = 0; k < 3; ++k) corner[k] += way * away[k];
            const double gap = gapOf(gone, rests);
            ASSERT_GE(gap, start - room - 1e-9) << i;
            nearer += gap < start - 1e-3;
            deeper += start < 0 && gap < start - 1e-3;
        }
    }
    EXPECT_GT(dropped, 500);
    EXPECT_GT(nearer, 0) << "the room is taken";
    EXPECT_GT(deeper, 0) << "by triangles that cross, too";
}

TEST(ProximityBounds, OfLeavesNeverDropAPairAtTheLimit)
{
    Random random{std::mt19937(6)};
    int kept = 0, dropped = 0;
    for (int i = 0; i < 4000; ++i) {
        const double far = i % 2 ? 10 : 1e4;
        const Body a(random.Strip(1 + i % 4, 3, i % 3 ? 0.5 : 1e-3)), b(random.Strip(4, 3, 0.1));
        const scapi_motion x = random.Motion(far, 0);
        scapi_motion y = x;
        for (int k = 0; k < 3; ++k) y.start[4 * k + 3] += random.Unit();
        const PlacedPair pair = PlacePair(a, x.start, b, y.start);
        const Leaf inA = LeafOf(a.tree.Child(kRoot)), inB = LeafOf(b.tree.Child(kRoot));
        PlacedLeaf leafA, leafB;
        // Far from the origin of the pair, as the parts of large bodies are.
        Placement placeA = pair.a, placeB = pair.b;
        for (int k = 0; k < 3; ++k) placeA.center[k] += far, placeB.center[k] += far;
        leafA.Place(a.tree, placeA, inA), leafB.Place(b.tree, placeB, inB);
        for (int s = 0; s < inA.count; ++s)
            for (int t = 0; t < inB.count; ++t) {
                const Triangle p = PlaceTriangle(a.tree, placeA, inA.first + s);
                const Triangle q = PlaceTriangle(b.tree, placeB, inB.first + t);
                ASSERT_EQ(std::memcmp(&p, leafA.TriangleAt(s).corner, sizeof p), 0);
                const double distance = DistanceOf(p, q).upper;
                const PairBits bit = 1u << (kMostInLeaf * s + t);
                ASSERT_TRUE(NearPairs(leafA, leafB, distance) & bit) << i;
                dropped += (NearPairs(leafA, leafB, 0.9 * distance) & bit) == 0;
                ++kept;
            }
    }
    EXPECT_GT(dropped, kept / 3) << "of those a tenth farther apart than the limit";
}

TEST(ProximityBounds, OfGapsAreNeverLateAndNotMuchTooEarly)
{
    Random random{std::mt19937(3)};
    int late = 0;
    for (int i = 0; i < 3000; ++i) {
        const Body body(random.Strip(1, 2, 0.1));
        const scapi_motion motion = random.Motion(10, i % 3 ? 4 : 0);
        const MovingPair moving = MakeMovingPair(body, motion, body, motion);
        const Placement now = PlaceAt(moving.a, 0);
        const Rates rates = RatesAt(moving.a, 0);
        const proximity::Box box = body.tree.BoxOf(kRoot);
        const Vec half{{box.half[0], box.half[1], box.half[2]}};
        const Vec center =
            now.rotation * Vec{{box.center[0], box.center[1], box.center[2]}} + now.center;
        const Vec arm = center - rates.pivot, direction = random.Direction();
        Closing closing;
        AddClosing(rates, now.rotation, {arm, half, RadiusOf(rates, arm, Length(half))}, direction,
                   closing);
        const double gap = 0.5 * std::fabs(random.Unit());
        const double wait = TimeOfGap(gap, closing);
        // The corners of the box, against a wall across the direction, `gap` beyond the farthest.
        const auto farthest = [&](double time) {
            const Placement at = PlaceAt(moving.a, time);
            double most = -HUGE_VAL;
            for (int k = 0; k < 8; ++k) {
                Vec q{};
                for (int axis = 0; axis < 3; ++axis)
                    q[axis] = box.center[axis] + (k >> axis & 1 ? half[axis] : -half[axis]);
                most = std::max(most, Dot(direction, at.rotation * q + at.center));
            }
            return most;
        };
        const double wall = farthest(0) + gap;
        for (int k = 1; k <= 20; ++k) {
            const double time = std::min(wait, 3.0) * k / 20;
            ASSERT_LE(farthest(time), wall + 1e-12) << i;
        }
        if (wait < 1) late += farthest(1.5 * wait) > wall;
    }
    EXPECT_GT(late, 100) << "waiting half as long again would often be too long";
}

TEST(ProximityBounds, OfPlacingHoldsAgainstLongDouble)
{
    Random random{std::mt19937(4)};
    for (int i = 0; i < 2000; ++i) {
        const double far = std::pow(10.0, i % 9);
        const Body a(random.Strip(3, far, 1)), b(random.Strip(3, 10, 1));
        const scapi_motion x = random.Motion(far, 0), y = random.Motion(1e3, 0);
        const PlacedPair pair = PlacePair(a, x.start, b, y.start);
        const FloatTriangle& t = a.tree.triangle[0];
        const Triangle placed = PlaceTriangle(a.tree, pair.a, 0);
        long double square = 0;
        for (int row = 0; row < 3; ++row) {
            long double exact = x.start[4 * row + 3] - static_cast<long double>(pair.origin[row]);
            for (int k = 0; k < 3; ++k)
                exact += static_cast<long double>(x.start[4 * row + k]) * t.corner[0][k];
            const long double off = exact - placed.corner[0][row];
            square += off * off;
        }
        ASSERT_LE(std::sqrt(static_cast<double>(square)), pair.a.error) << i;
    }
}

TEST(ProximityBounds, OfRingsHoldTheTrianglesAtAnyAngle)
{
    Random random{std::mt19937(8)};
    int tight = 0, wide = 0;
    for (int i = 0; i < 2000; ++i) {
        const Body body(random.Strip(4, 10, i % 2 ? 1 : 1e-3));
        const Body other(random.Strip(1, 1, 1));
        const scapi_motion motion = random.Motion(i % 3 ? 5 : 500, 9);
        const MovingPair moving = MakeMovingPair(body, motion, other, Rest(kIdentity));
        const auto placed = [&](double time) {
            PlacedLeaf leaf;
            leaf.Place(body.tree, PlaceAt(moving.a, time), LeafOf(body.tree.Child(kRoot)));
            return leaf;
        };
        const PlacedLeaf start = placed(0);
        const Rings rings = RingsOf(RatesAt(moving.a, 0), start);
        for (const double time : {0.0, 0.3, 1.0}) {
            const Rates rates = RatesAt(moving.a, time);
            const PlacedLeaf leaf = placed(time);
            for (int t = 0; t < leaf.count; ++t) {
                const Triangle triangle = leaf.TriangleAt(t);
                double least = HUGE_VAL, most = 0;
                for (int k = 0; k <= 40; ++k)
                    for (int l = 0; k + l <= 40; ++l) {
                        Vec point{};
                        const double share[3] = {k / 40.0, l / 40.0, (40 - k - l) / 40.0};
                        for (int c = 0; c < 3; ++c)
                            point = point + share[c] * VecOf(triangle.corner[c]);
                        // By the area of a parallelogram, which needs no axis of length 1.
                        const double distance =
                            Length(Cross(rates.spin, point - rates.pivot)) / rates.speed;
                        least = std::min(least, distance), most = std::max(most, distance);
                    }
                const double error = 4 * moving.a.error;
                ASSERT_LE(rings.least[t], least + error);
                ASSERT_GE(rings.most[t], most - error);
                tight += rings.most[t] < most + error && rings.least[t] > 0.98 * least;
                ++wide;
            }
        }
    }
    EXPECT_GT(tight, wide / 4);
}

TEST(ProximityBounds, OfBoxesHoldTheCornersThatASkewPoseMovesOutwards)
{
    Random random{std::mt19937(9)};
    const Body other(random.Strip(1, 1, 1));
    int tight = 0;
    for (int i = 0; i < 200; ++i) {
        // A plate that faces away from the axis: the pose leans it, by as much as is let pass.
        const float away = 10 + static_cast<float>(random.Unit()), wide = 2, high = 60;
        const Body body(Triangles{{{{away, -wide, 0}, {away, wide, 0}, {away, wide, high}}},
                                  {{{away, -wide, 0}, {away, wide, high}, {away, -wide, high}}}});
        Pose pose = RandomPose(random.engine, 5);
        const Point axis{pose[2], pose[6], pose[10]}, pivot{pose[3], pose[7], pose[11]};
        for (std::size_t row = 0; row < 12; row += 4) pose[row + 2] += 9e-7 * pose[row];
        const MovingPair moving =
            MakeMovingPair(body, Turn(pose, pivot, axis, 1, {}), other, Rest(kIdentity));
        const Placement placement = PlaceAt(moving.a, 0);
        const Rates rates = RatesAt(moving.a, 0);
        const NodeBox box = PlaceBox(placement, rates, body.tree.BoxOf(kRoot));
        double most = 0;
        for (int t = 0; t < 2; ++t)
            for (const auto& corner : PlaceTriangle(body.tree, placement, t).corner)
                most = std::max(most, Length(AcrossAxis(rates, VecOf(corner) - rates.pivot)));
        ASSERT_LE(most, box.points.radius);
        tight += box.points.radius < 1.0001 * most;
    }
    EXPECT_EQ(tight, 200);
}

} // namespace
