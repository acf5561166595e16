// Nodes of probes where a motion has them.
#ifndef SCAPI_QUERY_PLACED_NODES_H
#define SCAPI_QUERY_PLACED_NODES_H

#include "query/motion.h"

/// Boxes of all ends of the edges of a pass. An affine motion makes them parallelepipeds; with
/// swept quads an end lies up to half the displacement beside.
struct PlacedNodes {
    Lanes centre[3];
    Lanes axis[3][3];    ///< images of the axes of the box: neither unit nor at right angles
    Lanes half[3];       ///< half extent along each, in units of its length
    Lanes edgeExtent[3]; ///< greatest extent of an own edge along each, likewise
    // Projections on axis[i], with its length as a factor:
    Lanes radius[3];      ///< of all ends of edges, from the centre
    Lanes beyond[3];      ///< of a hit beyond the end of an own edge, from that end
    Lanes sweepExtent[3]; ///< of the displacement
    Lanes cornerGap[2];   ///< widest interval of the first axis without a corner
    Lanes longest;        ///< own edge
    // Parallel segments (Lemma 2):
    Lanes parallelAcross;  ///< component of a parallel side across any edge, at most
    Lanes besideLongEdges; ///< so far an end of an edge along the first axis can lie beside a side
    Lanes sideEndMargin;   ///< so far an end of a side can lie beside an edge
    Lanes directionError;  ///< of a unit vector along an edge, by the rounding of its ends
    Lanes maxCosine[3];    ///< greatest component of the unit vector of another edge on each axis
    Lanes halfArea;        ///< of the box at rest
};

/// Whether the first of some boxes, with all ends of the edges of the pass, can meet a box along
/// the coordinate axes; nothing else is tested.
bool MayMeet(const Motion& motion, const ObbLanes& boxes, const float* box);

/// Which of some placed nodes can hold an edge whose box meets the cells of a node of targets.
LaneMask MeetCells(const Motion& motion, const PlacedNodes& placed, const TargetCells& cells);

/// Which of four planes no edge of a placed node can meet: its box is off them (Lemma 14).
LaneMask StaysOff(const TargetPlane* planes, const Motion& motion, const PlacedNodes& placed,
                  int lane);

/// @param box  six floats, along the coordinate axes
/// @return which of the nodes can hold an edge that the pass is about and that meets the box
LaneMask PlaceNodes(const Motion& motion, const ProbeNodes& nodes, const float* box,
                    PlacedNodes& placed);

#endif
