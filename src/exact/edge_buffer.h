#ifndef SCAPI_EXACT_EDGE_BUFFER_H
#define SCAPI_EXACT_EDGE_BUFFER_H

#include "geometry/bbox.h"

/// An edge that meets no box: what a piece without a position of its own finds in the buffer when
/// no edge came before it.
struct EdgeBuffer {
    float edge[2][3] = {{kEmptyExtreme, kEmptyExtreme, kEmptyExtreme},
                        {kEmptyExtreme, kEmptyExtreme, kEmptyExtreme}};
};

#endif
