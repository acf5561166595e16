#include "bvh/fill.h"

#include <algorithm>

#include "geometry/bbox.h"
#include "geometry/vector.h"

SideLength LengthOf(const float* a, const float* b)
{
    const double length = distance(a, b);
    return {float(length * 0.999999), float(length * 1.000001)};
}

BvhItem MakeItem(const float (*corner)[3], const float* normal, int item)
{
    BvhItem made;
    std::copy_n(corner[0], 9, made.corner[0]);
    std::copy_n(normal, 3, made.normal);
    made.item = item;
    return made;
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
}

void ChooseBox(NodeSummary& node, std::span<const Point3> points, double pad)
{
    const Obb aligned = AlignedBox(node.normals, node.bounds),
              fitted = FitBox(node.normals, points, pad);
    node.box = fitted.halfArea < aligned.halfArea ? fitted : aligned;
}
