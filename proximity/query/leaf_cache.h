// The triangles of a leaf, placed, and which pairs of two leaves can be near each other.
#ifndef PROXIMITY_QUERY_LEAF_CACHE_H
#define PROXIMITY_QUERY_LEAF_CACHE_H

#include <bit>

#include "proximity/kernel/arithmetic.h"
#include "proximity/query/placement.h"

namespace proximity
{

constexpr int kLeafPacks = kMostInLeaf / kPackLanes;

/// A number of each triangle of a leaf.
struct LeafLanes {
    Pack pack[kLeafPacks];

    double operator[](int i) const { return pack[i / kPackLanes][i % kPackLanes]; }
};

/// Lanes behind the last triangle repeat it.
struct PlacedLeaf {
    std::int32_t first = -1;
    int count = 0;
    LeafLanes corner[3][3]; ///< number, axis
    LeafLanes low[3], high[3];
    double size; ///< no corner has a larger |x| + |y| + |z|

    /// A walk meets one leaf many times in a row.
    void Place(const Tree& tree, const Placement& placement, Leaf leaf)
    {
        if (first != leaf.first) PlaceAnew(tree, placement, leaf);
    }
    Triangle TriangleAt(int i) const
    {
        Triangle out;
        for (int k = 0; k < 3; ++k)
            for (int axis = 0; axis < 3; ++axis) out.corner[k][axis] = corner[k][axis][i];
        return out;
    }

private:
    void PlaceAnew(const Tree& tree, const Placement& placement, Leaf leaf);
};

/// Bit kMostInLeaf * i + j stands for triangles i of A and j of B.
using PairBits = std::uint32_t;

/// The pairs of two leaves that may be no farther apart than `limit`; all others are farther
/// (Lemma L1).
PairBits NearPairs(const PlacedLeaf& a, const PlacedLeaf& b, double limit);

/// Calls visit(i, j) for pairs in order; false ends it.
template <class Visit>
bool ForEachPair(PairBits pairs, Visit visit)
{
    for (; pairs != 0; pairs &= pairs - 1) {
        const int number = std::countr_zero(pairs);
        if (!visit(number / kMostInLeaf, number % kMostInLeaf)) return false;
    }
    return true;
}

} // namespace proximity

#endif
