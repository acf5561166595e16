/// The records of a solid. All coordinates are 32-bit floats; a box is six of them, minimum x, y,
/// z, then maximum x, y, z. Records name each other by index into the arrays of their solid.
#ifndef SCAPI_RECORDS_H
#define SCAPI_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// One triangle, 35 words. Side `slot` runs from corner (slot + 2) % 3 to corner `slot`.
struct T_LIST {
    float corners[3][3];    ///< in the winding of the mesh, at rest
    float normal[3];        ///< unit, by the winding, zero on a degenerate triangle; the file's on
                            ///< a simple solid from a file
    std::int32_t vertex[3]; ///< into vertices, for each corner; full solids only
    std::int32_t edgeLinks; ///< filled slots of edge when the list was built
    std::int32_t edge[3];   ///< into edges, for each side, or -1 while open
    float sweepBbox[6];     ///< box of what this triangle adds to the swept surface
    std::int32_t sweepOrient; ///< -1 trailing; 1 leading or at rest; 0 along the motion
    std::int32_t mark;        ///< visited, for the inversion walk
    std::int32_t superseded;  ///< 1 once smaller triangles have taken its place in the octree
    float bbox[6];
    std::int32_t next; ///< records from here to the next of the leaf's chain, 0 at its end
};
static_assert(sizeof(T_LIST) == 140 && offsetof(T_LIST, bbox) == 112 &&
              offsetof(T_LIST, next) == 136);

/// The next triangle of an octree leaf, or null. A chain lies in one array, so a distance serves
/// where an address would make the record differ between 32 and 64 bits.
inline T_LIST* NextTriangle(T_LIST* triangle)
{
    return triangle->next ? triangle + triangle->next : nullptr;
}

/// Makes `next` follow `triangle`; null ends the chain. Both in one array.
inline void SetNextTriangle(T_LIST* triangle, T_LIST* next)
{
    triangle->next = next ? static_cast<std::int32_t>(next - triangle) : 0;
}

/// One vertex of a full solid, 10 words.
struct VertexRec {
    float position[3];     ///< at rest
    float sweepStart[3];   ///< at the start of the motion
    float sweepEnd[3];     ///< at its end; as sweepStart when the solid stands still
    std::int32_t useCount; ///< triangle corners on it
};
static_assert(sizeof(VertexRec) == 40 && offsetof(VertexRec, useCount) == 36);

/// One edge and its two triangles, 10 words.
struct EdgeRec {
    std::int32_t vertex[2];   ///< into vertices; triangle[0] runs from vertex[1] to vertex[0]
    std::int32_t triangle[2]; ///< into triangles; triangle[1] runs the other way
    std::int32_t reserved[6]; ///< zero
};
static_assert(sizeof(EdgeRec) == 40 && offsetof(EdgeRec, triangle) == 8);

struct StlReadBuffer;

/// What a solid knows of the STL file in hand. Born all zero.
struct StlStream {
    std::int32_t mode;          ///< 0 reading text, 1 reading binary, 2 writing text, 3 binary
    std::int32_t facetCount;    ///< binary reading: as the header says; text reading: 1000000000
    char path[596];             ///< as the caller gave it, swap marker included
    std::FILE* file;            ///< open only within a call
    std::int64_t fileLength;    ///< of the open file, in bytes
    std::int64_t writePosition; ///< in the file, behind the last facet
    StlReadBuffer* buffer;      ///< owned; read-ahead of the open file, null when none is read
};

#endif
