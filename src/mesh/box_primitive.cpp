#include <array>
#include <cstdint>

#include "mesh/finish.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"

namespace
{

// Each corner as three indices into the six floats of a box. Counter-clockwise seen from outside;
// two triangles per face, in the order -z, -x, -y, +x, +y, +z. Order and winding are visible in SLD
// files.
using Corner = std::array<std::uint8_t, 3>;
constexpr std::array<std::array<Corner, 3>, 12> BoxCorners{{
    {{{0, 1, 2}, {0, 4, 2}, {3, 4, 2}}},
    {{{0, 1, 2}, {3, 4, 2}, {3, 1, 2}}},
    {{{0, 1, 2}, {0, 1, 5}, {0, 4, 5}}},
    {{{0, 1, 2}, {0, 4, 5}, {0, 4, 2}}},
    {{{0, 1, 2}, {3, 1, 2}, {3, 1, 5}}},
    {{{0, 1, 2}, {3, 1, 5}, {0, 1, 5}}},
    {{{3, 1, 2}, {3, 4, 2}, {3, 4, 5}}},
    {{{3, 1, 2}, {3, 4, 5}, {3, 1, 5}}},
    {{{3, 4, 2}, {0, 4, 2}, {0, 4, 5}}},
    {{{3, 4, 2}, {0, 4, 5}, {3, 4, 5}}},
    {{{0, 1, 5}, {3, 1, 5}, {0, 4, 5}}},
    {{{3, 1, 5}, {3, 4, 5}, {0, 4, 5}}},
}};

} // namespace

int SOLIDC::LoadBox(float* const box)
{
    isSimple = 0;
    sourceTime = 0;
    Release_Octree();
    Release_Lists();
    triangles = AllocateTriangles(static_cast<int>(BoxCorners.size()));
    for (const auto& corners : BoxCorners) {
        T_LIST& triangle = triangles[triangleCount++];
        for (std::size_t c = 0; c < 3; ++c)
            for (std::size_t axis = 0; axis < 3; ++axis)
                triangle.corners[c][axis] = box[corners[c][axis]];
        CalcTriangleNormal(triangle.corners[0], triangle.normal);
    }
    FinishPrimitive(*this);
    return 0;
}
