// The same question, put to the fifteen calls of scapi.h as a careful host would.
#ifndef SCAPI_PROGRAMS_PAIR_COMPARE_H
#define SCAPI_PROGRAMS_PAIR_COMPARE_H

#include <array>
#include <string>

#include "arguments.h"
#include "judge.h"
#include "solids.h"

namespace pair
{

struct FifteenCalls {
    bool edgesOfB = false; ///< an edge of B, placed or swept, hits a face of A
    bool edgesOfA = false; ///< the other way round
    std::string problem;   ///< a solid that could not be loaded, or empty: there are answers

    bool Contact() const { return edgesOfB || edgesOfA; }
};

/// Loads both solids into slots, from copies in a folder of its own, so that no cache file is left
/// beside the originals; asks both ways round, with poses relative to the solid that stands still.
/// A rotation on the way reaches the calls as its two end poses.
FifteenCalls AskFifteenCalls(const Request& request, const std::array<Solid, 2>& solids);

/// A warning where the two would send a machine different ways, empty where they agree.
std::string Disagreement(const Answer& answer, const FifteenCalls& calls);

} // namespace pair

#endif
