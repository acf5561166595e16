// Refinement of a simple solid: each triangle is cut by itself, and stays behind superseded.
#include "geometry/bbox.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "refine/growth.h"
#include "refine/size_ratio.h"
#include "scapi/solid.h"

namespace
{

/// The growth rule comes before an element is judged; a break may then ask for more.
void MakeRoom(SOLIDC& solid, std::int64_t needed)
{
    const int capacity = GrownCapacity(solid.triangleCapacity, solid.triangleCount, needed);
    if (capacity == solid.triangleCapacity) return;
    // A tree that stands already would point into the old array.
    solid.Release_Octree();
    // In use are the records up to the capacity and the spare one behind it.
    solid.triangles = static_cast<T_LIST*>(
        ResizeRecords(solid.triangles, static_cast<std::size_t>(solid.triangleCapacity) + 1,
                      static_cast<std::size_t>(capacity) + 1, sizeof(T_LIST)));
    solid.triangleCapacity = capacity;
}

} // namespace

int SOLIDC::SubdivideTriangles(float* const limit)
{
    const SizeLimit sizeLimit = MakeSizeLimit(*this, limit);
    int mostAdded = 0;
    for (int t = 0; t < triangleCount; ++t) {
        MakeRoom(*this, 0);
        const Cut cut = DecideCut(sizeLimit, triangles[t].bbox);
        if (!cut.pieces) continue;
        MakeRoom(*this, 2 * (2 * std::int64_t{cut.pieces} - 1));
        const int added = BreakTriangle(t, cut.axis, cut.pieces);
        if (added < mostAdded) continue;
        // "Cut twice" in docs/behaviour.md: so after a break that adds as many as any before. The
        // second set lies on the first; files and counts show it, answers do not.
        BreakTriangle(t, cut.axis, cut.pieces);
        mostAdded = added;
    }
    for (int t = 0; t < triangleCount; ++t) TriangleBbox(triangles[t].corners, triangles[t].bbox);
    return triangleCount;
}

int SOLIDC::SubdivideTriangle(int triangleIndex, float* const limit)
{
    if (!InRange(triangleIndex, triangleCount)) return 0;
    const Cut cut = DecideCut(MakeSizeLimit(*this, limit), triangles[triangleIndex].bbox);
    return cut.pieces ? BreakTriangle(triangleIndex, cut.axis, cut.pieces) : 0;
}
