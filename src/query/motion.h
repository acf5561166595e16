// Where the movers of a query go: the motion of the second solid, and bounds carried along with it.
#ifndef SCAPI_QUERY_MOTION_H
#define SCAPI_QUERY_MOTION_H

#include "bvh/query_trees.h"
#include "scapi/solid.h"

/// A query of a moving solid goes through the movers once for all, as long as they are large
/// against the way; and from there on up to three times, each time for other edges of theirs.
enum class Pass {
    kEnd,   ///< own edges of all triangles that do not trail, at the end
    kStart, ///< own edges of those that do, at the start
    kWalls, ///< edges of the walls between the two
    kWhole  ///< all of them
};
constexpr int kPasses = 4;

/// The motion as bounds need it, and what of it matters to a pass. All lanes are alike.
struct Motion {
    Lanes m[3][3], start[3];
    Lanes way[3];       ///< of all points, from start to end
    Lanes direction[3]; ///< sweepDirection
    Lanes room;         ///< for rounding of placed vertices, and of what is computed from them
    Lanes scale;        ///< the most by which a length can grow
    Lanes leastScale;   ///< the least, or 0
    Lanes bend;         ///< the most by which products of axes differ from those at rest
    bool isSwept;
    Pass pass;
    bool hasWalls;   ///< among the edges of the pass
    Lanes middle[3]; ///< where the origin is, give or take half the way if there are walls
    // Without walls 0:
    Lanes halfWay[3];
    Lanes extraLength; ///< of walls over their edges
};

/// Nodes of movers where a pass has them: boxes of all ends of edges, which any affine motion makes
/// parallelepipeds, and which lie by up to half the way beside.
struct PlacedBoxes {
    Lanes centre[3];
    Lanes axis[3][3];       ///< where the motion takes those of the box
    Lanes half[3], edge[3]; ///< half extent along each, and the greatest extent of an edge
    Lanes extent[3];        ///< of all edges along an axis, in units of its length
    Lanes beyond[3];        ///< what hits beyond the ends of edges at rest add to it,
    Lanes swayOn[3];        ///< and those beyond the ends of walls' edges besides
    Lanes bare[2];
    Lanes longest; ///< edge, without what walls add
    // Parallel segments count as crossing though they lie beside each other.
    Lanes besideAlong; ///< so far an edge along the first axis can lie beside such a side
    Lanes across; ///< by so much sides go across any edge that is parallel to them, at the most
    Lanes besideEdges; ///< so far an end of such a side can lie beside the edge
    Lanes slant[3];    ///< the greatest part of its length that another edge goes along each axis
    Lanes halfArea;    ///< of the box at rest
};

/// @param rest  boxes of which the first holds all movers
Motion ReadMotion(const SOLIDC& b, const LaneBoxes& rest);
void SetPass(Motion& motion, Pass pass);

/// Whether bounds carried along stay far from where floats end.
bool IsModerate(const Motion& motion);

/// Whether the first of some boxes can hold an edge of the pass that meets a box along the
/// coordinate axes; no other is tested.
bool MayMeet(const Motion& motion, const LaneBoxes& boxes, const float* box);

/// @return which of the nodes can hold an edge that the pass is about, and that meets a box
LaneMask PlaceBoxes(const Motion& motion, const MoverBoxes& boxes, const float* box,
                    PlacedBoxes& placed);

/// How the edges of nodes can hit targets of nodes, pair by pair.
struct Chances {
    LaneMask any;    ///< at all
    LaneMask onEdge; ///< by any point; else by one beyond an end, or beside a side that is parallel
    Lanes overlap;   ///< the more, the likelier is a hit
};
Chances ChancesOf(const Motion& motion, const PlacedBoxes& movers, const TargetBoxes& targets);

#endif
