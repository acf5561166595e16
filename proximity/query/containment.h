#ifndef PROXIMITY_QUERY_CONTAINMENT_H
#define PROXIMITY_QUERY_CONTAINMENT_H

#include "proximity/query/placement.h"

namespace proximity
{

enum class Side { kOutside, kInside, kUnknown };

/// Is a point inside a closed body? By two rays in different directions, with the exact signs of
/// all crossings: both must give the winding number, and that must be 0, 1 or -1.
/// @param point  body coordinates, not on the surface
Side SideOf(const Body& body, const double* point);

/// How far apart surfaces must be for RelationApart to tell.
double ContainmentMargin(const Body& a, const Body& b, const PlacedPair& pair);

/// How two bodies whose surfaces are apart lie to each other.
/// @param apart  a lower bound on the distance of the surfaces, above 0
/// @return SCAPI_APART, SCAPI_A_IN_B, SCAPI_B_IN_A or SCAPI_UNKNOWN
int RelationApart(const Body& a, const Body& b, const PlacedPair& pair, double apart);

} // namespace proximity

#endif
