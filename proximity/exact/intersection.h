// Do closed segments and triangles share a point? Exact on the doubles as given, see predicates.h.
// Triangles are three corners of three doubles; those that are a segment or a point are legal.
#ifndef PROXIMITY_EXACT_INTERSECTION_H
#define PROXIMITY_EXACT_INTERSECTION_H

namespace proximity
{

/// Three corners that lie on one line, or are one point.
bool IsDegenerate(const double (*triangle)[3]);

/// An axis along which the triangle's plane projects one to one.
/// @return 0 to 2, or -1 for a degenerate triangle
int ProjectionAxis(const double (*triangle)[3]);

bool SegmentsMeet(const double* p, const double* q, const double* r, const double* s);

bool SegmentMeetsTriangle(const double* p, const double* q, const double (*triangle)[3]);

bool TrianglesMeet(const double (*a)[3], const double (*b)[3]);

} // namespace proximity

#endif
