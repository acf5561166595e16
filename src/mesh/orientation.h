#ifndef SCAPI_MESH_ORIENTATION_H
#define SCAPI_MESH_ORIENTATION_H

/// How a triangle faces a motion: 1 along it, -1 against it, 0 within 1e-5 of parallel.
int SweepOrientOf(const float* normal, const float* direction);

#endif
