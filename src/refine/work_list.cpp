#include "refine/work_list.h"

#include <algorithm>

#include "mesh/triangle.h"
#include "refine/flip.h"

namespace
{

bool IsStray(const SOLIDC& solid, int e, int triangle)
{
    const int *named = solid.edges[e].triangle, *side = solid.triangles[triangle].edge;
    return (named[0] == triangle || named[1] == triangle) && side[0] != e && side[1] != e &&
           side[2] != e;
}

void NoteIfStray(WorkList& work, const SOLIDC& solid, int e)
{
    for (const int triangle : solid.edges[e].triangle) {
        if (!IsStray(solid, e, triangle)) continue;
        const auto [first, last] = work.strays.equal_range(triangle);
        if (std::none_of(first, last, [&](const auto& stray) { return stray.second == e; }))
            work.strays.emplace(triangle, e);
    }
}

void QueueStrays(WorkList& work, const SOLIDC& solid, int triangle)
{
    auto [stray, last] = work.strays.equal_range(triangle);
    while (stray != last) {
        const bool isStray = IsStray(solid, stray->second, triangle);
        if (isStray) work.toFlip.Insert(stray->second);
        stray = isStray ? std::next(stray) : work.strays.erase(stray);
    }
}

/// All edges that name a changed triangle. Those that it has on a side now had it before or are
/// new; of those that it has lost some may go on naming it.
void QueueEdges(WorkList& work, const SOLIDC& solid, const Neighbourhood& before, int firstNew)
{
    NoteIfStray(work, solid, before.edge);
    work.toFlip.Insert(before.edge);
    for (std::size_t i = 0; i < 2; ++i)
        for (const int e : before.side[i]) {
            if (!InRange(e, solid.edgeCount)) continue;
            work.toFlip.Insert(e);
            if (IsStray(solid, e, before.triangle[i])) NoteIfStray(work, solid, e);
        }
    for (int e = firstNew; e < solid.edgeCount; ++e) {
        work.toFlip.Insert(e);
        NoteIfStray(work, solid, e);
    }
    if (!work.strays.empty())
        for (const int triangle : before.triangle) QueueStrays(work, solid, triangle);
}

/// Queues what waited for a vertex that has just gained a corner.
void Wake(WorkList& work, const SOLIDC& solid, int vertex)
{
    if (work.waiting.empty() || !CanLoseTriangle(solid.vertices[vertex])) return;
    const auto [first, last] = work.waiting.equal_range(vertex);
    std::for_each(first, last, [&](const auto& waiter) { work.toFlip.Insert(waiter.second); });
    work.waiting.erase(first, last);
}

} // namespace

WorkList MakeWorkList(const SOLIDC& solid)
{
    WorkList work;
    work.toBreak.Cover(solid.edgeCount);
    work.toFlip.Cover(solid.edgeCount);
    for (int e = 0; e < solid.edgeCount; ++e) work.toFlip.Insert(e);
    for (int e = 0; e < solid.edgeCount; ++e) NoteIfStray(work, solid, e);
    return work;
}

Neighbourhood ReadNeighbourhood(const SOLIDC& solid, int e)
{
    const int* t = solid.edges[e].triangle;
    const int *a = solid.triangles[t[0]].edge, *b = solid.triangles[t[1]].edge;
    return {e, {t[0], t[1]}, {{{a[0], a[1], a[2]}, {b[0], b[1], b[2]}}}};
}

void NoteFlip(WorkList& work, const SOLIDC& solid, const Neighbourhood& before)
{
    QueueEdges(work, solid, before, solid.edgeCount);
    for (const int v : solid.edges[before.edge].vertex) Wake(work, solid, v);
}

void NoteBreak(WorkList& work, const SOLIDC& solid, const Neighbourhood& before)
{
    const int firstNew = solid.edgeCount - 3;
    QueueEdges(work, solid, before, firstNew);
    // The opposite vertices X and Y gained a corner each; the last vertex is new.
    for (const int v : {solid.edges[firstNew].vertex[0], solid.edges[firstNew + 1].vertex[1],
                        solid.vertexCount - 1})
        Wake(work, solid, v);
}
