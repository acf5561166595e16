#include "refine/break_triangle.h"
#include "mesh/before_change.h"

#include <utility>

#include "geometry/vector.h"
#include "mesh/triangle.h"

namespace
{

/// The corners by height along the axis of the cut.
struct Heights {
    const float *Hi, *Mid, *Lo;
    double h, m, l;
};

Heights SortByHeight(const float (*corners)[3], int axis)
{
    const float height[3] = {corners[0][axis], corners[1][axis], corners[2][axis]};
    int order[3];
    OrderCorners(height, order);
    return {corners[order[0]], corners[order[1]], corners[order[2]],
            height[order[0]],  height[order[1]],  height[order[2]]};
}

/// A plane across the triangle: P on the long side, Q on the short side below or above Mid.
struct Level {
    float P[3], Q[3];
    int side; ///< 0 below Mid, 1 above
};

void Interpolate(const float* a, const float* b, double t, float* out)
{
    for (int axis = 0; axis < 3; ++axis) out[axis] = float(a[axis] * (1 - t) + b[axis] * t);
}

Level MakeLevel(const Heights& c, int i, int pieces)
{
    Level level{};
    const double t = double(i) / pieces;
    const double L = (c.h - c.l) * t + c.l;
    Interpolate(c.Lo, c.Hi, t, level.P);
    if (c.m > L) {
        Interpolate(c.Lo, c.Mid, (L - c.l) / (c.m - c.l), level.Q);
        level.side = 0;
    } else {
        Interpolate(c.Mid, c.Hi, (L - c.m) / (c.h - c.m), level.Q);
        level.side = 1;
    }
    return level;
}

void AppendBottom(SOLIDC& solid, const Heights& c, const Level& first)
{
    AppendTriangle(solid, c.Lo, first.Q, first.P);
    if (first.side == 1) AppendTriangle(solid, c.Mid, c.Lo, first.Q);
}

void AppendBetween(SOLIDC& solid, const Heights& c, const Level& low, const Level& high)
{
    if (low.side == high.side) {
        AppendTriangle(solid, low.Q, low.P, high.P);
        AppendTriangle(solid, low.Q, high.P, high.Q);
    } else {
        AppendTriangle(solid, c.Mid, low.Q, low.P);
        AppendTriangle(solid, c.Mid, low.P, high.P);
        AppendTriangle(solid, c.Mid, high.P, high.Q);
    }
}

void AppendTop(SOLIDC& solid, const Heights& c, const Level& last)
{
    if (last.side == 0) AppendTriangle(solid, c.Hi, c.Mid, last.Q);
    AppendTriangle(solid, c.Hi, last.Q, last.P);
}

/// The table of pieces fixes which corner comes first, not the sense of the winding.
void PutWindingRight(T_LIST& piece, const float* normal)
{
    if (!(dot(normal, piece.normal) < 0.0)) return;
    std::swap(piece.corners[1], piece.corners[2]);
    for (float& component : piece.normal) component = -component;
}

} // namespace

int OrderCorners(const float* height, int* order)
{
    if (height[0] >= height[1])
        order[0] = height[2] > height[0] ? 2 : 0;
    else
        order[0] = height[2] > height[1] ? 2 : 1;
    const int u = NextSlot(order[0]), w = PreviousSlot(order[0]);
    order[1] = height[u] > height[w] ? u : w;
    order[2] = height[u] > height[w] ? w : u;
    return order[0];
}

int SOLIDC::BreakTriangle(int triangleIndex, int axis, int pieces)
{
    if (!InRange(triangleIndex, triangleCount) || !InRange(axis, 3) || pieces < 2) return 0;
    if (triangleCount + 2 * std::int64_t{pieces} - 1 > triangleCapacity) return 0;
    BeforeRecordsChange(*this);
    T_LIST& broken = triangles[triangleIndex];
    const Heights corners = SortByHeight(broken.corners, axis);
    const int firstNew = triangleCount;

    Level level = MakeLevel(corners, 1, pieces);
    AppendBottom(*this, corners, level);
    for (int i = 2; i < pieces; ++i) {
        const Level above = MakeLevel(corners, i, pieces);
        AppendBetween(*this, corners, level, above);
        level = above;
    }
    AppendTop(*this, corners, level);

    broken.superseded = 1;
    for (int t = firstNew; t < triangleCount; ++t) PutWindingRight(triangles[t], broken.normal);
    return triangleCount - firstNew;
}
