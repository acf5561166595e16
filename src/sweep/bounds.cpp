// Boxes of the swept volume. The motion is a translation of one shape, so its two ends bound it.
#include "geometry/bbox.h"
#include "mesh/triangle.h"
#include "scapi/solid.h"

namespace
{

constexpr int kWallPieces = 6; ///< two halves of a wall on each of three edges

} // namespace

int SOLIDC::SC_CalcSweepBbox(void)
{
    SC_BuildVertexList();
    ExtendBbox(sweepBbox, nullptr);
    for (int v = 0; v < vertexCount; ++v) {
        if (!isSimple) ExtendBbox(sweepBbox, vertices[v].sweepStart);
        ExtendBbox(sweepBbox, vertices[v].sweepEnd);
    }
    return vertexCount > 0;
}

int SOLIDC::SC_CalcSweepTrianglesBbox(void)
{
    for (int t = 0; t < triangleCount; ++t) {
        T_LIST& triangle = triangles[t];
        float corners[3][3];
        GetTriangleVertex(t, corners);
        TriangleBbox(corners, triangle.sweepBbox);
        if (!IsTrailing(triangle)) continue;
        for (int piece = 0; piece < kWallPieces; ++piece) {
            float wall[3][3], box[6];
            if (!GetSweptTriangle(t, piece, wall)) continue;
            TriangleBbox(wall, box);
            MergeBbox(triangle.sweepBbox, box);
        }
    }
    return 0;
}
