#include "bvh/fill.h"

#include <algorithm>
#include <cmath>

#include "geometry/bbox.h"
#include "geometry/vector.h"

namespace
{

float ShortestOf(double length) { return float(length * 0.999999); }
float LongestOf(double length) { return float(length * 1.000001); }

double SquaredDistance(const float* a, const float* b)
{
    float d[3];
    Subtract(a, b, d);
    return dot(d, d);
}

} // namespace

SideLength LengthOf(const float* a, const float* b)
{
    const double length = distance(a, b);
    return {ShortestOf(length), LongestOf(length)};
}

void SetCorners(BvhItem& item, const float (*corner)[3], int number)
{
    std::copy_n(corner[0], 9, item.corner[0]);
    const double square[] = {SquaredDistance(corner[0], corner[1]),
                             SquaredDistance(corner[1], corner[2]),
                             SquaredDistance(corner[2], corner[0])};
    const auto [least, most] = std::minmax({square[0], square[1], square[2]});
    item.shortest = ShortestOf(std::sqrt(least));
    item.longest = LongestOf(std::sqrt(most));
    item.altitude = 0;
    item.item = number;
}

NodeSummary EmptyNode()
{
    NodeSummary node{};
    ClearBbox(node.bounds);
    ClearNormals(node.normals);
    return node;
}

void Merge(NodeSummary& node, const NodeSummary& below)
{
    MergeBbox(node.bounds, below.bounds);
    AddNormals(node.normals, below.normals.low, below.normals.high);
    node.pad = std::max(node.pad, below.pad);
}

void ChooseBox(NodeSummary& node, std::span<const Point3> points, double pad)
{
    const Obb aligned = AlignedBox(node.normals, node.bounds),
              fitted = FitBox(node.normals, points, pad);
    node.box = fitted.halfArea < aligned.halfArea ? fitted : aligned;
}
