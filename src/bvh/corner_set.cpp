#include "bvh/corner_set.h"

#include <algorithm>

CornerSet GatherCorners(std::span<const Probe> probes)
{
    constexpr std::size_t kMost = static_cast<std::size_t>(kLanes) * CornerSet::kMaxGroups;
    std::array<Point3, kMost> found;
    std::size_t count = 0;
    if (std::ranges::any_of(probes, &Probe::hasForeign)) return {};
    for (const Probe& probe : probes)
        for (const auto& corner : probe.corner) {
            const Point3 point{corner[0], corner[1], corner[2]};
            const auto end = found.begin() + static_cast<std::ptrdiff_t>(count);
            if (std::find(found.begin(), end, point) != end) continue;
            if (count == kMost) return {};
            found[count++] = point;
        }
    CornerSet corners{};
    corners.groups = static_cast<int>((count + kLanes - 1) / kLanes);
    for (std::size_t i = 0; i < static_cast<std::size_t>(corners.groups) * kLanes; ++i)
        for (std::size_t r = 0; r < 3; ++r)
            corners.at[i / kLanes][r][i % kLanes] = float(found[i < count ? i : 0][r]);
    return corners;
}

CornerSet CornersOfLeaf(std::span<const Probe> probes)
{
    static_assert(kItemsPerLeaf <= kLanes && CornerSet::kMaxGroups >= 3);
    CornerSet corners;
    const bool foreign = std::ranges::any_of(probes, &Probe::hasForeign);
    corners.groups = foreign ? 0 : 3;
    for (int slot = 0; slot < 3; ++slot)
        for (int r = 0; r < 3; ++r)
            for (std::size_t i = 0; i < kLanes; ++i)
                corners.at[slot][r][i] = probes[i < probes.size() ? i : 0].corner[slot][r];
    return corners;
}
