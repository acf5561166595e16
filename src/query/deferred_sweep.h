#ifndef SCAPI_QUERY_DEFERRED_SWEEP_H
#define SCAPI_QUERY_DEFERRED_SWEEP_H

#include "scapi/solid.h"

/// As SC_GTsweep, but where nothing can come between, what it writes per record is left pending
/// until somebody reads it: a fast query does not.
void DefineSweepDeferred(SOLIDC& solid, float (*start)[4], float (*end)[4]);

#endif
