// Two generators over the swept surface. The caller's cursor, triangle index * 10 + step, is their
// whole state.
//
// Steps of the edge walk: 0 to 2 the triangle's edges, 3 to 11 diagonal, sweep line and rim of the
// wall on each edge. The cursor has room for steps up to 9 only: a hit at step 9, 10 or 11 carries
// into the next triangle and swallows the rest of this one, or the first steps of that one. That is
// how the walk is, and callers see it.
//
// Steps of the triangle walk: 0 the triangle, 1 to 6 the halves of its walls.
#include <algorithm>

#include "geometry/bbox.h"
#include "mesh/triangle.h"
#include "scapi/solid.h"

namespace
{

constexpr int kStepsPerTriangle = 10;
constexpr int kTriangleEdges = 3;
constexpr int kEdgeSteps = 12;
constexpr int kLastWallStep = 6;

struct WalkPosition {
    int index, step, last;
};

/// A limit behind the last triangle ends the walk there.
WalkPosition ReadCursor(const SOLIDC& solid, int cursor, int limit)
{
    return {cursor / kStepsPerTriangle, cursor % kStepsPerTriangle,
            std::min(limit / kStepsPerTriangle, solid.triangleCount)};
}

/// The step is held against the number of edges, odd as it looks: a solid without edges ends here,
/// and on one with fewer than ten a walk can end early.
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
        } else if (!IsTrailing(triangles[at.index]) || at.step > kLastWallStep) {
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
