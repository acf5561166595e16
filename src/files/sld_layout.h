// An SLD file: the cache of a loaded solid, beside its STL file. Little-endian, 32-bit words.
//
//   offset                       bytes    field
//   0                            1024     text for people, never read
//   1024                         4        sourceTime
//   1028                         4        fileVersion, 10118
//   1032                         4        triangleCount T
//   1036                         4        vertexCount V, 0 in a simple solid
//   1040                         4        edgeCount E, 0 in a simple solid: that is what marks one
//   1044                         4        baseTriangleCount
//   1048                         140 * T  triangles; their word `next` is of no account
//   ...                          40 * V   vertices
//   ...                          40 * E   edges
//   ...                          24       bbox
//   ...                          12       center
//   ...                          4        tolerance
//   ...                          12       maxTriangleSize
//   ...                          4        sortAxis
//   ...                          4        octreeDepth
//   ...                          12       octreeCellSize
//
// The octree is not in the file; it is filled again from the triangles.
#ifndef SCAPI_FILES_SLD_LAYOUT_H
#define SCAPI_FILES_SLD_LAYOUT_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "scapi/solid.h"

static_assert(std::endian::native == std::endian::little, "files are little-endian");

constexpr std::size_t kSldHeaderBytes = 1024;

/// Length of a whole file, for counts that are not negative.
constexpr std::int64_t SldFileBytes(std::int64_t triangles, std::int64_t vertices,
                                    std::int64_t edges)
{
    return 1048 + 140 * triangles + 40 * vertices + 40 * edges + 72;
}

/// A field of the solid as it stands in the file.
struct SldField {
    void* data;
    std::size_t bytes;
};

inline std::array<SldField, 7> SldTail(SOLIDC& solid)
{
    return {{{solid.bbox, sizeof solid.bbox},
             {solid.center, sizeof solid.center},
             {&solid.tolerance, sizeof solid.tolerance},
             {solid.maxTriangleSize, sizeof solid.maxTriangleSize},
             {&solid.sortAxis, sizeof solid.sortAxis},
             {&solid.octreeDepth, sizeof solid.octreeDepth},
             {solid.octreeCellSize, sizeof solid.octreeCellSize}}};
}

#endif
