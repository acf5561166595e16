#include "scapi/solid.h"

#include <cstring>

#include "geometry/bbox.h"
#include "mesh/before_change.h"
#include "mesh/memory.h"

SOLIDC& SOLIDC::operator=(const SOLIDC& other)
{
    if (this == &other) return *this;
    // Hosts know of the fields that they can null after a flat copy (docs/behaviour.md), not of the
    // trees, which would otherwise have two owners.
    ReleaseQueryTrees(*this);
    std::memcpy(static_cast<void*>(this), static_cast<const void*>(&other), sizeof *this);
    queryTrees = nullptr;
    return *this;
}

void SOLIDC::Release_Lists(void)
{
    ReleaseQueryTrees(*this);
    ReleaseRecords(triangles);
    ReleaseRecords(edges);
    ReleaseRecords(vertices);
    triangles = nullptr, edges = nullptr, vertices = nullptr;
    triangleCount = edgeCount = vertexCount = 0;
    sweepPending = isRotated = 0;
    ClearBbox(bbox);
}

int SOLIDC::Release_Octree(void)
{
    ReleaseQueryTrees(*this);
    delete octree;
    octree = nullptr;
    return 0;
}

void SOLIDC::Check_Solid(int) {}

std::int32_t SOLIDC::SC_GetUsedRAM(void)
{
    // Unsigned, because the sum may wrap and signed overflow is undefined.
    return static_cast<std::int32_t>(312u + 140u * static_cast<std::uint32_t>(triangleCount) +
                                     40u * static_cast<std::uint32_t>(vertexCount) +
                                     40u * static_cast<std::uint32_t>(edgeCount));
}
