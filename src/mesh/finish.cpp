#include "mesh/finish.h"

#include "geometry/bbox.h"
#include "geometry/vector.h"

void FinishLoad(SOLIDC& solid)
{
    for (int axis = 0; axis < 3; ++axis)
        solid.center[axis] = float((double(solid.bbox[axis]) + solid.bbox[axis + 3]) * 0.5);
    solid.tolerance = float(distance(solid.bbox, solid.bbox + 3) * 2e-7f);
    solid.fileVersion = kFormatVersion;
    solid.CreateOctree();
}

void FinishPrimitive(SOLIDC& solid)
{
    solid.triangleCapacity = solid.triangleCount;
    solid.edgeCapacity = solid.edgeCount;
    solid.vertexCapacity = solid.vertexCount;
    ClearBbox(solid.bbox);
    for (int t = 0; t < solid.triangleCount; ++t) {
        float box[6];
        TriangleBbox(solid.triangles[t].corners, box);
        MergeBbox(solid.bbox, box);
    }
    solid.baseTriangleCount = solid.triangleCount;
    FinishLoad(solid);
}
