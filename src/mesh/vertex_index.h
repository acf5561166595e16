// Finds the vertex of lowest index strictly closer to a corner than the tolerance: what a linear
// search from vertex 0 finds. Two hash tables replace that search:
//
// - Known corners, by their bits. A corner equal to an earlier one has the same vertex, because
//   vertices added since have higher indices.
// - A grid of cells eight tolerances wide. A vertex closer than the tolerance lies in the corner's
//   cell or, near a face of it, in the neighbouring one. Vertices are at least a tolerance apart,
//   so a cell holds about a thousand at most, whatever the mesh.
//
// With a tolerance of 0 or NaN, or at a corner that is not finite, nothing merges.
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
    double cell; ///< width of a grid cell
    std::size_t knownMask;
    std::size_t knownCount;
    Scratch<KnownCorner> known;
    std::size_t bucketMask;
    Scratch<std::int32_t> bucket; ///< by hash of the cell: vertex index + 1, 0 when empty
    Scratch<std::int32_t> next; ///< by vertex: the next one of its bucket, index + 1, 0 at the end
};

/// @return an empty index, for at most `corners` vertices
VertexIndex MakeVertexIndex(float tolerance, std::int64_t corners);

/// @param vertices  all those added to the index so far
/// @return the vertex to merge a corner into, or -1
int FindVertex(VertexIndex& index, const VertexRec* vertices, const float* corner);

/// Prefetch for a FindVertex of this corner.
void PrefetchCorner(const VertexIndex& index, const float* corner);

/// Adds a new vertex. @pre FindVertex has just returned -1 for its corner
void AddVertex(VertexIndex& index, int vertex, const float* corner);

#endif
