#include "proximity/bvh/extents.h"

#include <algorithm>
#include <cfloat>

namespace proximity
{
namespace
{

void Add(const float* low, const float* high, Extents& extents)
{
    for (int axis = 0; axis < 3; ++axis) {
        extents.low[axis] = std::min(extents.low[axis], low[axis]);
        extents.high[axis] = std::max(extents.high[axis], high[axis]);
    }
}

} // namespace

std::vector<Extents> ExtentsOf(const Tree& tree)
{
    constexpr Extents kNone{{FLT_MAX, FLT_MAX, FLT_MAX}, {-FLT_MAX, -FLT_MAX, -FLT_MAX}};
    std::vector<Extents> all(tree.node.size() * kLanes, kNone);
    // Children before their parents, which stand before them.
    for (std::size_t at = all.size(); at-- > 0;) {
        const std::int32_t child = tree.Child(static_cast<Handle>(at));
        if (child == kNoChild) continue;
        if (IsLeaf(child)) {
            const Leaf leaf = LeafOf(child);
            for (int t = leaf.first; t < leaf.first + leaf.count; ++t)
                for (const auto& corner : tree.triangle[static_cast<std::size_t>(t)].corner)
                    Add(corner, corner, all[at]);
        } else {
            const auto below = static_cast<std::size_t>(HandleOf(child, 0));
            for (std::size_t k = below; k < below + kLanes; ++k)
                Add(all[k].low, all[k].high, all[at]);
        }
    }
    return all;
}

} // namespace proximity
