#include "proximity/query/leaf_cache.h"

#include <algorithm>

namespace proximity
{
namespace
{

constexpr double kProjectionRoundings = 8; ///< of a gap along a normal, in Lemma L1

using PackMask = decltype(Pack{} < Pack{});

Pack Less(Pack x, Pack y) { return x < y ? x : y; }
Pack Greater(Pack x, Pack y) { return x > y ? x : y; }
Pack Size(Pack x) { return Greater(x, -x); }

PairBits BitsOf(PackMask mask)
{
    static_assert(kPackLanes == 2);
    return PairBits(mask[0] & 1) | PairBits(mask[1] & 2);
}

/// Triangles of Y whose boxes are no farther than the root of `square` from that of triangle i.
PairBits NearBoxes(const PlacedLeaf& x, int i, const PlacedLeaf& y, double square)
{
    PairBits bits = 0;
    const Pack zero = Constant<Pack>(0);
    for (int n = 0; n < kLeafPacks; ++n) {
        Pack sum = zero;
        for (int axis = 0; axis < 3; ++axis) {
            const Pack after = y.low[axis].pack[n] - x.high[axis][i];
            const Pack before = x.low[axis][i] - y.high[axis].pack[n];
            const Pack gap = Greater(Greater(after, before), zero);
            sum += gap * gap;
        }
        bits |= BitsOf(sum <= square) << (kPackLanes * n);
    }
    return bits;
}

/// Triangles of Y whose gap from triangle i along its normal is at most the limit.
PairBits NearAlongNormal(const PlacedLeaf& x, int i, const PlacedLeaf& y, double square)
{
    double p[3], e[3], f[3], normal[3];
    for (int axis = 0; axis < 3; ++axis) {
        p[axis] = x.corner[0][axis][i];
        e[axis] = x.corner[1][axis][i] - p[axis], f[axis] = x.corner[2][axis][i] - p[axis];
    }
    double length = 0, sum = 0, low = HUGE_VAL, high = -HUGE_VAL;
    for (int k = 0; k < 3; ++k) {
        const int l = (k + 1) % 3, m = (k + 2) % 3;
        normal[k] = e[l] * f[m] - e[m] * f[l];
        length += normal[k] * normal[k], sum += std::fabs(normal[k]);
    }
    for (const auto& corner : x.corner) {
        const double at =
            normal[0] * corner[0][i] + normal[1] * corner[1][i] + normal[2] * corner[2][i];
        low = std::min(low, at), high = std::max(high, at);
    }
    const double error = kProjectionRoundings * kUnit * sum * std::max(x.size, y.size);
    // Squares that are lost below the least double are near, and so is what is not a number: of a
    // triangle without area while there is no limit yet.
    const double far = square * length * (1 + 0x1p-40) + 1e-300;
    PairBits bits = 0;
    for (int n = 0; n < kLeafPacks; ++n) {
        Pack at[3];
        for (int k = 0; k < 3; ++k)
            at[k] = normal[0] * y.corner[k][0].pack[n] + normal[1] * y.corner[k][1].pack[n] +
                    normal[2] * y.corner[k][2].pack[n];
        const Pack after = Less(Less(at[0], at[1]), at[2]) - high;
        const Pack before = low - Greater(Greater(at[0], at[1]), at[2]);
        const Pack gap = Greater(Greater(after, before) - error, Constant<Pack>(0));
        bits |= BitsOf(~(gap * gap > far)) << (kPackLanes * n);
    }
    return bits;
}

} // namespace

void PlacedLeaf::PlaceAnew(const Tree& tree, const Placement& placement, Leaf leaf)
{
    first = leaf.first, count = leaf.count;
    const auto* triangles = &tree.triangle[static_cast<std::size_t>(first)];
    Pack sizes = Constant<Pack>(0);
    for (int n = 0; n < kLeafPacks; ++n) {
        const auto& t = triangles[std::min(kPackLanes * n, count - 1)].corner;
        const auto& u = triangles[std::min(kPackLanes * n + 1, count - 1)].corner;
        for (int k = 0; k < 3; ++k) {
            Pack q[3], sum = Constant<Pack>(0);
            for (int axis = 0; axis < 3; ++axis)
                q[axis] = Pack{t[k][axis], u[k][axis]} - double(tree.center[axis]);
            for (int axis = 0; axis < 3; ++axis) {
                // The same steps as PlacePoint: bits are alike, whoever places a corner.
                const Vec& row = placement.rotation.row[axis];
                const Pack at =
                    row[0] * q[0] + row[1] * q[1] + row[2] * q[2] + placement.center[axis];
                corner[k][axis].pack[n] = at;
                low[axis].pack[n] = k == 0 ? at : Less(at, low[axis].pack[n]);
                high[axis].pack[n] = k == 0 ? at : Greater(at, high[axis].pack[n]);
                sum += Size(at);
            }
            sizes = Greater(sizes, sum);
        }
    }
    size = std::max(sizes[0], sizes[1]);
}

PairBits NearPairs(const PlacedLeaf& a, const PlacedLeaf& b, double limit)
{
    const double square = limit * limit * (1 + 0x1p-40);
    const PairBits inB = (1u << b.count) - 1;
    PairBits pairs = 0;
    for (int i = 0; i < a.count; ++i) {
        PairBits row = NearBoxes(a, i, b, square) & inB;
        if (row != 0) row &= NearAlongNormal(a, i, b, square);
        pairs |= row << (kMostInLeaf * i);
    }
    constexpr PairBits kColumn = 0x1111; // all i of a j
    for (int j = 0; j < b.count; ++j) {
        if ((pairs >> j & kColumn) == 0) continue;
        const PairBits near = NearAlongNormal(b, j, a, square);
        for (int i = 0; i < a.count; ++i)
            if ((near >> i & 1) == 0) pairs &= ~(1u << (kMostInLeaf * i + j));
    }
    return pairs;
}

} // namespace proximity
