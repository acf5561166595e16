#include "query/probe_leaf.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "bvh/hit_region.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "query/margins.h"

namespace
{

/// The walk over the chain of one leaf, as it stands.
bool WalkLeaf(const MovedEdge& edge, const OCTREENODE* leaf)
{
    CrossingState state;
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle))
        if (EdgeCrossesTriangle(edge.ends, triangle->corners, state)) return true;
    return false;
}

bool EdgeHits(const SOLIDC& a, const MovedEdge& edge, const Target& target,
              const TargetPlane& plane)
{
    if (!target.triangle)
        return a.octree->IntersectingBboxes(target.leaf->bbox, edge.box) &&
               WalkLeaf(edge, target.leaf);
    CrossingState state;
    std::memcpy(state.plane, &plane, sizeof state.plane);
    const Crossing crossing = EdgeCrossesPlane(edge.ends, target.triangle->corners, state);
    if (crossing == Crossing::kNone) return false;
    if (!a.octree->IntersectingBboxes(target.leaf->bbox, edge.box)) return false;
    if (crossing == Crossing::kHit) return true;
    return MayBeCarriedInto(edge.ends, target.triangle->corners, state.plane) &&
           WalkLeaf(edge, target.leaf);
}

/// Which of four planes an edge leaves alone: both ends are off them, to the same side.
LaneMask StaysOff(const TargetPlane* planes, const MovedEdge& edge)
{
    Lanes normal[3], d;
    for (int lane = 0; lane < kLanes; ++lane) {
        for (int r = 0; r < 3; ++r) normal[r][lane] = planes[lane].normal[r];
        d[lane] = planes[lane].d;
    }
    Lanes height[2], far = Abs(d);
    for (int end = 0; end < 2; ++end) {
        height[end] = d;
        for (int r = 0; r < 3; ++r) {
            height[end] += normal[r] * edge.ends[end][r];
            far += std::fabs(edge.ends[end][r]);
        }
    }
    const Lanes room = kContact + kPlaneRounding * far;
    return ((height[0] > room) & (height[1] > room)) | ((height[0] < -room) & (height[1] < -room));
}

bool HitsLeaf(const SOLIDC& a, const QueryTrees& targets, const MovedEdge& edge,
              const BoxRange& items)
{
    const auto first = static_cast<std::size_t>(items.first);
    const Target* target = &targets.target[first];
    const TargetPlane* planes = &targets.plane[first];
    const LaneMask off = StaysOff(planes, edge);
    for (int lane = 0; lane < items.Count(); ++lane)
        if (!off[lane] && EdgeHits(a, edge, target[lane], planes[lane])) return true;
    return false;
}

/// Goes on with an edge that has a chance. As deep as half the tree.
/// @param edgeLane  of the lanes, that of the edge
bool HitsBelow(const SOLIDC& a, QueryTrees& targets, const MovedEdge& edge, const LaneEdges& lanes,
               int edgeLane, int quad, int lane)
{
    const int below = TargetsBelow(targets, quad, lane);
    if (below <= 0) return HitsLeaf(a, targets, edge, targets.targetTree.quad[quad].items[lane]);
    const LaneEdges splat = SplatLane(lanes, edgeLane);
    const LaneMask may = MayHit(splat, targets.targetBoxes[below]);
    for (int child = 0; child < targets.targetTree.quad[below].count; ++child)
        if (may[child] && HitsBelow(a, targets, edge, splat, 0, below, child)) return true;
    return false;
}

} // namespace

void PlaceEdges(const SOLIDC& a, const SOLIDC& b, const QueryTrees& movers, const Motion& motion,
                const BoxRange& items, MoverLeaf& leaf)
{
    if (leaf.first == items.first) return;
    leaf.first = items.first;
    leaf.count = 0;
    for (int i = items.first; i < items.last; ++i) {
        const Mover& mover = movers.mover[static_cast<std::size_t>(i)];
        MovedPieces pieces;
        if (motion.pass == Pass::kWalls)
            CollectWallEdges(b, mover, a.octree->root->bbox, pieces);
        else
            CollectOwnEdges(b, mover, motion.pass == Pass::kStart, a.octree->root->bbox, pieces);
        for (int e = 0; e < pieces.count; ++e) leaf.edge[leaf.count++] = pieces.edge[e];
    }
    const std::span<const MovedEdge> edges(leaf.edge, static_cast<std::size_t>(leaf.count));
    for (std::size_t first = 0; first < edges.size(); first += kLanes)
        leaf.lanes[first / kLanes] =
            GatherEdges(edges.subspan(first, std::min<std::size_t>(kLanes, edges.size() - first)),
                        motion.room[0]);
}

bool EdgesHit(const SOLIDC& a, QueryTrees& targets, const MoverLeaf& leaf, int quad, int lane)
{
    const TargetBoxes boxes = SplatLane(targets.targetBoxes[quad], lane);
    for (int first = 0; first < leaf.count; first += kLanes) {
        const LaneEdges& edges = leaf.lanes[first / kLanes];
        const LaneMask may = MayHit(edges, boxes);
        for (int e = 0; e < std::min(kLanes, leaf.count - first); ++e)
            if (may[e] && HitsBelow(a, targets, leaf.edge[first + e], edges, e, quad, lane))
                return true;
    }
    return false;
}
