// The calls that move solids and ask whether they meet.
#include "api/table.h"
#include "geometry/bbox.h"
#include "geometry/matrix.h"
#include "geometry/transformed_boxes.h"
#include "query/deferred_sweep.h"
#include "query/fast_detect.h"

namespace
{

/// The box that holds a solid in two poses, in the frame of which `inverse` is the inverse.
void HullInFrame(SOLIDC& solid, const float* inverse, const float* start, const float* end,
                 float* hull)
{
    float box[6], pose[16], moved[6];
    solid.SC_GetSolidBbox(box);
    MatrixMultiply(pose, inverse, start);
    TransformBox(hull, pose, box);
    MatrixMultiply(pose, inverse, end);
    TransformBox(moved, pose, box);
    MergeBbox(hull, moved);
}

} // namespace

int SCAPI_DefSweep(int solidId, float (*start)[4], float (*end)[4])
{
    InitialiseOnFirstCall();
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* solid = SolidIn(solidId);
    if (!solid) return SCAPI_EMPTY_SLOT;
    DefineSweepDeferred(*solid, start, end);
    return 0;
}

int SCAPI_DetectInterference(int solidA, int solidB)
{
    if (!IsSolidId(solidA) || !IsSolidId(solidB)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* a = SolidIn(solidA);
    SOLIDC* b = SolidIn(solidB);
    if (!a || !b) return SCAPI_EMPTY_SLOT;
    return DetectFast(*a, *b) ? SCAPI_INTERFERENCE : SCAPI_NO_INTERFERENCE;
}

int SCAPI_BboxesInterference(int solidA, float* startA, float* endA, int solidB, float* startB,
                             float* endB)
{
    if (!IsSolidId(solidA) || !IsSolidId(solidB)) return 0;
    SOLIDC* a = SolidIn(solidA);
    SOLIDC* b = SolidIn(solidB);
    if (!a || !b) return 0;
    // Where A moves there is no one frame of A, and where a matrix has no inverse there is none at
    // all: the answer must then be the careful one.
    if (MatricesDiffer(startA, endA)) return 1;
    float inverse[16], hullA[6], hullB[6];
    if (!InvertMatrix(inverse, startA)) return 1;
    HullInFrame(*b, inverse, startB, endB, hullB);
    if (!a->CheckBoxInterference(hullB)) return 0;
    if (!InvertMatrix(inverse, startB)) return 1;
    HullInFrame(*a, inverse, startA, endA, hullA);
    HullInFrame(*b, inverse, startB, endB, hullB);
    return BoxesOverlap(hullA, hullB);
}

int SCAPI_Rotate(int solidId, float (*matrix)[4])
{
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* solid = SolidIn(solidId);
    if (!solid) return SCAPI_EMPTY_SLOT;
    solid->SC_Rotate(matrix);
    return 0;
}
