// Box tests of a solid: strict, the second box widened by the solid's tolerance.
#include "scapi/solid.h"
#include "solid/bbox.h"

int SOLIDC::IntersectingBboxes(float* const a, float* const b)
{
    return BboxesMeet(a, b, tolerance);
}

int SOLIDC::TriangleIntersectingBbox(float (*const corners)[3], float* const box)
{
    float triangleBox[6];
    CalcTriangleBbox(corners, triangleBox);
    return IntersectingBboxes(triangleBox, box);
}

int SOLIDC::EdgeIntersectingBbox(float (*const edge)[3], float* const box)
{
    float edgeBox[6];
    CalcEdgeBbox(edge, edgeBox);
    return IntersectingBboxes(edgeBox, box);
}
