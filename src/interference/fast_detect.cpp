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

constexpr double kSphereReach = 0.0566; ///< most of min(u / 2, 0.0064 / u)
constexpr double kSideReach = 0.0127;
constexpr double kRounding = 1e-6; ///< of floats, some times over, relative

struct Box {
    double low[3], high[3];
};

/// The motion of b in doubles, as boxes need it.
struct Motion {
    double m[3][4];
    double magnitude[3][3]; ///< of the elements of m
    double shift[3];        ///< from start to end
    double way;             ///< length of the shift, or more
    double rounding[3];     ///< room for that of placed vertices and of what is computed from them
    double scale;           ///< the most by which a length can grow
    double leastScale;      ///< the least, or 0
    double longestSide;     ///< of the targets
};

/// @param rest     box of all movers at rest
/// @param targets  root of their tree
Motion ReadMotion(const SOLIDC& b, const float* rest, const BoxNode& targets)
{
    Motion motion{};
    motion.longestSide = targets.longest;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 4; ++c) motion.m[r][c] = b.sweepStart[r][c];
        for (int c = 0; c < 3; ++c) motion.magnitude[r][c] = std::fabs(motion.m[r][c]);
        motion.shift[r] = b.isSwept ? double(b.sweepEnd[r][3]) - b.sweepStart[r][3] : 0;
        double size = std::fabs(motion.m[r][3]) + 2 * std::fabs(motion.shift[r]);
        for (int c = 0; c < 3; ++c)
            size += motion.magnitude[r][c] * std::max(std::fabs(rest[c]), std::fabs(rest[c + 3]));
        motion.rounding[r] = kRounding * size;
    }
    motion.way =
        std::fabs(motion.shift[0]) + std::fabs(motion.shift[1]) + std::fabs(motion.shift[2]);
    // By Gershgorin's circles round the diagonal of the transposed times itself.
    double most = 0, least = HUGE_VAL;
    for (int i = 0; i < 3; ++i) {
        double sum = 0, diagonal = 0;
        for (int j = 0; j < 3; ++j) {
            const double product = motion.m[0][i] * motion.m[0][j] +
                                   motion.m[1][i] * motion.m[1][j] +
                                   motion.m[2][i] * motion.m[2][j];
            sum += std::fabs(product);
            if (i == j) diagonal = product;
        }
        most = std::max(most, sum);
        least = std::min(least, 2 * diagonal - sum);
    }
    motion.scale = std::sqrt(most) * (1 + kRounding);
    motion.leastScale = std::sqrt(std::max(least, 0.0)) * (1 - kRounding);
    return motion;
}

/// A query goes through the movers up to three times, each time for other edges of theirs.
enum class Pass {
    kStart, ///< own edges of trailing triangles, at the start
    kEnd,   ///< own edges of all others, at the end
    kWalls  ///< edges of the walls between the two
};

/// And twice each time: for hits at a point of the edge itself, and for those that an end within
/// the contact tolerance of the target's plane makes possible beside it: beyond its ends, or beside
/// a parallel segment.
enum class Kind { kOnEdge, kBesideEdge };

/// How far along the motion the points by which edges hit can lie, from and to. A sweep line, too,
/// can be hit up to its length beyond its ends.
struct Reach {
    double from, to;
};

constexpr Reach ReachOf(Pass pass, Kind kind)
{
    switch (pass) {
    case Pass::kStart:
        return {0, 0};
    case Pass::kEnd:
        return {1, 1};
    default:
        return kind == Kind::kOnEdge ? Reach{0, 1} : Reach{-1, 2};
    }
}

/// Room for parallel segments, which are compared by the spheres over them: the edge's and the
/// side's. The parallel test lets ends of length u and v pass that lie within 0.0064 / u and
/// 0.0127 / u of the other segment, and no end lies further from it than half its length.
double SpherePad(const Motion& motion, Pass pass, Kind kind, const BoxNode& node)
{
    if (kind == Kind::kOnEdge) return 0;
    const bool walls = pass == Pass::kWalls;
    const double longest = motion.scale * node.longest + (walls ? motion.way : 0);
    // A diagonal can be as short as it likes.
    const double shortest = walls ? 0 : motion.leastScale * node.shortest;
    const double overSide = 0.5 * motion.longestSide;
    return std::min(0.5 * longest, kSphereReach) +
           (overSide * shortest > kSideReach ? kSideReach / shortest : overSide);
}

/// The box of all crossing points and spheres of the edges that a node of movers has in a pass.
/// @param node  tight for what lies on edges, widened for what lies beside
Box MoveBox(const Motion& motion, Pass pass, Kind kind, const BoxNode& node)
{
    Box box{};
    const Reach along = ReachOf(pass, kind);
    const double pad = SpherePad(motion, pass, kind, node);
    for (int r = 0; r < 3; ++r) {
        double centre = motion.m[r][3], half = pad + motion.rounding[r];
        for (int c = 0; c < 3; ++c) {
            const double low = node.box[c], high = node.box[c + 3];
            centre += motion.m[r][c] * 0.5 * (low + high);
            half += motion.magnitude[r][c] * 0.5 * (high - low);
        }
        const double from = along.from * motion.shift[r], to = along.to * motion.shift[r];
        box.low[r] = centre - half + std::min(from, to);
        box.high[r] = centre + half + std::max(from, to);
    }
    return box;
}

bool Meet(const Box& a, const float* b)
{
    return a.low[0] <= b[3] && a.high[0] >= b[0] && a.low[1] <= b[4] && a.high[1] >= b[1] &&
           a.low[2] <= b[5] && a.high[2] >= b[2];
}

const BoxNode& NodeOf(const BoxTree& tree, const BoxRange& range)
{
    return tree.node[static_cast<std::size_t>(range.node)];
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
    Pass pass;
    Kind kind;
    MoverLeaf moved;

    const BoxNode& MoverNode(const BoxRange& range) const
    {
        const auto at = static_cast<std::size_t>(range.node);
        return kind == Kind::kOnEdge ? movers.moverTight[at] : movers.moverTree.node[at];
    }
    Box MoverBox(const BoxRange& range) const
    {
        return MoveBox(motion, pass, kind, MoverNode(range));
    }
};

/// The walk over the chain of one leaf, as it stands.
bool WalkLeaf(const MovedEdge& edge, const OCTREENODE* leaf)
{
    CrossingState state;
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle))
        if (EdgeCrossesTriangle(edge.ends, triangle->corners, state)) return true;
    return false;
}

/// The same for one placed edge, in floats.
void SetReach(const Query& query, double pad, MovedEdge& edge)
{
    const bool beyondEnds = query.kind == Kind::kBesideEdge;
    for (int axis = 0; axis < 3; ++axis) {
        const double beyond =
            (beyondEnds ? Extent(edge.box, axis) : 0) + pad + 2 * query.motion.rounding[axis];
        edge.reach[axis] = float(edge.box[axis] - beyond);
        edge.reach[axis + 3] = float(edge.box[axis + 3] + beyond);
    }
}

bool Meet(const float* a, const float* b)
{
    return a[0] <= b[3] && a[3] >= b[0] && a[1] <= b[4] && a[4] >= b[1] && a[2] <= b[5] &&
           a[5] >= b[2];
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

void PlaceMovers(Query& query, const BoxRange& range)
{
    const int leaf = range.first;
    MoverLeaf& moved = query.moved;
    if (moved.leaf == leaf) return;
    moved.leaf = leaf;
    const BoxTree& tree = query.movers.moverTree;
    const int first = leaf * kItemsPerLeaf;
    moved.count = std::min(kItemsPerLeaf, tree.itemCount - first);
    const float* box = query.a.octree->root->bbox;
    const double pad = SpherePad(query.motion, query.pass, query.kind, NodeOf(tree, range));
    for (int i = 0; i < moved.count; ++i) {
        const Mover& mover = query.movers.mover[static_cast<std::size_t>(first + i)];
        if (query.pass == Pass::kWalls)
            CollectWallEdges(query.b, mover, box, moved.pieces[i]);
        else
            CollectOwnEdges(query.b, mover, query.pass == Pass::kStart, box, moved.pieces[i]);
        for (int e = 0; e < moved.pieces[i].count; ++e)
            SetReach(query, pad, moved.pieces[i].edge[e]);
    }
}

bool LeavesHit(Query& query, const BoxRange& target, const BoxRange& mover)
{
    PlaceMovers(query, mover);
    const float* targetBox = NodeOf(query.targets.targetTree, target).box;
    const int first = target.first * kItemsPerLeaf;
    const int last = std::min(first + kItemsPerLeaf, query.targets.targetTree.itemCount);
    for (int i = 0; i < query.moved.count; ++i) {
        const MovedPieces& pieces = query.moved.pieces[i];
        for (int e = 0; e < pieces.count; ++e) {
            if (!Meet(pieces.edge[e].reach, targetBox)) continue;
            for (int t = first; t < last; ++t)
                if (EdgeHits(query.a, pieces.edge[e],
                             query.targets.target[static_cast<std::size_t>(t)]))
                    return true;
        }
    }
    return false;
}

/// Whether an end of an edge below can lie within the contact tolerance of the plane of a target.
/// The planes are carried back to where the mover rests: normal * (m x + t) is (m^T normal) * x and
/// a constant.
bool MayLieInPlane(const Query& query, const BoxRange& target, const BoxRange& mover)
{
    const PlaneBounds& planes = query.targets.planes[static_cast<std::size_t>(target.node)];
    const Slab& slab = query.movers.slabs[static_cast<std::size_t>(mover.node)];
    const Motion& motion = query.motion;
    if (planes.turn < 0) return false;
    double back[3], along = 0, square = 0, middle = 0, way = 0, far = 0, room = 0;
    for (int c = 0; c < 3; ++c) {
        back[c] = planes.normal[0] * motion.m[0][c] + planes.normal[1] * motion.m[1][c] +
                  planes.normal[2] * motion.m[2][c];
        along += back[c] * slab.normal[c];
        square += back[c] * back[c];
    }
    const Reach reach = ReachOf(query.pass, Kind::kOnEdge);
    for (int r = 0; r < 3; ++r) {
        // From the centre of the targets to that of the mover at the start.
        double apart = motion.m[r][3] - planes.centre[r];
        for (int c = 0; c < 3; ++c) apart += motion.m[r][c] * slab.centre[c];
        middle += planes.normal[r] * apart;
        way += planes.normal[r] * motion.shift[r];
        far += std::fabs(apart) + std::fabs(motion.shift[r]);
        room += 2 * motion.rounding[r] + kRounding * std::fabs(double(planes.centre[r]));
    }
    const double radius = motion.scale * slab.radius;
    const double beside = std::sqrt(std::max(0.0, square - along * along) + 1e-9) * slab.radius +
                          planes.turn * (far + radius) + kRounding * (far + radius) + room +
                          2 * kContact;
    const double low = std::min(along * slab.height[0], along * slab.height[1]) +
                       std::min(reach.from * way, reach.to * way) + middle + planes.offset[0];
    const double high = std::max(along * slab.height[0], along * slab.height[1]) +
                        std::max(reach.from * way, reach.to * way) + middle + planes.offset[1];
    return low <= beside && high >= -beside;
}

double Size(const Box& box)
{
    return std::max({box.high[0] - box.low[0], box.high[1] - box.low[1], box.high[2] - box.low[2]});
}

double Size(const float* box) { return std::max({Extent(box, 0), Extent(box, 1), Extent(box, 2)}); }

/// Whether a node can hold what a pass is about, by how its normals and those of its neighbours lie
/// to the motion.
bool MayTakePart(const Query& query, const BoxRange& mover)
{
    if (!query.b.isSwept) return true;
    constexpr double kTrailing = -1e-5, kSlack = 1e-9; // of SweepOrientOf, and of the sums here
    const NormalBounds& normals = query.movers.normals[static_cast<std::size_t>(mover.node)];
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

/// Walks both trees together, always down the larger box. Each call goes down one level of one of
/// them, so the depth is that of both, sixty at the most.
bool RangesHit(Query& query, const BoxRange& target, const BoxRange& mover, const Box& moverBox)
{
    const float* targetBox = NodeOf(query.targets.targetTree, target).box;
    if (!Meet(moverBox, targetBox)) return false;
    if (query.kind == Kind::kBesideEdge && !MayLieInPlane(query, target, mover)) return false;
    if (target.IsLeaf() && mover.IsLeaf()) return LeavesHit(query, target, mover);
    if (mover.IsLeaf() || (!target.IsLeaf() && Size(targetBox) > Size(moverBox)))
        return RangesHit(query, target.Left(), mover, moverBox) ||
               RangesHit(query, target.Right(), mover, moverBox);
    for (const BoxRange& half : {mover.Left(), mover.Right()})
        if (MayTakePart(query, half) && RangesHit(query, target, half, query.MoverBox(half)))
            return true;
    return false;
}

bool KindHits(Query& query, Kind kind)
{
    query.kind = kind;
    query.moved.leaf = -1;
    const BoxRange root = RootOf(query.movers.moverTree);
    return RangesHit(query, RootOf(query.targets.targetTree), root, query.MoverBox(root));
}

bool PassHits(Query& query, Pass pass)
{
    query.pass = pass;
    const BoxRange root = RootOf(query.movers.moverTree);
    if (!MayTakePart(query, root)) return false;
    return KindHits(query, Kind::kOnEdge) || KindHits(query, Kind::kBesideEdge);
}

/// Whether any edge can meet the box of the first solid's octree, without which none is tested.
bool MeetsRoot(const Query& query)
{
    Box moved{};
    const Motion& motion = query.motion;
    const float* box = query.movers.moverTight[0].box;
    for (int r = 0; r < 3; ++r) {
        double centre = motion.m[r][3], half = motion.rounding[r];
        for (int c = 0; c < 3; ++c) {
            centre += motion.m[r][c] * 0.5 * (double(box[c]) + box[c + 3]);
            half += motion.magnitude[r][c] * 0.5 * Extent(box, c);
        }
        moved.low[r] = centre - half + std::min(0.0, motion.shift[r]);
        moved.high[r] = centre + half + std::max(0.0, motion.shift[r]);
    }
    return Meet(moved, query.a.octree->root->bbox);
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
            const Motion motion =
                ReadMotion(b, movers->moverTree.node[0].box, targets->targetTree.node[0]);
            Query query{a, b, *targets, *movers, motion, Pass::kEnd, Kind::kOnEdge, {}};
            if (!MeetsRoot(query)) return 0;
            if (PassHits(query, Pass::kEnd)) return 1;
            return b.isSwept && (PassHits(query, Pass::kStart) || PassHits(query, Pass::kWalls));
        }
    }
    SettleSweep(a);
    SettleSweep(b);
    return a.SC_DetectIntersection(&b);
}
