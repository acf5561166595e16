#include "query/corner_planes.h"

#include <array>
#include <cmath>
#include <span>

#include "bvh/corner_set.h"
#include "query/margins.h"

namespace
{

/// Four corners where the motion has them.
struct PlacedCorners {
    Lanes at[3], magnitudes; ///< the sum of those of the coordinates
};

PlacedCorners PlaceCorners(const Motion& motion, const Lanes* rest, float side)
{
    PlacedCorners placed{};
    for (int r = 0; r < 3; ++r) {
        placed.at[r] =
            motion.origin[r] + side * motion.halfDisplacement[r] + Dot(motion.matrix[r], rest);
        placed.magnitudes += Abs(placed.at[r]);
    }
    return placed;
}

LaneMask TouchPlane(const PlacedCorners& corners, const TargetPlane& plane, Lanes tolerance)
{
    const Lanes height = plane.normal[0] * corners.at[0] + plane.normal[1] * corners.at[1] +
                         plane.normal[2] * corners.at[2] + plane.d;
    return Abs(height) <= tolerance + HeightError(corners.magnitudes + std::fabs(plane.d));
}

/// Whether one of the corners can lie in one of the planes.
bool MayTouchPlanes(const Motion& motion, const CornerSet& corners,
                    std::span<const TargetPlane> planes)
{
    std::array<PlacedCorners, std::size_t{2} * CornerSet::kMaxGroups> placed;
    std::size_t count = 0;
    for (int group = 0; group < corners.groups; ++group)
        for (const float side : {-1.0f, 1.0f}) {
            placed[count++] = PlaceCorners(motion, corners.at[group], side);
            if (!motion.hasSweptQuads) break;
        }
    const Lanes tolerance = kContact + motion.error;
    LaneMask touch{};
    for (const TargetPlane& plane : planes)
        for (std::size_t i = 0; i < count; ++i) touch |= TouchPlane(placed[i], plane, tolerance);
    return !AllOf(~touch);
}

} // namespace

bool NoCornerInPlanes(const Motion& motion, const ProbeTree& probes, const NodeAt& probe,
                      TargetTree& targets, const NodeAt& target)
{
    const ItemRange& items = targets.bvh.wide[target.wide].items[target.lane];
    if (motion.pass == Pass::kAll || items.Count() > kMaxCornerSetItems ||
        targets.nodes[target.wide].holdsCells[target.lane] != 0)
        return false;
    CornerSet corners;
    if (probes.bvh.wide[probe.wide].IsLeaf(probe.lane))
        corners = CornersOfLeaf(probes.ProbesOf(probe.wide, probe.lane));
    else
        corners = probes.CornerSetOf(probe.wide, probe.lane);
    if (corners.groups == 0) return false;
    TargetsBelow(targets, target.wide, target.lane); // fills in the planes
    return !MayTouchPlanes(motion, corners,
                           {&targets.plane[static_cast<std::size_t>(items.first)],
                            static_cast<std::size_t>(items.Count())});
}
