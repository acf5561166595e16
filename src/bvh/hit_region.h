#ifndef SCAPI_BVH_HIT_REGION_H
#define SCAPI_BVH_HIT_REGION_H

#include "geometry/obb.h"

/// Where every point lies by which an edge can hit a triangle, up to the rounding of coordinates:
/// the crossing point, or, for an edge in the triangle's plane, a point near one of its sides; but
/// for the room that parallel segments have, see motion.cpp. All of it lies in a box, and within
/// `pad` of the hull of the corners.
struct HitRegion {
    float box[6]; ///< rounded outwards
    float corner[3][3];
    float pad;
    int corners; ///< 3, or 8 for those of the box
};

/// @param plane  of the triangle, from CalcPlane
/// @param reach  greatest magnitude of a coordinate of the solid
/// @return false when the triangle is too thin for its floats to say where its hits may lie
bool CalcHitRegion(const float (*corners)[3], const float* plane, double reach, HitRegion& region);

/// Whether an edge that is judged by the crossing point of a triangle before may hit this one: such
/// a point lies on the edge, or off its ends by its own length at the most.
bool MayBeCarriedInto(const float (*edge)[3], const float (*corners)[3], const float* plane);

/// Makes a region of a box alone.
void SetToBox(HitRegion& region, const float* box);

Point3 CornerOf(const HitRegion& region, int i);

#endif
