// The fast way to the answer of SC_DetectIntersection. Who does not care for speed can leave this
// unread: every answer is that of the plain walk, which stays as it is.
//
// The walk's answer is yes when any edge that it comes by hits a triangle in any leaf whose cell
// the edge's box overlaps. So the order of edges does not matter, and whole groups of pairs may be
// left out as long as none of them could have been a yes. Two trees of boxes, one of each solid,
// which grow where queries go (query_trees.h), are walked together, four nodes at a time
// (motion.h), down to the single edges of a leaf of movers (mover_leaf.h, edge_chances.h). What
// makes it delicate:
//
// - Where a hit may lie. The margin of PointInsideTriangle grows as sides get short. Each target
//   has a region that holds all its hits: hit_region.cpp.
// - A crossing point can lie beyond the ends of its edge by up to the edge's length, and ends of
//   segments that count as parallel lie beside each other by up to half a side. Both only when an
//   end of the edge is within the contact tolerance of the target's plane, and the first by little
//   when the edge is steep to the plane. So boxes are parted with all that room between them; but
//   where a hit would need it, a corner has to lie where the planes of the targets can run: near
//   the boxes, and once both nodes are small near a plane itself (corner_planes.h). Such pairs wait
//   until none of the likelier ones has given a hit.
// - The plane and the crossing point are carried along a leaf's chain. A leaf with a triangle that
//   has no plane is one target and is walked whole; so is the leaf of a target whose crossing point
//   would have to be a carried one.
// - Hits late in a triangle's steps make the walk skip others: moved_pieces.cpp follows it.
//
// Boxes are rounded outwards, and have room for the rounding of placed vertices and of the floats
// that they are parted in. What survives is decided by the tests of the walk. A solid that is
// simple and moves, rotated since its load, beyond 1e9, or moved by matrices that are not affine or
// take it beyond 1e12, takes the plain walk, as do numbers that are not finite. Where the first
// solid is swept too, see swept_first.h.
#ifndef SCAPI_QUERY_FAST_DETECT_H
#define SCAPI_QUERY_FAST_DETECT_H

#include "scapi/solid.h"

/// As a.SC_DetectIntersection(&b), and needs nothing of what a sweep of b may still owe.
/// @return 1 or 0
int DetectFast(SOLIDC& a, SOLIDC& b);

#endif
