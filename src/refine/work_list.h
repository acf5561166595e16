// Which edges the next pass of refinement has to judge. A judgement reads few records, so it holds
// until one of them changes; a break and a flip tell here what they changed. Passes read the lists
// in ascending order while they grow, and so come to each edge when a pass over all edges would.
#ifndef SCAPI_REFINE_WORK_LIST_H
#define SCAPI_REFINE_WORK_LIST_H

#include <array>
#include <unordered_map>

#include "refine/index_set.h"
#include "scapi/solid.h"

struct WorkList {
    IndexSet toBreak; ///< edges above the limit: those that the next pass breaks
    IndexSet toFlip;  ///< edges whose judgement reads something that changed since it was made
    /// By vertex: edges that only its use count kept from a flip. May hold what is out of date.
    std::unordered_multimap<int, int> waiting;
    /// By triangle: edges that name it although none of its sides names them. Sound meshes have
    /// none; a damaged file can bring some, and a triangle that lies on both sides of an edge may
    /// leave some when the edge is broken.
    std::unordered_multimap<int, int> strays;
};

/// An edge, its triangles and their sides, as they are before a break or a flip.
struct Neighbourhood {
    int edge;
    std::array<int, 2> triangle;
    std::array<std::array<int, 3>, 2> side; ///< of each triangle; -1 while open
};

/// With all edges of a solid in toFlip.
WorkList MakeWorkList(const SOLIDC& solid);

Neighbourhood ReadNeighbourhood(const SOLIDC& solid, int e);

/// After a flip or a break of the edge of `before`: puts into toFlip every edge whose judgement
/// reads what has changed.
/// @pre  the sets cover edgeCount
void NoteFlip(WorkList& work, const SOLIDC& solid, const Neighbourhood& before);
void NoteBreak(WorkList& work, const SOLIDC& solid, const Neighbourhood& before);

#endif
