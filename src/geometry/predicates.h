// The geometric predicates on which every answer rests. They know nothing of solids or trees.
// Differences, cross products and unit vectors are stored as floats between steps; dot products
// stay doubles.
#ifndef SCAPI_GEOMETRY_PREDICATES_H
#define SCAPI_GEOMETRY_PREDICATES_H

/// The one tolerance of the edge tests.
constexpr float kContact = 1e-4f;

/// Unit normal and d of a closed loop of `count` points, 3 or more, by Newell's method: a point p
/// lies on the plane when normal * p + d is 0.
/// @return 1, or 0 with `plane` unchanged and a status bit raised for a loop without area
int CalcPlane(const float* points, int count, float* plane);

/// Nearest points of two lines, each a point and a unit direction. Lines count as parallel when
/// their directions differ by less than 0.0005 on each axis, up to sign. @return 2
int ClosestLinePoints(const float* lineA, const float* lineB, float* pointA, float* pointB);

/// Do two segments cross or overlap clear of their ends?
/// @param out  on 1, a box around what they share
/// @return 1 or 0
int SegmentsIntersecting(const float* a0, const float* a1, const float* b0, const float* b1,
                         float tolerance, float* out);

/// Is a point of the triangle's plane inside, or outside by less than tolerance / side length?
/// @return 1 or 0
int PointInsideTriangle(const float (*corners)[3], const float* normal, const float* point,
                        float tolerance);

/// What a loop over triangles carries from one test to the next: a triangle without area is tested
/// with the plane of the one before it ("Carried plane" in docs/behaviour.md), and an edge almost
/// parallel to the plane with the crossing point of the one before.
struct CrossingState {
    float plane[4] = {};
    float point[3] = {};
    bool fresh = true; ///< the first edge of the loop gives the first point
};

enum class Crossing { kNone, kHit, kCarried };

/// Does an edge hit a triangle whose plane is in `state`? A fresh state has no crossing point to
/// carry; where one would be needed the answer is kCarried.
Crossing EdgeCrossesPlane(const float (*edge)[3], const float (*corners)[3], CrossingState& state);

/// Does a straight edge hit a triangle, its border included, within kContact?
/// @return 1 or 0
int EdgeCrossesTriangle(const float (*edge)[3], const float (*corners)[3], CrossingState& state);

/// The same for a test that stands alone.
int EdgeCrossesTriangle(const float (*edge)[3], const float (*corners)[3]);

#endif
