// The calls that fill a slot: "Slot emptied first" and "Null path" in docs/behaviour.md.
#include "api/table.h"
#include "files/load_policy.h"

namespace
{

constexpr float kLeastExtent = 1e-4f;
constexpr float kLeastSquaredAxis = 0x1.5798ecp-27f; ///< the float below the one nearest to 1e-8

bool IsThickEnough(const float* box)
{
    for (int axis = 0; axis < 3; ++axis)
        if (!(double(box[axis]) + kLeastExtent < box[axis + 3])) return false;
    return true;
}

bool IsLongEnough(const float* axisStart, const float* axisEnd)
{
    double squared = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const double difference = double(axisEnd[axis]) - axisStart[axis];
        squared += difference * difference;
    }
    return float(squared) > kLeastSquaredAxis;
}

} // namespace

int SCAPI_LoadSTL(int solidId, unsigned char* path, int simple)
{
    InitialiseOnFirstCall();
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    EmptySlot(solidId);
    if (!path) return solidId;
    return LoadThroughCache(*FillSlot(solidId), path, simple);
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

int SCAPI_LoadCylinder(int solidId, float* axisStart, float* axisEnd, float radius)
{
    InitialiseOnFirstCall();
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    EmptySlot(solidId);
    if (!(radius > kLeastExtent) || !IsLongEnough(axisStart, axisEnd)) return SCAPI_TOO_SMALL;
    FillSlot(solidId)->LoadCyl(axisStart, axisEnd, radius);
    return 0;
}
