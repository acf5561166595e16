#ifndef SCAPI_REFINE_BREAK_TRIANGLE_H
#define SCAPI_REFINE_BREAK_TRIANGLE_H

/// Sorts three corners by height: order[0] the highest, order[2] the lowest. Equal heights come out
/// in the order that the comparisons of the code give. @return order[0]
int OrderCorners(const float* height, int* order);

#endif
