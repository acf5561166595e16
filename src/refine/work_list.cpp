#include "refine/work_list.h"

#include <algorithm>

#include "mesh/triangle.h"
#include "refine/flip.h"

namespace
{

bool HasSide(const T_LIST& triangle, int e)
{
    return triangle.edge[0] == e || triangle.edge[1] == e || triangle.edge[2] == e;
}

void NoteIfStray(WorkList& work, const SOLIDC& solid, int e, int triangle)
{
    if (!HasSide(solid.triangles[triangle], e)) work.strays.emplace(triangle, e);
}

/// The sides of a changed triangle, before and after the change, are among `edges`; so are the
/// edges that name it, but for the strays.
template <std::size_t count>
void QueueEdges(WorkList& work, const SOLIDC& solid, const std::array<int, count>& edges,
                const Neighbourhood& before, int firstNewTriangle)
{
    const auto hasChanged = [&](int triangle) {
        return triangle == before.triangle[0] || triangle == before.triangle[1] ||
               triangle >= firstNewTriangle;
    };
    for (const int e : edges) {
        if (!InRange(e, solid.edgeCount)) continue;
        work.toFlip.Insert(e);
        for (const int triangle : solid.edges[e].triangle)
            if (hasChanged(triangle)) NoteIfStray(work, solid, e, triangle);
    }
    if (work.strays.empty()) return;
    for (const int triangle : before.triangle) {
        const auto [first, last] = work.strays.equal_range(triangle);
        std::for_each(first, last, [&](const auto& stray) { work.toFlip.Insert(stray.second); });
    }
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
    for (IndexSet* set : {&work.toBreak, &work.toFlip}) {
        set->Cover(solid.edgeCapacity);
        for (int e = 0; e < solid.edgeCount; ++e) set->Insert(e);
    }
    for (int e = 0; e < solid.edgeCount; ++e)
        for (const int triangle : solid.edges[e].triangle) NoteIfStray(work, solid, e, triangle);
    return work;
}

Neighbourhood ReadNeighbourhood(const SOLIDC& solid, int e)
{
    const int *t = solid.edges[e].triangle, *a = solid.triangles[t[0]].edge,
              *b = solid.triangles[t[1]].edge;
    return {{t[0], t[1]}, {e, a[0], a[1], a[2], b[0], b[1], b[2]}};
}

void NoteFlip(WorkList& work, const SOLIDC& solid, const Neighbourhood& before)
{
    const EdgeRec& edge = solid.edges[before.edge[0]];
    work.toBreak.Insert(before.edge[0]);
    QueueEdges(work, solid, before.edge, before, solid.triangleCount);
    for (const int v : edge.vertex) Wake(work, solid, v);
}

void NoteBreak(WorkList& work, const SOLIDC& solid, const Neighbourhood& before)
{
    const int firstNew = solid.edgeCount - 3;
    const std::array<int, 4> shorter{before.edge[0], firstNew, firstNew + 1, firstNew + 2};
    for (const int e : shorter) work.toBreak.Insert(e);
    QueueEdges(work, solid, before.edge, before, solid.triangleCount - 2);
    QueueEdges(work, solid, shorter, before, solid.triangleCount - 2);
    // The opposite vertices X and Y gained a corner each; the last vertex is new.
    for (const int v : {solid.edges[firstNew].vertex[0], solid.edges[firstNew + 1].vertex[1],
                        solid.vertexCount - 1})
        Wake(work, solid, v);
}
