/// The spatial index of a solid: a sparse eight-way tree whose leaves all lie at one depth.
///
/// A triangle is stored in one leaf only, the one that holds the minimum corner of its box, and
/// sticks out of it on the upper sides. Refinement bounds by how much (queryMargin).
#ifndef SCAPI_OCTREE_H
#define SCAPI_OCTREE_H

#include <cstdint>

#include "scapi/export.h"
#include "scapi/records.h"

class SOLIDC;

/// A cell. Octant numbers: bit 0 upper half in x, bit 1 in y, bit 2 in z.
struct OCTREENODE {
    OCTREENODE* children[8]; ///< owned, by octant; null where no triangle has landed
    float bbox[6];
    float midpoint[3];
    float upperCorner[3]; ///< maximum corner of bbox
    T_LIST* listHead;     ///< not owned; first of the leaf's chain, null above the leaves
    std::int32_t listCount;
};

/// Plain state is used as scratch by every query: one operation at a time on a tree.
class SCAPI_EXPORT OCTREEC {
public:
    OCTREENODE* root;              ///< owned; its box is that of the solid
    std::int32_t currentDepth;     ///< of the node that a descent stands at; 0 at the root
    std::int32_t maxDepth;         ///< of all leaves, 0 to 8
    float diagonalTolerance;       ///< root box diagonal * 1e-6
    std::int32_t visitedTriangles; ///< looked at by the last query that passed the root's box
    SOLIDC* owner;                 ///< not owned; outlives the tree
    float queryMargin[3];          ///< bound on a triangle's extent per axis, half a leaf cell
    std::int32_t nodeCount;        ///< nodes but the root
    std::int32_t maxLeafCount;     ///< triangles in the fullest leaf

    /// An empty tree over `box`, with its leaves at `depth`, taken as 0 below 0 and as 8 above 8.
    OCTREEC(float box[6], int depth, float margin[3], SOLIDC* owner);
    /// Frees the nodes; triangles and owner are not touched.
    ~OCTREEC();
    OCTREEC(const OCTREEC&) = delete;
    /// A flat copy: both then name the same nodes, and only one may be destroyed.
    OCTREEC& operator=(const OCTREEC& other);

    /// Puts a triangle into the leaf of its bbox minimum, at the head of the chain.
    /// @param triangle  in an array that stays where it is; bbox up to date; in no leaf yet
    void OC_AddTriangle(T_LIST* triangle);
    /// The same below `node`, taking currentDepth as its depth.
    void OC_AddTriangleToNode(OCTREENODE* node, T_LIST* triangle);
    /// Puts a triangle at the head of a chain, without counting it.
    void OC_AddTriangleToList(T_LIST** head, T_LIST* triangle);
    /// The octant of a point: a coordinate on the midpoint, and a NaN, counts as lower.
    int OC_GetPos(float point[3], float midpoint[3]);
    /// The box of octant 0 to 7 of a node: exact copies of the node's floats.
    void OC_GetLeafBox(OCTREENODE* node, int octant, float box[6]);
    /// Makes a node and stores it in *slot.
    void OC_NewNode(OCTREENODE** slot, float box[6]);
    /// Frees a node and all below it.
    void OC_FreeNode(OCTREENODE* node);

    /// Overlap of two boxes; boxes that only touch do not. @return 1 or 0
    int IntersectingBboxes(const float a[6], const float b[6]);
    /// Does a leaf cell exist that overlaps `box`? Its triangles are not looked at. @return 1 or 0
    int OC_testBox(float box[6]);
    int OC_TestLeafBoxes(OCTREENODE* node, float box[6]);
    /// Does an edge hit a triangle in one of the leaves that its box overlaps? @return 1 or 0
    int OC_Intersection_Edge(float edge[2][3]);
    /// The same below `node`; `box` is the box of the edge.
    int OC_GetLeafEdgeIntersections(OCTREENODE* node, float edge[2][3], float box[6]);
    /// Runs the owner's Triangle_to_SolidBEdges (or, with useEdges 0, Triangle_to_SolidBTriangles)
    /// against `solid` on each triangle under `box`. @return the first result that is not 0, or 0
    int OC_GetTriangles(float box[6], SOLIDC* solid, int useEdges);
    int OC_GetLeafTriangles(OCTREENODE* node, float box[6], SOLIDC* solid, int useEdges);
};

#endif
