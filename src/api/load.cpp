// The calls that fill a slot. What stood there is gone before the new solid is known to be good.
#include "api/table.h"

namespace
{

constexpr float kLeastExtent = 1e-4f;

bool IsThickEnough(const float* box)
{
    for (int axis = 0; axis < 3; ++axis)
        if (!(double(box[axis]) + kLeastExtent < box[axis + 3])) return false;
    return true;
}

} // namespace

int SCAPI_LoadSTL(int solidId, unsigned char* path, int simple)
{
    InitialiseOnFirstCall();
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    EmptySlot(solidId);
    if (!path) return solidId;
    return FillSlot(solidId)->SC_LoadSTLfile(path, simple);
}

int SCAPI_LoadBox(int solidId, float* box)
{
    InitialiseOnFirstCall();
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    EmptySlot(solidId);
    if (!IsThickEnough(box)) return SCAPI_TOO_SMALL;
    FillSlot(solidId)->LoadBox(box);
    return 0;
}
