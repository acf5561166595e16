#ifndef SCAPI_BVH_HIT_REGION_H
#define SCAPI_BVH_HIT_REGION_H

#include "geometry/obb.h"

/// Holds every point by which an edge can hit a triangle (Lemma 9): the crossing point, or, for an
/// edge in the triangle's plane, a point near one of its sides. It leaves out the margins of
/// parallel segments, which depend on the edge (query/margins.h).
struct HitRegion {
    static constexpr int kMaxCorners = 10;
    float box[6]; ///< rounded outwards
    float corner[kMaxCorners][3];
    float pad; ///< all of the region lies within this distance of the hull of the corners
    int corners;
    bool isLoose;      ///< one of CalcLooseRegion: hits can lie off the triangle
    float longestEdge; ///< holds for edges up to this length only
};

/// @param plane          of the triangle, from CalcPlane
/// @param maxCoordinate  greatest magnitude of a coordinate of the solid
/// @return false when the triangle is so thin that rounding decides where its hits lie
bool CalcHitRegion(const float (*corners)[3], const float* plane, double maxCoordinate,
                   HitRegion& region);

/// The least altitude of a triangle.
/// @param longest  side, at least
/// @param normal   unit normal; out where there is an altitude
/// @return 0 where the triangle is too thin, or small, for MarginsOf
float PlainAltitude(const float (*corners)[3], float longest, float* normal);

/// How far the hit regions of triangles can lie off these, and how far the normals of CalcPlane off
/// those of PlainAltitude (Lemma 15).
struct RegionMargins {
    double reach; ///< of the region's box too, along each axis
    double tilt;  ///< length of the difference
};

/// @param altitude       of any of the triangles, at least; not 0
/// @param longest        side of any of them, at most
/// @param maxCoordinate  as for CalcHitRegion
RegionMargins MarginsOf(double altitude, double longest, double maxCoordinate);

/// Whether an edge that is judged by the crossing point of an earlier triangle can hit this one
/// (Lemma 10): such a point lies on the edge, or off its ends by its own length at most.
bool MayBeCarriedInto(const float (*edge)[3], const float (*corners)[3], const float* plane);

/// The region of a triangle that is too thin for one of its own, or that is judged by the plane of
/// another one (Lemma 11). It needs the cell that the box of an edge has to overlap.
/// @param plane  by which it is judged; zero where only its sides can be hit
void CalcLooseRegion(const float (*corners)[3], const float* plane, const float* cell,
                     double maxCoordinate, HitRegion& region);

/// Makes a region of a box alone, which the box of an edge has to overlap: the edge itself need
/// not.
void SetToBox(HitRegion& region, const float* box);

#endif
