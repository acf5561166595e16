// The container: nodes, and the insertion of triangles.
#include "scapi/octree.h"

#include <algorithm>
#include <cstring>

#include "geometry/bbox.h"
#include "geometry/vector.h"
#include "mesh/before_change.h"
#include "mesh/memory.h"
#include "octree/sizing.h"

OCTREEC::OCTREEC(float box[6], int depth, float margin[3], SOLIDC* solid)
    : currentDepth(0), visitedTriangles(0), owner(solid), nodeCount(0)
{
    OC_NewNode(&root, box);
    maxDepth = std::clamp(depth, 0, kMaxDepth);
    diagonalTolerance = float(distance(box, box + 3) * 1e-6f);
    std::memcpy(queryMargin, margin, sizeof queryMargin);
    // After OC_NewNode, because nodeCount excludes the root.
    nodeCount = 0;
    maxLeafCount = 0;
}

OCTREEC::~OCTREEC()
{
    OC_FreeNode(root);
    root = nullptr;
}

OCTREEC& OCTREEC::operator=(const OCTREEC& other) = default;

void OCTREEC::OC_AddTriangle(T_LIST* triangle)
{
    if (owner) ReleaseQueryTrees(*owner);
    currentDepth = 0;
    OC_AddTriangleToNode(root, triangle);
}

void OCTREEC::OC_AddTriangleToNode(OCTREENODE* node, T_LIST* triangle)
{
    if (currentDepth >= maxDepth) {
        OC_AddTriangleToList(&node->listHead, triangle);
        maxLeafCount = std::max(maxLeafCount, ++node->listCount);
        return;
    }
    const int octant = OC_GetPos(triangle->bbox, node->midpoint);
    ++currentDepth;
    if (!node->children[octant]) {
        float box[6];
        OC_GetLeafBox(node, octant, box);
        OC_NewNode(&node->children[octant], box);
    }
    OC_AddTriangleToNode(node->children[octant], triangle);
    --currentDepth;
}

void OCTREEC::OC_AddTriangleToList(T_LIST** head, T_LIST* triangle)
{
    SetNextTriangle(triangle, *head);
    *head = triangle;
}

int OCTREEC::OC_GetPos(float point[3], float midpoint[3])
{
    int octant = 0;
    for (int axis = 0; axis < 3; ++axis)
        if (point[axis] > midpoint[axis]) octant |= 1 << axis;
    return octant;
}

void OCTREEC::OC_GetLeafBox(OCTREENODE* node, int octant, float box[6])
{
    for (int axis = 0; axis < 3; ++axis) {
        const bool upper = octant >> axis & 1;
        box[axis] = upper ? node->midpoint[axis] : node->bbox[axis];
        box[axis + 3] = upper ? node->bbox[axis + 3] : node->midpoint[axis];
    }
}

void OCTREEC::OC_NewNode(OCTREENODE** slot, float box[6])
{
    auto* node = Allocate<OCTREENODE>(1);
    std::memcpy(node->bbox, box, sizeof node->bbox);
    std::memcpy(node->upperCorner, box + 3, sizeof node->upperCorner);
    for (int axis = 0; axis < 3; ++axis)
        node->midpoint[axis] = float((double(box[axis]) + box[axis + 3]) * 0.5f);
    *slot = node;
    ++nodeCount;
}

void OCTREEC::OC_FreeNode(OCTREENODE* node)
{
    for (OCTREENODE* child : node->children)
        if (child) OC_FreeNode(child);
    ReleaseRecords(node);
}

int OCTREEC::IntersectingBboxes(const float a[6], const float b[6])
{
    return a[0] < b[3] && a[3] > b[0] && a[1] < b[4] && a[4] > b[1] && a[2] < b[5] && a[5] > b[2];
}
