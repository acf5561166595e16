#include "query/edge_by_edge.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "exact/edge_buffer.h"
#include "geometry/bbox.h"
#include "query/margins.h"
#include "query/probe_leaf.h"
#include "query/steps.h"

namespace
{

bool LoneEdgeHits(SOLIDC& a, TargetTree& targets, float (*ends)[3])
{
    if (!IsNearbyEdge(ends)) return a.octree->OC_Intersection_Edge(ends);
    const LoneEdge lone = MakeLoneEdge(ends);
    ++querySteps.nodePairs;
    return MayHit(lone.lanes, targets.nodes[0])[0] &&
           EdgeHitsBelow(a, targets, lone.edge, lone.lanes, 0, 0, 0);
}

} // namespace

bool IsNearbyEdge(const float (*ends)[3]) { return IsNearby(ends[0]) && IsNearby(ends[1]); }

LoneEdge MakeLoneEdge(const float (*ends)[3])
{
    LoneEdge lone;
    std::memcpy(lone.edge.ends, ends, sizeof lone.edge.ends);
    CalcEdgeBbox(ends, lone.edge.box);
    double size = 0;
    for (int r = 0; r < 3; ++r)
        size += std::max(std::fabs(double(ends[0][r])), std::fabs(double(ends[1][r])));
    lone.lanes = GatherEdges({&lone.edge, 1}, float(kPlacingRounding * size));
    return lone;
}

int DetectByEdges(SOLIDC& a, SOLIDC& b, TargetTree& targets)
{
    if (targets.target.empty() || !a.octree->OC_testBox(b.sweepBbox)) return 0;
    EdgeBuffer buffer;
    float* box = a.octree->root->bbox;
    const int limit = 10 * b.triangleCount;
    int cursor = 0;
    while ((cursor = b.SC_GetSweepEdgesInBbox(cursor, limit, buffer.edge, box)) >= 0) {
        ++querySteps.edges;
        if (LoneEdgeHits(a, targets, buffer.edge)) return 1;
    }
    return 0;
}
