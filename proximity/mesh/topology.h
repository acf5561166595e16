// How the triangles of a mesh hang together.
#ifndef PROXIMITY_MESH_TOPOLOGY_H
#define PROXIMITY_MESH_TOPOLOGY_H

#include <array>
#include <span>

#include "proximity/mesh/weld.h"

namespace proximity
{

/// An edge use: a triangle and the way it runs the edge.
struct EdgeUse {
    std::int32_t low, high; ///< vertices, low < high
    std::int32_t triangle;
    bool forward; ///< from low to high
};

/// All uses of edges, those of one edge together, in order of triangles. Sides of length zero are
/// left out.
std::vector<EdgeUse> SortedEdgeUses(const Welded& welded);

/// Calls visit(first, last) for the uses of each edge.
template <class Visit>
void ForEachEdge(std::span<const EdgeUse> uses, Visit visit)
{
    for (std::size_t first = 0, last = 0; first < uses.size(); first = last) {
        while (last < uses.size() && uses[last].low == uses[first].low &&
               uses[last].high == uses[first].high)
            ++last;
        visit(uses.subspan(first, last - first));
    }
}

/// As many uses one way as the other: the surface has no rim there.
bool IsBalanced(std::span<const EdgeUse> uses);

/// For each triangle, the number of its connected part, from 0, in order of first triangles. Parts
/// are connected by vertices.
std::vector<std::int32_t> ShellsOf(const Welded& welded, std::int32_t& count);

/// What containment needs to know of a mesh.
struct Topology {
    bool closed = false;                          ///< all edges are balanced
    std::vector<std::array<float, 3>> shellPoint; ///< a corner of each connected part
};

Topology TopologyOf(std::span<const FloatTriangle> triangles);

} // namespace proximity

#endif
