#include "bvh/query_trees.h"

#include <algorithm>
#include <cmath>

#include "geometry/bbox.h"
#include "mesh/before_change.h"
#include "mesh/triangle.h"

namespace
{

bool HasItsVertices(const SOLIDC& solid)
{
    const auto inRange = [&](int v) { return InRange(v, solid.vertexCount); };
    const auto has = [&](const auto& record) {
        return std::ranges::all_of(record.vertex, inRange);
    };
    return std::all_of(solid.triangles, solid.triangles + solid.triangleCount, has) &&
           std::all_of(solid.edges, solid.edges + solid.edgeCount, has);
}

/// @return false when the solid cannot be bounded
bool ReadBounds(const SOLIDC& solid, ObbLanes& bounds)
{
    float box[6];
    ClearBbox(box);
    for (int v = 0; v < solid.vertexCount; ++v) {
        const float* position = solid.vertices[v].position;
        if (!IsNearby(position)) return false;
        ExtendBbox(box, position);
    }
    for (int t = 0; t < solid.triangleCount; ++t)
        if (!IsNearby(solid.triangles[t].normal)) return false;
    if (!HasItsVertices(solid)) return false;
    const NormalBounds anyNormals{};
    SetLane(bounds, 0, AlignedBox(anyNormals, box));
    bounds = SplatLane(bounds, 0);
    return true;
}

} // namespace

QueryTrees& QueryTreesOf(SOLIDC& solid)
{
    if (!solid.queryTrees) solid.queryTrees = new QueryTrees;
    return *solid.queryTrees;
}

void ReleaseQueryTrees(SOLIDC& solid)
{
    delete solid.queryTrees;
    solid.queryTrees = nullptr;
}

bool IsNearby(const float* point)
{
    constexpr float kFarthest = 1e9f;
    return std::fabs(point[0]) < kFarthest && std::fabs(point[1]) < kFarthest &&
           std::fabs(point[2]) < kFarthest;
}

bool IsPlainBox(const float* box)
{
    return IsNearby(box) && IsNearby(box + 3) && box[0] <= box[3] && box[1] <= box[4] &&
           box[2] <= box[5];
}

const ObbLanes* ProbeBoundsOf(SOLIDC& solid)
{
    QueryTrees& trees = QueryTreesOf(solid);
    if (!trees.triedBounds && !solid.isSimple) trees.canProbe = ReadBounds(solid, trees.bounds);
    trees.triedBounds = true;
    return trees.canProbe ? &trees.bounds : nullptr;
}
