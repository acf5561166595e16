#include "kernel/shared_points.h"

#include <algorithm>
#include <cmath>

#include "exact/intersection.h"
#include "exact/predicates.h"

namespace proximity
{
namespace
{

constexpr int Next(int corner) { return (corner + 1) % 3; }

void AddPoint(const double* point, SharedPoints& out)
{
    for (int n = 0; n < out.count; ++n)
        if (std::equal(point, point + 3, out.point[n])) return;
    std::copy(point, point + 3, out.point[out.count++]);
}

void AddPointBetween(const double* p, const double* q, double t, SharedPoints& out)
{
    double point[3];
    for (int k = 0; k < 3; ++k) point[k] = std::lerp(p[k], q[k], t);
    AddPoint(point, out);
}

/// On which side of the plane of `plane` the corners of t lie; all 0 for a degenerate plane.
void SetSides(const Triangle& t, const Triangle& plane, int* out)
{
    const auto* c = plane.corner;
    for (int i = 0; i < 3; ++i) out[i] = Orient3d(c[0], c[1], c[2], t.corner[i]);
}

void AddEdgePoints(const Triangle& t, const int* sides, const Triangle& other, SharedPoints& out)
{
    const auto* c = other.corner;
    for (int i = 0; i < 3; ++i) {
        const double *p = t.corner[i], *q = t.corner[Next(i)];
        if (sides[i] == 0 && sides[Next(i)] == 0) {
            if (SegmentMeetsTriangle(p, p, c)) AddPoint(p, out);
            if (SegmentMeetsTriangle(q, q, c)) AddPoint(q, out);
        } else if (SegmentMeetsTriangle(p, q, c)) {
            AddPointBetween(p, q, CrossingParameter(c[0], c[1], c[2], p, q), out);
        }
    }
}

/// Of edges that are not parallel. The ends of those that are have been added as corners.
void AddCrossing(const double* p, const double* q, const double* r, const double* s,
                 SharedPoints& out)
{
    if (!SegmentsMeet(p, q, r, s)) return;
    for (int axis = 0; axis < 3; ++axis) {
        if (Orient2d(r, s, p, axis) == Orient2d(r, s, q, axis)) continue;
        // The plane that holds r, s and the axis cuts pq where the line rs does.
        double above[3] = {r[0], r[1], r[2]};
        above[axis] = r[axis] != 0 ? -r[axis] : 1;
        return AddPointBetween(p, q, CrossingParameter(r, s, above, p, q), out);
    }
}

} // namespace

void SetSharedPoints(const Triangle& a, const Triangle& b, SharedPoints& out)
{
    int sidesA[3], sidesB[3];
    SetSides(a, b, sidesA);
    SetSides(b, a, sidesB);
    out.count = 0;
    AddEdgePoints(a, sidesA, b, out);
    AddEdgePoints(b, sidesB, a, out);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            if (!sidesA[i] && !sidesA[Next(i)] && !sidesB[j] && !sidesB[Next(j)])
                AddCrossing(a.corner[i], a.corner[Next(i)], b.corner[j], b.corner[Next(j)], out);
    for (double& x : out.mean) x = 0;
    for (int n = 0; n < out.count; ++n)
        for (int k = 0; k < 3; ++k) out.mean[k] += out.point[n][k] / out.count;
}

} // namespace proximity
