// A program as a table of axis positions.
#ifndef SCAPI_CHECK_POSITION_TABLE_H
#define SCAPI_CHECK_POSITION_TABLE_H

#include "job.h"

namespace check
{

/// Fills in the program of a job from its table. The first row that is no comment (#) names the
/// columns: axes of the machine, each once, and, if wanted, "kind" (rapid or feed; else all rows
/// are feed) and "tool" (a number; 0 for none). Columns are separated by commas, semicolons or
/// blanks. Positions are of the machine's axes, in the units of the job and degrees; between rows
/// the axes go evenly.
bool ReadPositionTable(Job& job, Problems& problems);

} // namespace check

#endif
