#include <algorithm>
#include <cmath>
#include <cstring>

#include "geometry/vector.h"
#include "mesh/before_change.h"
#include "mesh/triangle.h"
#include "scapi/solid.h"

namespace
{

/// An edge from A to B with its triangles T0 = (A, X, B) and T1 = (B, Y, A).
struct Surroundings {
    int A, B, T0, T1, X, Y;
    int E1, E2; ///< sides of T0: A to X, X to B
    int F1, F2; ///< sides of T1: B to Y, Y to A
};

Surroundings ReadSurroundings(const SOLIDC& solid, int e)
{
    const EdgeRec& edge = solid.edges[e];
    Surroundings s{};
    s.A = edge.vertex[0], s.B = edge.vertex[1];
    s.T0 = edge.triangle[0], s.T1 = edge.triangle[1];
    const T_LIST &t0 = solid.triangles[s.T0], &t1 = solid.triangles[s.T1];
    s.X = t0.vertex[OtherCorner(t0, s.A, s.B)];
    s.Y = t1.vertex[OtherCorner(t1, s.A, s.B)];
    const int i0 = SlotOfEdge(t0, e), i1 = SlotOfEdge(t1, e);
    s.E1 = t0.edge[NextSlot(i0)], s.E2 = t0.edge[PreviousSlot(i0)];
    s.F1 = t1.edge[NextSlot(i1)], s.F2 = t1.edge[PreviousSlot(i1)];
    return s;
}

/// The grid point, 1 to pieces - 1, nearest to the mean of the feet of X and Y on the edge.
int GridPoint(const SOLIDC& solid, const Surroundings& s, int pieces)
{
    const float* a = solid.vertices[s.A].position;
    const float* b = solid.vertices[s.B].position;
    float d[3];
    Subtract(b, a, d);
    Normalise(d);
    const double pX = dot(d, solid.vertices[s.X].position),
                 pY = dot(d, solid.vertices[s.Y].position), pA = dot(d, a), pB = dot(d, b);
    const double m = (pX + pY) * 0.5;
    // An edge without length makes this NaN, which fails the comparison and lands on 1; after a
    // conversion to int it would be too late to ask.
    const double k = std::floor(pieces * (m - pA) / (pB - pA) + 0.5);
    return k > 1.0 && pieces > 1 ? static_cast<int>(std::min(k, pieces - 1.0)) : 1;
}

void PlaceVertex(SOLIDC& solid, const Surroundings& s, int pieces, int grid)
{
    const float* a = solid.vertices[s.A].position;
    const float* b = solid.vertices[s.B].position;
    VertexRec& vertex = solid.vertices[solid.vertexCount];
    for (int axis = 0; axis < 3; ++axis)
        vertex.position[axis] =
            float((double(a[axis]) * (pieces - grid) + double(b[axis]) * grid) * (1.0 / pieces));
    vertex.useCount = 4;
}

void SetTriangle(T_LIST& triangle, int v0, int v1, int v2, int e0, int e1, int e2)
{
    triangle.vertex[0] = v0, triangle.vertex[1] = v1, triangle.vertex[2] = v2;
    triangle.edge[0] = e0, triangle.edge[1] = e1, triangle.edge[2] = e2;
}

void SetEdge(EdgeRec& edge, int v0, int v1, int t0, int t1)
{
    edge.vertex[0] = v0, edge.vertex[1] = v1;
    edge.triangle[0] = t0, edge.triangle[1] = t1;
}

/// Renames a triangle in an edge; an open side (-1) of a partial list has none.
void RenameIn(SOLIDC& solid, int edge, int from, int to)
{
    if (InRange(edge, solid.edgeCount)) RenameTriangle(solid.edges[edge], from, to);
}

void SplitTriangles(SOLIDC& solid, const Surroundings& s, int e)
{
    const int nv = solid.vertexCount, nt = solid.triangleCount, ne = solid.edgeCount;
    T_LIST* t = solid.triangles;
    solid.edges[e].vertex[1] = nv;
    RenameIn(solid, s.E2, s.T0, nt);
    RenameIn(solid, s.F1, s.T1, nt + 1);
    ++solid.vertices[s.X].useCount;
    ++solid.vertices[s.Y].useCount;
    SetEdge(solid.edges[ne], s.X, nv, nt, s.T0);
    SetEdge(solid.edges[ne + 1], nv, s.Y, nt + 1, s.T1);
    SetEdge(solid.edges[ne + 2], nv, s.B, nt, nt + 1);
    SetTriangle(t[nt], s.X, s.B, nv, ne, s.E2, ne + 2);
    SetTriangle(t[nt + 1], s.Y, nv, s.B, s.F1, ne + 1, ne + 2);
    std::memcpy(t[nt].normal, t[s.T0].normal, sizeof t[nt].normal);
    std::memcpy(t[nt + 1].normal, t[s.T1].normal, sizeof t[nt].normal);
    SetTriangle(t[s.T0], s.A, s.X, nv, e, s.E1, ne);
    SetTriangle(t[s.T1], nv, s.Y, s.A, e, ne + 1, s.F2);
    solid.triangleCount += 2;
    solid.vertexCount += 1;
    solid.edgeCount += 3;
}

bool HasRoom(const SOLIDC& solid)
{
    return solid.triangleCount + 2 <= solid.triangleCapacity &&
           solid.vertexCount + 1 <= solid.vertexCapacity &&
           solid.edgeCount + 3 <= solid.edgeCapacity;
}

} // namespace

int SOLIDC::BreakEdge(int edgeIndex, int pieces)
{
    if (!InRange(edgeIndex, edgeCount) || !HasRoom(*this)) return 0;
    const Surroundings s = ReadSurroundings(*this, edgeIndex);
    if (!InRange(s.X, vertexCount) || !InRange(s.Y, vertexCount)) return 0;
    BeforeRecordsChange(*this);
    PlaceVertex(*this, s, pieces, GridPoint(*this, s, pieces));
    SplitTriangles(*this, s, edgeIndex);
    return pieces;
}
