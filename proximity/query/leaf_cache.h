#ifndef PROXIMITY_QUERY_LEAF_CACHE_H
#define PROXIMITY_QUERY_LEAF_CACHE_H

#include <algorithm>

#include "proximity/query/placement.h"

namespace proximity
{

/// The triangles of a leaf, placed, with their boxes. A walk meets one leaf many times in a row.
struct PlacedLeaf {
    std::int32_t first = -1;
    int count = 0;
    Triangle triangle[kMostInLeaf];
    double low[kMostInLeaf][3], high[kMostInLeaf][3];

    void Place(const Tree& tree, const Placement& placement, Leaf leaf)
    {
        if (first == leaf.first) return;
        first = leaf.first, count = leaf.count;
        for (int i = 0; i < count; ++i) {
            triangle[i] = PlaceTriangle(tree, placement, first + i);
            const auto& c = triangle[i].corner;
            for (int axis = 0; axis < 3; ++axis) {
                low[i][axis] = std::min({c[0][axis], c[1][axis], c[2][axis]});
                high[i][axis] = std::max({c[0][axis], c[1][axis], c[2][axis]});
            }
        }
    }
};

/// Square of the distance of the boxes of two placed triangles, good to a few roundings.
inline double SquaredBoxGap(const PlacedLeaf& a, int i, const PlacedLeaf& b, int j)
{
    double square = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const double gap =
            std::max({0.0, a.low[i][axis] - b.high[j][axis], b.low[j][axis] - a.high[i][axis]});
        square += gap * gap;
    }
    return square;
}

} // namespace proximity

#endif
