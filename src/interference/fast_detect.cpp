#include "interference/fast_detect.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "interference/moved_pieces.h"
#include "interference/query_trees.h"
#include "interference/tests.h"
#include "solid/bbox.h"
#include "solid/orientation.h"
#include "sweep/define.h"

namespace
{

constexpr double kSphereReach = 0.0566; ///< see the head of fast_detect.h
constexpr double kRounding = 1e-6;      ///< of floats, some times over, relative

struct Box {
    double low[3], high[3];
};

/// The motion of b in doubles, as boxes need it.
struct Motion {
    double m[3][4];
    double magnitude[3][3]; ///< of the elements of m
    double shift[3];        ///< from start to end
    double way;             ///< length of the shift, or more
    double scale;           ///< the most by which a length can grow
};

Motion ReadMotion(const SOLIDC& b)
{
    Motion motion{};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 4; ++c) motion.m[r][c] = b.sweepStart[r][c];
        for (int c = 0; c < 3; ++c) motion.magnitude[r][c] = std::fabs(motion.m[r][c]);
        motion.shift[r] = b.isSwept ? double(b.sweepEnd[r][3]) - b.sweepStart[r][3] : 0;
    }
    motion.way =
        std::fabs(motion.shift[0]) + std::fabs(motion.shift[1]) + std::fabs(motion.shift[2]);
    // The spectral norm is at most the root of the greatest row sum of the transposed times itself.
    double most = 0;
    for (int i = 0; i < 3; ++i) {
        double sum = 0;
        for (int j = 0; j < 3; ++j)
            sum += std::fabs(motion.m[0][i] * motion.m[0][j] + motion.m[1][i] * motion.m[1][j] +
                             motion.m[2][i] * motion.m[2][j]);
        most = std::max(most, sum);
    }
    motion.scale = std::sqrt(most) * (1 + kRounding);
    return motion;
}

/// The box of all crossing points and spheres of what a node of movers holds, on its whole way. A
/// sweep line, too, can be crossed up to its length beyond its ends.
Box MoveBox(const Motion& motion, const BoxNode& node)
{
    Box box{};
    const double pad = std::min(0.5 * (motion.scale * node.length + motion.way), kSphereReach);
    for (int r = 0; r < 3; ++r) {
        double centre = motion.m[r][3], half = 0, size = std::fabs(centre);
        for (int c = 0; c < 3; ++c) {
            const double low = node.box[c], high = node.box[c + 3];
            centre += motion.m[r][c] * 0.5 * (low + high);
            half += motion.magnitude[r][c] * 0.5 * (high - low);
            size += motion.magnitude[r][c] * std::max(std::fabs(low), std::fabs(high));
        }
        const double way = motion.shift[r], far = 2 * std::fabs(way);
        const double reach = half + pad + kRounding * (size + far);
        box.low[r] = centre - reach + std::min(-way, 2 * way);
        box.high[r] = centre + reach + std::max(-way, 2 * way);
    }
    return box;
}

bool Meet(const Box& a, const float* b)
{
    return a.low[0] <= b[3] && a.high[0] >= b[0] && a.low[1] <= b[4] && a.high[1] >= b[1] &&
           a.low[2] <= b[5] && a.high[2] >= b[2];
}

/// The movers of one leaf of the tree, with the edges that the walk would come by.
struct MoverLeaf {
    int leaf = -1;
    int count = 0;
    MovedPieces pieces[kItemsPerLeaf];
};

struct Query {
    SOLIDC& a;
    SOLIDC& b;
    const QueryTrees& targets;
    const QueryTrees& movers;
    Motion motion;
    MoverLeaf moved;
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

void PlaceMovers(Query& query, int leaf)
{
    MoverLeaf& moved = query.moved;
    if (moved.leaf == leaf) return;
    moved.leaf = leaf;
    const BoxTree& tree = query.movers.moverTree;
    const int first = leaf * kItemsPerLeaf;
    moved.count = std::min(kItemsPerLeaf, tree.itemCount - first);
    for (int i = 0; i < moved.count; ++i)
        CollectPieces(query.b, tree.item[static_cast<std::size_t>(first + i)],
                      query.a.octree->root->bbox, moved.pieces[i]);
}

bool LeavesHit(Query& query, int targetLeaf, int moverLeaf)
{
    PlaceMovers(query, moverLeaf);
    const int first = targetLeaf * kItemsPerLeaf;
    const int last = std::min(first + kItemsPerLeaf, query.targets.targetTree.itemCount);
    for (int i = 0; i < query.moved.count; ++i) {
        const MovedPieces& pieces = query.moved.pieces[i];
        for (int e = 0; e < pieces.count; ++e)
            for (int t = first; t < last; ++t)
                if (EdgeHits(query.a, pieces.edge[e],
                             query.targets.target[static_cast<std::size_t>(t)]))
                    return true;
    }
    return false;
}

const BoxNode& NodeOf(const BoxTree& tree, const BoxRange& range)
{
    return tree.node[static_cast<std::size_t>(range.node)];
}

double Size(const Box& box)
{
    return std::max({box.high[0] - box.low[0], box.high[1] - box.low[1], box.high[2] - box.low[2]});
}

double Size(const float* box) { return std::max({Extent(box, 0), Extent(box, 1), Extent(box, 2)}); }

/// Walks both trees together, always down the larger box. Each call goes down one level of one of
/// them, so the depth is that of both, sixty at the most.
bool RangesHit(Query& query, const BoxRange& target, const BoxRange& mover, const Box& moverBox)
{
    const BoxTree &targets = query.targets.targetTree, &movers = query.movers.moverTree;
    const float* targetBox = NodeOf(targets, target).box;
    if (!Meet(moverBox, targetBox)) return false;
    if (target.IsLeaf() && mover.IsLeaf()) return LeavesHit(query, target.first, mover.first);
    if (mover.IsLeaf() || (!target.IsLeaf() && Size(targetBox) > Size(moverBox)))
        return RangesHit(query, target.Left(), mover, moverBox) ||
               RangesHit(query, target.Right(), mover, moverBox);
    const BoxRange left = mover.Left(), right = mover.Right();
    return RangesHit(query, target, left, MoveBox(query.motion, NodeOf(movers, left))) ||
           RangesHit(query, target, right, MoveBox(query.motion, NodeOf(movers, right)));
}

/// Whether the fast way is open to these two, apart from their trees.
bool IsPlainPair(const SOLIDC& a, const SOLIDC& b)
{
    // Cursors of the walk end early on solids with few edges; that is not followed here.
    constexpr int kLeastEdges = 12;
    return a.octree && !a.isSwept && !a.isRotated && !b.isRotated && !b.isSimple &&
           b.edgeCount >= kLeastEdges && b.tolerance >= 0 && std::isfinite(b.tolerance) &&
           MotionIsPlain(b);
}

} // namespace

int DetectFast(SOLIDC& a, SOLIDC& b)
{
    if (IsPlainPair(a, b)) {
        const QueryTrees *targets = TargetTrees(a), *movers = MoverTrees(b);
        if (targets && movers) {
            if (targets->targetTree.itemCount == 0 || movers->moverTree.itemCount == 0) return 0;
            Query query{a, b, *targets, *movers, ReadMotion(b), {}};
            const BoxRange mover = RootOf(movers->moverTree);
            return RangesHit(query, RootOf(targets->targetTree), mover,
                             MoveBox(query.motion, NodeOf(movers->moverTree, mover)));
        }
    }
    SettleSweep(a);
    SettleSweep(b);
    return a.SC_DetectIntersection(&b);
}
