#include "query/probe_leaf.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "bvh/hit_region.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "query/edge_search.h"
#include "query/margins.h"

namespace
{

/// The plain walk over the chain of one leaf.
bool WalkLeaf(const PlacedEdge& edge, const OCTREENODE* leaf)
{
    CrossingState state;
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle)) {
        ++querySteps.triangles;
        if (EdgeCrossesTriangle(edge.ends, triangle->corners, state)) return true;
    }
    return false;
}

bool EdgeHits(const SOLIDC& a, const PlacedEdge& edge, const Target& target,
              const TargetPlane& plane)
{
    CrossingState state;
    std::memcpy(state.plane, &plane, sizeof state.plane);
    const Crossing crossing = EdgeCrossesPlane(edge.ends, target.triangle->corners, state);
    if (crossing == Crossing::kNone) return false;
    if (!a.octree->IntersectingBboxes(target.leaf->bbox, edge.box)) return false;
    if (crossing == Crossing::kHit) return true;
    return MayBeCarriedInto(edge.ends, target.triangle->corners, state.plane) &&
           WalkLeaf(edge, target.leaf);
}

} // namespace

LaneMask StaysOff(const TargetPlane* planes, const PlacedEdge& edge)
{
    const LanePlanes plane = GatherPlanes(planes);
    Lanes height[2], magnitudes = Abs(plane.d);
    for (int end = 0; end < 2; ++end) {
        height[end] = plane.d;
        for (int r = 0; r < 3; ++r) {
            height[end] += plane.normal[r] * edge.ends[end][r];
            magnitudes += std::fabs(edge.ends[end][r]);
        }
    }
    const Lanes limit = kContact + HeightError(magnitudes);
    return ((height[0] > limit) & (height[1] > limit)) |
           ((height[0] < -limit) & (height[1] < -limit));
}

LaneMask MeetsCells(const TargetTree& targets, const PlacedEdge& edge, int wide)
{
    LaneMask apart{};
    if (!targets.hasCells) return ~apart;
    const TargetCells& cells = targets.cells[wide];
    for (int r = 0; r < 3; ++r)
        apart |= (cells.low[r] > Splat(edge.box[r + 3])) | (cells.high[r] < Splat(edge.box[r]));
    return ~apart;
}

bool EdgeHitsBelow(const SOLIDC& a, TargetTree& targets, const PlacedEdge& edge,
                   const LaneEdges& lanes, int edgeLane, int wide, int lane)
{
    return SearchBelow(targets, edge, lanes, edgeLane, wide, lane, [&](int i) {
        const auto item = static_cast<std::size_t>(i);
        return EdgeHits(a, edge, targets.target[item], targets.plane[item]);
    });
}

void PlaceLeafEdges(const SOLIDC& a, const SOLIDC& b, const ProbeTree& probes, const Motion& motion,
                    const ItemRange& items, ProbeLeaf& leaf)
{
    if (leaf.first == items.first) return;
    leaf.first = items.first;
    leaf.count = 0;
    for (int i = items.first; i < items.last; ++i) {
        const Probe& probe = probes.probe[static_cast<std::size_t>(i)];
        PlacedEdges edges;
        if (motion.pass == Pass::kSweptQuads)
            CollectSweptQuadEdges(b, probe, a.octree->root->bbox, edges);
        else
            CollectOwnEdges(b, probe, motion.pass == Pass::kStart, a.octree->root->bbox, edges);
        for (int e = 0; e < edges.count; ++e) leaf.edge[leaf.count++] = edges.edge[e];
    }
    const std::span<const PlacedEdge> edges(leaf.edge, static_cast<std::size_t>(leaf.count));
    for (std::size_t first = 0; first < edges.size(); first += kLanes)
        leaf.lanes[first / kLanes] =
            GatherEdges(edges.subspan(first, std::min<std::size_t>(kLanes, edges.size() - first)),
                        motion.error[0]);
}

bool EdgesHit(const SOLIDC& a, TargetTree& targets, const ProbeLeaf& leaf, int wide, int lane)
{
    const TargetNodes boxes = SplatLane(targets.nodes[wide], lane);
    for (int first = 0; first < leaf.count; first += kLanes) {
        const LaneEdges& edges = leaf.lanes[first / kLanes];
        const LaneMask may = MayHit(edges, boxes);
        for (int e = 0; e < std::min(kLanes, leaf.count - first); ++e)
            if (may[e] && EdgeHitsBelow(a, targets, leaf.edge[first + e], edges, e, wide, lane))
                return true;
    }
    return false;
}
