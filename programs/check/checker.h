// Checks the pairs of bodies along one move.
#ifndef SCAPI_CHECK_CHECKER_H
#define SCAPI_CHECK_CHECKER_H

#include "findings.h"
#include "job.h"

namespace check
{

/// A pair of bodies that moves against each other, and when they may touch.
struct Pair {
    std::int32_t a = 0, b = 0; ///< a below b
    Contact contact;
};

struct Pairs {
    std::vector<std::vector<Pair>> ofTool; ///< by tool + 1: those to check with it in the spindle
    std::vector<Pair> ignored;             ///< that may always touch
};
Pairs PairsOf(const Job& job);

/// Work that was done, for the table of where the time goes.
struct Work {
    std::int64_t pairs = 0;   ///< of bodies, along moves
    std::int64_t byBoxes = 0; ///< pieces that boxes showed to be clear
    std::int64_t byPlace = 0; ///< that one placement, with room for the motion, showed to be clear
    std::int64_t impacts = 0; ///< calls for a time of impact
    double placeSeconds = 0, impactSeconds = 0, measureSeconds = 0;
};

/// Checks one move. What is found depends on the job and the move alone, not on what was checked
/// before.
/// @param hits, undecided  take what is found at their ends
Clearance CheckMove(const Job& job, const Pairs& pairs, std::uint32_t move, std::vector<Hit>& hits,
                    std::vector<Undecided>& undecided, Work& work);

} // namespace check

#endif
