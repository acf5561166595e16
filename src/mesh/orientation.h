#ifndef SCAPI_MESH_ORIENTATION_H
#define SCAPI_MESH_ORIENTATION_H

/// Orientation of a triangle to a motion, both given by unit vectors: 1 leading, -1 trailing, 0
/// when their dot product is within 1e-5 of zero: the plane of the triangle is along the motion.
int SweepOrientOf(const float* normal, const float* direction);

#endif
