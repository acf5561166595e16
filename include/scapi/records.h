/// The records of a solid. All coordinates are 32-bit floats; a box is six of them, minimum x, y,
/// z, then maximum x, y, z. Records refer to each other by index into the arrays of their solid.
/// Files hold them as they are, so sizes and offsets are fixed.
#ifndef SCAPI_RECORDS_H
#define SCAPI_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// One triangle, 35 words. Side `slot` runs from corner (slot + 2) % 3 to corner `slot`.
struct T_LIST {
    float corners[3][3];      ///< in the winding of the mesh, at rest
    float normal[3];          ///< unit, by the winding, zero on a degenerate triangle; as read on a
                              ///< simple solid from a file
    std::int32_t vertex[3];   ///< into vertices, per corner; full solids only
    std::int32_t edgeLinks;   ///< slots of edge that were filled when the list was built, 0 to 3
    std::int32_t edge[3];     ///< into edges, per side, or -1 while open
    float sweepBbox[6];       ///< box of what this triangle adds to the swept surface
    std::int32_t sweepOrient; ///< -1 trailing, 1 leading or not swept, 0 parallel to the motion
    std::int32_t mark;        ///< 1 once visited by the inversion walk (docs/behaviour.md)
    std::int32_t superseded;  ///< 1 once BreakTriangle has replaced it; Build_Octree leaves it out
    float bbox[6];
    std::int32_t next; ///< distance in records to the next of the leaf's chain, 0 at its end
};
static_assert(sizeof(T_LIST) == 140 && offsetof(T_LIST, bbox) == 112 &&
              offsetof(T_LIST, next) == 136);

/// The next triangle of an octree leaf, or null. `next` is a distance because an address would make
/// the size of the record depend on that of a pointer; a chain never leaves its array.
inline T_LIST* NextTriangle(T_LIST* triangle)
{
    return triangle->next ? triangle + triangle->next : nullptr;
}

/// Links `next` after `triangle`; null ends the chain.
/// @pre  both lie in one array
inline void SetNextTriangle(T_LIST* triangle, T_LIST* next)
{
    triangle->next = next ? static_cast<std::int32_t>(next - triangle) : 0;
}

/// One vertex of a full solid, 10 words.
struct VertexRec {
    float position[3];     ///< at rest
    float sweepStart[3];   ///< at the start of the motion
    float sweepEnd[3];     ///< at its end; equal to sweepStart when isSwept is 0
    std::int32_t useCount; ///< triangle corners at this vertex
};
static_assert(sizeof(VertexRec) == 40 && offsetof(VertexRec, useCount) == 36);

/// One edge and its two triangles, 10 words.
struct EdgeRec {
    std::int32_t vertex[2];   ///< into vertices; triangle[0] runs from vertex[1] to vertex[0]
    std::int32_t triangle[2]; ///< into triangles; triangle[1] runs it the other way
    std::int32_t reserved[6]; ///< zero
};
static_assert(sizeof(EdgeRec) == 40 && offsetof(EdgeRec, triangle) == 8);

struct StlReadBuffer;

/// State of the STL reader and writer of a solid. All zero at first.
struct StlStream {
    std::int32_t mode;          ///< 0 read text, 1 read binary, 2 write text, 3 write binary
    std::int32_t facetCount;    ///< reading binary: from the header; reading text: 1000000000;
                                ///< writing: facets written
    char path[596];             ///< as given by the caller, swap marker included
    std::FILE* file;            ///< open only within a call
    std::int64_t fileLength;    ///< of the open file, in bytes
    std::int64_t writePosition; ///< offset in the file after the last facet written
    StlReadBuffer* buffer;      ///< owned; read-ahead, null while no file is being read
};

#endif
