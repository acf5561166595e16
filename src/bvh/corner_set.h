#ifndef SCAPI_BVH_CORNER_SET_H
#define SCAPI_BVH_CORNER_SET_H

#include <span>

#include "bvh/query_trees.h"

/// Gathers the corners of a few movers, each once. @return none when there are too many, or when an
/// edge of theirs runs elsewhere
FewCorners GatherCorners(std::span<const Mover> movers);

/// The same for a leaf, with those that movers share once for each.
FewCorners CornersOfLeaf(std::span<const Mover> movers);

#endif
