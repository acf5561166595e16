// What is shared of a mesh: its tree, and what containment needs, found out at the first need.
#ifndef PROXIMITY_QUERY_BODY_H
#define PROXIMITY_QUERY_BODY_H

#include <mutex>

#include "proximity/bvh/tree.h"
#include "proximity/mesh/topology.h"

namespace proximity
{

struct Body {
    explicit Body(Triangles triangles) : tree(BuildTree(std::move(triangles))), reach(tree.Reach())
    {
    }

    /// Safe to call from many threads.
    const Topology& GetTopology() const
    {
        std::call_once(once, [this] { topology = TopologyOf(tree.triangle); });
        return topology;
    }

    Tree tree;
    double reach; ///< no point is farther from tree.center

private:
    mutable std::once_flag once;
    mutable Topology topology;
};

} // namespace proximity

#endif
