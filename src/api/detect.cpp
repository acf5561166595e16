// The calls that move solids and ask whether they meet.
#include "api/table.h"

int SCAPI_DefSweep(int solidId, float (*start)[4], float (*end)[4])
{
    InitialiseOnFirstCall();
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* solid = SolidIn(solidId);
    if (!solid) return SCAPI_EMPTY_SLOT;
    solid->SC_GTsweep(start, end);
    return 0;
}

int SCAPI_DetectInterference(int solidA, int solidB)
{
    if (!IsSolidId(solidA) || !IsSolidId(solidB)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* a = SolidIn(solidA);
    SOLIDC* b = SolidIn(solidB);
    if (!a || !b) return SCAPI_EMPTY_SLOT;
    return a->SC_DetectIntersection(b) ? SCAPI_INTERFERENCE : SCAPI_NO_INTERFERENCE;
}
