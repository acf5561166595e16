// The exact extents of what lies below each lane of a tree, where boxes of nodes are rounded
// outwards.
#ifndef PROXIMITY_BVH_EXTENTS_H
#define PROXIMITY_BVH_EXTENTS_H

#include "proximity/bvh/tree.h"

namespace proximity
{

/// The least and the greatest coordinates, as read.
struct Extents {
    float low[3], high[3];
};

/// Of all lanes, by handle. 14 bytes a triangle.
std::vector<Extents> ExtentsOf(const Tree& tree);

} // namespace proximity

#endif
