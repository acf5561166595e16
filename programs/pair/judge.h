// The question of the program, asked of the proximity library: are the two solids clear of each
// other, at rest or all along their motions?
#ifndef SCAPI_PROGRAMS_PAIR_JUDGE_H
#define SCAPI_PROGRAMS_PAIR_JUDGE_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "arguments.h"
#include "poses.h"
#include "solids.h"

namespace pair
{

enum class Verdict { kClear, kContact, kInside, kUndecided };

/// Two points in world coordinates, one on each surface.
struct Nearest {
    Vector a{}, b{};
};

/// Where the surfaces of two placed solids meet.
struct ContactRegion {
    std::int64_t pairs = 0; ///< of triangles; at least so many if not complete
    bool complete = true;
    Vector low{}, high{};                            ///< box round all that was found
    std::vector<std::array<Vector, 2>> intersection; ///< segments where triangles cross
};

/// All numbers in the unit of the request, times from 0 to 1.
struct Answer {
    Verdict verdict = Verdict::kUndecided;
    int relation = SCAPI_UNKNOWN; ///< at the start
    bool moving = false;
    double tolerance = 0;
    bool whole = false;     ///< if verdict is kInside: the inner solid is one connected part
    double atLeast = 0;     ///< certified: the surfaces are never nearer
    double nearest = 0;     ///< distance that was met: the true least one is not above it; may be
                            ///< infinite
    double clearUntil = 0;  ///< certified: clear at all times below
    double contactTime = 1; ///< if verdict is kContact
    std::optional<Nearest> points;       ///< at contactTime, or the nearest ones of solids at rest
    std::optional<Vector> normal;        ///< of a contact on the way: unit vector from A to B
    std::optional<ContactRegion> region; ///< of a contact at rest or at the start
    std::array<int, 2> triangles{-1, -1};
    std::string reason; ///< if undecided: why, and what to do
};

/// @return an error message, empty when there is an answer
std::string Judge(const Request& request, const std::array<Solid, 2>& solids, Answer& answer);

/// Distance of the surfaces at times i / (count - 1), as met, for the plot: not below the true
/// one. Those that fail are NaN.
/// @param progress  called with the number of those done
std::vector<double> DistancesOnTheWay(const Request& request, const std::array<Solid, 2>& solids,
                                      std::size_t count,
                                      void (*progress)(std::size_t, std::size_t));

} // namespace pair

#endif
