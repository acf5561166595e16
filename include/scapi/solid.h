/// One solid: a triangle mesh with its boxes, its vertex and edge lists, its motion and its octree.
///
/// A full solid (isSimple 0) is closed, has shared vertices and edges, and can be moved. A simple
/// solid is a triangle soup: each triangle carries its own corners. Hosts address solids by slot
/// through scapi.h; this class is for C++ hosts that need the records.
///
/// Lengths are in the unit of the loaded file. Points are three floats. Pointers are not tested
/// unless a comment says that they may be null. The behaviours named here with a reference to
/// docs/behaviour.md look like faults; hosts and files rely on them.
#ifndef SCAPI_SOLID_H
#define SCAPI_SOLID_H

#include <cstdint>

#include "scapi/export.h"
#include "scapi/octree.h"
#include "scapi/records.h"

struct QueryTrees;

class SCAPI_EXPORT SOLIDC {
public:
    std::int32_t sourceTime;  ///< modification time of the STL file, 0 for a primitive
    std::int32_t fileVersion; ///< 10118 once a mesh is loaded
    std::int32_t isSimple;    ///< 0 full, any other value simple
    T_LIST* triangles;        ///< owned; triangleCapacity records, then one that stays zero
    VertexRec* vertices;      ///< owned; null while there is no list
    EdgeRec* edges;           ///< owned; null while there is no list
    std::int32_t triangleCount;
    std::int32_t vertexCount;
    std::int32_t edgeCount;
    std::int32_t triangleCapacity; ///< not reset on release: valid only while triangles is not null
    std::int32_t vertexCapacity;
    std::int32_t edgeCapacity;
    std::int32_t baseTriangleCount; ///< triangles that SC_GetTriangle gives on a simple solid
    std::int32_t sourceFileSize;    ///< bytes of the last STL file read or replaced, capped at
                                    ///< 2147483647
    float sweepDirection[3];        ///< unit vector, or zero; set only by a sweep with isSwept 1
    float sweepLength;              ///< distance between the centres at the two poses
    std::int32_t isSwept;           ///< 1 on a full solid whose sweepLength exceeds tolerance
    float sweepStart[4][4];         ///< matrix that maps positions to the start pose
    float sweepEnd[4][4];
    float bbox[6];
    float center[3];
    float sweepBbox[6]; ///< box of the swept volume or of the placed solid; empty on a simple one
    float tolerance;    ///< bbox diagonal * 2e-7: corners closer than this share a vertex
    std::int32_t sortAxis;     ///< 0 to 2, from the last SortTriangles; any value from a file
    float maxTriangleSize[3];  ///< largest triangle box as read, per axis; zero on a primitive
    StlStream* stlStream;      ///< owned
    OCTREEC* octree;           ///< owned; null while there is none
    std::int32_t octreeDepth;  ///< 0 to 8, levels below the root
    float octreeCellSize[3];   ///< half a leaf cell per axis: the limit of refinement
    QueryTrees* queryTrees;    ///< owned; bounding volume hierarchies, built by the first query
    std::int32_t sweepPending; ///< 1 while the per-record results of SC_GTsweep are not written
    std::int32_t isRotated;    ///< 1 once SC_Rotate has moved corners away from their vertices

    /// An empty solid: all zero, boxes empty.
    SOLIDC();
    ~SOLIDC();
    SOLIDC(const SOLIDC&) = delete;
    /// The flat copy (docs/behaviour.md): both then own the same arrays, and only one of them may
    /// be destroyed.
    SOLIDC& operator=(const SOLIDC& other);
    /// Deletes the octree. @return 0
    int Release_Octree(void);
    /// Bytes of the records in use. The sum wraps at 32 bits.
    /// @return 312, plus 140 per triangle, 40 per vertex, 40 per edge
    std::int32_t SC_GetUsedRAM(void);

    /// @name Reading back, at rest. Each returns index + 1, or -1 for an index out of range.
    /// @{
    /// @param xyz  out, a point
    int SC_GetVertex(int index, float* const xyz);
    /// @param corners  out, three points
    /// @param normal   out, unit or zero; may be null
    /// @return Late end (docs/behaviour.md): -1 on a simple solid from baseTriangleCount on, with
    ///         the outputs written all the same. Stalled cursor (docs/behaviour.md): `index` itself
    ///         on a full solid without vertices, with nothing written.
    int SC_GetTriangle(int index, float (*const corners)[3], float* const normal);
    /// @param vertexIndices  out, three indices into vertices
    /// @param spare          not used
    int SC_GetLoop(int index, int* const vertexIndices, float* const spare);
    /// Builds the vertex list of a full solid that has none, then copies bbox.
    /// @param bbox  out, six floats; may be null
    /// @return 1 when there are triangles, else 0
    int SC_GetSolidBbox(float* const bbox);
    /// @}

    /// @name Loading. Each replaces the mesh of this solid.
    /// @{
    /// Builds the mesh of a box. Minimum below maximum is not tested.
    /// @param box  six floats
    /// @return 0
    int LoadBox(float* const box);
    /// Reads an STL file.
    /// @param path    null builds a unit cube
    /// @param simple  stored in isSimple
    /// @return 0, or 65535 when the file can be read neither as text nor as binary
    int SC_LoadSTLfile(unsigned char* path, int simple);
    /// Builds the mesh of a cylinder of 32 segments. Sizes are not tested.
    /// @param axisStart  a point; so is axisEnd
    /// @return 0
    int LoadCyl(float* const axisStart, float* const axisEnd, float radius);
    /// Reads an SLD file.
    /// @return 0; -1 without a file, the solid is untouched; -401 for another format version and
    ///         -400 for a damaged file, the solid is then empty; -905 for a damaged file without
    ///         edges and 1 for a file whose fixed fields are cut: arrays of zeros, no octree
    int SC_LoadSLDfile(unsigned char* path);
    /// @}

    /// @name Writing. Each replaces an existing file.
    /// @{
    /// Writes the SLD file of this solid; builds the lists of a full solid first.
    /// @return 0; 1 when not everything was written; -100 or -101 when a list cannot be built, the
    ///         solid is then empty and the file holds no triangles; 1 may be ORed into these
    int SC_SaveSLDfile(unsigned char* path);
    /// Writes all triangles as a binary STL file, superseded ones included.
    /// @return 0, or 1 when the file cannot be created
    int SC_SaveSTLfile(unsigned char* path);
    /// Writes the swept surfaces of this solid and of `other` into one binary STL file.
    /// @return 0, or 1 when the file cannot be created
    int SC_SaveSweepSTLfiles(unsigned char* path, SOLIDC* other);
    /// @}

    /// @name Topology of a full solid. A list that exists, even a faulty one, is not built again.
    /// @{
    /// Merges corners closer than tolerance into vertices: each corner joins the first vertex in
    /// range, which keeps the position of the corner that made it.
    /// @return 0; -100 when a vertex has fewer than three corners, the list stays; -904 when simple
    int SC_BuildVertexList(void);
    /// Pairs each side with the first side that runs the same two vertices in the other direction.
    /// @pre    the vertex list
    /// @return 0; -101 when a side has no partner, the list is partial and stays; -904 when simple
    int SC_BuildEdgesList(void);
    /// Sorts triangles by box minimum along the longest axis of bbox, stably. Moves records, so it
    /// has to run before lists are built; drops an octree when the order changes.
    void SortTriangles(void);
    /// Bisects the sorted triangles for those near `box`. The upper end is the unsorted bisection
    /// (docs/behaviour.md): a triangle that extends beyond `box` can be left out of the range.
    /// @param first  out; so is last, one past the end
    /// @return *last - *first
    int FindTriangles(float* const box, int* first, int* last);
    /// The corner that is neither vertex a nor b. Slot 2 is returned without a test.
    /// @param third  out, the vertex of that corner; may be null
    /// @return slot 0 to 2, or 0 for a triangle out of range
    int AlterVertex(int triangle, int a, int b, int* third);
    /// The slot of `edge` in a triangle. Slot 2 is returned without a test.
    /// @return slot 0 to 2, or 0 for a triangle out of range
    int SelfEdge(int triangle, int edge);
    /// @}

    /// @name Octree and refinement. Refinement changes the mesh for good.
    /// @{
    /// Sorts, builds the lists of a full solid, refines, and fills a new octree. A mesh whose lists
    /// cannot be built keeps its state and gets no octree.
    void CreateOctree(void);
    /// Refines and fills a new octree.
    /// @param triangleMode  0 refines by edges, any other value by triangles
    /// @return 0
    int Build_Octree(int triangleMode);
    /// Splits edges until each edge's box fits within `limit`, per axis. @return triangleCount
    int SubdivideEdges(float* const limit);
    /// Splits one edge that does not fit within `limit`; never grows an array.
    /// @return as BreakEdge; 0 when it fits
    int SubdivideEdge(int edgeIndex, float* const limit);
    /// Cuts triangles until each one's box fits within `limit`, per axis. @return triangleCount
    int SubdivideTriangles(float* const limit);
    /// Cuts one triangle that does not fit within `limit`; never grows the array.
    /// @return as BreakTriangle; 0 when it fits
    int SubdivideTriangle(int triangleIndex, float* const limit);
    /// out = a * weightA + b * weightB, three floats each.
    void InterpVertex(float* const out, float weightA, float* const a, float weightB,
                      float* const b);
    /// Puts a vertex on an edge and splits its two triangles into four.
    /// @param pieces  2 or more; the vertex lands on one of the pieces - 1 inner grid points
    /// @pre    capacity left for 2 triangles, 1 vertex, 3 edges: never grows an array
    /// @post   each edge has two triangles; the useCounts sum to 3 * triangleCount; corners and
    ///         bbox of all four triangles are stale until SubdivideEdges ends
    /// @return pieces; 0 with nothing changed on a bad index or when capacity is short
    int BreakEdge(int edgeIndex, int pieces);
    /// Cuts a triangle of a simple solid into `pieces` strips of equal height along `axis` and
    /// marks it superseded.
    /// @param axis    0 to 2
    /// @param pieces  2 or more
    /// @pre    capacity left for 2 * pieces - 1 triangles: never grows the array
    /// @return triangles added; 0 with nothing changed on a bad argument or when capacity is short
    int BreakTriangle(int triangleIndex, int axis, int pieces);
    /// Flips the long diagonals of flat pairs of triangles, in one pass over the edges.
    void Simplify2Triangles(void);
    /// Does nothing. @return 0
    int Simplify3Vertex(void);
    /// @}

    /// @name Interference: edges of `other`, placed or swept, against triangles of this at rest.
    /// @{
    /// A swept first solid (docs/behaviour.md) is still tested at rest. A simple `other` has no
    /// edges and hits nothing.
    /// @return 1 or 0; 0 without an octree, unless this solid is swept
    int SC_DetectIntersection(SOLIDC* other);
    /// One triangle against `solid`: against its edges when it is swept, else through its octree.
    /// @return 1 or 0
    int Triangle_to_SolidBTriangles(T_LIST* triangle, SOLIDC* solid);
    /// Does `box` meet this solid? A simple solid is asked by the occupied cells of its octree,
    /// where touching does not count; a full one by its bbox, where touching counts.
    /// @return 1 or 0; 0 for a simple solid without an octree
    int CheckBoxInterference(float* const box);
    /// One triangle against the edges of the triangle of `solid` with the same index. The reversed
    /// index (docs/behaviour.md) makes this 0 for all but the first triangle of this solid.
    /// @param triangle  of this solid
    /// @return 1 or 0
    int Triangle_to_SolidBEdges(T_LIST* triangle, SOLIDC* solid);
    /// @}

    /// @name Motion
    /// @{
    /// Places or moves the solid along the averaged motion (docs/behaviour.md). A simple solid gets
    /// matrices and length only.
    /// @param start  matrix, four rows of four floats, translation in the fourth column; so is end
    /// @return 0
    int SC_GTsweep(float (*const start)[4], float (*const end)[4]);
    /// Transforms corners and normals of the triangles in place. Normals are not made unit length
    /// again. Stale rotation (docs/behaviour.md): boxes, vertices and octree keep describing the
    /// mesh as it was.
    void SC_Rotate(float (*const matrix)[4]);
    /// The next edge of the swept surface whose box meets `box`. The walk has the step carry, the
    /// repeated edge, the repeated rim and the step guard (docs/behaviour.md).
    /// @param cursor  triangle index * 10 + step: 0 to start, then the last result
    /// @param limit   in the same unit; triangles from limit / 10 on are not walked
    /// @param out     two points; on input the last edge, which a repeated edge gives again
    /// @return the next cursor; at or above `limit`, or -1, when the walk is over
    int SC_GetSweepEdgesInBbox(int cursor, int limit, float (*const out)[3], float* const box);
    /// The next triangle of the swept surface whose box meets `box`.
    /// @param cursor  as above; so is limit
    /// @param out     three points
    /// @param box     null gives all triangles
    /// @return the next cursor, or -1 when the walk is over
    int SC_GetSweepTrianglesInBbox(int cursor, int limit, float (*const out)[3], float* const box);
    /// @}

private:
    friend struct SolidInternals; ///< gives the tests access to the methods below
    friend void CompleteSweep(SOLIDC& solid);

    /// Frees the mesh and empties bbox.
    void Release_Lists(void);
    void Check_Solid(int);
    int SC_GetSLDheader(unsigned char* buffer);
    /// @pre  triangleCount < triangleCapacity
    int AddTriangle(float* const a, float* const b, float* const c);
    void Add_TriangleOffset(float (*const corners)[3], float* const offset);
    int CalcTriangleBbox(float (*const corners)[3], float* const box);
    /// Writes sweepOrient of all triangles.
    int SC_BuildOrientList(void);
    /// The inversion walk (docs/behaviour.md). Both return 0.
    int InvertTreeTriangle(int triangle);
    int InvertSubTreeTriangle(int triangle);
    /// Corners at the pose at which the triangle is part of the swept surface; at rest on a simple
    /// solid. Nothing is written for an index out of range.
    void GetTriangleVertex(int triangle, float (*const corners)[3]);
    /// Overlap of two boxes, the second one widened by tolerance; touching does not count.
    int IntersectingBboxes(float* const a, float* const b);
    int TriangleIntersectingBbox(float (*const corners)[3], float* const box);
    int EdgeIntersectingBbox(float (*const edge)[3], float* const box);
    int IntersectWithEdgesFrom(SOLIDC* other);
    /// Pieces of the swept surface. Each returns 1 for a piece, 0 for none or a bad index; only
    /// GetTriangleEdge can return 1 without writing `out`.
    /// @param piece  0 to 5: two halves of the swept quad of the edge in slot 1, then 2, then 0
    int GetSweptTriangle(int triangle, int piece, float (*const out)[3]);
    /// @param piece  0 to 8: slot * 3 + 0 diagonal, 1 sweep line, 2 rim
    int GetSweptEdge(int triangle, int piece, float (*const out)[3]);
    /// @param half  of the edge's swept quad, 0 or not 0
    int GetSweptEdgeTriangle(int edge, int half, float (*const out)[3]);
    int GetTriangleEdge(int triangle, int slot, float (*const out)[3]);
    /// For a trailing triangle: is `edge` a silhouette edge? @return 1 or 0; 1 for a bad index
    int EdgeNeedsSweep(int triangle, int edge);
    /// Writes sweepBbox of the solid. @return 1 when there are vertices, else 0
    int SC_CalcSweepBbox(void);
    /// Writes sweepBbox of the triangles. @return 0
    int SC_CalcSweepTrianglesBbox(void);
};

#endif
