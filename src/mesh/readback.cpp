// Reads a solid back record by record, at rest. The index of a call is the host's cursor.
#include <cstring>

#include "mesh/triangle.h"
#include "scapi/solid.h"

int SOLIDC::SC_GetVertex(int index, float* const xyz)
{
    if (!InRange(index, vertexCount)) return -1;
    std::memcpy(xyz, vertices[index].position, sizeof vertices[index].position);
    return index + 1;
}

int SOLIDC::SC_GetLoop(int index, int* const vertexIndices, float* const)
{
    if (!InRange(index, triangleCount)) return -1;
    std::memcpy(vertexIndices, triangles[index].vertex, sizeof triangles[index].vertex);
    return index + 1;
}

int SOLIDC::SC_GetTriangle(int index, float (*const corners)[3], float* const normal)
{
    if (!InRange(index, triangleCount)) return -1;
    const T_LIST& triangle = triangles[index];
    // Stalled cursor (docs/behaviour.md). Loads build the vertex list, so only a solid that a C++
    // host filled itself gets here.
    if (!isSimple && vertexCount == 0) return index;
    for (int slot = 0; slot < 3; ++slot)
        std::memcpy(corners[slot],
                    isSimple ? triangle.corners[slot]
                             : VertexAt(*this, triangle.vertex[slot]).position,
                    sizeof triangle.corners[slot]);
    if (normal) std::memcpy(normal, triangle.normal, sizeof triangle.normal);
    // Late end (docs/behaviour.md): triangles that refinement appended to a simple solid are
    // hidden, but the first of them is written before -1 tells the host to ignore it.
    return isSimple && index + 1 > baseTriangleCount ? -1 : index + 1;
}

int SOLIDC::SC_GetSolidBbox(float* const out)
{
    SC_BuildVertexList();
    if (out) std::memcpy(out, bbox, sizeof bbox);
    return triangleCount > 0;
}
