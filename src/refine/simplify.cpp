// Edge flips between the passes of refinement.
#include <cmath>

#include "geometry/vector.h"
#include "mesh/before_change.h"
#include "mesh/triangle.h"
#include "refine/flip.h"

namespace
{

constexpr float kCoplanar = 0.99999899f; ///< cosine; about 0.08 degrees

/// An edge from A to B with its triangles T0 = (A, X, B) and T1 = (B, Y, A).
struct Diagonal {
    int A, B, T0, T1, X, Y, i0, i1; ///< X stands at corner i0 of T0, Y at i1 of T1
};

Diagonal ReadDiagonal(const SOLIDC& solid, const EdgeRec& edge)
{
    Diagonal d{};
    d.A = edge.vertex[0], d.B = edge.vertex[1];
    d.T0 = edge.triangle[0], d.T1 = edge.triangle[1];
    d.i0 = OtherCorner(solid.triangles[d.T0], d.A, d.B);
    d.i1 = OtherCorner(solid.triangles[d.T1], d.A, d.B);
    d.X = solid.triangles[d.T0].vertex[d.i0];
    d.Y = solid.triangles[d.T1].vertex[d.i1];
    return d;
}

/// The square of a distance, without the root.
double SquaredDistance(const float* a, const float* b)
{
    float d[3];
    Subtract(a, b, d);
    const double s = dot(d, d);
    return 0.0 < s ? s : 0.0;
}

/// Whether the distance from p to q is below the one whose square is given. Roots of unequal
/// squares can be equal, but never change sides: most pairs need none.
bool IsShorter(const VertexRec& p, const VertexRec& q, double squaredLength)
{
    const double squared = SquaredDistance(p.position, q.position);
    return squared < squaredLength && std::sqrt(squared) < std::sqrt(squaredLength);
}

} // namespace

bool CanLoseTriangle(const VertexRec& vertex) { return vertex.useCount > 3; }

FlipJudgement JudgeFlip(const SOLIDC& solid, const EdgeRec& edge)
{
    constexpr FlipJudgement kStays{false, FlipJudgement::kNothing};
    const VertexRec* v = solid.vertices;
    const VertexRec &A = v[edge.vertex[0]], &B = v[edge.vertex[1]];
    const double squaredLength = SquaredDistance(A.position, B.position);
    // Most edges are shorter than a side of the first triangle; the second is not read for them.
    int opposite[2];
    for (int i = 0; i < 2; ++i) {
        const T_LIST& triangle = solid.triangles[edge.triangle[i]];
        const int w = opposite[i] =
            triangle.vertex[OtherCorner(triangle, edge.vertex[0], edge.vertex[1])];
        if (!InRange(w, solid.vertexCount)) return {false, w};
        if (!IsShorter(A, v[w], squaredLength) || !IsShorter(v[w], B, squaredLength)) return kStays;
    }
    if (!IsShorter(v[opposite[0]], v[opposite[1]], squaredLength)) return kStays;
    const float* normal = solid.triangles[edge.triangle[0]].normal;
    if (!(dot(normal, solid.triangles[edge.triangle[1]].normal) > kCoplanar)) return kStays;
    // Last, so that only an edge that nothing else holds waits for a vertex.
    for (const int end : edge.vertex)
        if (!CanLoseTriangle(v[end])) return {false, end};
    return {true, FlipJudgement::kNothing};
}

void Flip(SOLIDC& solid, int e)
{
    const Diagonal d = ReadDiagonal(solid, solid.edges[e]);
    T_LIST &t0 = solid.triangles[d.T0], &t1 = solid.triangles[d.T1];
    const int E0 = t0.edge[d.i0], E1 = t0.edge[NextSlot(d.i0)]; // A to X, X to B
    const int F0 = t1.edge[d.i1], F1 = t1.edge[NextSlot(d.i1)]; // B to Y, Y to A
    t0.vertex[0] = d.X, t0.vertex[1] = d.B, t0.vertex[2] = d.Y;
    t0.edge[0] = e, t0.edge[1] = E1, t0.edge[2] = F0;
    t1.vertex[0] = d.Y, t1.vertex[1] = d.A, t1.vertex[2] = d.X;
    t1.edge[0] = e, t1.edge[1] = F1, t1.edge[2] = E0;
    solid.edges[e].vertex[0] = d.X, solid.edges[e].vertex[1] = d.Y;
    // An open side (-1) of a partial list belongs to no edge.
    if (InRange(E0, solid.edgeCount)) RenameTriangle(solid.edges[E0], d.T0, d.T1);
    if (InRange(F0, solid.edgeCount)) RenameTriangle(solid.edges[F0], d.T1, d.T0);
    --solid.vertices[d.A].useCount;
    --solid.vertices[d.B].useCount;
    ++solid.vertices[d.X].useCount;
    ++solid.vertices[d.Y].useCount;
}

void SOLIDC::Simplify2Triangles(void)
{
    BeforeRecordsChange(*this);
    for (int e = 0; e < edgeCount; ++e)
        if (JudgeFlip(*this, edges[e]).flips) Flip(*this, e);
}

int SOLIDC::Simplify3Vertex(void) { return 0; }
