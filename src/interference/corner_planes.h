// Whether corners of movers lie in planes of targets, which a hit beside an edge asks for. Boxes
// cannot tell: where surfaces run side by side the planes of one cross the boxes of the other, but
// hardly ever meet a corner.
#ifndef SCAPI_INTERFERENCE_CORNER_PLANES_H
#define SCAPI_INTERFERENCE_CORNER_PLANES_H

#include <span>

#include "interference/motion.h"
#include "interference/query_trees.h"

/// Gathers the corners of a few movers, each once. @return none when there are too many, or when an
/// edge of theirs runs elsewhere
FewCorners GatherCorners(std::span<const Mover> movers);

/// The same for a leaf, with those that movers share once for each.
FewCorners CornersOfLeaf(std::span<const Mover> movers);

/// Whether an end of an edge of the pass of a motion can lie in one of the planes, up to the
/// contact tolerance. The edges run between the corners, where the motion starts and ends.
bool MayTouchPlanes(const Motion& motion, const FewCorners& corners,
                    std::span<const TargetPlane> planes);

#endif
