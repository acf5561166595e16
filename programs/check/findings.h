// What a check finds.
#ifndef SCAPI_CHECK_FINDINGS_H
#define SCAPI_CHECK_FINDINGS_H

#include <cmath>
#include <cstdint>
#include <vector>

#include "pose.h"

namespace check
{

/// Two bodies that must not touch, and do.
struct Hit {
    std::uint32_t move = 0;
    std::int32_t a = 0, b = 0; ///< bodies of the job, a below b
    bool atStart = false;      ///< they touch where the move starts
    bool inside = false;       ///< one lies inside the other, their surfaces apart
    double time = 0;           ///< of the move, 0 to 1
    double distance = 0;       ///< upper bound at that time, mm: tolerance + precision at the most
    double approach = 0; ///< mm: how much farther the move drives them into each other, along the
                         ///< normal of the contact
    Vec point{};         ///< of the contact; machine coordinates
    Vec normal{};        ///< from a to b
};

/// A pair along a move that could not be settled.
struct Undecided {
    std::uint32_t move = 0;
    std::int32_t a = 0, b = 0;
    double time = 0;       ///< clear before
    bool openMesh = false; ///< since whether one lies inside the other cannot be told
};

/// How near the bodies came along a move that must not touch.
struct Clearance {
    bool checked = false;
    std::int32_t a = -1, b = -1; ///< the nearest pair; -1 where none came within the range
    double low = HUGE_VAL;       ///< certified: no pair came nearer, mm; infinite beyond the range
    double high = HUGE_VAL;      ///< and one came as near as this
};

struct Findings {
    std::vector<Clearance> clearance; ///< of each move
    std::vector<Hit> hits;            ///< by move, then by pair
    std::vector<Undecided> undecided; ///< the same
};

} // namespace check

#endif
