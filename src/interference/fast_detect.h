// The fast way to the answer of SC_DetectIntersection. Who does not care for speed can leave this
// unread: every answer is that of the plain walk, which stays as it is.
//
// The walk's answer is yes when any edge that it comes by hits a triangle in any leaf whose cell
// the edge's box overlaps. So the order of edges does not matter, and whole groups of pairs may be
// left out as long as none of them could have been a yes. Four things make that delicate:
//
// - Where a hit may lie. The margin of PointInsideTriangle grows as sides get short, and segments
// in
//   one plane are compared by spheres. Each target has a box that holds all of it: hit_box.cpp.
// - A crossing point can lie beyond the ends of its edge by up to the edge's length, and a corner
// of
//   the target inside the sphere over the edge by up to 0.0565 from it (where the parallel test
//   lets it pass: half the length of a short edge, 0.0064 / length of a long one). Movers are
//   widened by both.
// - The plane and the crossing point are carried along a leaf's chain. A leaf with a triangle that
//   has no plane is one target and is walked whole; so is the leaf of a target whose crossing point
//   would have to be a carried one.
// - Hits late in a triangle's steps make the walk skip others: moved_pieces.cpp follows it.
//
// Boxes are rounded outwards, and the boxes of movers, carried through the matrices of the motion,
// get room for the rounding of the vertices. What survives is decided by the tests of the walk. A
// solid that is simple and moves, swept and first, rotated since its load, beyond 1e9, or moved by
// matrices that are not affine, takes the plain walk, as do numbers that are not finite.
#ifndef SCAPI_INTERFERENCE_FAST_DETECT_H
#define SCAPI_INTERFERENCE_FAST_DETECT_H

#include "scapi/solid.h"

/// As a.SC_DetectIntersection(&b), and needs nothing of what a sweep of b may still owe.
/// @return 1 or 0
int DetectFast(SOLIDC& a, SOLIDC& b);

#endif
