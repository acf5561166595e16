// The answer as a scene of the report page.
#ifndef SCAPI_PROGRAMS_PAIR_SCENE_H
#define SCAPI_PROGRAMS_PAIR_SCENE_H

#include "report.h"
#include "view.h"

namespace pair
{

/// Both solids in 3D; where they move, their way in steps and the distance over it; the contact or
/// the nearest points as a mark.
/// @param progress  called with the steps done, of how many
view::Scene MakeScene(const Request& request, const Report& report,
                      void (*progress)(std::size_t, std::size_t));

} // namespace pair

#endif
