// What the searches of a query share: limits, scratch, and the walk over pairs of nodes.
#ifndef PROXIMITY_QUERY_SEARCH_H
#define PROXIMITY_QUERY_SEARCH_H

#include <algorithm>
#include <array>
#include <vector>

#include "proximity/query/node_bounds.h"

namespace proximity
{

/// The options of a call, checked, with their defaults filled in.
struct Limits {
    double tolerance = 0;
    double resolution = 0; ///< above 0
    double upperBound = 0; ///< infinite for none
    std::int64_t budget = 0;
    bool surfacesOnly = false, wantRelation = false, ignoreStartContact = false;
};

struct NodePair {
    float bound; ///< of the square of the distance
    Handle a, b;
};

/// A pair of nodes or triangles that is shown to be clear up to a time; see impact.cpp.
struct Event {
    double time;
    float size;        ///< of the nodes together; 0 for triangles
    std::int32_t a, b; ///< handles of nodes, or triangles
    bool triangles;
};

/// Owned by one thread at a time. What it remembers of the last call is only a hint.
struct Scratch {
    std::vector<NodePair> stack;
    std::vector<Event> events;
    std::int32_t lastA = -1, lastB = -1; ///< triangles, in the order of the trees
};

/// Which side of a pair is divided: the one that can be, or the larger.
inline bool DividesA(const Tree& a, const Tree& b, Handle atA, Handle atB)
{
    if (IsLeaf(a.Child(atA))) return false;
    if (IsLeaf(b.Child(atB))) return true;
    const Box boxA = a.BoxOf(atA), boxB = b.BoxOf(atB);
    const auto size = [](const Box& box) { return box.half[0] + box.half[1] + box.half[2]; };
    return size(boxA) >= size(boxB);
}

/// Both directions of a change of frames, for whichever side is divided.
struct PairFrames {
    FrameChange toA, toB;

    explicit PairFrames(const PlacedPair& pair)
        : toA(MakeFrameChange(pair.a, pair.b)), toB(MakeFrameChange(pair.b, pair.a))
    {
    }
};

/// Divides a pair: bounds of its (up to four) parts, nearest last.
/// @return number of parts whose bound is below `limit`
inline int DividePair(const Tree& a, const Tree& b, const PairFrames& frames, const NodePair& pair,
                      float limit, std::array<NodePair, kLanes>& parts)
{
    const bool dividesA = DividesA(a, b, pair.a, pair.b);
    const std::int32_t below = dividesA ? a.Child(pair.a) : b.Child(pair.b);
    const Node& node = (dividesA ? a : b).node[static_cast<std::size_t>(below)];
    const FrameChange& change = dividesA ? frames.toA : frames.toB;
    const Box other = dividesA ? b.BoxOf(pair.b) : a.BoxOf(pair.a);
    const Lanes bounds = SquaredBounds(change, node, PrepareBox(change, other), limit);
    int count = 0;
    for (int lane = 0; lane < kLanes && node.child[lane] != kNoChild; ++lane) {
        // A bound that is not a number would be one to look into.
        if (bounds[lane] >= limit) continue;
        const Handle handle = HandleOf(below, lane);
        NodePair part{bounds[lane], dividesA ? handle : pair.a, dividesA ? pair.b : handle};
        int at = count++;
        for (; at > 0 && parts[static_cast<std::size_t>(at - 1)].bound < part.bound; --at)
            parts[static_cast<std::size_t>(at)] = parts[static_cast<std::size_t>(at - 1)];
        parts[static_cast<std::size_t>(at)] = part;
    }
    return count;
}

/// Walks over the pairs of leaves below those on the stack whose bounds are below a limit, nearest
/// first.
/// @param visitor  has Limit() as PruneLimit gives it, asked again and again; PassesOver(NodePair),
///                 true where more than the bound tells that a pair is of no interest; Spend(),
///                 false ends the walk; VisitLeaves(Leaf, Leaf), false ends it too
/// @return false when it was ended
template <class Visitor>
bool WalkStack(const Tree& a, const Tree& b, const PairFrames& frames, std::vector<NodePair>& stack,
               Visitor& visitor)
{
    while (!stack.empty()) {
        const NodePair pair = stack.back();
        stack.pop_back();
        if (pair.bound >= visitor.Limit() || visitor.PassesOver(pair)) continue;
        if (!visitor.Spend()) return false;
        const std::int32_t childA = a.Child(pair.a), childB = b.Child(pair.b);
        if (IsLeaf(childA) && IsLeaf(childB)) {
            if (!visitor.VisitLeaves(LeafOf(childA), LeafOf(childB))) return false;
            continue;
        }
        std::array<NodePair, kLanes> parts;
        const int count = DividePair(a, b, frames, pair, visitor.Limit(), parts);
        stack.insert(stack.end(), parts.begin(), parts.begin() + count);
    }
    return true;
}

/// The same for all pairs of leaves.
template <class Visitor>
bool WalkPairs(const Tree& a, const Tree& b, const PairFrames& frames, std::vector<NodePair>& stack,
               Visitor& visitor)
{
    stack.assign(1, {0.0f, kRoot, kRoot});
    return WalkStack(a, b, frames, stack, visitor);
}

} // namespace proximity

#endif
