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
    IndexSet toBreak; ///< edges whose ends may have changed since they were judged
    IndexSet toFlip;  ///< edges whose ends or triangles may have changed
    /// By vertex: edges that only its use count kept from a flip. May hold what is out of date.
    std::unordered_multimap<int, int> waiting;
    /// By triangle: edges that name it although none of its sides names them. Sound meshes have
    /// none; a triangle with two corners on one vertex leaves some when it is broken.
    std::unordered_multimap<int, int> strays;
};

/// An edge, its triangles and their sides, as they are before a break or a flip.
struct Neighbourhood {
    std::array<int, 2> triangle;
    std::array<int, 7> edge; ///< a side may be open, -1
};

/// All edges of a solid.
WorkList MakeWorkList(const SOLIDC& solid);

Neighbourhood ReadNeighbourhood(const SOLIDC& solid, int e);

/// After a flip or a break of the first edge of `before`: queues every edge whose judgement read
/// what has changed.
/// @pre  the sets cover edgeCount
void NoteFlip(WorkList& work, const SOLIDC& solid, const Neighbourhood& before);
void NoteBreak(WorkList& work, const SOLIDC& solid, const Neighbourhood& before);

#endif
