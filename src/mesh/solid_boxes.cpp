// Box tests of a solid.
#include "geometry/bbox.h"
#include "geometry/transformed_boxes.h"
#include "scapi/solid.h"

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

int SOLIDC::CheckBoxInterference(float* const box)
{
    if (isSimple) return octree ? octree->OC_testBox(box) : 0;
    return BoxesOverlap(box, bbox);
}
