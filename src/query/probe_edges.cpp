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

/// One triangle of the walk: the triangle, and what the walk asks again and again about it.
struct Stop {
    const SOLIDC& solid;
    const float* box;
    int index;
    bool trailing;
    bool hasWall[3]; ///< in each slot, whether a wall hangs on the edge
    bool passes;     ///< whether its sweepBbox meets the box of the walk

    const EdgeRec* EdgeIn(int slot) const
    {
        const int e = solid.triangles[index].edge[slot];
        return InRange(e, solid.edgeCount) ? &solid.edges[e] : nullptr;
    }
};

/// The sweepBbox that SC_CalcSweepTrianglesBbox would store.
void SweptBox(const Stop& stop, float* box)
{
    const T_LIST& triangle = stop.solid.triangles[stop.index];
    float point[3];
    ClearBbox(box);
    for (const int vertex : triangle.vertex) {
        Place(stop.solid, vertex, stop.trailing, point);
        ExtendBbox(box, point);
    }
    for (int slot = 0; stop.trailing && slot < 3; ++slot)
        if (stop.hasWall[slot])
            for (const int vertex : stop.EdgeIn(slot)->vertex)
                for (const bool atStart : {true, false}) {
                    Place(stop.solid, vertex, atStart, point);
                    ExtendBbox(box, point);
                }
}

/// What the normals tell of a stop.
Stop FacingStop(const SOLIDC& solid, int index, const float* box)
{
    Stop stop{solid, box, index, OrientOf(solid, index) == -1, {}, false};
    for (int slot = 0; stop.trailing && slot < 3; ++slot) {
        const EdgeRec* edge = stop.EdgeIn(slot);
        stop.hasWall[slot] = edge && OrientOf(solid, AcrossEdge(*edge, index)) != -1;
    }
    return stop;
}

bool Passes(const Stop& stop)
{
    float sweptBox[6];
    SweptBox(stop, sweptBox);
    return BboxesMeet(stop.box, sweptBox, stop.solid.tolerance);
}

Stop MakeStop(const SOLIDC& solid, int index, const float* box)
{
    Stop stop = FacingStop(solid, index, box);
    stop.passes = Passes(stop);
    return stop;
}

/// Takes an edge between two placed vertices if its box meets that of the walk.
bool TakeEdge(const Stop& stop, int a, bool aAtStart, int b, bool bAtStart, MovedEdge& out)
{
    Place(stop.solid, a, aAtStart, out.ends[0]);
    Place(stop.solid, b, bAtStart, out.ends[1]);
    CalcEdgeBbox(out.ends, out.box);
    return BboxesMeet(out.box, stop.box, stop.solid.tolerance);
}

/// As GetTriangleEdge, for an edge that is this triangle's to give and runs elsewhere.
bool TakeForeignEdge(const Stop& stop, int slot, MovedEdge& out)
{
    const EdgeRec& edge = *stop.EdgeIn(slot);
    return stop.passes &&
           TakeEdge(stop, edge.vertex[0], stop.trailing, edge.vertex[1], stop.trailing, out);
}

/// As GetSweptEdge.
bool TakeWallEdge(const Stop& stop, int piece, MovedEdge& out)
{
    if (!stop.hasWall[piece / 3]) return false;
    const EdgeRec& edge = *stop.EdgeIn(piece / 3);
    const int va = edge.vertex[0], vb = edge.vertex[1];
    switch (piece % 3) {
    case 0:
        return TakeEdge(stop, va, false, vb, true, out);
    case 1:
        return TakeEdge(stop, va, false, va, true, out);
    default: {
        const bool atStart = stop.index <= AcrossEdge(edge, stop.index);
        return TakeEdge(stop, va, atStart, vb, atStart, out);
    }
    }
}

/// The step at which the walk enters the triangle after this one: 1 or 2 when a hit at step 10 or
/// 11 of this one has carried over.
int StepAfter(const Stop& stop)
{
    MovedEdge unused;
    if (!stop.passes || !stop.trailing || TakeWallEdge(stop, 6, unused)) return 0;
    if (TakeWallEdge(stop, 7, unused)) return 1;
    return TakeWallEdge(stop, 8, unused) ? 2 : 0;
}

/// The step at which the walk enters a triangle.
int FirstStep(const SOLIDC& solid, int index, const float* box)
{
    if (!solid.isSwept || index == 0 || OrientOf(solid, index - 1) != -1) return 0;
    return StepAfter(MakeStop(solid, index - 1, box));
}

bool IsFinite(const float (*m)[4])
{
    for (int i = 0; i < 16; ++i)
        if (!std::isfinite(m[i / 4][i % 4])) return false;
    return true;
}

} // namespace

bool MotionIsPlain(const SOLIDC& solid)
{
    return IsFinite(solid.sweepStart) && IsAffine(solid.sweepStart) && IsFinite(solid.sweepEnd) &&
           IsAffine(solid.sweepEnd);
}

void CollectOwnEdges(const SOLIDC& solid, const Mover& mover, bool trailing, const float* box,
                     MovedPieces& pieces)
{
    pieces.count = 0;
    const bool trails = solid.isSwept && SweepOrientOf(mover.normal, solid.sweepDirection) == -1;
    if (trails != trailing) return;
    const auto* matrix = trails || !solid.isSwept ? solid.sweepStart : solid.sweepEnd;
    float placed[3][3];
    for (int slot = 0; slot < 3; ++slot) TransformPoint(placed[slot], matrix, mover.corner[slot]);
    for (int step = FirstStep(solid, mover.index, box); step < 3; ++step) {
        MovedEdge& edge = pieces.edge[pieces.count];
        const Mover::Side side = mover.side[step];
        if (side == Mover::kNotOwn) continue;
        if (side == Mover::kForeign) {
            pieces.count += TakeForeignEdge(MakeStop(solid, mover.index, box), step, edge);
            continue;
        }
        const int before = PreviousSlot(step);
        std::memcpy(edge.ends[0], placed[side == Mover::kBackward ? step : before], 12);
        std::memcpy(edge.ends[1], placed[side == Mover::kBackward ? before : step], 12);
        CalcEdgeBbox(edge.ends, edge.box);
        // An edge that meets the box by itself is in the sweepBbox of its triangle, and both tests
        // of the walk, which are wider, let it through; others hit nothing.
        if (BboxesMeet(edge.box, box, 0)) ++pieces.count;
    }
}

void CollectWallEdges(const SOLIDC& solid, const Mover& mover, const float* box,
                      MovedPieces& pieces)
{
    pieces.count = 0;
    if (SweepOrientOf(mover.normal, solid.sweepDirection) != -1) return;
    const Stop stop = FacingStop(solid, mover.index, box);
    // Few triangles have walls.
    if (!(stop.hasWall[0] || stop.hasWall[1] || stop.hasWall[2]) || !Passes(stop)) return;
    for (int piece = 0; piece < 9; ++piece)
        if (TakeWallEdge(stop, piece, pieces.edge[pieces.count])) {
            ++pieces.count;
            // A hit at step 9 or later ends this triangle's turn.
            if (piece >= 6) return;
        }
}
