// Builds the octree of a solid: size, refinement, filling.
#include <algorithm>
#include <array>
#include <cmath>

#include "geometry/bbox.h"
#include "octree/sizing.h"
#include "scapi/solid.h"

namespace
{

// The largest triangleCount of each depth. A table, because math libraries round logarithms
// differently, and a mesh on the border between two depths must get the same one everywhere.
constexpr std::array<int, kMaxDepth> kMaxTriangles{1000,   1600,   6400,    25600,
                                                   102400, 409600, 1638400, 6553600};

void SizeOctree(SOLIDC& solid)
{
    solid.octreeDepth = OctreeDepthFor(solid.triangleCount);
    const double halfCell = std::ldexp(0.5, -solid.octreeDepth);
    for (int axis = 0; axis < 3; ++axis)
        solid.octreeCellSize[axis] = float(Extent(solid.bbox, axis) * halfCell);
}

/// Can move `triangles`, so that the chains of an old octree dangle until FillOctree deletes it.
/// Nothing reads them in between.
void Refine(SOLIDC& solid, int triangleMode)
{
    if (triangleMode)
        solid.SubdivideTriangles(solid.octreeCellSize);
    else
        solid.SubdivideEdges(solid.octreeCellSize);
}

void FillOctree(SOLIDC& solid)
{
    solid.Release_Octree();
    solid.octree = new OCTREEC(solid.bbox, solid.octreeDepth, solid.octreeCellSize, &solid);
    for (int t = 0; t < solid.triangleCount; ++t)
        if (!solid.triangles[t].superseded) solid.octree->OC_AddTriangle(&solid.triangles[t]);
}

} // namespace

int OctreeDepthFor(int triangleCount)
{
    return static_cast<int>(
        std::lower_bound(kMaxTriangles.begin(), kMaxTriangles.end(), triangleCount) -
        kMaxTriangles.begin());
}

int SOLIDC::Build_Octree(int triangleMode)
{
    SizeOctree(*this);
    Refine(*this, triangleMode);
    FillOctree(*this);
    return 0;
}

void SOLIDC::CreateOctree(void)
{
    // First, because the lists refer to triangles by index.
    SortTriangles();
    if (!isSimple && (SC_BuildVertexList() || SC_BuildEdgesList())) return;
    Build_Octree(isSimple);
}
