#ifndef SCAPI_SWEEP_DEFINE_H
#define SCAPI_SWEEP_DEFINE_H

#include "scapi/solid.h"

/// The first half of SC_GTsweep: sets the fields of the solid itself, which are sweepStart,
/// sweepEnd, sweepLength, isSwept and, for a swept solid, sweepDirection. Builds missing lists. The
/// caller sets sweepPending; CompleteSweep does the second half.
void DefineMotion(SOLIDC& solid, const float (*start)[4], const float (*end)[4]);

/// Writes the per-record results of a pending sweep: positions of vertices, orientations and boxes
/// of triangles, and sweepBbox of the solid. Does nothing without a pending sweep.
void CompleteSweep(SOLIDC& solid);

#endif
