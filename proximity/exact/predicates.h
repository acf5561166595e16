// The exact tests on which every decision rests. Each answer is the one of real arithmetic on the
// doubles as given: any finite doubles, of any scale and mixture of scales, denormal ones too. A
// value that is not finite has no answer: such input is the caller's to refuse.
#ifndef PROXIMITY_EXACT_PREDICATES_H
#define PROXIMITY_EXACT_PREDICATES_H

namespace proximity
{

/// On which side of the plane through a, b, c does d lie? Points are three doubles.
/// @return the sign of ((b - a) x (c - a)) . (d - a), 1, 0 or -1: 1 where a, b, c run
///         counterclockwise as seen from d; 0 where the four share a plane
int Orient3d(const double* a, const double* b, const double* c, const double* d);

/// Which way does the corner a, b, c turn, seen along an axis?
/// @param axis  0 to 2, the coordinate that is dropped
/// @return the sign of component `axis` of (b - a) x (c - a): 1, 0 or -1
int Orient2d(const double* a, const double* b, const double* c, int axis);

/// Where a segment crosses a plane.
/// @pre    Orient3d(a, b, c, p) and Orient3d(a, b, c, q) are not equal in sign
/// @return t, 0 to 1: the crossing point is p + t * (q - p); correct to a few units in the last
///         place of t; exactly 0 or 1 where that end lies in the plane
double CrossingParameter(const double* a, const double* b, const double* c, const double* p,
                         const double* q);

} // namespace proximity

#endif
