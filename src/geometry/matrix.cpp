#include "geometry/matrix.h"

void MatrixMultiply(float* out, const float* a, const float* b)
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            out[4 * i + j] =
                float(double(a[4 * i]) * b[j] + double(a[4 * i + 1]) * b[4 + j] +
                      double(a[4 * i + 2]) * b[8 + j] + double(a[4 * i + 3]) * b[12 + j]);
}

int TransformPoint(float* out, const float (*matrix)[4], const float* point)
{
    const double x = TransformRow(matrix, 0, point), y = TransformRow(matrix, 1, point),
                 z = TransformRow(matrix, 2, point), w = TransformRow(matrix, 3, point);
    if (std::fabs(w - 1) < kUnitW) {
        out[0] = float(x), out[1] = float(y), out[2] = float(z);
        return 1;
    }
    if (std::fabs(w) > kZeroW) {
        out[0] = float(x / w), out[1] = float(y / w), out[2] = float(z / w);
        return 1;
    }
    return 0;
}
