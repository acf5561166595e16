// Do two solids interfere? The edges of the second, as placed or moved, are the probes; the
// triangles of the first, at rest, are the targets.
#include <cstring>

#include "exact/edge_buffer.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "scapi/solid.h"

namespace
{

/// Calls `hit` on each edge of a solid whose box meets `box`, until a result is not 0.
/// @return the last result, or 0
template <class Hit>
int WalkEdges(SOLIDC* solid, float* box, Hit hit)
{
    EdgeBuffer buffer;
    const int limit = solid->triangleCount * 10;
    int cursor = 0;
    while ((cursor = solid->SC_GetSweepEdgesInBbox(cursor, limit, buffer.edge, box)) >= 0)
        if (const int result = hit(buffer.edge)) return result;
    return 0;
}

/// The reversed index (docs/behaviour.md): minus the index of a triangle, so that the caller walks
/// the first triangle only and ends at once on all others.
int ReversedIndex(const SOLIDC& solid, const T_LIST* triangle)
{
    const auto bytes = reinterpret_cast<std::intptr_t>(solid.triangles) -
                       reinterpret_cast<std::intptr_t>(triangle);
    return static_cast<int>(bytes / static_cast<std::intptr_t>(sizeof(T_LIST)));
}

} // namespace

int SOLIDC::SC_DetectIntersection(SOLIDC* other) { return IntersectWithEdgesFrom(other); }

int SOLIDC::IntersectWithEdgesFrom(SOLIDC* other)
{
    if (isSwept) {
        // The swept first solid (docs/behaviour.md) is tested at rest and without its octree.
        for (int t = 0; t < triangleCount; ++t)
            if (const int result = Triangle_to_SolidBTriangles(&triangles[t], other)) return result;
        return 0;
    }
    if (!octree || !octree->OC_testBox(other->sweepBbox)) return 0;
    return WalkEdges(other, octree->root->bbox,
                     [this](float(*edge)[3]) { return octree->OC_Intersection_Edge(edge); });
}

int SOLIDC::Triangle_to_SolidBTriangles(T_LIST* triangle, SOLIDC* solid)
{
    float box[6];
    CalcTriangleBbox(triangle->corners, box);
    if (!solid->isSwept) return solid->octree ? solid->octree->OC_GetTriangles(box, solid, 1) : 0;
    CrossingState state;
    return WalkEdges(solid, box, [&](float(*edge)[3]) {
        return EdgeCrossesTriangle(edge, triangle->corners, state);
    });
}

int SOLIDC::Triangle_to_SolidBEdges(T_LIST* triangle, SOLIDC* solid)
{
    float box[6];
    std::memcpy(box, triangle->bbox, sizeof box);
    EdgeBuffer buffer;
    CrossingState state;
    // Unsigned, because with a triangle of another solid the product can overflow.
    const unsigned start = 10u * static_cast<unsigned>(ReversedIndex(*this, triangle));
    int cursor = static_cast<int>(start);
    const int limit = static_cast<int>(start + 10u);
    for (;;) {
        cursor = solid->SC_GetSweepEdgesInBbox(cursor, limit, buffer.edge, box);
        if (cursor < 0 || cursor >= limit) return 0;
        if (EdgeCrossesTriangle(buffer.edge, triangle->corners, state)) return 1;
    }
}
