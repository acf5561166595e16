#ifndef SCAPI_SWEEP_DEFINE_H
#define SCAPI_SWEEP_DEFINE_H

#include "scapi/solid.h"

/// The part of SC_GTsweep that concerns the solid as a whole: matrices, direction, length, and
/// whether it moves at all. What it writes per record is CompleteSweep's.
void DefineMotion(SOLIDC& solid, const float (*start)[4], const float (*end)[4]);

/// Writes what a pending sweep has not yet written: positions of vertices, orientations and boxes.
/// Without one it does nothing.
void CompleteSweep(SOLIDC& solid);

#endif
