#include "api/table.h"

#include "platform/memory.h"

std::array<SOLIDC*, SCAPI_SLOT_COUNT> SolidTable{};

namespace
{

bool isFirstCall = true;

} // namespace

void InitialiseOnFirstCall()
{
    if (!isFirstCall) return;
    RouteFailedAllocations();
    SolidTable.fill(nullptr);
    isFirstCall = false;
}

void EmptySlot(int solidId)
{
    SOLIDC*& slot = SolidIn(solidId);
    delete slot;
    slot = nullptr;
}

SOLIDC* FillSlot(int solidId) { return SolidIn(solidId) = new SOLIDC; }

int32_t SCAPI_GetUsedRAM(void)
{
    std::uint32_t sum = 0;
    for (SOLIDC* solid : SolidTable)
        if (solid) sum += static_cast<std::uint32_t>(solid->SC_GetUsedRAM());
    return static_cast<int32_t>(sum);
}

int SCAPI_ReleaseSolids(void)
{
    for (int solidId = 0; solidId < SCAPI_SLOT_COUNT; ++solidId) EmptySlot(solidId);
    return 0;
}

int SCAPI_Close(void) { return SCAPI_ReleaseSolids(); }
