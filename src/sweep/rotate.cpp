#include <cmath>
#include <cstring>

#include "geometry/matrix.h"
#include "mesh/before_change.h"
#include "scapi/solid.h"

namespace
{

/// A corner through a matrix; unlike TransformPoint it multiplies by the reciprocal of w.
/// @return false, with `out` untouched, when w is near 0
bool MapCorner(const float (*matrix)[4], const float* corner, float* out)
{
    const double w = TransformRow(matrix, 3, corner);
    const bool divides = !(std::fabs(w - 1) < kUnitW);
    if (divides && !(std::fabs(w) > kZeroW)) return false;
    for (int axis = 0; axis < 3; ++axis) {
        const double mapped = TransformRow(matrix, axis, corner);
        out[axis] = float(divides ? mapped * (1 / w) : mapped);
    }
    return true;
}

} // namespace

void SOLIDC::SC_Rotate(float (*const matrix)[4])
{
    BeforeRecordsChange(*this);
    isRotated = 1;
    // A corner that cannot be mapped takes the place that the same corner of an earlier triangle
    // got, and stays where it is when there is none.
    float mapped[3][3] = {};
    bool known[3] = {};
    for (int t = 0; t < triangleCount; ++t) {
        T_LIST& triangle = triangles[t];
        for (int slot = 0; slot < 3; ++slot) {
            known[slot] |= MapCorner(matrix, triangle.corners[slot], mapped[slot]);
            if (known[slot]) std::memcpy(triangle.corners[slot], mapped[slot], sizeof mapped[slot]);
        }
        float normal[3];
        for (int row = 0; row < 3; ++row)
            normal[row] = float(double(matrix[row][0]) * triangle.normal[0] +
                                double(matrix[row][1]) * triangle.normal[1] +
                                double(matrix[row][2]) * triangle.normal[2]);
        std::memcpy(triangle.normal, normal, sizeof normal);
    }
}
