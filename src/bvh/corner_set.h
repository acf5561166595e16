#ifndef SCAPI_BVH_CORNER_SET_H
#define SCAPI_BVH_CORNER_SET_H

#include <span>

#include "bvh/probe_nodes.h"

/// Gathers the corners of a few probes, each once.
/// @return no groups when there are too many, or when an edge of theirs is foreign
CornerSet GatherCorners(std::span<const Probe> probes);

/// The same for a leaf, without looking for corners that probes share.
CornerSet CornersOfLeaf(std::span<const Probe> probes);

#endif
