// Whether corners of probes lie in planes of targets, which a hit beside an edge asks for. Boxes
// cannot tell: where surfaces run side by side the planes of one cross the boxes of the other, but
// hardly ever meet a corner.
#ifndef SCAPI_QUERY_CORNER_PLANES_H
#define SCAPI_QUERY_CORNER_PLANES_H

#include <span>

#include "bvh/query_trees.h"
#include "query/motion.h"

/// Whether an end of an edge of the pass can lie in one of the planes, within the contact tolerance
/// (Lemma 5). The edges run between the corners, where the motion starts and ends.
bool MayTouchPlanes(const Motion& motion, const CornerSet& corners,
                    std::span<const TargetPlane> planes);

#endif
