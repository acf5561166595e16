// Refinement of a full solid: edges are split until each fits the limit, so that every triangle
// does; the mesh stays closed.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "geometry/bbox.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "refine/growth.h"
#include "refine/size_ratio.h"
#include "scapi/solid.h"

namespace
{

// What one broken edge adds.
constexpr int kNewTriangles = 2, kNewEdges = 3, kNewVertices = 1;

template <class Record>
void Move(Record*& array, Record* grown, int count)
{
    if (count) std::memcpy(static_cast<void*>(grown), array, sizeof(Record) * std::size_t(count));
    ReleaseRecords(array);
    array = grown;
}

void MakeRoom(SOLIDC& solid)
{
    const auto grows = [](int& capacity, int count, int added) {
        const int before = capacity;
        return (capacity = GrownCapacity(capacity, count, added)) != before;
    };
    if (grows(solid.triangleCapacity, solid.triangleCount, kNewTriangles)) {
        // A tree that stands already would point into the old array.
        solid.Release_Octree();
        Move(solid.triangles, AllocateTriangles(solid.triangleCapacity), solid.triangleCount);
    }
    if (grows(solid.edgeCapacity, solid.edgeCount, kNewEdges))
        Move(solid.edges, Allocate<EdgeRec>(solid.edgeCapacity), solid.edgeCount);
    if (grows(solid.vertexCapacity, solid.vertexCount, kNewVertices))
        Move(solid.vertices, Allocate<VertexRec>(solid.vertexCapacity), solid.vertexCount);
}

Cut DecideEdge(const SOLIDC& solid, int edgeIndex, const SizeLimit& limit)
{
    const EdgeRec& edge = solid.edges[edgeIndex];
    float ends[2][3], box[6];
    for (int end = 0; end < 2; ++end)
        std::memcpy(ends[end], solid.vertices[edge.vertex[end]].position, sizeof ends[end]);
    CalcEdgeBbox(ends, box);
    return DecideCut(limit, box);
}

/// One pass over the edges that exist when it begins; what it adds waits for the next, when flips
/// have had their chance. @return the largest ratio of an edge that was broken, 0 when none was
float SubdivisionPass(SOLIDC& solid, const SizeLimit& limit)
{
    float largest = 0;
    const int bound = solid.edgeCount;
    for (int e = 0; e < bound; ++e) {
        MakeRoom(solid);
        const Cut cut = DecideEdge(solid, e, limit);
        if (cut.pieces && solid.BreakEdge(e, cut.pieces)) largest = std::max(largest, cut.ratio);
    }
    return largest;
}

/// Whether refinement still leads anywhere. A triangle that merging left with two corners on one
/// vertex is beyond what breaking can handle: its pieces bring back the edge that they came from,
/// pass for pass, for ever. In a mesh without such triangles the largest edge shrinks: each pass
/// takes half a limit or more from every edge above the limit, and a new edge is no longer than the
/// sides that it runs between. It can keep its size only while one of those is still being cut,
/// which takes two passes for each limit in its length. Four times as many without a new least
/// maximum, and some more, are a loop.
struct Progress {
    float least = HUGE_VALF;
    int idlePasses = 0;
    int mostIdlePasses = 0;

    bool GoesOn(float largest)
    {
        if (largest == 0) return false;
        if (mostIdlePasses == 0)
            mostIdlePasses = ClampToInt(8.0 * double(largest) + 64, 0, INT_MAX);
        if (largest < least) {
            least = largest;
            idlePasses = 0;
        }
        return idlePasses++ < mostIdlePasses;
    }
};

/// Breaks and flips move indices only.
void RefreshCorners(SOLIDC& solid)
{
    for (int t = 0; t < solid.triangleCount; ++t) {
        T_LIST& triangle = solid.triangles[t];
        for (int slot = 0; slot < 3; ++slot)
            std::memcpy(triangle.corners[slot], VertexAt(solid, triangle.vertex[slot]).position,
                        sizeof triangle.corners[slot]);
        TriangleBbox(triangle.corners, triangle.bbox);
    }
}

} // namespace

int SOLIDC::SubdivideEdges(float* const limit)
{
    const SizeLimit sizeLimit = MakeSizeLimit(*this, limit);
    Progress progress;
    do Simplify2Triangles();
    while (progress.GoesOn(SubdivisionPass(*this, sizeLimit)));
    baseTriangleCount = triangleCount;
    RefreshCorners(*this);
    return triangleCount;
}

int SOLIDC::SubdivideEdge(int edgeIndex, float* const limit)
{
    if (!InRange(edgeIndex, edgeCount)) return 0;
    const Cut cut = DecideEdge(*this, edgeIndex, MakeSizeLimit(*this, limit));
    return cut.pieces ? BreakEdge(edgeIndex, cut.pieces) : 0;
}

void SOLIDC::InterpVertex(float* const out, float weightA, float* const a, float weightB,
                          float* const b)
{
    for (int axis = 0; axis < 3; ++axis)
        out[axis] = float(double(a[axis]) * weightA + double(b[axis]) * weightB);
}
