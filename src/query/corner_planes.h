// Whether corners of probes lie in planes of targets, which a hit beside an edge asks for. Boxes
// cannot tell: where surfaces run side by side the planes of one cross the boxes of the other, but
// hardly ever meet a corner.
#ifndef SCAPI_QUERY_CORNER_PLANES_H
#define SCAPI_QUERY_CORNER_PLANES_H

#include "bvh/query_trees.h"
#include "query/motion.h"

/// A node, by its wide node and its lane there.
struct NodeAt {
    int wide, lane;
};

/// Whether no end of an edge of the pass, in a node of few probes, can lie in the plane of one of
/// the few targets of a node within the contact tolerance: then no hit beside an edge is possible
/// (Lemma 5). The edges run between the corners, where the motion starts and ends. False as well
/// where that is not asked: of many probes or targets, of targets bounded by their cell, which have
/// no plane to ask, and before the traversal is about one kind of edges.
bool NoCornerInPlanes(const Motion& motion, const ProbeTree& probes, const NodeAt& probe,
                      TargetTree& targets, const NodeAt& target);

#endif
