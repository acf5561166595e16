#include <cstring>

#include "geometry/predicates.h"
#include "geometry/vector.h"

namespace
{

bool IsInside(const float* side, const float* normal, const float* corner, const float* point,
              float tolerance)
{
    float outward[3], offset[3];
    cross(side, normal, outward);
    Subtract(point, corner, offset);
    return dot(outward, offset) < tolerance;
}

/// An edge in the triangle's plane hits when it crosses a side; one that lies wholly inside, clear
/// of the sides, does not.
int CrossesSides(const float (*edge)[3], const float (*corners)[3])
{
    int hit = 0;
    float scratch[6];
    for (int i = 0; i < 3; ++i)
        hit |= SegmentsIntersecting(edge[0], edge[1], corners[i], corners[(i + 1) % 3], kContact,
                                    scratch);
    return hit;
}

} // namespace

int PointInsideTriangle(const float (*corners)[3], const float* normal, const float* point,
                        float tolerance)
{
    float e0[3], e1[3], e2[3];
    Subtract(corners[0], corners[2], e0);
    Subtract(corners[1], corners[0], e1);
    Subtract(corners[2], corners[1], e2);
    return IsInside(e0, normal, corners[0], point, tolerance) &&
           IsInside(e1, normal, corners[1], point, tolerance) &&
           IsInside(e2, normal, corners[2], point, tolerance);
}

Crossing EdgeCrossesPlane(const float (*edge)[3], const float (*corners)[3], CrossingState& state)
{
    const auto asCrossing = [](int hit) { return hit ? Crossing::kHit : Crossing::kNone; };
    const double T = kContact;
    const double s0 = dot(state.plane, edge[0]) + state.plane[3];
    const double s1 = dot(state.plane, edge[1]) + state.plane[3];
    if (!(std::fabs(s0) > T) && !(std::fabs(s1) > T))
        return asCrossing(CrossesSides(edge, corners));
    if (!(s0 >= -T && s1 < T) && !(s0 <= T && s1 > -T)) return Crossing::kNone;
    const double D = s1 - s0;
    if (std::fabs(D) > T) {
        const double scale = 1 / D;
        for (int axis = 0; axis < 3; ++axis)
            state.point[axis] = float((edge[0][axis] * s1 - edge[1][axis] * s0) * scale);
    } else if (state.fresh) {
        return Crossing::kCarried;
    }
    return asCrossing(PointInsideTriangle(corners, state.plane, state.point, kContact));
}

int EdgeCrossesTriangle(const float (*edge)[3], const float (*corners)[3], CrossingState& state)
{
    if (state.fresh) {
        std::memcpy(state.point, edge[0], sizeof state.point);
        state.fresh = false;
    }
    // The stored normal is not used; without area the plane of the triangle before stays.
    CalcPlane(corners[0], 3, state.plane);
    return EdgeCrossesPlane(edge, corners, state) == Crossing::kHit;
}

int EdgeCrossesTriangle(const float (*edge)[3], const float (*corners)[3])
{
    CrossingState state;
    return EdgeCrossesTriangle(edge, corners, state);
}
