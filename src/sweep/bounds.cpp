// Boxes of the swept volume. The motion is a translation, so the boxes at the two poses bound it.
#include "geometry/bbox.h"
#include "mesh/triangle.h"
#include "scapi/solid.h"

namespace
{

constexpr int kSweptQuadHalves = 6; ///< per triangle: one swept quad of two halves on each edge

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
        for (int piece = 0; piece < kSweptQuadHalves; ++piece) {
            float half[3][3], box[6];
            if (!GetSweptTriangle(t, piece, half)) continue;
            TriangleBbox(half, box);
            MergeBbox(triangle.sweepBbox, box);
        }
    }
    return 0;
}
