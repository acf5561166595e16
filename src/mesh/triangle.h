// Small tools on triangle records that every mesh maker shares.
#ifndef SCAPI_MESH_TRIANGLE_H
#define SCAPI_MESH_TRIANGLE_H

#include "scapi/solid.h"

/// Side `slot` of a triangle runs from corner PreviousSlot(slot) to corner `slot`.
constexpr int NextSlot(int slot) { return (slot + 1) % 3; }
constexpr int PreviousSlot(int slot) { return (slot + 2) % 3; }

/// Unit normal of three corners (nine floats) by Newell's sums; zero, with a status bit, where the
/// sums are below 1e-10 in length. @return 0, or 1 for a degenerate triangle
int CalcTriangleNormal(const float* corners, float* normal);

/// Writes a triangle with its normal and its box behind the last one, in room that is there.
void AppendTriangle(SOLIDC& solid, const float* a, const float* b, const float* c);

/// Copies from the lowest address upward.
/// @return dst, or null with nothing copied when count is not positive or a pointer is null
void* CopyBytes(void* dst, const void* src, int count);

/// The slot of the corner that is neither a nor b, taken on trust in the third slot.
inline int OtherCorner(const T_LIST& triangle, int a, int b)
{
    if (triangle.vertex[0] != a && triangle.vertex[0] != b) return 0;
    if (triangle.vertex[1] != a && triangle.vertex[1] != b) return 1;
    return 2;
}

/// The slot of an edge, taken on trust in the third slot.
inline int SlotOfEdge(const T_LIST& triangle, int edge)
{
    if (triangle.edge[0] == edge) return 0;
    return triangle.edge[1] == edge ? 1 : 2;
}

/// The triangle across an edge.
inline int AcrossEdge(const EdgeRec& edge, int triangle)
{
    return edge.triangle[0] != triangle ? edge.triangle[0] : edge.triangle[1];
}

/// Writes `to` over the entry of an edge that names triangle `from`, if one does.
inline void RenameTriangle(EdgeRec& edge, int from, int to)
{
    if (edge.triangle[0] == from)
        edge.triangle[0] = to;
    else if (edge.triangle[1] == from)
        edge.triangle[1] = to;
}

/// Whether `index` lies in an array of `count`.
constexpr bool InRange(int index, int count) { return 0 <= index && index < count; }

/// A vertex by its number in a triangle. The inversion walk leaves the bits of normals there, so a
/// number outside the list is answered by a vertex of zeros.
inline const VertexRec& VertexAt(const SOLIDC& solid, int index)
{
    static constexpr VertexRec kNowhere{};
    return InRange(index, solid.vertexCount) ? solid.vertices[index] : kNowhere;
}

/// The trailing side of a motion is left behind: it counts at the start pose, all else at the end.
inline bool IsTrailing(const T_LIST& triangle) { return triangle.sweepOrient == -1; }

/// The three corners of a triangle of a full solid where it stands in the swept surface.
inline void SweptCorners(const SOLIDC& solid, const T_LIST& triangle, float (*corners)[3])
{
    for (int slot = 0; slot < 3; ++slot) {
        const VertexRec& vertex = VertexAt(solid, triangle.vertex[slot]);
        const float* at = IsTrailing(triangle) ? vertex.sweepStart : vertex.sweepEnd;
        for (int axis = 0; axis < 3; ++axis) corners[slot][axis] = at[axis];
    }
}

#endif
