#ifndef SCAPI_BVH_HIT_REGION_H
#define SCAPI_BVH_HIT_REGION_H

#include "geometry/obb.h"

/// Holds every point by which an edge can hit a triangle (Lemma 9): the crossing point, or, for an
/// edge in the triangle's plane, a point near one of its sides. It leaves out the margins of
/// parallel segments, which depend on the edge (query/margins.h).
struct HitRegion {
    float box[6]; ///< rounded outwards
    float corner[3][3];
    float pad;   ///< all of the region lies within this distance of the hull of the corners
    int corners; ///< 3, or 8 for those of the box
};

/// @param plane          of the triangle, from CalcPlane
/// @param maxCoordinate  greatest magnitude of a coordinate of the solid
/// @return false when the triangle is so thin that rounding decides where its hits lie
bool CalcHitRegion(const float (*corners)[3], const float* plane, double maxCoordinate,
                   HitRegion& region);

/// Whether an edge that is judged by the crossing point of an earlier triangle can hit this one
/// (Lemma 10): such a point lies on the edge, or off its ends by its own length at most.
bool MayBeCarriedInto(const float (*edge)[3], const float (*corners)[3], const float* plane);

/// Makes a region of a box alone.
void SetToBox(HitRegion& region, const float* box);

Point3 CornerOf(const HitRegion& region, int i);

#endif
