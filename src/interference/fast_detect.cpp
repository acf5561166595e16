#include "interference/fast_detect.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "interference/hit_region.h"
#include "interference/motion.h"
#include "interference/moved_pieces.h"
#include "interference/query_trees.h"
#include "interference/swept_first.h"
#include "interference/tests.h"
#include "solid/bbox.h"
#include "sweep/define.h"

namespace
{

/// The movers of one leaf of the tree, with the edges that the walk would come by.
struct MoverLeaf {
    int leaf = -1;
    int count = 0;
    MovedPieces pieces[kItemsPerLeaf];
};

/// Two nodes, each by its quad and lane.
struct NodePair {
    int target, mover;

    static int Number(int quad, int lane) { return kLanes * quad + lane; }
    static int QuadOf(int number) { return number / kLanes; }
    static int LaneOf(int number) { return number % kLanes; }
};

/// Pairs whose turn comes when no likelier one has given a hit.
struct LaterPairs {
    std::vector<NodePair> pair;

    /// @return false when there are too many
    bool Add(const NodePair& added)
    {
        constexpr std::size_t kMost = 1 << 16;
        if (pair.size() == kMost) return false;
        pair.push_back(added);
        return true;
    }
};

struct Query {
    SOLIDC& a;
    SOLIDC& b;
    const QueryTrees& targets;
    const QueryTrees& movers;
    MoverLeaf& moved;
    LaterPairs& later;
    Motion motion;
    bool onEdges = true; ///< leave pairs for later that can hit beside edges only
};

/// The walk over the chain of one leaf, as it stands.
bool WalkLeaf(const MovedEdge& edge, const OCTREENODE* leaf)
{
    CrossingState state;
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle))
        if (EdgeCrossesTriangle(edge.ends, triangle->corners, state)) return true;
    return false;
}

bool EdgeHits(const SOLIDC& a, const MovedEdge& edge, const Target& target)
{
    if (!target.triangle)
        return a.octree->IntersectingBboxes(target.leaf->bbox, edge.box) &&
               WalkLeaf(edge, target.leaf);
    CrossingState state;
    std::memcpy(state.plane, target.plane, sizeof target.plane);
    const Crossing crossing = EdgeCrossesPlane(edge.ends, target.triangle->corners, state);
    if (crossing == Crossing::kNone) return false;
    if (!a.octree->IntersectingBboxes(target.leaf->bbox, edge.box)) return false;
    if (crossing == Crossing::kHit) return true;
    return MayBeCarriedInto(edge.ends, target.triangle->corners, target.plane) &&
           WalkLeaf(edge, target.leaf);
}

void PlaceMovers(Query& query, int n)
{
    MoverLeaf& moved = query.moved;
    if (moved.leaf == n) return;
    moved.leaf = n;
    const BoxNode& items = query.movers.moverTree.At(n);
    moved.count = items.last - items.first;
    const float* box = query.a.octree->root->bbox;
    for (int i = 0; i < moved.count; ++i) {
        const Mover& mover = query.movers.mover[static_cast<std::size_t>(items.first + i)];
        if (query.motion.pass == Pass::kWalls)
            CollectWallEdges(query.b, mover, box, moved.pieces[i]);
        else
            CollectOwnEdges(query.b, mover, query.motion.pass == Pass::kStart, box, moved.pieces[i]);
    }
}

/// A node as it is asked about: its number, and where what is below it lies.
struct Place {
    int number;
    int below; ///< quad, or 0 for a leaf
    int leaf;  ///< node of the tree, where it is one
};

Place PlaceAt(const BoxTree& tree, int number)
{
    const BoxQuad& quad = tree.Quad(NodePair::QuadOf(number));
    const int lane = NodePair::LaneOf(number);
    return {number, quad.below[lane], quad.node[lane]};
}

/// Copies one lane into all of them, of a record made of lanes alone.
template <class Record>
Record SplatLane(const Record& from, int lane)
{
    constexpr std::size_t kCount = sizeof(Record) / sizeof(Lanes);
    Record to;
    const float* source = reinterpret_cast<const float*>(&from) + lane;
    Lanes* target = reinterpret_cast<Lanes*>(&to);
    for (std::size_t i = 0; i < kCount; ++i) target[i] = Splat(source[kLanes * i]);
    return to;
}

/// Whether an edge of a leaf ends where it must, to hit beside itself.
bool EndsInPlane(Query& query, int target, int mover, float height)
{
    PlaceMovers(query, mover);
    const int lane = NodePair::LaneOf(target);
    const LaneBoxes& box =
        query.targets.targetBoxes[static_cast<std::size_t>(NodePair::QuadOf(target))].box;
    for (int i = 0; i < query.moved.count; ++i)
        for (int e = 0; e < query.moved.pieces[i].count; ++e)
            for (const auto& end : query.moved.pieces[i].edge[e].ends) {
                double above = 0;
                for (int r = 0; r < 3; ++r)
                    above += (double(end[r]) - box.centre[r][lane]) * box.axis[0][r][lane];
                if (std::fabs(above) <= height) return true;
            }
    return false;
}

/// The planes of the targets of a leaf, side by side.
struct LeafPlanes {
    Lanes normal[3]{}, d{};
};

static_assert(kItemsPerLeaf <= kLanes);

/// Which planes an edge leaves alone: both ends are off them, to the same side.
LaneMask StaysOff(const LeafPlanes& planes, const MovedEdge& edge)
{
    constexpr float kRounding = 1e-6f; // of these sums of floats
    Lanes height[2], far = Abs(planes.d);
    for (int end = 0; end < 2; ++end) {
        height[end] = planes.d;
        for (int r = 0; r < 3; ++r) {
            height[end] += planes.normal[r] * edge.ends[end][r];
            far += std::fabs(edge.ends[end][r]);
        }
    }
    const Lanes room = kContact + kRounding * far;
    return ((height[0] > room) & (height[1] > room)) | ((height[0] < -room) & (height[1] < -room));
}

bool LeavesHit(Query& query, int target, int mover)
{
    PlaceMovers(query, mover);
    const BoxNode& items = query.targets.targetTree.At(target);
    const Target* targets = &query.targets.target[static_cast<std::size_t>(items.first)];
    const int count = items.last - items.first;
    LeafPlanes planes; // of a leaf that is walked whole it is 0, which nothing stays off
    for (int t = 0; t < count; ++t) {
        for (int r = 0; r < 3; ++r) planes.normal[r][t] = targets[t].plane[r];
        planes.d[t] = targets[t].plane[3];
    }
    for (int i = 0; i < query.moved.count; ++i) {
        const MovedPieces& pieces = query.moved.pieces[i];
        for (int e = 0; e < pieces.count; ++e) {
            const LaneMask off = StaysOff(planes, pieces.edge[e]);
            for (int t = 0; t < count; ++t)
                if (!off[t] && EdgeHits(query.a, pieces.edge[e], targets[t])) return true;
        }
    }
    return false;
}

/// A mover where the pass has it: a lane of some boxes, or all of them.
struct PlacedNode {
    const PlacedBoxes& boxes;
    int lane;
    bool inAll;
};

bool PairHits(Query& query, const NodePair& pair, const PlacedNode& mover, bool onEdge,
              float height);

/// Calls `hits` with each lane that has a chance, the deepest first: where there is a hit at all it
/// is found soonest there. @return whether one of them did
template <class Hits>
bool AnyLaneHits(const Chances& chances, LaneMask any, int count, Hits hits)
{
    std::array<int, kLanes> order;
    int found = 0;
    for (int lane = 0; lane < count; ++lane) {
        if (!any[lane]) continue;
        int at = found++;
        for (; at > 0 && chances.depth[order[std::size_t(at - 1)]] < chances.depth[lane]; --at)
            order[std::size_t(at)] = order[std::size_t(at - 1)];
        order[std::size_t(at)] = lane;
    }
    return std::any_of(order.begin(), order.begin() + found, hits);
}

/// The targets of a quad with one mover.
bool TargetsHit(Query& query, int quad, int moverNumber, const PlacedNode& placed)
{
    if (!placed.inAll) {
        const PlacedBoxes mover = SplatLane(placed.boxes, placed.lane);
        return TargetsHit(query, quad, moverNumber, {mover, 0, true});
    }
    const Chances chances = ChancesOf(query.motion, placed.boxes,
                                      query.targets.targetBoxes[static_cast<std::size_t>(quad)]);
    const int count = query.targets.targetTree.Quad(quad).count;
    return AnyLaneHits(chances, chances.any, count, [&](int lane) {
        return PairHits(query, {NodePair::Number(quad, lane), moverNumber}, placed,
                        chances.onEdge[lane] != 0, chances.height[lane]);
    });
}

/// One target with the movers of a quad.
bool MoversHit(Query& query, int targetNumber, int quad)
{
    PlacedBoxes placed;
    const LaneMask present =
        PlaceBoxes(query.motion, query.movers.moverBoxes[static_cast<std::size_t>(quad)],
                   query.a.octree->root->bbox, placed);
    const TargetBoxes target =
        SplatLane(query.targets.targetBoxes[static_cast<std::size_t>(NodePair::QuadOf(targetNumber))],
                  NodePair::LaneOf(targetNumber));
    const Chances chances = ChancesOf(query.motion, placed, target);
    const int count = query.movers.moverTree.Quad(quad).count;
    return AnyLaneHits(chances, chances.any & present, count, [&](int lane) {
        return PairHits(query, {targetNumber, NodePair::Number(quad, lane)}, {placed, lane, false},
                        chances.onEdge[lane] != 0, chances.height[lane]);
    });
}

/// Goes on with those pairs of nodes that have a chance. Each step goes down two levels of one
/// tree, so the depth is that of both, a hundred at the most.
bool PairHits(Query& query, const NodePair& pair, const PlacedNode& mover, bool onEdge,
              float height)
{
    if (!onEdge && query.onEdges && query.later.Add(pair)) return false;
    const Place target = PlaceAt(query.targets.targetTree, pair.target),
                moving = PlaceAt(query.movers.moverTree, pair.mover);
    if (!moving.below) {
        if (!onEdge && !EndsInPlane(query, pair.target, moving.leaf, height)) return false;
        if (!target.below) return LeavesHit(query, target.leaf, moving.leaf);
    }
    const TargetBoxes& targets =
        query.targets.targetBoxes[static_cast<std::size_t>(NodePair::QuadOf(pair.target))];
    const int lane = NodePair::LaneOf(pair.target);
    constexpr float kThin = 0.01f;
    const bool thin = !onEdge && targets.box.half[0][lane] +
                                         mover.boxes.longest[mover.lane] * targets.turnAtAll[lane] <
                                     kThin;
    if (!moving.below ||
        (target.below && !thin && targets.box.halfArea[lane] > mover.boxes.halfArea[mover.lane]))
        return TargetsHit(query, target.below, pair.mover, mover);
    return MoversHit(query, pair.target, moving.below);
}
/// A pair that was left for later.
bool LaterPairHits(Query& query, const NodePair& pair)
{
    PlacedBoxes placed;
    PlaceBoxes(query.motion,
               query.movers.moverBoxes[static_cast<std::size_t>(NodePair::QuadOf(pair.mover))],
               query.a.octree->root->bbox, placed);
    const PlacedBoxes mover = SplatLane(placed, NodePair::LaneOf(pair.mover));
    const TargetBoxes target =
        SplatLane(query.targets.targetBoxes[static_cast<std::size_t>(NodePair::QuadOf(pair.target))],
                  NodePair::LaneOf(pair.target));
    return PairHits(query, pair, {mover, 0, true}, false, ChancesOf(query.motion, mover, target).height[0]);
}

bool PassHits(Query& query, Pass pass)
{
    query.moved.leaf = -1;
    query.onEdges = true;
    query.later.pair.clear();
    SetPass(query.motion, pass);
    if (MoversHit(query, 0, 0)) return true;
    query.onEdges = false;
    for (const NodePair& pair : query.later.pair)
        if (LaterPairHits(query, pair)) return true;
    return false;
}

bool HasTolerance(const SOLIDC& solid)
{
    return solid.tolerance >= 0 && std::isfinite(solid.tolerance);
}

/// Whether the trees speak for both solids as they are asked.
bool IsPlainPair(const SOLIDC& a, const SOLIDC& b)
{
    // Cursors of the walk end early on solids with few edges; that is not followed here.
    constexpr int kLeastEdges = 12;
    return a.octree && !a.isSwept && !a.isRotated && !b.isRotated && !b.isSimple &&
           b.edgeCount >= kLeastEdges && HasTolerance(b) && MotionIsPlain(b);
}

int DetectByTrees(SOLIDC& a, SOLIDC& b, const QueryTrees& targets, const QueryTrees& movers,
                  const Motion& motion)
{
    MoverLeaf moved;
    LaterPairs later;
    Query query{a, b, targets, movers, moved, later, motion};
    if (PassHits(query, Pass::kEnd)) return 1;
    return b.isSwept && (PassHits(query, Pass::kStart) || PassHits(query, Pass::kWalls));
}

} // namespace

int DetectFast(SOLIDC& a, SOLIDC& b)
{
    if (IsPlainPair(a, b)) {
        const QueryTrees *targets = TargetTrees(a), *movers = MoverTrees(b);
        if (targets && movers) {
            if (targets->targetTree.itemCount == 0 || movers->moverTree.itemCount == 0) return 0;
            const Motion motion = ReadMotion(b, movers->moverBoxes[0].box);
            if (IsModerate(motion)) return DetectByTrees(a, b, *targets, *movers, motion);
        }
    }
    SettleSweep(a);
    SettleSweep(b);
    if (a.isSwept && b.isSwept && HasTolerance(b))
        if (const QueryTrees* movers = MoverTrees(b)) return DetectSweptFirst(a, b, *movers);
    return a.SC_DetectIntersection(&b);
}
