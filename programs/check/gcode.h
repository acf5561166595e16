// G-code programs as moves of the axes.
#ifndef SCAPI_CHECK_GCODE_H
#define SCAPI_CHECK_GCODE_H

#include "job.h"

namespace check
{

constexpr double kPeckClearance =
    0.25; ///< mm: G83 comes back in rapid to so far above the last peck

/// Fills in the program of a job from its file. Each word is followed, named in a warning where it
/// moves nothing, or named as a problem. docs/check.md has the list.
bool ReadGcode(Job& job, Problems& problems);

} // namespace check

#endif
