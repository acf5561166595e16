#include "interference/query_trees.h"

#include <algorithm>
#include <cmath>

#include "solid/bbox.h"
#include "solid/vector.h"

QueryTrees& TreesOf(SOLIDC& solid)
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

OrientedBox SmallerBox(const float* box, const NormalBounds& normals,
                       const std::vector<Point3>& points, double pad)
{
    const OrientedBox aligned = AlignedBox(normals, box), fitted = FitBox(normals, points, pad);
    return fitted.halfArea < aligned.halfArea ? fitted : aligned;
}

SideLength LengthOf(const float* a, const float* b)
{
    const double length = distance(a, b);
    return {RoundDown(length * 0.999999), RoundUp(length * 1.000001)};
}

BoxItem MakeItem(const float (*corner)[3], const float* normal, int item)
{
    BoxItem made;
    std::copy_n(corner[0], 9, made.corner[0]);
    std::copy_n(normal, 3, made.normal);
    made.item = item;
    return made;
}
