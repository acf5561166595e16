#include "interference/mover_leaf.h"

#include <cmath>

#include "interference/hit_region.h"
#include "interference/tests.h"
#include "solid/bbox.h"

namespace
{

/// The walk over the chain of one leaf, as it stands.
bool WalkLeaf(const MovedEdge& edge, const OCTREENODE* leaf)
{
    CrossingState state;
    for (T_LIST* triangle = leaf->listHead; triangle; triangle = NextTriangle(triangle))
        if (EdgeCrossesTriangle(edge.ends, triangle->corners, state)) return true;
    return false;
}

bool EdgeHits(const SOLIDC& a, const MovedEdge& edge, const Target& target,
              const LeafPlanes& planes, int lane)
{
    if (!target.triangle)
        return a.octree->IntersectingBboxes(target.leaf->bbox, edge.box) &&
               WalkLeaf(edge, target.leaf);
    CrossingState state;
    for (int r = 0; r < 3; ++r) state.plane[r] = planes.normal[r][lane];
    state.plane[3] = planes.d[lane];
    const Crossing crossing = EdgeCrossesPlane(edge.ends, target.triangle->corners, state);
    if (crossing == Crossing::kNone) return false;
    if (!a.octree->IntersectingBboxes(target.leaf->bbox, edge.box)) return false;
    if (crossing == Crossing::kHit) return true;
    return MayBeCarriedInto(edge.ends, target.triangle->corners, state.plane) &&
           WalkLeaf(edge, target.leaf);
}

/// Which planes an edge leaves alone: both ends are off them, to the same side.
LaneMask StaysOff(const LeafPlanes& planes, const MovedEdge& edge)
{
    constexpr float kRounding = 1e-6f; // of these sums of floats
    Lanes height[2], far = Abs(planes.d);
    for (int end = 0; end < 2; ++end) {
        height[end] = planes.d;
        for (int r = 0; r < 3; ++r) {
            height[end] += planes.normal[r] * edge.ends[end][r];
            far += std::fabs(edge.ends[end][r]);
        }
    }
    const Lanes room = kContact + kRounding * far;
    return ((height[0] > room) & (height[1] > room)) | ((height[0] < -room) & (height[1] < -room));
}

/// What an edge is held against.
struct Against {
    const SOLIDC& a;
    const QueryTrees& targets;
    const MovedEdge& edge;
    const LaneEdge& lanes;

    bool HitsLeaf(const BoxNode& items, int leaf) const
    {
        const LeafPlanes& planes = targets.leafPlanes[static_cast<std::size_t>(leaf)];
        const LaneMask off = StaysOff(planes, edge);
        const Target* target = &targets.target[static_cast<std::size_t>(items.first)];
        for (int lane = 0; lane < items.last - items.first; ++lane)
            if (!off[lane] && EdgeHits(a, edge, target[lane], planes, lane)) return true;
        return false;
    }

    /// As deep as half the tree.
    bool HitsQuad(int quad) const
    {
        const LaneMask may = MayHit(lanes, targets.targetBoxes[static_cast<std::size_t>(quad)]);
        for (int lane = 0; lane < targets.targetTree.Quad(quad).count; ++lane)
            if (may[lane] && HitsLane(quad, lane)) return true;
        return false;
    }

    bool HitsLane(int quad, int lane) const
    {
        const BoxQuad& boxes = targets.targetTree.Quad(quad);
        const int below = boxes.below[lane];
        return below > 0 ? HitsQuad(below)
                         : HitsLeaf(targets.targetTree.At(boxes.node[lane]), -below);
    }
};

} // namespace

void PlaceEdges(const SOLIDC& a, const SOLIDC& b, const QueryTrees& movers, const Motion& motion,
                int node, MoverLeaf& leaf)
{
    if (leaf.node == node) return;
    leaf.node = node;
    leaf.count = 0;
    leaf.splat = false;
    const BoxNode& items = movers.moverTree.At(node);
    for (int i = items.first; i < items.last; ++i) {
        const Mover& mover = movers.mover[static_cast<std::size_t>(i)];
        MovedPieces pieces;
        if (motion.pass == Pass::kWalls)
            CollectWallEdges(b, mover, a.octree->root->bbox, pieces);
        else
            CollectOwnEdges(b, mover, motion.pass == Pass::kStart, a.octree->root->bbox, pieces);
        for (int e = 0; e < pieces.count; ++e) leaf.edge[leaf.count++] = pieces.edge[e];
    }
}

bool EdgesHit(const SOLIDC& a, const QueryTrees& targets, MoverLeaf& leaf, int quad, int lane,
              float room, bool onEdge)
{
    // Four planes are sooner looked at than their box.
    const bool needsBoxes = !onEdge || targets.targetTree.Quad(quad).below[lane] > 0;
    if (needsBoxes && !leaf.splat) {
        for (int e = 0; e < leaf.count; ++e) leaf.lanes[e] = SplatEdge(leaf.edge[e].ends, room);
        leaf.splat = true;
    }
    const TargetBoxes& boxes = targets.targetBoxes[static_cast<std::size_t>(quad)];
    for (int e = 0; e < leaf.count; ++e) {
        const Against against{a, targets, leaf.edge[e], leaf.lanes[e]};
        if ((!needsBoxes || MayHit(against.lanes, boxes)[lane]) && against.HitsLane(quad, lane))
            return true;
    }
    return false;
}
