// Can a single edge hit a target of a node? What is left to ask when a traversal has come down to
// the edges of probes.
#ifndef SCAPI_QUERY_EDGE_OVERLAP_H
#define SCAPI_QUERY_EDGE_OVERLAP_H

#include <span>

#include "bvh/target_nodes.h"
#include "query/probe_edges.h"

/// A placed edge in each lane.
struct LaneEdges {
    Lanes middle[3], half[3];            ///< half of the vector from its first end to its second
    Lanes length, unit[3];               ///< unit direction, zero for an edge without length
    Lanes error;                         ///< bound on rounding
    Lanes parallelAcross, sideEndMargin; ///< as in PlacedNodes
};

/// How edges lie to boxes of targets, in the axes of those, and bounds on the step from an edge to
/// a hit beside it.
struct EdgePose {
    Lanes offset[3]; ///< from the boxes' centres to the middle of the edge
    Lanes half[3];   ///< half of the edge
    Lanes radius[3]; ///< its magnitude
    Lanes cosine[3];
    Lanes error;
    Lanes besideMargin;    ///< as in RelativePose
    Lanes beyondFraction;  ///< the part of its length by which a hit can lie beyond an end
    Lanes stepAlongNormal; ///< along the first axis, of such a hit from that end
};
EdgePose EdgePoseOf(const LaneEdges& edges, const TargetNodes& targets);

/// Projection of the step on an axis of the boxes.
Lanes MarginOnBoxAxis(const EdgePose& pose, const TargetNodes& targets, int k);

/// @param edges  one to four; the lanes left over repeat the first
/// @param error  bound on the rounding of coordinates
LaneEdges GatherEdges(std::span<const PlacedEdge> edges, float error);

/// In which lanes the edge can hit a target of the node: the segment against the oriented box, on
/// the box's axes, the edge's own and their cross products, with the margins of the contact rules
/// (Lemma 8).
LaneMask MayHit(const LaneEdges& edges, const TargetNodes& targets);

#endif
