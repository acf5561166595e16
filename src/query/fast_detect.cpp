#include "query/fast_detect.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <vector>

#include "bvh/query_trees.h"
#include "geometry/predicates.h"
#include "query/corner_planes.h"
#include "query/edge_by_edge.h"
#include "query/node_overlap.h"
#include "query/probe_edges.h"
#include "query/probe_leaf.h"
#include "query/steps.h"
#include "query/swept_first.h"
#include "sweep/define.h"

namespace
{

using Motions = std::array<Motion, kPasses>;

/// Two nodes, each by its wide node and its lane there.
struct NodePair {
    int target, probe;

    static int Number(int wide, int lane) { return kLanes * wide + lane; }
    static int WideOf(int number) { return number / kLanes; }
    static int LaneOf(int number) { return number % kLanes; }
};

/// Pairs that can hit only beside an edge, looked at after all others.
struct DeferredPairs {
    struct Entry {
        NodePair pair;
        Pass pass;
    };
    std::vector<Entry> entry;

    /// @return false when there are too many
    bool Add(const NodePair& pair, Pass pass)
    {
        constexpr std::size_t kMax = 1 << 16;
        if (entry.size() == kMax) return false;
        entry.push_back({pair, pass});
        return true;
    }
};

struct Query {
    SOLIDC& a;
    SOLIDC& b;
    TargetTree& targets;
    ProbeTree& probes;
    ProbeLeaf& leaf;
    DeferredPairs& deferred;
    const Motions& motions; ///< by pass
    Pass pass;
    bool defers = true; ///< pairs that can hit beside edges only
    /// Of a first look: so many descents are left below the pair, each to a leaf or to where
    /// nothing overlaps. 0 where all pairs are looked at.
    int descents = 0;
    /// So many leaves of swept quads are still gone down to at once, by SizeOf.
    int eagerLeaves = 64;

    const Motion& CurrentMotion() const { return motions[static_cast<std::size_t>(pass)]; }
    const ProbeNodes& ProbesOf(int wide) const { return probes.nodes[wide]; }
    const TargetNodes& TargetsOf(int wide) const { return targets.nodes[wide]; }
};

/// A node of probes, placed: one lane of some nodes, or the same in all lanes.
struct PlacedNode {
    const PlacedNodes& nodes;
    int lane;
    bool inAllLanes;
};

bool PairHits(Query& query, const NodePair& pair, const PlacedNode& probe, bool onEdge);

/// Looks at a pair in each pass for one kind of edges.
bool PassesHit(Query& query, const NodePair& pair);

/// Calls `hits` with some lanes, and shares the descents left of a first look among them. So these
/// spread over both solids, where the deepest overlaps may all be at the same hole.
template <class Hits>
bool AnyDescentHits(Query& query, std::span<const int> lanes, Hits hits)
{
    int left = query.descents;
    for (std::size_t i = 0; i < lanes.size() && left > 0; ++i) {
        const int rest = int(lanes.size() - i), share = (left + rest - 1) / rest;
        query.descents = share;
        if (hits(lanes[i])) return true;
        left -= std::max(share - query.descents, 1);
    }
    query.descents = left;
    return false;
}

/// Calls `hits` with each lane that overlaps, by depth, since a hit is likeliest where that is
/// greatest. @return whether one of them hits
template <class Hits>
bool AnyLaneHits(Query& query, const NodeOverlap& overlap, int count, Hits hits)
{
    const bool looksFirst = query.descents > 0;
    const LaneMask any = looksFirst ? overlap.any & overlap.onEdge : overlap.any;
    std::array<int, kLanes> order;
    std::size_t found = 0;
    for (int lane = 0; lane < count; ++lane) {
        if (!any[lane]) continue;
        std::size_t at = found++;
        for (; at > 0 && overlap.depth[order[at - 1]] < overlap.depth[lane]; --at)
            order[at] = order[at - 1];
        order[at] = lane;
    }
    if (looksFirst) return AnyDescentHits(query, {order.data(), found}, hits);
    return std::any_of(order.begin(), order.begin() + found, hits);
}

/// The nodes of a wide node of targets with one node of probes.
bool TargetsHit(Query& query, int wide, int probeNumber, const PlacedNode& placed)
{
    if (!placed.inAllLanes) {
        const PlacedNodes probe = SplatLane(placed.nodes, placed.lane);
        return TargetsHit(query, wide, probeNumber, {probe, 0, true});
    }
    NodeOverlap overlap = OverlapOf(query.CurrentMotion(), placed.nodes, query.TargetsOf(wide));
    if (query.targets.hasCells && !AllOf(~overlap.any))
        overlap.any &= MeetCells(query.CurrentMotion(), placed.nodes, query.targets.cells[wide]);
    ++querySteps.nodePairs;
    const int count = query.targets.bvh.wide[wide].count;
    return AnyLaneHits(query, overlap, count, [&](int lane) {
        return PairHits(query, {NodePair::Number(wide, lane), probeNumber}, placed,
                        overlap.onEdge[lane] != 0);
    });
}

/// Of four placed nodes of probes with one node of targets.
NodeOverlap OverlapOfTarget(const Query& query, const PlacedNodes& placed, int number)
{
    const int wide = NodePair::WideOf(number), lane = NodePair::LaneOf(number);
    NodeOverlap overlap =
        OverlapOf(query.CurrentMotion(), placed, SplatLane(query.TargetsOf(wide), lane));
    if (query.targets.hasCells && !AllOf(~overlap.any))
        overlap.any &=
            MeetCells(query.CurrentMotion(), placed, SplatLane(query.targets.cells[wide], lane));
    ++querySteps.nodePairs;
    return overlap;
}

/// One node of targets with the nodes of a wide node of probes.
bool ProbesHit(Query& query, int targetNumber, int wide)
{
    PlacedNodes placed;
    const LaneMask present =
        PlaceNodes(query.CurrentMotion(), query.ProbesOf(wide), query.a.octree->root->bbox, placed);
    NodeOverlap overlap = OverlapOfTarget(query, placed, targetNumber);
    overlap.any &= present;
    const int count = query.probes.bvh.wide[wide].count;
    return AnyLaneHits(query, overlap, count, [&](int lane) {
        return PairHits(query, {targetNumber, NodePair::Number(wide, lane)}, {placed, lane, false},
                        overlap.onEdge[lane] != 0);
    });
}

/// Half the area of a node, to compare it with one of targets.
float SizeOf(const Query& query, const PlacedNode& probe, bool onEdge)
{
    if (query.pass != Pass::kSweptQuads || !onEdge || query.eagerLeaves == 0)
        return probe.nodes.halfArea[probe.lane];
    // Sweep lines fill the box of a long motion badly. On their own, from a large node of targets
    // on, they soon find what they cross. Where the first cross nothing, as those of a plate full
    // of holes may, many are better told from targets together, as is what lies beside them.
    constexpr float kLonger = 4;
    const Lanes* radius = probe.nodes.radius;
    return kLonger *
           (radius[0] * radius[1] + radius[1] * radius[2] + radius[2] * radius[0])[probe.lane];
}

/// Which side of the dual traversal to descend: the targets', else the probes'.
bool DescendsTargets(const Query& query, const NodePair& pair, const PlacedNode& probe, bool onEdge)
{
    const int wide = NodePair::WideOf(pair.target), lane = NodePair::LaneOf(pair.target);
    const WideNode& own = query.targets.bvh.wide[wide];
    if (own.IsLeaf(lane)) return false;
    const TargetNodes& targets = query.TargetsOf(wide);
    if (!onEdge) {
        // Against flat targets, smaller probes are soon found to have no corner in their planes.
        // In contact tolerances, since a corner is in a plane by that length, however large solids
        // are. Only the order of the traversal hangs on it.
        constexpr float kThin = 100 * kContact;
        const float thickness = targets.box.half[0][lane] +
                                probe.nodes.longest[probe.lane] * targets.maxDeviation[lane];
        if (thickness < kThin) return false;
        // Down to where corners can be compared with planes.
        const CornerSet& corners =
            query.probes.CornerSetOf(NodePair::WideOf(pair.probe), NodePair::LaneOf(pair.probe));
        if (corners.groups > 0 && own.items[lane].Count() > kMaxCornerSetItems) return true;
    }
    return targets.box.halfArea[lane] > SizeOf(query, probe, onEdge);
}

/// Whether to go on with a pass for each kind of edges: where nodes are small against the motion,
/// or where that is so short that the margins of sweep lines alone are in the way of all other
/// edges.
bool SplitsIntoPasses(const Query& query, const PlacedNode& probe, bool onEdge)
{
    constexpr float kSmallNode = 2.5f, kLongEdge = 20; // against the length of the motion
    const float motion = query.CurrentMotion().sweptLength[0];
    return probe.nodes.half[0][probe.lane] < kSmallNode * motion ||
           (!onEdge && probe.nodes.longest[probe.lane] > kLongEdge * motion);
}

/// Whether a node of probes is off the planes of all targets of a leaf. Where the leaf is large and
/// bent, few nodes in its box are near one of its targets.
bool StaysOffLeaf(const Query& query, const PlacedNode& probe, int wide, int lane)
{
    const WideNode& own = query.targets.bvh.wide[wide];
    if (!own.IsLeaf(lane)) return false;
    const ItemRange& items = own.items[lane];
    const LaneMask off = StaysOff(&query.targets.plane[static_cast<std::size_t>(items.first)],
                                  query.CurrentMotion(), probe.nodes, probe.lane);
    for (int i = 0; i < items.Count(); ++i)
        if (!off[i]) return false;
    return true;
}

/// Goes on with a pair of nodes that overlap. Each step descends two levels of one tree, so the
/// recursion is at most as deep as both together, 200.
bool PairHits(Query& query, const NodePair& pair, const PlacedNode& probe, bool onEdge)
{
    if (!onEdge && query.defers && query.pass != Pass::kAll && query.deferred.Add(pair, query.pass))
        return false;
    const int targetWide = NodePair::WideOf(pair.target),
              targetLane = NodePair::LaneOf(pair.target), probeWide = NodePair::WideOf(pair.probe),
              probeLane = NodePair::LaneOf(pair.probe);
    const WideNode& moving = query.probes.bvh.wide[probeWide];
    const bool leaf = moving.IsLeaf(probeLane);
    if (query.pass == Pass::kAll && (leaf || SplitsIntoPasses(query, probe, onEdge)))
        return PassesHit(query, pair);
    if (!onEdge && NoCornerInPlanes(query.CurrentMotion(), query.probes, {probeWide, probeLane},
                                    query.targets, {targetWide, targetLane}))
        return false;
    if (leaf) {
        if (query.pass == Pass::kSweptQuads && query.eagerLeaves > 0) --query.eagerLeaves;
        PlaceLeafEdges(query.a, query.b, query.probes, query.CurrentMotion(),
                       moving.items[probeLane], query.leaf);
        return EdgesHit(query.a, query.targets, query.leaf, targetWide, targetLane);
    }
    if (DescendsTargets(query, pair, probe, onEdge))
        return TargetsHit(query, TargetsBelow(query.targets, targetWide, targetLane), pair.probe,
                          probe);
    if (StaysOffLeaf(query, probe, targetWide, targetLane)) return false;
    return ProbesHit(query, pair.target, ProbesBelow(query.b, query.probes, probeWide, probeLane));
}

void StartPass(Query& query, Pass pass)
{
    if (query.pass != pass) query.leaf.first = -1;
    query.pass = pass;
}

/// Goes on with the deferred pairs.
bool DeferredPairsHit(Query& query)
{
    query.defers = false;
    PlacedNodes placed;
    int placedWide = -1; // often that of the pair before
    for (const auto& [pair, pass] : query.deferred.entry) {
        const int wide = NodePair::WideOf(pair.probe);
        if (wide != placedWide || pass != query.pass) {
            StartPass(query, pass);
            PlaceNodes(query.CurrentMotion(), query.ProbesOf(wide), query.a.octree->root->bbox,
                       placed);
            placedWide = wide;
        }
        if (PairHits(query, pair, {placed, NodePair::LaneOf(pair.probe), false}, false))
            return true;
    }
    return false;
}

/// Looks at a pair in another pass.
bool PairHitsIn(Query& query, const NodePair& pair, Pass pass)
{
    StartPass(query, pass);
    const int lane = NodePair::LaneOf(pair.probe);
    PlacedNodes placed;
    const LaneMask present =
        PlaceNodes(query.CurrentMotion(), query.ProbesOf(NodePair::WideOf(pair.probe)),
                   query.a.octree->root->bbox, placed);
    if (!present[lane]) return false;
    const NodeOverlap overlap = OverlapOfTarget(query, placed, pair.target);
    return overlap.any[lane] &&
           PairHits(query, pair, {placed, lane, false}, overlap.onEdge[lane] != 0);
}

bool PassesHit(Query& query, const NodePair& pair)
{
    for (const Pass pass : {Pass::kEnd, Pass::kStart, Pass::kSweptQuads})
        if (PairHitsIn(query, pair, pass)) return true;
    query.pass = Pass::kAll;
    return false;
}

/// A first look at sweep lines alone. A long motion through a solid crosses it in many places, of
/// which a few descents find one; a whole traversal may begin at a hole, and be long in coming
/// out.
bool FirstLookHits(Query& query)
{
    constexpr int kDescents = 8;
    StartPass(query, Pass::kSweptQuads);
    query.descents = kDescents;
    const bool hits = ProbesHit(query, 0, 0);
    query.descents = 0;
    StartPass(query, Pass::kAll);
    return hits;
}

/// Whether a motion is longer than the solid, so that most of what it sweeps is neither near the
/// start nor near the end.
bool IsLong(const Motion& motion, const ObbLanes& bounds)
{
    return motion.sweptLength[0] >
           2 * std::max({bounds.half[0][0], bounds.half[1][0], bounds.half[2][0]});
}

bool HasTolerance(const SOLIDC& solid)
{
    return solid.tolerance >= 0 && std::isfinite(solid.tolerance);
}

/// Whether edges of the second solid can be bounded together.
bool HasPlainProbes(const SOLIDC& b)
{
    // The walk ends early on solids with few edges (see "Step guard" in docs/behaviour.md), which
    // is not followed here. Nor are orientations that are older than the normals.
    constexpr int kMinEdges = 12;
    return !b.isSimple && b.edgeCount >= kMinEdges && HasTolerance(b) && IsPlainMotion(b) &&
           (!b.isRotated || b.sweepPending);
}

Motions MotionsOf(const SOLIDC& b, const Motion& motion)
{
    Motions motions;
    for (const Pass pass : {Pass::kEnd, Pass::kStart, Pass::kSweptQuads, Pass::kAll}) {
        if (pass != Pass::kEnd && !b.isSwept) break;
        motions[static_cast<std::size_t>(pass)] = motion;
        SetPass(motions[static_cast<std::size_t>(pass)], pass);
    }
    return motions;
}

enum class Answer { kNone, kHit, kUnknown };

Answer DetectByTrees(SOLIDC& a, SOLIDC& b)
{
    const ObbLanes* bounds = ProbeBoundsOf(b);
    if (!bounds || !IsPlainBox(a.octree->root->bbox)) return Answer::kUnknown;
    const Motion motion = ReadMotion(b, *bounds);
    if (!IsModerate(motion)) return Answer::kUnknown;
    const Motions motions = MotionsOf(b, motion);
    const Pass first = b.isSwept ? Pass::kAll : Pass::kEnd;
    const Motion& whole = motions[static_cast<std::size_t>(first)];
    // Most solids are far from each other, and need no trees.
    if (!MayMeet(whole, *bounds, a.octree->root->bbox)) return Answer::kNone;
    TargetTree* targets = TargetTreeOf(a);
    ProbeTree* probes = ProbeTreeOf(b);
    if (!targets || !probes) return Answer::kUnknown;
    if (targets->target.empty() || probes->triangle.empty()) return Answer::kNone;
    ProbeLeaf leaf;
    DeferredPairs deferred;
    Query query{a, b, *targets, *probes, leaf, deferred, motions, first};
    const bool hits = (IsLong(whole, *bounds) && FirstLookHits(query)) || ProbesHit(query, 0, 0) ||
                      DeferredPairsHit(query);
    return hits ? Answer::kHit : Answer::kNone;
}

} // namespace

int DetectFast(SOLIDC& a, SOLIDC& b)
{
    if (!a.isSwept && !a.octree) return 0;
    if (!a.isSwept && HasPlainProbes(b)) {
        const Answer answer = DetectByTrees(a, b);
        if (answer != Answer::kUnknown) return answer == Answer::kHit;
    }
    // The first solid is asked where it rests: what its own sweep owes, nothing here reads.
    CompleteSweep(b);
    if (a.isSwept) return DetectSweptFirst(a, b);
    if (TargetTree* targets = TargetTreeOf(a)) return DetectByEdges(a, b, *targets);
    ++querySteps.plainWalks;
    return a.SC_DetectIntersection(&b);
}
