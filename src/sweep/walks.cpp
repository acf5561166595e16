// Two generators over the swept surface. The caller's cursor, triangle index * 10 + step, is their
// whole state.
//
// Steps of the edge walk: 0 to 2 the triangle's edges, 3 to 11 diagonal, sweep line and rim of the
// swept quad of each edge. The step carry (docs/behaviour.md): a hit at step 9, 10 or 11 gives a
// cursor at step 0, 1 or 2 of the next triangle, which skips the remaining steps of this triangle
// and the first ones of the next.
//
// Steps of the triangle walk: 0 the triangle, 1 to 6 the halves of its swept quads.
#include <algorithm>

#include "geometry/bbox.h"
#include "mesh/triangle.h"
#include "scapi/solid.h"

namespace
{

constexpr int kStepsPerTriangle = 10;
constexpr int kTriangleEdges = 3;
constexpr int kEdgeSteps = 12;
constexpr int kLastSweptQuadStep = 6;

struct WalkPosition {
    int index, step, last;
};

/// A limit beyond the last triangle is reduced to it, so that any integer is safe.
WalkPosition ReadCursor(const SOLIDC& solid, int cursor, int limit)
{
    return {cursor / kStepsPerTriangle, cursor % kStepsPerTriangle,
            std::min(limit / kStepsPerTriangle, solid.triangleCount)};
}

/// The step guard (docs/behaviour.md) compares the step with the number of edges: a walk over a
/// solid without edges ends at once, and one over a solid with fewer than ten edges can end early.
bool IsValid(const SOLIDC& solid, const WalkPosition& at)
{
    return InRange(at.index, solid.triangleCount) &&
           (solid.isSimple || InRange(at.step, solid.edgeCount));
}

int CursorOf(const WalkPosition& at) { return at.index * kStepsPerTriangle + at.step; }

void GoToNextTriangle(WalkPosition& at)
{
    at.step = 0;
    ++at.index;
}

} // namespace

int SOLIDC::SC_GetSweepEdgesInBbox(int cursor, int limit, float (*const out)[3], float* const box)
{
    WalkPosition at = ReadCursor(*this, cursor, limit);
    if (!IsValid(*this, at)) return -1;
    bool hit = false;
    while (!hit && at.index < at.last) {
        int piece = 0;
        if (!IntersectingBboxes(box, triangles[at.index].sweepBbox)) {
            GoToNextTriangle(at);
            continue;
        }
        if (at.step < kTriangleEdges) {
            piece = GetTriangleEdge(at.index, at.step, out);
        } else if (!isSimple && at.step < kEdgeSteps && isSwept) {
            piece = GetSweptEdge(at.index, at.step - kTriangleEdges, out);
        } else {
            GoToNextTriangle(at);
            continue;
        }
        if (piece) {
            float edgeBox[6];
            CalcEdgeBbox(out, edgeBox);
            hit = IntersectingBboxes(edgeBox, box);
        }
        ++at.step;
    }
    return at.index < triangleCount ? CursorOf(at) : -1;
}

int SOLIDC::SC_GetSweepTrianglesInBbox(int cursor, int limit, float (*const out)[3],
                                       float* const box)
{
    WalkPosition at = ReadCursor(*this, cursor, limit);
    if (!IsValid(*this, at)) return -1;
    while (at.index < at.last) {
        if (box && !IntersectingBboxes(box, triangles[at.index].sweepBbox)) {
            GoToNextTriangle(at);
            continue;
        }
        bool piece = true;
        if (isSimple || at.step == 0) {
            GetTriangleVertex(at.index, out);
        } else if (!IsTrailing(triangles[at.index]) || at.step > kLastSweptQuadStep) {
            GoToNextTriangle(at);
            continue;
        } else {
            piece = GetSweptTriangle(at.index, at.step - 1, out);
        }
        const bool hit = piece && (!box || TriangleIntersectingBbox(out, box));
        if (isSimple)
            GoToNextTriangle(at);
        else
            ++at.step;
        if (hit) return CursorOf(at);
    }
    return -1;
}
