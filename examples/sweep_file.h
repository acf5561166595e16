#ifndef SCAPI_EXAMPLES_SWEEP_FILE_H
#define SCAPI_EXAMPLES_SWEEP_FILE_H

#include "arguments.h"

/// Writes the surfaces that A, at rest, and B, on its way, sweep into one STL file to look at.
/// @return whether it could be written
bool WriteSweepFile(Request request);

#endif
