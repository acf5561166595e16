// 4 by 4 matrices in row order that act on column vectors.
#ifndef SCAPI_GEOMETRY_MATRIX_H
#define SCAPI_GEOMETRY_MATRIX_H

#include <cmath>

// The floats 2.5e-6 and 1e-6, widened.
constexpr double kUnitW = 2.499999936844688e-06;
constexpr double kZeroW = 9.999999974752427e-07;

/// Whether the fourth row is (0, 0, 0, 1): every finite point then has an image.
inline bool IsAffine(const float (*m)[4])
{
    return m[3][0] == 0 && m[3][1] == 0 && m[3][2] == 0 && m[3][3] == 1;
}

/// out = a * b, 16 floats each; `out` must be neither.
void MatrixMultiply(float* out, const float* a, const float* b);

/// Row `r` of the matrix times (x, y, z, 1), not rounded; the translation comes second.
inline double TransformRow(const float (*m)[4], int r, const float* p)
{
    return double(m[r][0]) * p[0] + m[r][3] + double(m[r][1]) * p[1] + double(m[r][2]) * p[2];
}

/// Maps a point, with the homogeneous divide.
/// @return 1, or 0 with `out` untouched when w is near 0
int TransformPoint(float* out, const float (*matrix)[4], const float* point);

#endif
