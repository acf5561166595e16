// The hierarchy of the triangles whose edges are the probes, those of the second solid.
#ifndef SCAPI_BVH_PROBE_NODES_H
#define SCAPI_BVH_PROBE_NODES_H

#include <array>
#include <span>
#include <vector>

#include "bvh/bvh.h"
#include "bvh/obb_lanes.h"
#include "scapi/solid.h"

/// A triangle as a source of edges: what a query needs of it, side by side, where the solid's own
/// records would cost a cache miss each.
struct Probe {
    float corner[3][3];
    float normal[3];
    std::int32_t index; ///< into triangles
    /// For each slot: an edge that another triangle gives to the walk, one that runs from this
    /// corner to the one before, one that runs the other way, or one between other vertices, which
    /// merging leaves where a side was shorter than the tolerance.
    enum Side : std::uint8_t { kNotOwn, kBackward, kForward, kForeign } side[3];
    bool hasForeign;    ///< whether any edge is, given by this triangle or not
    float perLength[3]; ///< 1 over the length of the side in each slot
};

/// Bounds of four nodes of probes, at rest.
struct ProbeNodes {
    ObbLanes box;            ///< of all ends of edges; the first axis is the longest
    Lanes edgeExtent[3];     ///< greatest extent of an edge along each axis
    Lanes longest, shortest; ///< edge
    Lanes edgeAlongLeast;    ///< edge that has a good part of its length along the first axis
    Lanes edgeAcrossMost;    ///< other edge
    Lanes maxCosine[3];      ///< greatest component of the unit vector of another edge on each axis
    Lanes cornerGap[2];    ///< widest interval of the first axis without a corner, from the centre
    Lanes low[3], high[3]; ///< bounds of the normals of the probes and of their neighbours
};

/// The corners of a node of few probes, four by four; the lanes left over repeat the first.
struct CornerSet {
    static constexpr int kMaxGroups = 4;
    std::int32_t groups; ///< 0 where there are more, or where an edge is foreign
    Lanes at[kMaxGroups][3];
};

constexpr int kMaxCornerSetItems = 16; ///< of a node that keeps its CornerSet, unless it is a leaf

struct ProbeTree {
    bool tried = false;
    Bvh bvh;
    std::vector<std::int32_t> foreign;  ///< triangles with an edge that is, in order
    std::vector<std::int32_t> triangle; ///< by item
    Scratch<Probe> probe;               ///< by item, filled in where subtrees are built
    BlockArray<ProbeNodes> nodes;       ///< by wide node
    BlockArray<CornerSet> cornerSets;   ///< the first has no groups
    int cornerSetCount = 0;
    BlockArray<std::array<std::int32_t, 4>> cornerSetIndex; ///< by wide node, for each lane

    /// Without groups for a leaf, and where there are too many corners.
    const CornerSet& CornerSetOf(int wide, int lane) const
    {
        return cornerSets[cornerSetIndex[wide][static_cast<std::size_t>(lane)]];
    }
    /// Of a leaf.
    std::span<const Probe> ProbesOf(int wide, int lane) const
    {
        const ItemRange& items = bvh.wide[wide].items[lane];
        return {&probe[static_cast<std::size_t>(items.first)],
                static_cast<std::size_t>(items.Count())};
    }
};

/// Bounds of all vertices of a solid, in all lanes, without a hierarchy.
/// @return null when a vertex or normal is not IsNearby, or the number of a vertex is out of range
const ObbLanes* ProbeBoundsOf(SOLIDC& solid);

/// The hierarchy of a solid's probes, built as far as it is not yet (see kLazyItems).
/// @return null where ProbeBoundsOf gives null
ProbeTree* ProbeTreeOf(SOLIDC& solid);

/// Builds the subtree below a node that has none yet. @return the wide node below
int BuildProbesBelow(const SOLIDC& solid, ProbeTree& probes, int wide, int lane);

/// The wide node below a node, built if need be; for a leaf its number, negative or 0.
inline int ProbesBelow(const SOLIDC& solid, ProbeTree& probes, int wide, int lane)
{
    const int below = probes.bvh.wide[wide].below[lane];
    return below == WideNode::kUnbuilt ? BuildProbesBelow(solid, probes, wide, lane) : below;
}

#endif
