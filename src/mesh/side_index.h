// Finds the open side that runs two given vertices in a given direction, and of several the one of
// lowest triangle and slot: what a linear search from triangle 0 finds. On a non-manifold edge that
// order decides which sides are paired. Chains of the hash table keep it; closed sides are unlinked
// when a search meets them, and no side opens again.
#ifndef SCAPI_MESH_SIDE_INDEX_H
#define SCAPI_MESH_SIDE_INDEX_H

#include "mesh/memory.h"
#include "scapi/solid.h"

struct Side {
    std::int32_t from; ///< vertex, or -1 once closed
    std::int32_t to;
    std::int32_t next; ///< of the chain: side + 1, 0 at its end
};

struct SideIndex {
    std::size_t mask;             ///< number of buckets - 1
    Scratch<std::int32_t> bucket; ///< by hash: first side of the chain + 1, 0 when empty
    Scratch<Side> side;           ///< by 3 * triangle + slot
};

/// An index of all sides of a solid, all open.
/// @pre  vertex of each triangle is set
SideIndex MakeSideIndex(const SOLIDC& solid);

/// The first open side from vertex `from` to vertex `to` that is not a side of triangle `except`.
/// @return 3 * triangle + slot, or -1
int FindSide(SideIndex& index, int from, int to, int except);

/// Prefetch for a FindSide: first the bucket, then, once that has arrived, the head of its chain.
void PrefetchBucket(const SideIndex& index, int from, int to);
void PrefetchSide(const SideIndex& index, int from, int to);

/// @param side  3 * triangle + slot
void CloseSide(SideIndex& index, int side);

#endif
