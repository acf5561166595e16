// Where the movers of a query go: the motion of the second solid, and bounds carried along with it.
#ifndef SCAPI_INTERFERENCE_MOTION_H
#define SCAPI_INTERFERENCE_MOTION_H

#include "interference/query_trees.h"
#include "scapi/solid.h"

/// A query goes through the movers up to three times, each time for other edges of theirs.
enum class Pass {
    kStart, ///< own edges of trailing triangles, at the start
    kEnd,   ///< own edges of all others, at the end
    kWalls  ///< edges of the walls between the two
};

/// The motion in doubles, as bounds need it, and what of it matters to a pass.
struct Motion {
    double m[3][4];
    double shift[3];   ///< from start to end
    double room;       ///< for rounding of placed vertices, and of what is computed from them
    double scale;      ///< the most by which a length can grow
    double leastScale; ///< the least, or 0
    double bend;       ///< the most by which products of axes differ from those at rest
    // Ends of edges lie at `middle`, give or take `half`, of the way.
    double middle[3], half[3];
    double extraLength; ///< of walls over their edges; 0 in the other passes
};

/// A node of movers where a pass has it: the box of all ends of edges, which any affine motion
/// makes a parallelepiped, and which lies by up to half the way beside.
struct PlacedNode {
    int node;
    double centre[3];
    double axis[3][3];       ///< where the motion takes those of the box
    double half[3], edge[3]; ///< half extents, and the greatest extent of an edge, in axes
    double extent[3];        ///< of all edges along `axis`, each in units of its length
    double beyond[3];        ///< what hits beyond their ends add to it
    double halfArea;         ///< of the box at rest
    double longest;          ///< edge
    int longestAxis;
    double bare[2];     ///< of the node, along its longest axis
    // How far off each other parallel segments can lie: an end of an edge beside a side, and an end
    // of a side beside an edge.
    double besideSides, besideEdges;
};

/// @param rest  box of all movers at rest
Motion ReadMotion(const SOLIDC& b, const OrientedBox& rest);
void SetPass(Motion& motion, Pass pass);

/// Fills in all but the number.
void PlaceNode(const Motion& motion, const MoverNode& node, PlacedNode& placed);

/// Whether a placed node can meet a box along the coordinate axes.
bool MeetsBox(const Motion& motion, const PlacedNode& placed, const float* box);

/// How an edge of a node can hit one of some targets.
enum class Chance {
    kNone,
    kBeside, ///< by a point beyond its ends, or beside a side that is parallel
    kOnEdge  ///< by any point
};
Chance ChanceOf(const Motion& motion, const PlacedNode& mover, const TargetNode& target);

/// Where an end of an edge must lie that is to hit beside itself: so high over the centre of a
/// target's box, along its first axis, at the most, up or down.
double HeightOfEnds(const Motion& motion, const PlacedNode& mover, const TargetNode& target);

#endif
