#include "scapi/solid.h"

#include <cstring>

#include "files/stl_stream.h"
#include "interference/query_trees.h"
#include "solid/bbox.h"
#include "solid/memory.h"

SOLIDC::SOLIDC()
{
    // A fresh solid is all zero but for its boxes, so that a detection before the first sweep has
    // something definite to read.
    std::memset(static_cast<void*>(this), 0, sizeof *this);
    ClearBbox(bbox);
    ClearBbox(sweepBbox);
    stlStream = Allocate<StlStream>(1);
}

SOLIDC::~SOLIDC()
{
    Release_Octree();
    Release_Lists();
    StlAbandon(*stlStream);
    ReleaseRecords(stlStream);
}

SOLIDC& SOLIDC::operator=(const SOLIDC& other) = default;

void SOLIDC::Release_Lists(void)
{
    ReleaseQueryTrees(*this);
    ReleaseRecords(triangles);
    ReleaseRecords(edges);
    ReleaseRecords(vertices);
    triangles = nullptr, edges = nullptr, vertices = nullptr;
    triangleCount = edgeCount = vertexCount = 0;
    sweepOwed = isRotated = 0;
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
    // Unsigned, because the sum is allowed to wrap.
    return static_cast<std::int32_t>(312u + 140u * static_cast<std::uint32_t>(triangleCount) +
                                     40u * static_cast<std::uint32_t>(vertexCount) +
                                     40u * static_cast<std::uint32_t>(edgeCount));
}
