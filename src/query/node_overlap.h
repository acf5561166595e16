// Can the edges of a node of probes hit a target of a node? An overlap test of oriented boxes by
// the separating axis theorem, on the six face axes, with the margins of the contact rules.
#ifndef SCAPI_QUERY_NODE_OVERLAP_H
#define SCAPI_QUERY_NODE_OVERLAP_H

#include "query/placed_nodes.h"

/// How nodes of probes lie to nodes of targets, pair by pair, in the axes of the targets' boxes.
struct RelativePose {
    Lanes offset[3];    ///< from the targets' centres to the probes', in coordinate axes
    Lanes error;        ///< bound on the rounding of what is computed from it
    Lanes cosine[3][3]; ///< of each of the targets' axes with each of the probes'
    Lanes halfSweep[3];
};
RelativePose RelativePoseOf(const Motion& motion, const PlacedNodes& probes,
                            const TargetNodes& targets);

/// Bounds on the step from an edge to a hit beside it.
struct StepBounds {
    Lanes beyondFraction;
    Lanes beyond[3];       ///< step beyond the end of an edge, from that end (Lemma 4)
    Lanes edgeCosine[3];   ///< of edges off the first axis of their box, at most (Lemma 2)
    Lanes besideMargin;    ///< step from an edge to a parallel side (Lemma 2)
    Lanes stepAlongNormal; ///< the same as beyond[0], where both ends of the step, or both ends of
                           ///< an edge, lie in the plane of one target (Lemma 5)
};
StepBounds StepBoundsOf(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                        const RelativePose& pose);

/// The length of any step, at most (Lemma 6): what is soon known of all of the above.
Lanes LongestStep(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets);

/// Projection on an axis of the probes' boxes of a step beyond the end of an edge.
Lanes BeyondOnProbeAxis(const PlacedNodes& probes, const StepBounds& step, int i);

/// Projection of any step on an axis of the targets' boxes, or of the probes' (Lemma 6).
Lanes MarginOnTargetAxis(const StepBounds& step, const TargetNodes& targets, int k);
Lanes MarginOnProbeAxis(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets,
                        const RelativePose& pose, const StepBounds& step, int i);

/// How nodes of probes overlap nodes of targets, pair by pair.
struct NodeOverlap {
    LaneMask any;    ///< a hit is possible
    LaneMask onEdge; ///< by a point on the edge itself; else only by one beyond its end, or beside
                     ///< a parallel side
    Lanes depth;     ///< of the overlap: the greater, the likelier is a hit
};
NodeOverlap OverlapOf(const Motion& motion, const PlacedNodes& probes, const TargetNodes& targets);

#endif
