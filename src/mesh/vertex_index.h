// Finds the vertex that a search through the whole list from 0 upward would find first: the one of
// lowest index strictly nearer than the tolerance. Two tables serve:
//
// - Known corners. A corner with the same bits as an earlier one gets the same answer, because
//   vertices added since have higher indices.
// - A grid of cells eight tolerances wide, hashed. What is nearer than the tolerance lies in the
//   corner's own cell or, across a near face, in the next one. Vertices keep a tolerance between
//   them, so a cell holds some hundreds at the worst, however hostile the mesh.
//
// Where the tolerance is 0, NaN or lost against a corner that is not finite, nothing merges.
#ifndef SCAPI_MESH_VERTEX_INDEX_H
#define SCAPI_MESH_VERTEX_INDEX_H

#include <cstdint>

#include "mesh/memory.h"
#include "scapi/records.h"

struct KnownCorner {
    std::uint32_t bits[3];
    std::int32_t vertex; ///< index + 1, 0 in a free entry
};

struct VertexIndex {
    double tolerance;
    double squaredTolerance;
    double cell; ///< edge of a grid cell
    std::size_t knownMask;
    std::size_t knownCount;
    Scratch<KnownCorner> known;
    std::size_t bucketMask;
    Scratch<std::int32_t> bucket;    ///< by hash of the cell: vertex index + 1, 0 when empty
    Scratch<std::int32_t> following; ///< by vertex: the next of its bucket, index + 1
};

/// An empty index for at most `corners` corners.
VertexIndex MakeVertexIndex(float tolerance, std::int64_t corners);

/// @param vertices  all those added to the index so far
/// @return the vertex of a corner, or -1 when none is near enough
int FindVertex(VertexIndex& index, const VertexRec* vertices, const float* corner);

/// Prepares for a FindVertex some corners ahead.
void ExpectCorner(const VertexIndex& index, const float* corner);

/// Enters a vertex that FindVertex has just missed.
void AddVertex(VertexIndex& index, int vertex, const float* corner);

#endif
