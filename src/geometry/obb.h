// Boxes that turn with what they hold: a patch of a surface lies flat along some plane, where a box
// along the coordinate axes would be as thick as the patch is wide.
#ifndef SCAPI_GEOMETRY_OBB_H
#define SCAPI_GEOMETRY_OBB_H

#include <array>
#include <span>

struct OrientedBox {
    float axis[3][3]; ///< of length 1 and at right angles, but for their rounding; the normal first
    float centre[3];
    float half[3]; ///< extents along the axes, to either side
    float halfArea;
};

/// The float next to a number on the side that is asked for, or the number itself.
float RoundDown(double value);
float RoundUp(double value);

/// Bounds of some normals.
struct NormalBounds {
    float low[3], high[3];
};

void ClearNormals(NormalBounds& bounds);
void AddNormals(NormalBounds& bounds, const float* low, const float* high);

/// The most by which one of the normals differs from another vector.
double FarthestNormal(const NormalBounds& bounds, const float* other);

using Point3 = std::array<double, 3>;

/// A box round all points within `pad` of some, one at least. Its first axis is the middle of the
/// normals, or where these cancel out or are none, the axis along which the points spread least;
/// its second is that along which they spread most, seen along the first.
OrientedBox FitBox(const NormalBounds& normals, std::span<const Point3> points, double pad);

/// A box of six floats, with the axis first that is nearest to the middle of the normals.
OrientedBox AlignedBox(const NormalBounds& normals, const float* box);

std::array<Point3, 8> CornersOf(const OrientedBox& box);

#endif
