// Finds the side that a search through all triangles from 0 upward would find first: the open one
// of lowest triangle and slot that runs given vertices in a given direction. Sides hang in hashed
// chains in that order; closed ones are unlinked when a search meets them, and none reopens.
#ifndef SCAPI_MESH_SIDE_INDEX_H
#define SCAPI_MESH_SIDE_INDEX_H

#include "mesh/memory.h"
#include "scapi/solid.h"

struct Side {
    std::int32_t from; ///< vertex, or -1 once closed
    std::int32_t to;
    std::int32_t following; ///< side + 1, 0 at the end of the chain
};

struct SideIndex {
    std::size_t mask;
    Scratch<std::int32_t> bucket; ///< side + 1, 0 when empty
    Scratch<Side> side;           ///< 3 * triangle + slot
};

/// All sides of a solid whose triangles name their vertices; all open.
SideIndex MakeSideIndex(const SOLIDC& solid);

/// The first open side from vertex `from` to vertex `to` that is not of triangle `except`, or -1.
int FindSide(SideIndex& index, int from, int to, int except);

/// Prepare for a FindSide: the first far ahead, the second half as far.
void ExpectBucket(const SideIndex& index, int from, int to);
void ExpectSide(const SideIndex& index, int from, int to);

void CloseSide(SideIndex& index, int side);

#endif
