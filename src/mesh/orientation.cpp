// The orientation of triangles to a motion, and the inversion walk (docs/behaviour.md).
#include "mesh/orientation.h"

#include <cstring>

#include "geometry/vector.h"
#include "mesh/before_change.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"

namespace
{

/// The triangle that the inversion walk visits across an edge slot, or -1. The walk reads the
/// vertices of the edge as triangles.
int WalkNeighbour(const SOLIDC& solid, int triangle, int slot)
{
    const int e = solid.triangles[triangle].edge[slot];
    if (!InRange(e, solid.edgeCount)) return -1;
    const EdgeRec& edge = solid.edges[e];
    const int neighbour = edge.vertex[0] != triangle ? edge.vertex[0] : edge.vertex[1];
    return InRange(neighbour, solid.triangleCount) ? neighbour : -1;
}

/// Exchanges words 3 to 11 of the record with words 6 to 14. The blocks overlap, so the inversion
/// walk swaps corners 1 and 2 but also puts corner 2 into the normal and the normal into the
/// vertices.
void ExchangeBlocks(T_LIST& triangle)
{
    constexpr std::size_t kWord = 4, kBlock = 9 * kWord;
    auto* record = reinterpret_cast<unsigned char*>(&triangle);
    unsigned char saved[kBlock];
    std::memcpy(saved, record + 3 * kWord, kBlock);
    std::memmove(record + 3 * kWord, record + 6 * kWord, kBlock);
    std::memcpy(record + 6 * kWord, saved, kBlock);
}

} // namespace

int SweepOrientOf(const float* normal, const float* direction)
{
    const double s = dot(normal, direction);
    if (s > 1e-5) return 1;
    return s < -1e-5 ? -1 : 0;
}

int SOLIDC::SC_BuildOrientList(void)
{
    for (int t = 0; t < triangleCount; ++t)
        triangles[t].sweepOrient = isSwept ? SweepOrientOf(triangles[t].normal, sweepDirection) : 1;
    return 0;
}

int SOLIDC::InvertTreeTriangle(int)
{
    if (!triangles) return 0;
    for (int t = 0; t < triangleCount; ++t) triangles[t].mark = 0;
    // The inversion walk ignores its argument and starts from the record after the last triangle.
    // AllocateTriangles adds that record.
    for (int slot = 0; slot < 3; ++slot)
        if (const int start = WalkNeighbour(*this, triangleCount, slot); start >= 0)
            InvertSubTreeTriangle(start);
    return 0;
}

int SOLIDC::InvertSubTreeTriangle(int triangle)
{
    if (!InRange(triangle, triangleCount) || triangles[triangle].mark) return 0;
    BeforeRecordsChange(*this);
    // An explicit stack, because recursion could be as deep as the mesh has triangles. Each
    // triangle is pushed once, so triangleCount entries suffice. The order of visits does not
    // affect the result.
    auto pending = MakeScratch<int>(static_cast<std::size_t>(triangleCount));
    std::size_t count = 0;
    const auto push = [&](int t) {
        if (triangles[t].mark) return;
        triangles[t].mark = 1;
        pending[count++] = t;
    };
    push(triangle);
    while (count) {
        const int t = pending[--count];
        for (float& component : triangles[t].normal) component = -component;
        ExchangeBlocks(triangles[t]);
        for (int slot = 0; slot < 3; ++slot)
            if (const int next = WalkNeighbour(*this, t, slot); next >= 0) push(next);
    }
    return 0;
}
