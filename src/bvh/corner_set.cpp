#include "bvh/corner_set.h"

#include <algorithm>

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
