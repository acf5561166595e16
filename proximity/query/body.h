// What is shared of a mesh: its tree, and what some searches need, found out at the first need.
#ifndef PROXIMITY_QUERY_BODY_H
#define PROXIMITY_QUERY_BODY_H

#include <atomic>
#include <mutex>

#include "proximity/bvh/extents.h"
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

    /// By handle; safe to call from many threads.
    const std::vector<Extents>& GetExtents() const
    {
        std::call_once(extentsOnce, [this] {
            extents = ExtentsOf(tree);
            extentsBytes = extents.capacity() * sizeof(Extents);
        });
        return extents;
    }
    std::size_t ExtentsBytes() const { return extentsBytes; } ///< 0 until they are asked for

    Tree tree;
    double reach; ///< no point is farther from tree.center

private:
    mutable std::once_flag once, extentsOnce;
    mutable Topology topology;
    mutable std::vector<Extents> extents;
    mutable std::atomic<std::size_t> extentsBytes = 0;
};

} // namespace proximity

#endif
