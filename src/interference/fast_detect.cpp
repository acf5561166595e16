#include "interference/fast_detect.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

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

struct NodePair {
    int target, mover;
};

/// Pairs whose turn comes when no likelier one has given a hit.
struct LaterPairs {
    int count = 0;
    std::array<NodePair, 1024> pair;

    /// @return false when there is no room
    bool Add(const NodePair& added)
    {
        if (count == static_cast<int>(pair.size())) return false;
        pair[static_cast<std::size_t>(count++)] = added;
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
    Pass pass = Pass::kEnd;
    bool onEdges = true; ///< leave pairs for later that can hit beside edges only

    const TargetNode& TargetAt(int n) const
    {
        return targets.targetNode[static_cast<std::size_t>(n)];
    }
    const MoverNode& MoverAt(int n) const { return movers.moverNode[static_cast<std::size_t>(n)]; }
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
    return crossing == Crossing::kHit || WalkLeaf(edge, target.leaf);
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
        if (query.pass == Pass::kWalls)
            CollectWallEdges(query.b, mover, box, moved.pieces[i]);
        else
            CollectOwnEdges(query.b, mover, query.pass == Pass::kStart, box, moved.pieces[i]);
    }
}

/// Whether an edge of a leaf ends where it must, to hit beside itself.
bool EndsInPlane(Query& query, const TargetNode& target, const PlacedNode& mover)
{
    PlaceMovers(query, mover.node);
    const float *centre = target.box.centre, *normal = target.box.axis[0];
    const double most = HeightOfEnds(query.motion, mover, target);
    for (int i = 0; i < query.moved.count; ++i)
        for (int e = 0; e < query.moved.pieces[i].count; ++e)
            for (const auto& end : query.moved.pieces[i].edge[e].ends) {
                const double height = (double(end[0]) - centre[0]) * normal[0] +
                                      (double(end[1]) - centre[1]) * normal[1] +
                                      (double(end[2]) - centre[2]) * normal[2];
                if (std::fabs(height) <= most) return true;
            }
    return false;
}

bool LeavesHit(Query& query, int target, const PlacedNode& mover)
{
    PlaceMovers(query, mover.node);
    const BoxNode& items = query.targets.targetTree.At(target);
    for (int i = 0; i < query.moved.count; ++i) {
        const MovedPieces& pieces = query.moved.pieces[i];
        for (int e = 0; e < pieces.count; ++e)
            for (int t = items.first; t < items.last; ++t)
                if (EdgeHits(query.a, pieces.edge[e],
                             query.targets.target[static_cast<std::size_t>(t)]))
                    return true;
    }
    return false;
}

/// Whether a node can hold what a pass is about, by how its normals and those of its neighbours lie
/// to the motion.
bool MayTakePart(const Query& query, int mover)
{
    if (!query.b.isSwept) return true;
    constexpr double kTrailing = -1e-5, kSlack = 1e-9; // of SweepOrientOf, and of the sums here
    const NormalBounds& normals = query.MoverAt(mover).normals;
    double low = 0, high = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const double d = query.b.sweepDirection[axis];
        low += std::min(d * normals.low[axis], d * normals.high[axis]);
        high += std::max(d * normals.low[axis], d * normals.high[axis]);
    }
    const bool someTrail = low - kSlack < kTrailing, someDoNot = high + kSlack >= kTrailing;
    switch (query.pass) {
    case Pass::kStart:
        return someTrail;
    case Pass::kEnd:
        return someDoNot;
    default:
        return someTrail && someDoNot;
    }
}

bool MoversHit(Query& query, int target, int n);

/// Walks both trees together, always down the larger box. Each call goes down one level of one
/// tree, so the depth is that of both, sixty at the most.
bool RangesHit(Query& query, int target, const PlacedNode& mover)
{
    const TargetNode& node = query.TargetAt(target);
    const BoxTree &targets = query.targets.targetTree, &movers = query.movers.moverTree;
    const Chance chance = ChanceOf(query.motion, mover, node);
    if (chance == Chance::kNone) return false;
    if (query.onEdges && chance == Chance::kBeside && query.later.Add({target, mover.node}))
        return false;
    if (chance == Chance::kBeside && movers.IsLeaf(mover.node) && !EndsInPlane(query, node, mover))
        return false;
    if (targets.IsLeaf(target) && movers.IsLeaf(mover.node)) return LeavesHit(query, target, mover);
    constexpr double kThin = 0.01;
    const bool thin = chance == Chance::kBeside && node.box.half[0] + mover.longest * node.turnAtAll < kThin;
    if (movers.IsLeaf(mover.node) ||
        (!thin && !targets.IsLeaf(target) && node.box.halfArea > mover.halfArea))
        return RangesHit(query, targets.Left(target), mover) || RangesHit(query, targets.Right(target), mover);
    return MoversHit(query, target, movers.Left(mover.node)) ||
           MoversHit(query, target, movers.Right(mover.node));
}

bool MoversHit(Query& query, int target, int n)
{
    if (!MayTakePart(query, n)) return false;
    PlacedNode mover;
    mover.node = n;
    PlaceNode(query.motion, query.MoverAt(n), mover);
    // No edge is tested whose box does not meet that of the octree.
    return MeetsBox(query.motion, mover, query.a.octree->root->bbox) &&
           RangesHit(query, target, mover);
}

bool PassHits(Query& query, Pass pass)
{
    query.pass = pass;
    query.moved.leaf = -1;
    query.onEdges = true;
    query.later.count = 0;
    SetPass(query.motion, pass);
    if (MoversHit(query, 0, 0))
        return true;
    query.onEdges = false;
    for (int i = 0; i < query.later.count; ++i) {
        const NodePair& pair = query.later.pair[static_cast<std::size_t>(i)];
        if (MoversHit(query, pair.target, pair.mover)) return true;
    }
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

int DetectByTrees(SOLIDC& a, SOLIDC& b, const QueryTrees& targets, const QueryTrees& movers)
{
    if (targets.targetTree.itemCount == 0 || movers.moverTree.itemCount == 0) return 0;
    MoverLeaf moved;
    LaterPairs later; // without a start value, for its size
    Query query{a, b, targets, movers, moved, later, ReadMotion(b, movers.moverNode[0].box)};
    if (PassHits(query, Pass::kEnd)) return 1;
    return b.isSwept && (PassHits(query, Pass::kStart) || PassHits(query, Pass::kWalls));
}

} // namespace

int DetectFast(SOLIDC& a, SOLIDC& b)
{
    if (IsPlainPair(a, b)) {
        const QueryTrees *targets = TargetTrees(a), *movers = MoverTrees(b);
        if (targets && movers) return DetectByTrees(a, b, *targets, *movers);
    }
    SettleSweep(a);
    SettleSweep(b);
    if (a.isSwept && b.isSwept && HasTolerance(b))
        if (const QueryTrees* movers = MoverTrees(b)) return DetectSweptFirst(a, b, *movers);
    return a.SC_DetectIntersection(&b);
}
