/// One solid: a triangle mesh with its boxes, its lists, its motion and its octree.
///
/// A full solid (isSimple 0) is closed and has shared vertices and edges; it can be moved. A
/// simple one is a bag of triangles that carry their own corners. Hosts use solids by number,
/// through scapi.h; this class is for C++ hosts that want to look inside.
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
    std::int32_t fileVersion; ///< 10118 once a mesh stands
    std::int32_t isSimple;    ///< 0 full, anything else simple
    T_LIST* triangles;        ///< owned; triangleCapacity records and one more that stays zero
    VertexRec* vertices;      ///< owned; null while no list exists
    EdgeRec* edges;           ///< owned; null while no list exists
    std::int32_t triangleCount;
    std::int32_t vertexCount;
    std::int32_t edgeCount;
    std::int32_t triangleCapacity; ///< stays when the array is released: says nothing by itself
    std::int32_t vertexCapacity;
    std::int32_t edgeCapacity;
    std::int32_t baseTriangleCount; ///< triangles that SC_GetTriangle shows on a simple solid
    std::int32_t sourceFileSize;    ///< bytes of the STL file last named, 2147483647 at most
    float sweepDirection[3];        ///< unit vector of the last motion, or zero
    float sweepLength;              ///< distance of the centres of the two poses
    std::int32_t isSwept;           ///< 1 on a full solid that moves by more than tolerance
    float sweepStart[4][4];         ///< matrix of the start pose, as it is applied
    float sweepEnd[4][4];
    float bbox[6];
    float center[3];
    float sweepBbox[6]; ///< box of the swept volume, or of the placed solid
    float tolerance;    ///< diagonal of bbox * 2e-7: nearer corners are one vertex
    std::int32_t sortAxis;
    float maxTriangleSize[3]; ///< largest box of a triangle as it was read; zero on a primitive
    StlStream* stlStream;     ///< owned
    OCTREEC* octree;          ///< owned; null while none exists
    std::int32_t octreeDepth;
    float octreeCellSize[3];   ///< half a leaf cell: the limit of refinement, the tree's margin
    QueryTrees* queryTrees;    ///< owned; hierarchies of the fast query, null until one is asked
    std::int32_t sweepPending; ///< 1 while what SC_GTsweep writes per record is still to be written
    std::int32_t isRotated;    ///< 1 once SC_Rotate has moved corners away from the vertices

    SOLIDC();
    ~SOLIDC();
    SOLIDC(const SOLIDC&) = delete;
    /// A flat copy, pointers included: both then own the same arrays.
    SOLIDC& operator=(const SOLIDC& other);
    /// Deletes the octree. @return 0
    int Release_Octree(void);
    /// Bytes of the records in use. @return 312 + 140, 40, 40 for each triangle, vertex, edge
    std::int32_t SC_GetUsedRAM(void);

    /// @name Reading back. Each returns index + 1, or -1 when the index is not in the array.
    /// @{
    int SC_GetVertex(int index, float* const xyz);
    /// @param normal  may be null
    /// @return on a simple solid -1 behind baseTriangleCount, with the record already written; on
    ///         a full solid without vertices the index itself
    int SC_GetTriangle(int index, float (*const corners)[3], float* const normal);
    int SC_GetLoop(int index, int* const vertexIndices, float* const spare);
    /// Builds the vertex list of a full solid, if there is none, and copies bbox.
    /// @param bbox  may be null
    /// @return 1 when there are triangles, else 0
    int SC_GetSolidBbox(float* const bbox);
    /// @}

    /// @name Loading
    /// @{
    /// Builds the mesh of a box; minimum below maximum is not tested. @return 0
    int LoadBox(float* const box);
    /// Reads an STL file.
    /// @param path    may be null: a unit cube is built
    /// @param simple  stored in isSimple
    /// @return 0, or 65535 when the file can be read neither as text nor as binary
    int SC_LoadSTLfile(unsigned char* path, int simple);
    /// Builds the mesh of a cylinder of 32 segments, three floats for each end of the axis; sizes
    /// are not tested. @return 0
    int LoadCyl(float* const axisStart, float* const axisEnd, float radius);
    /// Replaces the mesh by that of an SLD file, as it was written.
    /// @return 0; -1 when there is no file, the solid is untouched; -401 for another version, -400
    ///         for a damaged file, the solid is empty; -905 for a damaged file without edges, 1 for
    ///         one that ends behind its counts: arrays of zeros, no octree
    int SC_LoadSLDfile(unsigned char* path);
    /// @}

    /// @name Writing. Each replaces the file that is there.
    /// @{
    /// Writes the SLD file of the solid; builds the lists of a full one first.
    /// @return 0; 1 when not all was written; -100 or -101 when a list cannot be built, the solid
    ///         is then empty and the file holds no triangles; 1 may be ored into these
    int SC_SaveSLDfile(unsigned char* path);
    /// Writes all triangles as a binary STL file. @return 0, or 1 when it cannot be created
    int SC_SaveSTLfile(unsigned char* path);
    /// Writes the swept surfaces of this solid and of `other` into one binary STL file.
    /// @return 0, or 1 when it cannot be created
    int SC_SaveSweepSTLfiles(unsigned char* path, SOLIDC* other);
    /// @}

    /// @name Topology of a full solid. A list that exists is not built again.
    /// @{
    /// Merges corners nearer than tolerance into vertices.
    /// @return 0; -100 if a vertex has fewer than three corners, the list stands; -904 if simple
    int SC_BuildVertexList(void);
    /// Pairs sides that run the same two vertices in opposite directions.
    /// @pre    the vertex list
    /// @return 0; -101 if a side stays open, the list is partial; -904 if simple
    int SC_BuildEdgesList(void);
    /// Sorts triangles by their box minimum along the longest axis of bbox; equal ones keep their
    /// order. Moves records: only before lists and octree exist.
    void SortTriangles(void);
    /// Range of the sorted triangles that can meet `box`. @return *last - *first
    int FindTriangles(float* const box, int* first, int* last);
    /// The corner slot of `triangle` that is neither vertex a nor b; 0 for a bad index.
    /// @param third  takes its vertex; may be null
    int AlterVertex(int triangle, int a, int b, int* third);
    /// The slot of `edge` in `triangle`: 2 when it is in none, 0 for a bad index.
    int SelfEdge(int triangle, int edge);
    /// @}

    /// @name Octree and refinement. Refinement changes the mesh for good.
    /// @{
    /// Sorts, builds the lists of a full solid, refines and fills a new octree; a mesh that is not
    /// closed gets none.
    void CreateOctree(void);
    /// Refines and fills a new octree. @param triangleMode  0: by edges, else by triangles
    /// @return 0
    int Build_Octree(int triangleMode);
    /// Splits edges until each box of an edge fits `limit`, per axis. @return triangleCount
    int SubdivideEdges(float* const limit);
    /// Splits one edge if it does not fit, without growing arrays.
    /// @return as BreakEdge, 0 when it fits
    int SubdivideEdge(int edgeIndex, float* const limit);
    /// Cuts triangles until each fits `limit`, per axis. @return triangleCount
    int SubdivideTriangles(float* const limit);
    /// Cuts one triangle if it does not fit, without growing the array.
    /// @return as BreakTriangle, 0 when it fits
    int SubdivideTriangle(int triangleIndex, float* const limit);
    /// out = a * weightA + b * weightB, three floats each.
    void InterpVertex(float* const out, float weightA, float* const a, float weightB,
                      float* const b);
    /// Puts a vertex on an edge and splits its two triangles into four.
    /// @param pieces  2 or more; the vertex lands on one of the pieces - 1 inner grid points
    /// @pre    room for 2 triangles, 1 vertex, 3 edges: never grows an array
    /// @post   each edge has two triangles; the useCounts sum to 3 * triangleCount; corners and
    ///         bbox of all four triangles are stale until SubdivideEdges ends
    /// @return pieces; 0 with nothing changed on a bad index or without the room
    int BreakEdge(int edgeIndex, int pieces);
    /// Cuts a triangle of a simple solid into `pieces` strips of equal height along `axis` and
    /// marks it superseded.
    /// @param axis    0 to 2
    /// @param pieces  2 or more
    /// @pre    room for 2 * pieces - 1 triangles: never grows the array
    /// @return triangles added; 0 with nothing changed on a bad argument or without the room
    int BreakTriangle(int triangleIndex, int axis, int pieces);
    /// Flips the long diagonals of flat pairs of triangles: one pass over the edges.
    void Simplify2Triangles(void);
    /// Does nothing. @return 0
    int Simplify3Vertex(void);
    /// @}

    /// @name Interference: edges of `other`, as placed or moved, against triangles of this at rest.
    /// @{
    /// @return 1 or 0; 0 too without an octree, unless this solid is itself swept
    int SC_DetectIntersection(SOLIDC* other);
    /// One triangle against a solid. @return 1 or 0
    int Triangle_to_SolidBTriangles(T_LIST* triangle, SOLIDC* solid);
    /// Does a box meet this solid: the occupied cells of a simple one, the bbox of a full one,
    /// which touching meets? @return 1 or 0; 0 for a simple solid without octree
    int CheckBoxInterference(float* const box);
    /// One triangle of this solid against the edges of one triangle of `solid`; answers 0 for all
    /// but the first triangle of this solid. @return 1 or 0
    int Triangle_to_SolidBEdges(T_LIST* triangle, SOLIDC* solid);
    /// @}

    /// @name Motion
    /// @{
    /// Places or moves the solid, see SCAPI_DefSweep. @return 0
    int SC_GTsweep(float (*const start)[4], float (*const end)[4]);
    /// Transforms corners and normals of the triangles in place, and nothing else: boxes, vertices
    /// and octree go on describing the mesh as it was.
    void SC_Rotate(float (*const matrix)[4]);
    /// The next edge of the swept surface whose box meets `box`.
    /// @param cursor  triangle index * 10 + step: 0 to start, then the last result
    /// @param limit   in the same unit; triangles from limit / 10 on are not walked
    /// @param out     two points; unchanged when an edge has no position of its own to give, and
    ///                then tested and given as it stands
    /// @return the next cursor, or -1 at the end
    int SC_GetSweepEdgesInBbox(int cursor, int limit, float (*const out)[3], float* const box);
    /// The next triangle of the swept surface; arguments and result as above.
    /// @param out  three points
    /// @param box  may be null: all triangles
    int SC_GetSweepTrianglesInBbox(int cursor, int limit, float (*const out)[3], float* const box);
    /// @}

private:
    friend struct SolidInternals; ///< lets the tests reach what follows
    friend void CompleteSweep(SOLIDC& solid);

    void Release_Lists(void);
    void Check_Solid(int);
    int SC_GetSLDheader(unsigned char* buffer);
    int AddTriangle(float* const a, float* const b, float* const c);
    void Add_TriangleOffset(float (*const corners)[3], float* const offset);
    int CalcTriangleBbox(float (*const corners)[3], float* const box);
    int SC_BuildOrientList(void);
    int InvertTreeTriangle(int triangle);
    int InvertSubTreeTriangle(int triangle);
    void GetTriangleVertex(int triangle, float (*const corners)[3]);
    int IntersectingBboxes(float* const a, float* const b);
    int TriangleIntersectingBbox(float (*const corners)[3], float* const box);
    int EdgeIntersectingBbox(float (*const edge)[3], float* const box);
    int IntersectWithEdgesFrom(SOLIDC* other);
    int GetSweptTriangle(int triangle, int piece, float (*const out)[3]);
    int GetSweptEdge(int triangle, int piece, float (*const out)[3]);
    int GetSweptEdgeTriangle(int edge, int half, float (*const out)[3]);
    int GetTriangleEdge(int triangle, int slot, float (*const out)[3]);
    int EdgeNeedsSweep(int triangle, int edge);
    int SC_CalcSweepBbox(void);
    int SC_CalcSweepTrianglesBbox(void);
};

#endif
