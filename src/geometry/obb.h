// Oriented bounding boxes. A patch of a surface is flat along some plane, where a box along the
// coordinate axes would be as thick as the patch is wide.
#ifndef SCAPI_GEOMETRY_OBB_H
#define SCAPI_GEOMETRY_OBB_H

#include <array>
#include <span>

struct Obb {
    float axis[3][3]; ///< orthonormal but for rounding to floats; the normal first
    float centre[3];
    float half[3]; ///< half extents along the axes
    float halfArea;
};

/// The nearest float that is not above, or not below, a number.
float RoundDown(double value);
float RoundUp(double value);

/// Componentwise bounds of some normals.
struct NormalBounds {
    float low[3], high[3];
};

void ClearNormals(NormalBounds& bounds);
void AddNormals(NormalBounds& bounds, const float* low, const float* high);

/// The most by which one of the normals differs from another vector.
double FarthestNormal(const NormalBounds& bounds, const float* other);

using Point3 = std::array<double, 3>;

/// A box around all points within `pad` of the given ones, of which there is at least one. Its
/// first axis is the middle of the normals, or, where these cancel out, the coordinate axis along
/// which the points extend least; the others are the principal axes of the points projected along
/// the first.
Obb FitBox(const NormalBounds& normals, std::span<const Point3> points, double pad);

/// The same box as six floats along the coordinate axes, with that axis first that is nearest to
/// the middle of the normals.
Obb AlignedBox(const NormalBounds& normals, const float* box);

std::array<Point3, 8> CornersOf(const Obb& box);

#endif
