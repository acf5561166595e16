// The table of solids and the frame that every call shares.
#ifndef SCAPI_API_TABLE_H
#define SCAPI_API_TABLE_H

#include <array>

#include "scapi/scapi.h"
#include "scapi/solid.h"

/// A slot owns its solid; null means there is none.
extern std::array<SOLIDC*, SCAPI_SLOT_COUNT> SolidTable;

constexpr bool IsSolidId(int solidId) { return 0 <= solidId && solidId < SCAPI_SLOT_COUNT; }

/// The slot of a valid number.
inline SOLIDC*& SolidIn(int solidId) { return SolidTable[static_cast<std::size_t>(solidId)]; }

/// Loads and sweeps begin with it; only the first call does anything.
void InitialiseOnFirstCall();

/// Destroys the solid of a valid slot, if there is one.
void EmptySlot(int solidId);

/// Puts a new solid into an empty slot.
SOLIDC* FillSlot(int solidId);

#endif
