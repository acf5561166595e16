// A solid is born and destroyed here, where all its parts are known.
#include <cstring>

#include "files/stl_stream.h"
#include "geometry/bbox.h"
#include "mesh/memory.h"
#include "scapi/solid.h"

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
    // Whoever takes a flat copy of a solid takes its pointers away from it.
    if (stlStream) StlAbandon(*stlStream);
    ReleaseRecords(stlStream);
}
