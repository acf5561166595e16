// The pieces of the swept surface. s(v) and e(v) are the positions of a vertex at the start and at
// the end pose. A silhouette edge, one between a trailing triangle and one that is not trailing,
// sweeps a swept quad with the corners s(va), s(vb), e(vb), e(va): its rims are the edge at the two
// poses, its sweep lines the paths of the two vertices.
#include <cstring>

#include "mesh/triangle.h"
#include "scapi/solid.h"

namespace
{

void SetPoint(float* out, const float* point) { std::memcpy(out, point, 3 * sizeof *out); }

void SetEdge(float (*out)[3], const float* a, const float* b)
{
    SetPoint(out[0], a);
    SetPoint(out[1], b);
}

void SetTriangle(float (*out)[3], const float* a, const float* b, const float* c)
{
    SetPoint(out[0], a);
    SetPoint(out[1], b);
    SetPoint(out[2], c);
}

} // namespace

int SOLIDC::EdgeNeedsSweep(int triangle, int edge)
{
    if (!InRange(edge, edgeCount) || !InRange(triangle, triangleCount)) return 1;
    return !IsTrailing(triangles[AcrossEdge(edges[edge], triangle)]);
}

int SOLIDC::GetTriangleEdge(int triangle, int slot, float (*const out)[3])
{
    if (!InRange(triangle, triangleCount)) return 0;
    const T_LIST& record = triangles[triangle];
    if (isSimple) {
        // The repeated edge (docs/behaviour.md): a simple solid has no vertices, so `out` is not
        // written, but the result is 1 all the same.
        if (!InRange(slot, 3)) return 1;
        const int a = record.vertex[slot], b = record.vertex[NextSlot(slot)];
        if (InRange(a, vertexCount) && InRange(b, vertexCount))
            SetEdge(out, vertices[a].sweepEnd, vertices[b].sweepEnd);
        return 1;
    }
    if (!InRange(slot, 3) || !InRange(record.edge[slot], edgeCount)) return 0;
    const EdgeRec& edge = edges[record.edge[slot]];
    if (!InRange(edge.vertex[0], vertexCount) || !InRange(edge.vertex[1], vertexCount) ||
        !InRange(edge.triangle[0], triangleCount))
        return 0;
    // The triangle of lower index gives a shared edge. The other one gives the repeated edge
    // (docs/behaviour.md): 1 with `out` as it was, so that the walk tests the last edge again.
    if (AcrossEdge(edge, triangle) <= triangle) return 1;
    const VertexRec &va = vertices[edge.vertex[0]], &vb = vertices[edge.vertex[1]];
    if (record.sweepOrient < 0)
        SetEdge(out, va.sweepStart, vb.sweepStart);
    else
        SetEdge(out, va.sweepEnd, vb.sweepEnd);
    return 1;
}

int SOLIDC::GetSweptEdge(int triangle, int piece, float (*const out)[3])
{
    if (isSimple || !isSwept || !InRange(triangle, triangleCount) || !InRange(piece, 9)) return 0;
    if (!IsTrailing(triangles[triangle])) return 0;
    const int e = triangles[triangle].edge[piece / 3];
    if (!InRange(e, edgeCount)) return 0;
    const EdgeRec& edge = edges[e];
    const int other = AcrossEdge(edge, triangle);
    if (IsTrailing(triangles[other])) return 0;
    if (!InRange(edge.vertex[0], vertexCount) || !InRange(edge.vertex[1], vertexCount)) return 0;
    const VertexRec &va = vertices[edge.vertex[0]], &vb = vertices[edge.vertex[1]];
    switch (piece % 3) {
    case 0: // diagonal; GetSweptEdgeTriangle splits the swept quad along the other one
        SetEdge(out, va.sweepEnd, vb.sweepStart);
        break;
    case 1: // sweep line of va; that of vb comes from the swept quad in which it is va
        SetEdge(out, va.sweepEnd, va.sweepStart);
        break;
    default: // The repeated rim (docs/behaviour.md): GetTriangleEdge gives this same edge from the
             // triangle of lower index, so the rim at the other pose is never given.
        if (triangle <= other)
            SetEdge(out, va.sweepStart, vb.sweepStart);
        else
            SetEdge(out, va.sweepEnd, vb.sweepEnd);
    }
    return 1;
}

int SOLIDC::GetSweptEdgeTriangle(int edge, int half, float (*const out)[3])
{
    if (!isSwept || !InRange(edge, edgeCount)) return 0;
    const VertexRec &va = vertices[edges[edge].vertex[0]], &vb = vertices[edges[edge].vertex[1]];
    // Both halves share the diagonal from s(va) to e(vb). Their winding depends on which triangle
    // of the edge is trailing, so that normals point out of the swept volume.
    const float *sa = va.sweepStart, *ea = va.sweepEnd, *sb = vb.sweepStart, *eb = vb.sweepEnd;
    if (IsTrailing(triangles[edges[edge].triangle[0]]))
        half ? SetTriangle(out, eb, ea, sa) : SetTriangle(out, eb, sa, sb);
    else
        half ? SetTriangle(out, sa, ea, eb) : SetTriangle(out, sb, sa, eb);
    return 1;
}

int SOLIDC::GetSweptTriangle(int triangle, int piece, float (*const out)[3])
{
    if (!InRange(triangle, triangleCount) || !isSwept || !InRange(piece, 6)) return 0;
    const int edge = triangles[triangle].edge[(piece / 2 + 1) % 3];
    if (!InRange(edge, edgeCount) || !EdgeNeedsSweep(triangle, edge)) return 0;
    return GetSweptEdgeTriangle(edge, piece % 2, out);
}
