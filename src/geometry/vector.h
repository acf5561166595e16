// Points and vectors of three floats. Expressions run in double and are rounded once, where they
// are stored; dot and distance are not stored here, so their results are doubles.
#ifndef SCAPI_GEOMETRY_VECTOR_H
#define SCAPI_GEOMETRY_VECTOR_H

#include <cfloat>
#include <cmath>

#include "geometry/status.h"

static_assert(FLT_EVAL_METHOD == 0, "x87 arithmetic would round elsewhere than other platforms");

inline double dot(const float* a, const float* b)
{
    return double(a[0]) * b[0] + double(a[1]) * b[1] + double(a[2]) * b[2];
}

/// `out` must not be `a` or `b`.
inline void cross(const float* a, const float* b, float* out)
{
    out[0] = float(double(a[1]) * b[2] - double(a[2]) * b[1]);
    out[1] = float(double(a[2]) * b[0] - double(a[0]) * b[2]);
    out[2] = float(double(a[0]) * b[1] - double(a[1]) * b[0]);
}

inline void Subtract(const float* a, const float* b, float* out)
{
    for (int axis = 0; axis < 3; ++axis) out[axis] = float(double(a[axis]) - b[axis]);
}

/// From float differences; exactly 0 where the sum of squares is not above 0.
inline double distance(const float* a, const float* b)
{
    float d[3];
    Subtract(a, b, d);
    const double s = dot(d, d);
    return 0.0 < s ? std::sqrt(s) : 0.0;
}

/// Makes a vector unit length; one shorter than 1e-10 becomes zero and raises a status bit.
inline void Normalise(float* v)
{
    const double s = dot(v, v);
    if (s < 1e-20) {
        v[0] = v[1] = v[2] = 0.0f;
        SetStatus(2, kNoUnitVector);
        return;
    }
    const double scale = 1.0 / std::sqrt(s);
    for (int axis = 0; axis < 3; ++axis) v[axis] = float(v[axis] * scale);
}

/// Index of the component of least magnitude; a tie goes to the lower index.
inline int SmallestAxis(const float* v)
{
    const float x = std::fabs(v[0]), y = std::fabs(v[1]), z = std::fabs(v[2]);
    if (x > y) return z < y ? 2 : 1;
    return z < x ? 2 : 0;
}

/// Index of the component of greatest magnitude; a tie goes to the lower index. Each comparison
/// with a NaN is false, and refinement relies on what follows: with a NaN in y the result is 1, so
/// a solid flat in y is not cut at all.
inline int LargestAxis(const float* v)
{
    const float x = std::fabs(v[0]), y = std::fabs(v[1]), z = std::fabs(v[2]);
    if (x >= y) return z > x ? 2 : 0;
    return z > y ? 2 : 1;
}

#endif
