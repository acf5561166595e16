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
#include "refine/read_ahead.h"
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
void Grow(Record*& array, std::int32_t& capacity, int grown, int count, std::size_t spare)
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

struct Refinement {
    SOLIDC& solid;
    const SizeLimit limit;
    WorkList work;
    RefinementSteps steps;
};

/// To be called when the ends of an edge are new.
void JudgeSize(Refinement& r, int e)
{
    ++r.steps.breakJudgements;
    if (DecideEdge(r.solid, e, r.limit).pieces)
        r.work.toBreak.Insert(e);
    else
        r.work.toBreak.Erase(e);
}

/// The growth rule comes before each edge of a pass, whether it is broken or not. It has something
/// to do only at the first edge and at one that follows a break.
void MakeRoom(Refinement& r)
{
    MakeRoom(r.solid);
    r.work.toBreak.Cover(r.solid.edgeCapacity);
    r.work.toFlip.Cover(r.solid.edgeCapacity);
}

bool Break(Refinement& r, int e, int pieces)
{
    const Neighbourhood before = ReadNeighbourhood(r.solid, e);
    const int firstNew = r.solid.edgeCount;
    if (!r.solid.BreakEdge(e, pieces)) return false;
    ++r.steps.breaks;
    JudgeSize(r, e);
    for (int added = firstNew; added < r.solid.edgeCount; ++added) JudgeSize(r, added);
    NoteBreak(r.work, r.solid, before);
    return true;
}

/// One pass over the edges that exist when it begins; what it adds waits for the next, when flips
/// have been made. @return the largest ratio of an edge that was broken, 0 when none was
float BreakPass(Refinement& r)
{
    float largest = 0;
    const int bound = r.solid.edgeCount;
    if (bound > 0) MakeRoom(r);
    ReadAhead ahead(r.solid, r.work.toBreak);
    for (int e = r.work.toBreak.Next(0); e < bound; e = r.work.toBreak.Next(e + 1)) {
        ahead.Reach(e);
        const Cut cut = DecideEdge(r.solid, e, r.limit);
        if (!Break(r, e, cut.pieces)) continue;
        largest = std::max(largest, cut.ratio);
        if (e + 1 < bound) MakeRoom(r);
    }
    return largest;
}

/// One pass over all edges; what a flip changes behind it waits for the next.
void FlipPass(Refinement& r)
{
    ReadAhead ahead(r.solid, r.work.toFlip);
    for (int e = r.work.toFlip.Next(0); e != IndexSet::kNone; e = r.work.toFlip.Next(e + 1)) {
        ahead.Reach(e);
        r.work.toFlip.Erase(e);
        ++r.steps.flipJudgements;
        const FlipJudgement judgement = JudgeFlip(r.solid, r.solid.edges[e]);
        if (judgement.waitsFor != FlipJudgement::kNothing)
            r.work.waiting.emplace(judgement.waitsFor, e);
        if (!judgement.flips) continue;
        const Neighbourhood before = ReadNeighbourhood(r.solid, e);
        Flip(r.solid, e);
        ++r.steps.flips;
        JudgeSize(r, e);
        NoteFlip(r.work, r.solid, before);
    }
}

/// Whether refinement still leads anywhere. Passes can undo each other for ever: a triangle with a
/// lost side (docs/behaviour.md) above twice the limit always has one of its others above the
/// limit, since they are together as long, and each break moves the corner between them and adds
/// thin triangles there; and, rarely, in a sound mesh a flip brings back the edge that a break took
/// away. Elsewhere the largest edge shrinks: each pass takes half a limit or more from every edge
/// above the limit, and a new edge is no longer than the sides that it runs between. It can keep
/// its size only while one of those is still being cut, which takes two passes for each limit in
/// its length. As many without a new least maximum, and some more, are a loop.
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
    Refinement r{solid, MakeSizeLimit(solid, limit), {}, {}};
    BeforeRecordsChange(solid);
    const CornersAtLast corners{solid};
    r.work = MakeWorkList(solid);
    for (int e = 0; e < solid.edgeCount; ++e) JudgeSize(r, e);
    Progress progress;
    do FlipPass(r), ++r.steps.passes;
    while (progress.GoesOn(BreakPass(r)));
    return r.steps;
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
