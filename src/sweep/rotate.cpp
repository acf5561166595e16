#include <cmath>
#include <cstring>

#include "geometry/matrix.h"
#include "mesh/before_change.h"
#include "scapi/solid.h"

namespace
{

/// Maps a corner. Unlike TransformPoint it multiplies by the reciprocal of w, which rounds
/// differently in the last bit.
/// @return false with `out` unchanged when w is near 0
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
    // The borrowed corner (docs/behaviour.md): one that has no image (w near 0) gets that of the
    // same slot of an earlier triangle, and stays unchanged while there is none.
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
