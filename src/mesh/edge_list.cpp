#include <algorithm>

#include "mesh/before_change.h"
#include "mesh/memory.h"
#include "mesh/side_index.h"
#include "mesh/triangle.h"
#include "scapi/scapi.h"

namespace
{

/// Opens all sides. Normals are computed again from the vertices, because merging corners can make
/// a triangle degenerate.
void ResetSidesAndNormals(SOLIDC& solid)
{
    for (int t = 0; t < solid.triangleCount; ++t) {
        T_LIST& triangle = solid.triangles[t];
        float corners[3][3];
        for (int slot = 0; slot < 3; ++slot)
            for (int axis = 0; axis < 3; ++axis)
                corners[slot][axis] = VertexAt(solid, triangle.vertex[slot]).position[axis];
        CalcTriangleNormal(corners[0], triangle.normal);
        triangle.edgeLinks = 0;
        for (int& edge : triangle.edge) edge = -1;
    }
}

void LinkSide(SOLIDC& solid, int triangle, int slot)
{
    solid.triangles[triangle].edge[slot] = solid.edgeCount;
    ++solid.triangles[triangle].edgeLinks;
}

/// Appends the edge between a side of triangle `a` and its partner.
/// @param partner  3 * triangle + slot
void PairSides(SOLIDC& solid, SideIndex& index, int a, int slot, int partner)
{
    const T_LIST& triangle = solid.triangles[a];
    EdgeRec& edge = solid.edges[solid.edgeCount];
    edge.vertex[0] = triangle.vertex[slot];
    edge.vertex[1] = triangle.vertex[PreviousSlot(slot)];
    edge.triangle[0] = a;
    edge.triangle[1] = partner / 3;
    LinkSide(solid, a, slot);
    LinkSide(solid, partner / 3, partner % 3);
    CloseSide(index, 3 * a + slot);
    CloseSide(index, partner);
    ++solid.edgeCount;
}

/// Pairs the open sides of triangle `a`. @return false when a side has no partner
bool PairTriangle(SOLIDC& solid, SideIndex& index, int a)
{
    bool closed = true;
    for (int slot = 0; slot < 3; ++slot) {
        const T_LIST& triangle = solid.triangles[a];
        if (triangle.edge[slot] != -1) continue;
        const int partner =
            FindSide(index, triangle.vertex[slot], triangle.vertex[PreviousSlot(slot)], a);
        if (partner >= 0)
            PairSides(solid, index, a, slot, partner);
        else
            closed = false;
    }
    return closed;
}

/// Prefetches the index entries for triangles ahead of `a`: a bucket names the entry, so it has to
/// arrive first.
void PrefetchTriangle(const SOLIDC& solid, const SideIndex& index, int a)
{
    constexpr int kBucketsAhead = 16, kSidesAhead = 8;
    const int* bucketVertex =
        solid.triangles[std::min(a + kBucketsAhead, solid.triangleCount - 1)].vertex;
    const int* sideVertex =
        solid.triangles[std::min(a + kSidesAhead, solid.triangleCount - 1)].vertex;
    for (int slot = 0; slot < 3; ++slot) {
        PrefetchBucket(index, bucketVertex[slot], bucketVertex[PreviousSlot(slot)]);
        PrefetchSide(index, sideVertex[slot], sideVertex[PreviousSlot(slot)]);
    }
}

} // namespace

int SOLIDC::SC_BuildEdgesList(void)
{
    if (isSimple) return SCAPI_SIMPLE_SOLID;
    if (edges) return 0;
    ReleaseQueryTrees(*this);
    edgeCapacity = ListCapacity(3 * std::int64_t{triangleCount});
    edges = Allocate<EdgeRec>(edgeCapacity);
    ResetSidesAndNormals(*this);
    edgeCount = 0;
    SideIndex index = MakeSideIndex(*this);
    // Lists built once (docs/behaviour.md): a side without a partner ends the build after the other
    // sides of its triangle, and the partial list stays.
    for (int a = 0; a < triangleCount; ++a) {
        PrefetchTriangle(*this, index, a);
        if (!PairTriangle(*this, index, a)) return SCAPI_OPEN_SIDE;
    }
    return 0;
}
