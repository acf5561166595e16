// Arcs of G2 and G3 from their words.
#ifndef SCAPI_CHECK_ARC_H
#define SCAPI_CHECK_ARC_H

#include <optional>
#include <string>

#include "path.h"

namespace check
{

/// mm: ends whose distances from the centre differ by more are no arc
constexpr double kMostArcSlack = 0.01;

/// In the plane of two axes, seen so that the angle rises from the first to the second.
struct ArcWords {
    double from[2]{}, to[2]{};
    bool clockwise = false;
    std::optional<double> offset[2]; ///< I, J or K: of the centre from the start
    std::optional<double> radius;    ///< R: above 0 for up to half a turn, below 0 for more
};

/// Equal ends are a full turn, which R cannot tell.
/// @param arc  its axes are left alone
/// @return what is wrong; empty when there is an arc
std::string ArcFromWords(const ArcWords& words, Arc& arc);

} // namespace check

#endif
