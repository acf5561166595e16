// Look-ups in one triangle record.
#include <cstring>

#include "mesh/triangle.h"

int SOLIDC::AlterVertex(int triangle, int a, int b, int* third)
{
    if (!InRange(triangle, triangleCount)) return 0;
    const int slot = OtherCorner(triangles[triangle], a, b);
    if (third) *third = triangles[triangle].vertex[slot];
    return slot;
}

int SOLIDC::SelfEdge(int triangle, int edge)
{
    return InRange(triangle, triangleCount) ? SlotOfEdge(triangles[triangle], edge) : 0;
}

void SOLIDC::GetTriangleVertex(int triangle, float (*const corners)[3])
{
    if (!InRange(triangle, triangleCount)) return;
    if (isSimple)
        std::memcpy(corners, triangles[triangle].corners, sizeof triangles[triangle].corners);
    else
        SweptCorners(*this, triangles[triangle], corners);
}
