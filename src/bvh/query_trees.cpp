#include "bvh/query_trees.h"

#include <algorithm>

#include "geometry/bbox.h"
#include "mesh/before_change.h"
#include "mesh/triangle.h"

namespace
{

/// Whether all normals are nearby and all vertices there are, in one pass over the records.
bool IsComplete(const SOLIDC& solid)
{
    const auto hasVertices = [&](const auto& record) {
        return std::ranges::all_of(record.vertex,
                                   [&](int v) { return InRange(v, solid.vertexCount); });
    };
    return std::all_of(solid.triangles, solid.triangles + solid.triangleCount,
                       [&](const T_LIST& t) { return IsNearby(t.normal) && hasVertices(t); }) &&
           std::all_of(solid.edges, solid.edges + solid.edgeCount, hasVertices);
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
    if (!IsComplete(solid)) return false;
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
