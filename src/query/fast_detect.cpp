#include "query/fast_detect.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "bvh/corner_set.h"
#include "bvh/query_trees.h"
#include "query/corner_planes.h"
#include "query/motion.h"
#include "query/probe_edges.h"
#include "query/probe_leaf.h"
#include "query/swept_first.h"
#include "sweep/define.h"

namespace
{

using Motions = std::array<Motion, kPasses>;

/// Two nodes, each by its quad and lane.
struct NodePair {
    int target, mover;

    static int Number(int quad, int lane) { return kLanes * quad + lane; }
    static int QuadOf(int number) { return number / kLanes; }
    static int LaneOf(int number) { return number % kLanes; }
};

/// Pairs whose turn comes when no likelier one has given a hit.
struct LaterPairs {
    struct Entry {
        NodePair pair;
        Pass pass;
    };
    std::vector<Entry> entry;

    /// @return false when there are too many
    bool Add(const NodePair& pair, Pass pass)
    {
        constexpr std::size_t kMost = 1 << 16;
        if (entry.size() == kMost) return false;
        entry.push_back({pair, pass});
        return true;
    }
};

struct Query {
    SOLIDC& a;
    SOLIDC& b;
    QueryTrees& targets;
    QueryTrees& movers;
    MoverLeaf& moved;
    LaterPairs& later;
    const Motions& motions; ///< by pass
    Pass pass;
    bool onEdges = true; ///< leave pairs for later that can hit beside edges only

    const Motion& MotionNow() const { return motions[static_cast<std::size_t>(pass)]; }
    const MoverBoxes& MoversOf(int quad) const { return movers.moverBoxes[quad]; }
    const TargetBoxes& TargetsOf(int quad) const { return targets.targetBoxes[quad]; }
};

/// A mover where the pass has it: a lane of some boxes, or all of them.
struct PlacedNode {
    const PlacedBoxes& boxes;
    int lane;
    bool inAll;
};

bool PairHits(Query& query, const NodePair& pair, const PlacedNode& mover, bool onEdge);

/// Asks about all edges of a pair of nodes, each kind where it is.
bool PassesHit(Query& query, const NodePair& pair);

/// Calls `hits` with each lane that has a chance, those first whose boxes share most: where there
/// is a hit at all it is found soonest there. @return whether one of them did
template <class Hits>
bool AnyLaneHits(const Chances& chances, LaneMask any, int count, Hits hits)
{
    std::array<int, kLanes> order;
    int found = 0;
    for (int lane = 0; lane < count; ++lane) {
        if (!any[lane]) continue;
        int at = found++;
        for (; at > 0 && chances.overlap[order[std::size_t(at - 1)]] < chances.overlap[lane]; --at)
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
    const Chances chances = ChancesOf(query.MotionNow(), placed.boxes, query.TargetsOf(quad));
    const int count = query.targets.targetTree.quad[quad].count;
    return AnyLaneHits(chances, chances.any, count, [&](int lane) {
        return PairHits(query, {NodePair::Number(quad, lane), moverNumber}, placed,
                        chances.onEdge[lane] != 0);
    });
}

/// One target with the movers of a quad.
bool MoversHit(Query& query, int targetNumber, int quad)
{
    PlacedBoxes placed;
    const LaneMask present =
        PlaceBoxes(query.MotionNow(), query.MoversOf(quad), query.a.octree->root->bbox, placed);
    const TargetBoxes target =
        SplatLane(query.TargetsOf(NodePair::QuadOf(targetNumber)), NodePair::LaneOf(targetNumber));
    const Chances chances = ChancesOf(query.MotionNow(), placed, target);
    const int count = query.movers.moverTree.quad[quad].count;
    return AnyLaneHits(chances, chances.any & present, count, [&](int lane) {
        return PairHits(query, {targetNumber, NodePair::Number(quad, lane)}, {placed, lane, false},
                        chances.onEdge[lane] != 0);
    });
}

/// Whether no corner of a node of few movers lies in a plane of a node of few targets, as a hit
/// beside an edge asks for. Targets that are judged by cells have none that counts.
bool NoneTouches(Query& query, const NodePair& pair)
{
    const int quad = NodePair::QuadOf(pair.target), lane = NodePair::LaneOf(pair.target),
              moverQuad = NodePair::QuadOf(pair.mover), moverLane = NodePair::LaneOf(pair.mover);
    const BoxRange& targets = query.targets.targetTree.quad[quad].items[lane];
    if (query.pass == Pass::kWhole || targets.Count() > kFew ||
        query.TargetsOf(quad).holdsCells[lane] != 0)
        return false;
    FewCorners corners;
    if (query.movers.moverTree.quad[moverQuad].IsLeaf(moverLane))
        corners = CornersOfLeaf(query.movers.MoversOf(moverQuad, moverLane));
    else
        corners = query.movers.FewCornersOf(moverQuad, moverLane);
    if (corners.groups == 0) return false;
    TargetsBelow(query.targets, quad, lane); // planes come with it
    return !MayTouchPlanes(query.MotionNow(), corners,
                           {&query.targets.plane[static_cast<std::size_t>(targets.first)],
                            static_cast<std::size_t>(targets.Count())});
}

/// Whether it is the targets' turn to be parted.
bool PartsTargets(const Query& query, const NodePair& pair, const PlacedNode& mover, bool onEdge)
{
    const int quad = NodePair::QuadOf(pair.target), lane = NodePair::LaneOf(pair.target);
    const BoxQuad& own = query.targets.targetTree.quad[quad];
    if (own.IsLeaf(lane)) return false;
    const TargetBoxes& targets = query.TargetsOf(quad);
    if (!onEdge) {
        // Of flat targets, movers that have no end in their plane are soon told.
        constexpr float kThin = 0.01f;
        const float thickness =
            targets.box.half[0][lane] + mover.boxes.longest[mover.lane] * targets.turnAtAll[lane];
        if (thickness < kThin) return false;
        // Down to where corners can be held against planes.
        const FewCorners& corners =
            query.movers.FewCornersOf(NodePair::QuadOf(pair.mover), NodePair::LaneOf(pair.mover));
        if (corners.groups > 0 && own.items[lane].Count() > kFew) return true;
    }
    return targets.box.halfArea[lane] > mover.boxes.halfArea[mover.lane];
}

/// Goes on with a pair of nodes that has a chance. Each step goes down two levels of one tree, so
/// the depth is that of both, two hundred at the most.
bool PairHits(Query& query, const NodePair& pair, const PlacedNode& mover, bool onEdge)
{
    if (!onEdge && query.onEdges && query.pass != Pass::kWhole && query.later.Add(pair, query.pass))
        return false;
    const int targetQuad = NodePair::QuadOf(pair.target),
              targetLane = NodePair::LaneOf(pair.target), moverQuad = NodePair::QuadOf(pair.mover),
              moverLane = NodePair::LaneOf(pair.mover);
    const BoxQuad& moving = query.movers.moverTree.quad[moverQuad];
    const bool leaf = moving.IsLeaf(moverLane);
    constexpr float kLarge = 2.5f; // in half extents
    if (query.pass == Pass::kWhole &&
        (leaf || mover.boxes.half[0][mover.lane] < kLarge * query.MotionNow().extraLength[0]))
        return PassesHit(query, pair);
    if (!onEdge && NoneTouches(query, pair)) return false;
    if (leaf) {
        PlaceEdges(query.a, query.b, query.movers, query.MotionNow(), moving.items[moverLane],
                   query.moved);
        return EdgesHit(query.a, query.targets, query.moved, targetQuad, targetLane);
    }
    if (PartsTargets(query, pair, mover, onEdge))
        return TargetsHit(query, TargetsBelow(query.targets, targetQuad, targetLane), pair.mover,
                          mover);
    return MoversHit(query, pair.target, MoversBelow(query.b, query.movers, moverQuad, moverLane));
}

void StartPass(Query& query, Pass pass)
{
    if (query.pass != pass) query.moved.first = -1;
    query.pass = pass;
}

/// Goes on with the pairs that were left for later.
bool LaterPairsHit(Query& query)
{
    query.onEdges = false;
    PlacedBoxes placed;
    int placedQuad = -1; // mostly the same as that of the pair before
    for (const auto& [pair, pass] : query.later.entry) {
        const int quad = NodePair::QuadOf(pair.mover);
        if (quad != placedQuad || pass != query.pass) {
            StartPass(query, pass);
            PlaceBoxes(query.MotionNow(), query.MoversOf(quad), query.a.octree->root->bbox, placed);
            placedQuad = quad;
        }
        if (PairHits(query, pair, {placed, NodePair::LaneOf(pair.mover), false}, false))
            return true;
    }
    return false;
}

/// Looks at a pair in a pass of its own.
bool PairHitsIn(Query& query, const NodePair& pair, Pass pass)
{
    StartPass(query, pass);
    const int lane = NodePair::LaneOf(pair.mover);
    PlacedBoxes placed;
    const LaneMask present =
        PlaceBoxes(query.MotionNow(), query.MoversOf(NodePair::QuadOf(pair.mover)),
                   query.a.octree->root->bbox, placed);
    if (!present[lane]) return false;
    const TargetBoxes target =
        SplatLane(query.TargetsOf(NodePair::QuadOf(pair.target)), NodePair::LaneOf(pair.target));
    const Chances chances = ChancesOf(query.MotionNow(), placed, target);
    return chances.any[lane] &&
           PairHits(query, pair, {placed, lane, false}, chances.onEdge[lane] != 0);
}

bool PassesHit(Query& query, const NodePair& pair)
{
    for (const Pass pass : {Pass::kEnd, Pass::kStart, Pass::kWalls})
        if (PairHitsIn(query, pair, pass)) return true;
    query.pass = Pass::kWhole;
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

Motions MotionsOf(const SOLIDC& b, const Motion& motion)
{
    Motions motions;
    for (const Pass pass : {Pass::kEnd, Pass::kStart, Pass::kWalls, Pass::kWhole}) {
        if (pass != Pass::kEnd && !b.isSwept) break;
        motions[static_cast<std::size_t>(pass)] = motion;
        SetPass(motions[static_cast<std::size_t>(pass)], pass);
    }
    return motions;
}

enum class Answer { kNone, kHit, kUnknown };

Answer DetectByTrees(SOLIDC& a, SOLIDC& b)
{
    const QueryTrees* bounds = MoverBounds(b);
    if (!bounds || !IsPlainBox(a.octree->root->bbox)) return Answer::kUnknown;
    const Motion motion = ReadMotion(b, bounds->bounds);
    if (!IsModerate(motion)) return Answer::kUnknown;
    const Motions motions = MotionsOf(b, motion);
    const Pass first = b.isSwept ? Pass::kWhole : Pass::kEnd;
    // Most solids are far from each other, and get by without trees.
    if (!MayMeet(motions[static_cast<std::size_t>(first)], bounds->bounds, a.octree->root->bbox))
        return Answer::kNone;
    QueryTrees *targets = TargetTrees(a), *movers = MoverTrees(b);
    if (!targets || !movers) return Answer::kUnknown;
    if (targets->target.empty() || movers->moverTriangle.empty()) return Answer::kNone;
    MoverLeaf moved;
    LaterPairs later;
    Query query{a, b, *targets, *movers, moved, later, motions, first};
    return MoversHit(query, 0, 0) || LaterPairsHit(query) ? Answer::kHit : Answer::kNone;
}

} // namespace

int DetectFast(SOLIDC& a, SOLIDC& b)
{
    if (IsPlainPair(a, b)) {
        const Answer answer = DetectByTrees(a, b);
        if (answer != Answer::kUnknown) return answer == Answer::kHit;
    }
    CompleteSweep(a);
    CompleteSweep(b);
    if (a.isSwept && b.isSwept && HasTolerance(b))
        if (QueryTrees* movers = MoverTrees(b)) return DetectSweptFirst(a, b, *movers);
    return a.SC_DetectIntersection(&b);
}
