#include "interference/corner_planes.h"

#include <algorithm>
#include <cmath>

#include "interference/reach.h"
#include "interference/tests.h"

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

FewCorners GatherCorners(std::span<const Mover> movers)
{
    constexpr std::size_t kMost = static_cast<std::size_t>(kLanes) * FewCorners::kMostGroups;
    std::array<Point3, kMost> found;
    std::size_t count = 0;
    if (std::ranges::any_of(movers, &Mover::hasForeign)) return {};
    for (const Mover& mover : movers)
        for (const auto& corner : mover.corner) {
            const Point3 point{corner[0], corner[1], corner[2]};
            const auto end = found.begin() + static_cast<std::ptrdiff_t>(count);
            if (std::find(found.begin(), end, point) != end) continue;
            if (count == kMost) return {};
            found[count++] = point;
        }
    FewCorners corners{};
    corners.groups = static_cast<int>((count + kLanes - 1) / kLanes);
    for (std::size_t i = 0; i < static_cast<std::size_t>(corners.groups) * kLanes; ++i)
        for (std::size_t r = 0; r < 3; ++r)
            corners.at[i / kLanes][r][i % kLanes] = float(found[i < count ? i : 0][r]);
    return corners;
}

FewCorners CornersOfLeaf(std::span<const Mover> movers)
{
    static_assert(kItemsPerLeaf <= kLanes && FewCorners::kMostGroups >= 3);
    FewCorners corners;
    const bool foreign = std::ranges::any_of(movers, &Mover::hasForeign);
    corners.groups = foreign ? 0 : 3;
    for (int slot = 0; slot < 3; ++slot)
        for (int r = 0; r < 3; ++r)
            for (std::size_t i = 0; i < kLanes; ++i)
                corners.at[slot][r][i] = movers[i < movers.size() ? i : 0].corner[slot][r];
    return corners;
}

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
