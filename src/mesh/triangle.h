// Operations on triangle records that all mesh code shares.
#ifndef SCAPI_MESH_TRIANGLE_H
#define SCAPI_MESH_TRIANGLE_H

#include "scapi/solid.h"

/// Side `slot` of a triangle runs from corner PreviousSlot(slot) to corner `slot`.
constexpr int NextSlot(int slot) { return (slot + 1) % 3; }
constexpr int PreviousSlot(int slot) { return (slot + 2) % 3; }

/// Unit normal of a triangle by Newell's method. A triangle whose sums are below 1e-10 in length is
/// degenerate: its normal is zero and a status bit is set.
/// @param corners  nine floats
/// @return 0, or 1 for a degenerate triangle
int CalcTriangleNormal(const float* corners, float* normal);

/// Appends a triangle with its normal and its box.
/// @pre  triangleCount < triangleCapacity; the array is not grown
void AppendTriangle(SOLIDC& solid, const float* a, const float* b, const float* c);

/// Copies bytes from the lowest address upward, so overlapping blocks repeat their first bytes when
/// dst is above src.
/// @return dst, or null with nothing copied when count is not positive or a pointer is null
void* CopyBytes(void* dst, const void* src, int count);

/// The slot of the corner that is neither vertex a nor b. Slot 2 is returned without a test.
inline int OtherCorner(const T_LIST& triangle, int a, int b)
{
    if (triangle.vertex[0] != a && triangle.vertex[0] != b) return 0;
    if (triangle.vertex[1] != a && triangle.vertex[1] != b) return 1;
    return 2;
}

/// The slot of an edge. Slot 2 is returned without a test.
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

/// Replaces triangle `from` of an edge by `to`; without `from` nothing changes.
inline void RenameTriangle(EdgeRec& edge, int from, int to)
{
    if (edge.triangle[0] == from)
        edge.triangle[0] = to;
    else if (edge.triangle[1] == from)
        edge.triangle[1] = to;
}

constexpr bool InRange(int index, int count) { return 0 <= index && index < count; }

/// The vertex of an index taken from a triangle. The inversion walk (docs/behaviour.md) leaves bits
/// of normals there, so an index outside the list gives a vertex of zeros.
inline const VertexRec& VertexAt(const SOLIDC& solid, int index)
{
    static constexpr VertexRec kZeroVertex{};
    return InRange(index, solid.vertexCount) ? solid.vertices[index] : kZeroVertex;
}

/// A trailing triangle is part of the swept surface at the start pose, all others at the end pose.
inline bool IsTrailing(const T_LIST& triangle) { return triangle.sweepOrient == -1; }

/// Corners of a triangle of a full solid at the pose at which it is part of the swept surface.
/// @param corners  out, three points
inline void SweptCorners(const SOLIDC& solid, const T_LIST& triangle, float (*corners)[3])
{
    for (int slot = 0; slot < 3; ++slot) {
        const VertexRec& vertex = VertexAt(solid, triangle.vertex[slot]);
        const float* at = IsTrailing(triangle) ? vertex.sweepStart : vertex.sweepEnd;
        for (int axis = 0; axis < 3; ++axis) corners[slot][axis] = at[axis];
    }
}

#endif
