#include "query/probe_edges.h"

#include <cmath>
#include <cstring>
#include <initializer_list>

#include "geometry/bbox.h"
#include "geometry/matrix.h"
#include "mesh/orientation.h"
#include "mesh/triangle.h"

namespace
{

int OrientOf(const SOLIDC& solid, int triangle)
{
    return solid.isSwept ? SweepOrientOf(solid.triangles[triangle].normal, solid.sweepDirection)
                         : 1;
}

/// A vertex at the start of the motion, or at its end.
void Place(const SOLIDC& solid, int vertex, bool atStart, float* out)
{
    // Without a motion both ends are the start.
    const auto* matrix = atStart || !solid.isSwept ? solid.sweepStart : solid.sweepEnd;
    TransformPoint(out, matrix, solid.vertices[vertex].position);
}

/// A triangle as the walk comes to it, with what the walk asks about it at every step.
struct WalkTriangle {
    const SOLIDC& solid;
    const float* box;
    int index;
    bool trailing;
    bool hasSweptQuad[3]; ///< in each slot, whether its edge is a silhouette edge of the motion
    bool passes;          ///< whether its sweepBbox meets the box of the walk

    const EdgeRec* EdgeIn(int slot) const
    {
        const int e = solid.triangles[index].edge[slot];
        return InRange(e, solid.edgeCount) ? &solid.edges[e] : nullptr;
    }
};

/// The sweepBbox that SC_CalcSweepTrianglesBbox would store.
void SweptBox(const WalkTriangle& walked, float* box)
{
    const T_LIST& triangle = walked.solid.triangles[walked.index];
    float point[3];
    ClearBbox(box);
    for (const int vertex : triangle.vertex) {
        Place(walked.solid, vertex, walked.trailing, point);
        ExtendBbox(box, point);
    }
    for (int slot = 0; walked.trailing && slot < 3; ++slot)
        if (walked.hasSweptQuad[slot])
            for (const int vertex : walked.EdgeIn(slot)->vertex)
                for (const bool atStart : {true, false}) {
                    Place(walked.solid, vertex, atStart, point);
                    ExtendBbox(box, point);
                }
}

/// Fills in what depends on normals alone.
WalkTriangle FacingTriangle(const SOLIDC& solid, int index, const float* box)
{
    WalkTriangle walked{solid, box, index, OrientOf(solid, index) == -1, {}, false};
    for (int slot = 0; walked.trailing && slot < 3; ++slot) {
        const EdgeRec* edge = walked.EdgeIn(slot);
        walked.hasSweptQuad[slot] = edge && OrientOf(solid, AcrossEdge(*edge, index)) != -1;
    }
    return walked;
}

bool Passes(const WalkTriangle& walked)
{
    float sweptBox[6];
    SweptBox(walked, sweptBox);
    return BboxesMeet(walked.box, sweptBox, walked.solid.tolerance);
}

WalkTriangle MakeWalkTriangle(const SOLIDC& solid, int index, const float* box)
{
    WalkTriangle walked = FacingTriangle(solid, index, box);
    walked.passes = Passes(walked);
    return walked;
}

/// Takes an edge between two placed vertices if its box meets that of the walk.
bool TakeEdge(const WalkTriangle& walked, int a, bool aAtStart, int b, bool bAtStart,
              PlacedEdge& out)
{
    Place(walked.solid, a, aAtStart, out.ends[0]);
    Place(walked.solid, b, bAtStart, out.ends[1]);
    CalcEdgeBbox(out.ends, out.box);
    return BboxesMeet(out.box, walked.box, walked.solid.tolerance);
}

/// As GetTriangleEdge, for an own edge between vertices that are not the triangle's.
bool TakeForeignEdge(const WalkTriangle& walked, int slot, PlacedEdge& out)
{
    const EdgeRec& edge = *walked.EdgeIn(slot);
    return walked.passes &&
           TakeEdge(walked, edge.vertex[0], walked.trailing, edge.vertex[1], walked.trailing, out);
}

/// As GetSweptEdge.
bool TakeSweptQuadEdge(const WalkTriangle& walked, int piece, PlacedEdge& out)
{
    if (!walked.hasSweptQuad[piece / 3]) return false;
    const EdgeRec& edge = *walked.EdgeIn(piece / 3);
    const int va = edge.vertex[0], vb = edge.vertex[1];
    switch (piece % 3) {
    case 0:
        return TakeEdge(walked, va, false, vb, true, out);
    case 1:
        return TakeEdge(walked, va, false, va, true, out);
    default: {
        const bool atStart = walked.index <= AcrossEdge(edge, walked.index);
        return TakeEdge(walked, va, atStart, vb, atStart, out);
    }
    }
}

/// The step at which the walk enters the triangle after this one: 1 or 2 where an edge given at
/// step 10 or 11 of this one makes it skip (see "Step carry" in docs/behaviour.md).
int StepAfter(const WalkTriangle& walked)
{
    PlacedEdge unused;
    if (!walked.passes || !walked.trailing || TakeSweptQuadEdge(walked, 6, unused)) return 0;
    if (TakeSweptQuadEdge(walked, 7, unused)) return 1;
    return TakeSweptQuadEdge(walked, 8, unused) ? 2 : 0;
}

/// The step at which the walk enters a triangle.
int FirstStep(const SOLIDC& solid, int index, const float* box)
{
    if (!solid.isSwept || index == 0 || OrientOf(solid, index - 1) != -1) return 0;
    return StepAfter(MakeWalkTriangle(solid, index - 1, box));
}

bool IsFinite(const float (*m)[4])
{
    for (int i = 0; i < 16; ++i)
        if (!std::isfinite(m[i / 4][i % 4])) return false;
    return true;
}

/// Whether two matrices differ in their translation alone.
bool DifferByTranslation(const float (*a)[4], const float (*b)[4])
{
    for (int i = 0; i < 9; ++i)
        if (a[i / 3][i % 3] != b[i / 3][i % 3]) return false;
    return true;
}

} // namespace

bool IsPlainMotion(const SOLIDC& solid)
{
    return IsFinite(solid.sweepStart) && IsAffine(solid.sweepStart) && IsFinite(solid.sweepEnd) &&
           IsAffine(solid.sweepEnd) && DifferByTranslation(solid.sweepStart, solid.sweepEnd);
}

void CollectOwnEdges(const SOLIDC& solid, const Probe& probe, bool trailing, const float* box,
                     PlacedEdges& edges)
{
    edges.count = 0;
    const bool trails = solid.isSwept && SweepOrientOf(probe.normal, solid.sweepDirection) == -1;
    if (trails != trailing) return;
    const auto* matrix = trails || !solid.isSwept ? solid.sweepStart : solid.sweepEnd;
    float placed[3][3];
    for (int slot = 0; slot < 3; ++slot) TransformPoint(placed[slot], matrix, probe.corner[slot]);
    for (int step = FirstStep(solid, probe.index, box); step < 3; ++step) {
        PlacedEdge& edge = edges.edge[edges.count];
        const Probe::Side side = probe.side[step];
        if (side == Probe::kNotOwn) continue;
        if (side == Probe::kForeign) {
            edges.count += TakeForeignEdge(MakeWalkTriangle(solid, probe.index, box), step, edge);
            continue;
        }
        const int before = PreviousSlot(step);
        std::memcpy(edge.ends[0], placed[side == Probe::kBackward ? step : before], 12);
        std::memcpy(edge.ends[1], placed[side == Probe::kBackward ? before : step], 12);
        CalcEdgeBbox(edge.ends, edge.box);
        // An edge that meets the box by itself is in the sweepBbox of its triangle, and both tests
        // of the walk, which are wider, let it through; others hit nothing.
        if (BboxesMeet(edge.box, box, 0)) ++edges.count;
    }
}

void CollectSweptQuadEdges(const SOLIDC& solid, const Probe& probe, const float* box,
                           PlacedEdges& edges)
{
    edges.count = 0;
    if (SweepOrientOf(probe.normal, solid.sweepDirection) != -1) return;
    const WalkTriangle walked = FacingTriangle(solid, probe.index, box);
    const bool* quads = walked.hasSweptQuad;
    if (!(quads[0] || quads[1] || quads[2]) || !Passes(walked)) return;
    for (int piece = 0; piece < 9; ++piece)
        if (TakeSweptQuadEdge(walked, piece, edges.edge[edges.count])) {
            ++edges.count;
            // An edge given at step 9 or later makes the walk go on with the next triangle.
            if (piece >= 6) return;
        }
}
