// Triangles as they are read and stored, and what the library refuses of them.
#ifndef PROXIMITY_MESH_TRIANGLES_H
#define PROXIMITY_MESH_TRIANGLES_H

#include <cmath>
#include <cstdint>
#include <vector>

#include "scapi/proximity.h"

namespace proximity
{

struct FloatTriangle {
    float corner[3][3];
};
static_assert(sizeof(FloatTriangle) == 36);

using Triangles = std::vector<FloatTriangle>;

/// A failure and the facet at which it happened, -1 for none.
struct Failure {
    int code = SCAPI_OK;
    std::int64_t facet = -1;
};

/// False for NaN too. Beyond the limit, squares of differences could overflow the floats of the
/// bounding volume hierarchy, and an infinite distance would read as clear.
inline bool IsGoodCoordinate(double x) { return std::fabs(x) <= SCAPI_MAX_COORDINATE; }

inline bool IsGoodTriangle(const FloatTriangle& triangle)
{
    for (const auto& corner : triangle.corner)
        for (const float x : corner)
            if (!IsGoodCoordinate(x)) return false;
    return true;
}

} // namespace proximity

#endif
