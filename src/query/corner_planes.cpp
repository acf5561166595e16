#include "query/corner_planes.h"

#include <array>
#include <cmath>

#include "geometry/predicates.h"
#include "query/margins.h"

namespace
{

/// Four corners where they are, and the greatest of what rounding of their heights comes from.
struct PlacedCorners {
    Lanes at[3], far;
};

PlacedCorners PlaceCorners(const Motion& motion, const Lanes* rest, float side)
{
    PlacedCorners placed{};
    for (int r = 0; r < 3; ++r) {
        placed.at[r] = motion.middle[r] + side * motion.halfWay[r] + Dot(motion.m[r], rest);
        placed.far += Abs(placed.at[r]);
    }
    return placed;
}

LaneMask TouchPlane(const PlacedCorners& corners, const TargetPlane& plane, Lanes room)
{
    const Lanes height = plane.normal[0] * corners.at[0] + plane.normal[1] * corners.at[1] +
                         plane.normal[2] * corners.at[2] + plane.d;
    return Abs(height) <= room + kPlaneRounding * (corners.far + std::fabs(plane.d));
}

} // namespace

bool MayTouchPlanes(const Motion& motion, const FewCorners& corners,
                    std::span<const TargetPlane> planes)
{
    std::array<PlacedCorners, std::size_t{2} * FewCorners::kMostGroups> placed;
    std::size_t count = 0;
    for (int group = 0; group < corners.groups; ++group)
        for (const float side : {-1.0f, 1.0f}) {
            placed[count++] = PlaceCorners(motion, corners.at[group], side);
            if (!motion.hasWalls) break;
        }
    const Lanes room = kContact + motion.room;
    LaneMask touch{};
    for (const TargetPlane& plane : planes)
        for (std::size_t i = 0; i < count; ++i) touch |= TouchPlane(placed[i], plane, room);
    return !AllOf(~touch);
}
