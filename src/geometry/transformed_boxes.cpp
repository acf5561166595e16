#include "geometry/transformed_boxes.h"

#include <algorithm>
#include <cmath>

#include "geometry/bbox.h"
#include "geometry/matrix.h"
#include "geometry/status.h"

namespace
{

constexpr float kRotationNoise = 2.5e-6f;
constexpr float kTranslationNoise = 1e-4f;
constexpr double kSingular = 1e-10;

bool ElementsDiffer(float a, float b, float noise)
{
    const double m = std::max(std::fabs(a), std::fabs(b));
    if (m < noise) return false;
    return std::fabs(double(a) - b) > (m > 1.0 ? m * noise : noise);
}

/// Cofactor of an element: the minor without its row and column, with its sign.
double Cofactor(const float* m, int row, int column)
{
    double minor[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            minor[i][j] = m[4 * (i < row ? i : i + 1) + (j < column ? j : j + 1)];
    const double determinant =
        minor[0][0] * minor[1][1] * minor[2][2] + minor[0][1] * minor[1][2] * minor[2][0] +
        minor[0][2] * minor[1][0] * minor[2][1] - minor[0][2] * minor[1][1] * minor[2][0] -
        minor[0][1] * minor[1][0] * minor[2][2] - minor[0][0] * minor[1][2] * minor[2][1];
    return (row + column) % 2 == 0 ? determinant : -determinant;
}

} // namespace

int MatricesDiffer(const float* a, const float* b)
{
    for (int i = 0; i < 16; ++i)
        if (ElementsDiffer(a[i], b[i], i % 4 == 3 ? kTranslationNoise : kRotationNoise)) return 1;
    return 0;
}

int InvertMatrix(float* out, const float* m)
{
    double determinant = 0;
    for (int column = 0; column < 4; ++column) determinant += m[column] * Cofactor(m, 0, column);
    if (!(std::fabs(determinant) > kSingular)) {
        SetStatus(2, kNoPlane);
        return 0;
    }
    const double scale = 1 / determinant;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            out[4 * row + column] = float(Cofactor(m, column, row) * scale);
    return 1;
}

void TransformBox(float* out, const float* matrix, const float* box)
{
    const auto* rows = reinterpret_cast<const float(*)[4]>(matrix);
    float point[3] = {box[0], box[1], box[2]};
    ClearBbox(out);
    for (int u = 0; u < 8; ++u) {
        const float corner[3] = {box[u & 1 ? 3 : 0], box[u & 2 ? 4 : 1], box[u & 4 ? 5 : 2]};
        float mapped[4];
        for (int row = 0; row < 4; ++row) mapped[row] = float(TransformRow(rows, row, corner));
        const double w = mapped[3];
        const bool divides = !(std::fabs(w - 1) < kUnitW);
        if (!divides || std::fabs(w) > kZeroW)
            for (int axis = 0; axis < 3; ++axis)
                point[axis] = divides ? float(mapped[axis] * (1 / w)) : mapped[axis];
        ExtendBbox(out, point);
    }
}

int BoxesOverlap(const float* a, const float* b)
{
    for (int axis = 0; axis < 3; ++axis)
        if (a[axis] > b[axis + 3] || a[axis + 3] < b[axis]) return 0;
    return 1;
}
