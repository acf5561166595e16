#ifndef SCAPI_EXACT_EDGE_BUFFER_H
#define SCAPI_EXACT_EDGE_BUFFER_H

#include "geometry/bbox.h"

/// The output buffer of an edge walk, which starts as an edge that meets no box. A repeated edge
/// (docs/behaviour.md) can come first and is then tested as this one.
struct EdgeBuffer {
    float edge[2][3] = {{kEmptyExtreme, kEmptyExtreme, kEmptyExtreme},
                        {kEmptyExtreme, kEmptyExtreme, kEmptyExtreme}};
};

#endif
