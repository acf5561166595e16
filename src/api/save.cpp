#include "api/table.h"

int SCAPI_SaveSTL(int solidId, unsigned char* path)
{
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* solid = SolidIn(solidId);
    if (!solid) return SCAPI_EMPTY_SLOT;
    if (!path) return SCAPI_NULL_PATH;
    return solid->SC_SaveSTLfile(path);
}
