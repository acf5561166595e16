// Refinement of a full solid: edges are split until each fits the limit, so that every triangle
// does; the mesh stays closed.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "geometry/bbox.h"
#include "mesh/before_change.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "refine/flip.h"
#include "refine/growth.h"
#include "refine/refine_edges.h"
#include "refine/size_ratio.h"
#include "refine/work_list.h"
#include "scapi/solid.h"

namespace
{

// What one broken edge adds.
constexpr int kNewTriangles = 2, kNewEdges = 3, kNewVertices = 1;

/// Grows an array as the growth rule wants it, in place where the system can.
/// @param spare  zeroed records that are kept behind the capacity
template <class Record>
void Grow(Record*& array, std::int32_t& capacity, int grown, int count, int spare)
{
    array = static_cast<Record*>(ResizeRecords(array, static_cast<std::size_t>(count),
                                               static_cast<std::size_t>(grown) + spare,
                                               sizeof(Record)));
    // Not before: a failed allocation may unwind from here.
    capacity = grown;
}

void MakeRoom(SOLIDC& solid)
{
    const int triangles = GrownCapacity(solid.triangleCapacity, solid.triangleCount, kNewTriangles);
    if (triangles != solid.triangleCapacity) {
        // A tree that stands already would point into the old array.
        solid.Release_Octree();
        Grow(solid.triangles, solid.triangleCapacity, triangles, solid.triangleCount, 1);
    }
    const int edges = GrownCapacity(solid.edgeCapacity, solid.edgeCount, kNewEdges);
    if (edges != solid.edgeCapacity)
        Grow(solid.edges, solid.edgeCapacity, edges, solid.edgeCount, 0);
    const int vertices = GrownCapacity(solid.vertexCapacity, solid.vertexCount, kNewVertices);
    if (vertices != solid.vertexCapacity)
        Grow(solid.vertices, solid.vertexCapacity, vertices, solid.vertexCount, 0);
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
float BreakPass(SOLIDC& solid, const SizeLimit& limit, WorkList& work, RefinementSteps& steps)
{
    float largest = 0;
    const int bound = solid.edgeCount;
    const auto makeRoom = [&] {
        MakeRoom(solid);
        work.toBreak.Cover(solid.edgeCapacity);
        work.toFlip.Cover(solid.edgeCapacity);
    };
    // The growth rule comes before each edge, whether it is broken or not: where the counts have
    // not changed since, it has nothing to do.
    if (bound > 0) makeRoom();
    for (int e = work.toBreak.Next(0); e < bound; e = work.toBreak.Next(e + 1)) {
        work.toBreak.Erase(e);
        ++steps.breakJudgements;
        const Cut cut = DecideEdge(solid, e, limit);
        if (!cut.pieces) continue;
        const Neighbourhood before = ReadNeighbourhood(solid, e);
        if (!solid.BreakEdge(e, cut.pieces)) {
            work.toBreak.Insert(e);
            continue;
        }
        NoteBreak(work, solid, before);
        ++steps.breaks;
        largest = std::max(largest, cut.ratio);
        if (e + 1 < bound) makeRoom();
    }
    return largest;
}

/// One pass over all edges; what a flip changes behind it waits for the next.
void FlipPass(SOLIDC& solid, WorkList& work, RefinementSteps& steps)
{
    for (int e = work.toFlip.Next(0); e != IndexSet::kNone; e = work.toFlip.Next(e + 1)) {
        work.toFlip.Erase(e);
        ++steps.flipJudgements;
        const FlipJudgement judgement = JudgeFlip(solid, solid.edges[e]);
        if (judgement.waitsFor != FlipJudgement::kNothing)
            work.waiting.emplace(judgement.waitsFor, e);
        if (!judgement.flips) continue;
        const Neighbourhood before = ReadNeighbourhood(solid, e);
        Flip(solid, e);
        NoteFlip(work, solid, before);
        ++steps.flips;
    }
}

/// Whether refinement still leads anywhere. Passes can undo each other for ever: a triangle that
/// merging left with two corners on one vertex breaks into pieces that bring back the edge that
/// they came from; and, rarely, in a sound mesh a flip brings back the edge that a break took away.
/// Elsewhere the largest edge shrinks: each pass takes half a limit or more from every edge above
/// the limit, and a new edge is no longer than the sides that it runs between. It can keep its size
/// only while one of those is still being cut, which takes two passes for each limit in its length.
/// As many without a new least maximum, and some more, are a loop.
struct Progress {
    float least = HUGE_VALF;
    int idlePasses = 0;
    int mostIdlePasses = 0;

    bool GoesOn(float largest)
    {
        if (largest == 0) return false;
        if (mostIdlePasses == 0)
            mostIdlePasses = ClampToInt(2.0 * double(largest) + 16, 0, INT_MAX);
        if (largest < least) {
            least = largest;
            idlePasses = 0;
        }
        return idlePasses++ < mostIdlePasses;
    }
};

/// Breaks and flips move indices only. Done at the end of this object, so that the mesh is whole
/// also where a failed allocation unwinds.
struct CornersAtLast {
    SOLIDC& solid;

    ~CornersAtLast()
    {
        solid.baseTriangleCount = solid.triangleCount;
        for (int t = 0; t < solid.triangleCount; ++t) {
            T_LIST& triangle = solid.triangles[t];
            for (int slot = 0; slot < 3; ++slot)
                std::memcpy(triangle.corners[slot], VertexAt(solid, triangle.vertex[slot]).position,
                            sizeof triangle.corners[slot]);
            TriangleBbox(triangle.corners, triangle.bbox);
        }
    }
};

} // namespace

RefinementSteps RefineEdges(SOLIDC& solid, const float* limit)
{
    const SizeLimit sizeLimit = MakeSizeLimit(solid, limit);
    BeforeRecordsChange(solid);
    const CornersAtLast corners{solid};
    WorkList work = MakeWorkList(solid);
    RefinementSteps steps{};
    Progress progress;
    do FlipPass(solid, work, steps), ++steps.passes;
    while (progress.GoesOn(BreakPass(solid, sizeLimit, work, steps)));
    return steps;
}

int SOLIDC::SubdivideEdges(float* const limit)
{
    RefineEdges(*this, limit);
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
