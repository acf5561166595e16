// The way of a single edge down a tree of targets.
#ifndef SCAPI_QUERY_EDGE_SEARCH_H
#define SCAPI_QUERY_EDGE_SEARCH_H

#include "bvh/query_trees.h"
#include "query/edge_overlap.h"
#include "query/probe_edges.h"
#include "query/steps.h"

/// Which of four planes an edge cannot meet: both ends are off them on the same side.
LaneMask StaysOff(const TargetPlane* planes, const PlacedEdge& edge);

/// In which lanes the edge's box overlaps a cell; all where the cells are the targets' own places.
LaneMask MeetsCells(const TargetTree& targets, const PlacedEdge& edge, int wide);

/// Whether `judge` finds a hit, given the numbers of targets in or below a node that the edge may
/// hit. Recursion is as deep as the wide nodes, half the depth of the tree.
/// @param edgeLane  lane of the edge in `lanes`
template <class Judge>
bool SearchBelow(TargetTree& targets, const PlacedEdge& edge, const LaneEdges& lanes, int edgeLane,
                 int wide, int lane, const Judge& judge)
{
    const int below = TargetsBelow(targets, wide, lane);
    if (below <= 0) {
        const ItemRange& items = targets.bvh.wide[wide].items[lane];
        const LaneMask off = StaysOff(&targets.plane[static_cast<std::size_t>(items.first)], edge);
        querySteps.triangles += items.Count();
        for (int i = 0; i < items.Count(); ++i)
            if (!off[i] && judge(items.first + i)) return true;
        return false;
    }
    const LaneEdges splat = SplatLane(lanes, edgeLane);
    const LaneMask may = MayHit(splat, targets.nodes[below]) & MeetsCells(targets, edge, below);
    for (int child = 0; child < targets.bvh.wide[below].count; ++child)
        if (may[child] && SearchBelow(targets, edge, splat, 0, below, child, judge)) return true;
    return false;
}

#endif
