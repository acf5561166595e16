// Vectors of doubles, for tests.
#ifndef SCAPI_TESTS_VEC_H
#define SCAPI_TESTS_VEC_H

#include <cmath>

#include "geometry/obb.h"
#include "support/sampler.h"

/// a + s * b
inline Point3 Sum(const Point3& a, const Point3& b, double s = 1)
{
    return {a[0] + s * b[0], a[1] + s * b[1], a[2] + s * b[2]};
}
inline double Product(const Point3& a, const Point3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Point3 Normal(const Point3& a, const Point3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double LengthOf(const Point3& v) { return std::sqrt(Product(v, v)); }
inline Point3 Unit(const Point3& v)
{
    const double length = LengthOf(v);
    return length > 1e-12 ? Sum({}, v, 1 / length) : Point3{1, 0, 0};
}
inline Point3 Widened(const float* p) { return {p[0], p[1], p[2]}; }
// Each number is drawn in a statement, or between braces, of its own: compilers evaluate arguments
// in any order.

/// A point of the cube from -1 to 1.
inline Point3 AnyPoint(const Sampler& draw)
{
    return {draw.Between(-1, 1), draw.Between(-1, 1), draw.Between(-1, 1)};
}

using Frame = std::array<Point3, 3>; ///< three vectors

inline Point3 FromFrame(const Frame& f, const Point3& v)
{
    return Sum(Sum(Sum({}, f[0], v[0]), f[1], v[1]), f[2], v[2]);
}
inline Point3 InFrame(const Frame& f, const Point3& v)
{
    return {Product(f[0], v), Product(f[1], v), Product(f[2], v)};
}
/// Orthonormal, `first` first; the second is as near to `second` as can be.
inline Frame FrameOf(const Point3& first, const Point3& second)
{
    const Point3 x = Unit(first);
    Point3 across = Sum(second, x, -Product(second, x));
    if (Product(across, across) < 1e-9)
        across = Normal(x, std::fabs(x[0]) < 0.6 ? Point3{1, 0, 0} : Point3{0, 1, 0});
    return {x, Unit(across), Normal(x, Unit(across))};
}
inline Frame AnyFrame(const Sampler& draw)
{
    if (draw.Below(4) == 0) return FrameOf({1, 0, 0}, {0, 1, 0});
    const Point3 first = AnyPoint(draw), second = AnyPoint(draw);
    return FrameOf(first, second);
}

#endif
