// The cheap pre-test: boxes carried through matrices. Matrices are 16 floats in row order.
#ifndef SCAPI_GEOMETRY_TRANSFORMED_BOXES_H
#define SCAPI_GEOMETRY_TRANSFORMED_BOXES_H

/// Whether two matrices differ by more than their noise: 2.5e-6 in the first three columns, 1e-4 in
/// the fourth, relative to elements above 1. @return 1 or 0
int MatricesDiffer(const float* a, const float* b);

/// @return 1, or 0 with `out` unwritten and a status bit raised for a singular matrix
int InvertMatrix(float* out, const float* m);

/// The axis-aligned box of the eight corners of a box, carried through a matrix with the
/// homogeneous divide. A corner with w near 0 repeats the one before, or stays itself as the first.
void TransformBox(float* out, const float* matrix, const float* box);

/// Whether two boxes overlap or touch. @return 1 or 0
int BoxesOverlap(const float* a, const float* b);

#endif
