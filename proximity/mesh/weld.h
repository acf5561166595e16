// Which corners of triangles are one vertex.
#ifndef PROXIMITY_MESH_WELD_H
#define PROXIMITY_MESH_WELD_H

#include <array>
#include <span>

#include "proximity/mesh/triangles.h"

namespace proximity
{

struct Welded {
    std::vector<std::array<std::int32_t, 3>> triangle; ///< into vertex
    std::vector<std::array<float, 3>> vertex;          ///< the first corner of each, as it is read
};

/// Corners with equal coordinates are one vertex; 0 and -0 are equal.
Welded WeldEqual(std::span<const FloatTriangle> triangles);

/// Corners at most `tolerance` apart on each axis are one vertex, and so are those that a chain of
/// such corners joins.
/// @param tolerance  above 0
Welded WeldNear(std::span<const FloatTriangle> triangles, double tolerance);

} // namespace proximity

#endif
