// Octree traversals. With the one-leaf storage (docs/behaviour.md) an edge whose box misses the
// cell of a triangle's leaf is not tested against that triangle, even where the two meet in another
// one.
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "scapi/octree.h"
#include "scapi/solid.h"

namespace
{

/// Calls `visit` on each child that overlaps the box, in octant order, until a result is not 0.
/// currentDepth is that of the child during the call.
/// @return the last result, or 0
template <class Visit>
int VisitChildren(OCTREEC& tree, const OCTREENODE* node, const float* box, Visit visit)
{
    ++tree.currentDepth;
    int result = 0;
    for (OCTREENODE* child : node->children) {
        if (!child || !tree.IntersectingBboxes(child->bbox, box)) continue;
        if ((result = visit(child)) != 0) break;
    }
    --tree.currentDepth;
    return result;
}

bool IsLeaf(const OCTREEC& tree) { return tree.currentDepth == tree.maxDepth; }

} // namespace

int OCTREEC::OC_testBox(float box[6])
{
    currentDepth = 0;
    return IntersectingBboxes(root->bbox, box) ? OC_TestLeafBoxes(root, box) : 0;
}

int OCTREEC::OC_TestLeafBoxes(OCTREENODE* node, float box[6])
{
    // A leaf exists only where a triangle was added, so its cell is occupied.
    if (IsLeaf(*this)) return 1;
    return VisitChildren(*this, node, box,
                         [&](OCTREENODE* child) { return OC_TestLeafBoxes(child, box); });
}

int OCTREEC::OC_Intersection_Edge(float edge[2][3])
{
    currentDepth = 0;
    float box[6];
    CalcEdgeBbox(edge, box);
    if (!IntersectingBboxes(root->bbox, box)) return 0;
    visitedTriangles = 0;
    return OC_GetLeafEdgeIntersections(root, edge, box);
}

int OCTREEC::OC_GetLeafEdgeIntersections(OCTREENODE* node, float edge[2][3], float box[6])
{
    if (!IsLeaf(*this))
        return VisitChildren(*this, node, box, [&](OCTREENODE* child) {
            return OC_GetLeafEdgeIntersections(child, edge, box);
        });
    CrossingState state;
    for (T_LIST* triangle = node->listHead; triangle; triangle = NextTriangle(triangle)) {
        ++visitedTriangles;
        if (EdgeCrossesTriangle(edge, triangle->corners, state)) return 1;
    }
    return 0;
}

int OCTREEC::OC_GetTriangles(float box[6], SOLIDC* solid, int useEdges)
{
    // Root margin (docs/behaviour.md): only the test of the root uses the widened box.
    float widened[6];
    for (int axis = 0; axis < 3; ++axis) {
        widened[axis] = float(double(box[axis]) - queryMargin[axis]);
        widened[axis + 3] = box[axis + 3];
    }
    currentDepth = 0;
    if (!IntersectingBboxes(root->bbox, widened)) return 0;
    visitedTriangles = 0;
    return OC_GetLeafTriangles(root, box, solid, useEdges);
}

int OCTREEC::OC_GetLeafTriangles(OCTREENODE* node, float box[6], SOLIDC* solid, int useEdges)
{
    if (!IsLeaf(*this))
        return VisitChildren(*this, node, box, [&](OCTREENODE* child) {
            return OC_GetLeafTriangles(child, box, solid, useEdges);
        });
    for (T_LIST* triangle = node->listHead; triangle; triangle = NextTriangle(triangle)) {
        ++visitedTriangles;
        const int result = useEdges ? owner->Triangle_to_SolidBEdges(triangle, solid)
                                    : owner->Triangle_to_SolidBTriangles(triangle, solid);
        if (result) return result;
    }
    return 0;
}
