/* A C99 host can include the header and make every call by its declared type. */
#include "scapi/scapi.h"

int UseEveryCallFromC(void)
{
    float box[6] = {0, 0, 0, 1, 1, 1},
          pose[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    float corners[3][3], normal[3], *m = pose[0];
    unsigned char folder[] = "/";
    int cursor = 0, loop[3], result = 0;
    result |= SCAPI_LoadBox(0, box);
    result |= SCAPI_LoadSTL(1, 0, 0) != 1;
    result |= SCAPI_DefSweep(0, pose, pose);
    result |= SCAPI_GetTriangles(0, &cursor, corners, normal);
    result |= SCAPI_GetLoop(0, &cursor, loop, 0);
    result |= SCAPI_GetVertex(0, &cursor, normal);
    result |= SCAPI_GetBbox(0, box);
    result |= SCAPI_DetectInterference(0, 1) != SCAPI_EMPTY_SLOT;
    result |= SCAPI_LoadCylinder(1, box, box + 3, 1);
    result |= SCAPI_BboxesInterference(0, m, m, 1, m, m) != 1;
    result |= SCAPI_SaveSTL(0, folder) != SCAPI_NOT_WRITTEN;
    result |= SCAPI_Rotate(0, pose);
    result |= SCAPI_GetUsedRAM() <= 0;
    result |= SCAPI_ReleaseSolids();
    return result | SCAPI_Close();
}
