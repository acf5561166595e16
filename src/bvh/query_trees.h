// What a solid keeps for fast queries. Each part is made on first need; all are dropped before the
// octree, a list or a record changes (mesh/before_change.h).
#ifndef SCAPI_BVH_QUERY_TREES_H
#define SCAPI_BVH_QUERY_TREES_H

#include <cmath>

#include "bvh/probe_nodes.h"
#include "bvh/target_nodes.h"

struct QueryTrees {
    bool triedBounds = false, canProbe = false;
    ObbLanes bounds; ///< of all vertices, in all lanes
    TargetTree targets;
    TargetTree resting; ///< without the octree, for a solid that is swept itself
    ProbeTree probes;
};

/// The trees of a solid, made empty if it has none.
QueryTrees& QueryTreesOf(SOLIDC& solid);

/// Whether a point lies so near that the walk's own stand-in for "no edge", at 1e10, is far away.
inline bool IsNearby(const float* point)
{
    constexpr float kFarthest = 1e9f;
    return std::fabs(point[0]) < kFarthest && std::fabs(point[1]) < kFarthest &&
           std::fabs(point[2]) < kFarthest;
}

inline bool IsNearbyTriangle(const float (*corners)[3])
{
    return IsNearby(corners[0]) && IsNearby(corners[1]) && IsNearby(corners[2]);
}

/// Whether the corners of a box of six floats are nearby and in order.
bool IsPlainBox(const float* box);

#endif
