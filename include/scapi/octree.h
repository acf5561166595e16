/// The spatial index of a solid: a sparse eight-way tree whose leaves all lie at one depth.
///
/// A triangle is stored in one leaf only, the one that holds the minimum corner of its box, and can
/// extend beyond that leaf's upper faces. Refinement limits its extent to queryMargin per axis.
#ifndef SCAPI_OCTREE_H
#define SCAPI_OCTREE_H

#include <cstdint>

#include "scapi/export.h"
#include "scapi/records.h"

class SOLIDC;

/// A node and its cell. Bits of an octant number: 0 set in the upper half in x, 1 in y, 2 in z.
struct OCTREENODE {
    OCTREENODE* children[8]; ///< owned, by octant; null where no triangle was added
    float bbox[6];
    float midpoint[3];
    float upperCorner[3]; ///< maximum corner of bbox
    T_LIST* listHead;     ///< not owned; first of the leaf's chain, null above the leaves
    std::int32_t listCount;
};

/// Queries use currentDepth and visitedTriangles as scratch: one operation at a time on a tree.
class SCAPI_EXPORT OCTREEC {
public:
    OCTREENODE* root;              ///< owned; its box is that of the solid
    std::int32_t currentDepth;     ///< depth of the node being visited; 0 at the root
    std::int32_t maxDepth;         ///< depth of all leaves, 0 to 8
    float diagonalTolerance;       ///< root box diagonal * 1e-6
    std::int32_t visitedTriangles; ///< tested by the last query that met the root's box
    SOLIDC* owner;                 ///< not owned; outlives the tree
    float queryMargin[3];          ///< limit of a triangle's extent per axis, half a leaf cell
    std::int32_t nodeCount;        ///< nodes without the root
    std::int32_t maxLeafCount;     ///< triangles in the fullest leaf

    /// An empty tree over `box`.
    /// @param depth   of the leaves, clamped to 0 to 8
    /// @param margin  three floats, copied into queryMargin
    /// @param owner   may be null as long as OC_GetTriangles is not called
    OCTREEC(float box[6], int depth, float margin[3], SOLIDC* owner);
    /// Frees the nodes; triangles and owner are not touched.
    ~OCTREEC();
    OCTREEC(const OCTREEC&) = delete;
    /// The flat copy (docs/behaviour.md): both then own the same nodes, and only one of them may be
    /// destroyed.
    OCTREEC& operator=(const OCTREEC& other);

    /// Puts a triangle into the leaf of its bbox minimum, at the head of the chain.
    /// @pre  bbox of the triangle is up to date; it is in no leaf yet; its array is not moved while
    ///       the tree exists
    void OC_AddTriangle(T_LIST* triangle);
    /// The same below `node`. @pre currentDepth is the depth of `node`
    void OC_AddTriangleToNode(OCTREENODE* node, T_LIST* triangle);
    /// Puts a triangle at the head of a chain, without counting it.
    void OC_AddTriangleToList(T_LIST** head, T_LIST* triangle);
    /// The octant of a point. A coordinate equal to the midpoint counts as lower, and so does a
    /// NaN.
    /// @return 0 to 7
    int OC_GetPos(float point[3], float midpoint[3]);
    /// The box of octant 0 to 7 of a node. Its faces are exact copies of the node's floats, so that
    /// neighbouring cells share them.
    /// @param box  out
    void OC_GetLeafBox(OCTREENODE* node, int octant, float box[6]);
    /// Makes an empty node over `box`, stores it in *slot and counts it.
    void OC_NewNode(OCTREENODE** slot, float box[6]);
    /// Frees a node and all nodes below it.
    void OC_FreeNode(OCTREENODE* node);

    /// Do two boxes overlap? Touching does not count. @return 1 or 0
    int IntersectingBboxes(const float a[6], const float b[6]);
    /// Does an occupied leaf cell overlap `box`? Its triangles are not tested. @return 1 or 0
    int OC_testBox(float box[6]);
    /// The same below `node`. @pre currentDepth is the depth of `node`
    int OC_TestLeafBoxes(OCTREENODE* node, float box[6]);
    /// Does an edge hit a triangle of a leaf whose cell its box overlaps? With the one-leaf storage
    /// (docs/behaviour.md) a triangle that extends into such a cell from another one is not tested.
    /// @param edge  two points
    /// @return 1 or 0
    int OC_Intersection_Edge(float edge[2][3]);
    /// The same below `node`; `box` is the box of the edge. @pre currentDepth is the depth of
    /// `node`
    int OC_GetLeafEdgeIntersections(OCTREENODE* node, float edge[2][3], float box[6]);
    /// Tests the triangles of the leaves whose cells overlap `box` against `solid`. queryMargin
    /// widens only the test of the root (docs/behaviour.md, root margin).
    /// @param useEdges  0 calls the owner's Triangle_to_SolidBTriangles, any other value its
    ///                  Triangle_to_SolidBEdges
    /// @return the first result that is not 0, or 0
    int OC_GetTriangles(float box[6], SOLIDC* solid, int useEdges);
    /// The same below `node`, without the margin. @pre currentDepth is the depth of `node`
    int OC_GetLeafTriangles(OCTREENODE* node, float box[6], SOLIDC* solid, int useEdges);
};

#endif
