#include "bvh/bvh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "geometry/bbox.h"
#include "geometry/vector.h"

// A query costs little where nodes of two surfaces side by side are soon told apart, that is where
// boxes become thinner than the gap. So each node is split where the volumes of both parts,
// weighted with the root of the number of their items, are least: across the middle, or between
// parts that face different ways. The volume is that of the second moments of the corners, which is
// small for a flat part however it lies. The splits that are tried are the borders of a few bins,
// as in binned surface area heuristics (Wald 2007).

namespace
{

constexpr int kDimensions = 6; ///< three of the place, three of the normal
constexpr int kMaxBins = 8;
constexpr int kFewBinItems = 32;         ///< up to so many items half of the bins are enough
constexpr double kMinNormalSpread = 0.1; ///< for a split between normals to be tried
constexpr double kFlat = 1e-6;      ///< least part of the total spread that an axis counts with
constexpr int kSample = 128;        ///< about so many items of a larger node are looked at
constexpr int kMaxChoiceDepth = 48; ///< below it nodes are halved, which bounds the depth

using Items = std::span<BvhItem>;

double Coordinate(const BvhItem& item, int dimension)
{
    if (dimension >= 3) return item.normal[dimension - 3];
    return double(item.corner[0][dimension]) + item.corner[1][dimension] +
           item.corner[2][dimension];
}

/// Moments of the corners of some items, relative to a point among them.
struct Moments {
    double count = 0;
    std::array<double, 3> sum{};
    std::array<double, 6> product{}; ///< xx, yy, zz, xy, yz, zx

    void Add(const BvhItem& item, const float* origin)
    {
        for (const auto& corner : item.corner) {
            const double x = double(corner[0]) - origin[0], y = double(corner[1]) - origin[1],
                         z = double(corner[2]) - origin[2];
            sum[0] += x, sum[1] += y, sum[2] += z;
            product[0] += x * x, product[1] += y * y, product[2] += z * z;
            product[3] += x * y, product[4] += y * z, product[5] += z * x;
        }
        count += 1;
    }
    void Merge(const Moments& other)
    {
        count += other.count;
        for (std::size_t i = 0; i < 3; ++i) sum[i] += other.sum[i];
        for (std::size_t i = 0; i < 6; ++i) product[i] += other.product[i];
    }
};

/// The product of the standard deviations along the principal axes, where none counts as less than
/// a small part of the total; times the total, since long parts overlap more than compact ones.
double VolumeOf(const Moments& m)
{
    const double scale = 1 / (3 * m.count);
    const double x = m.sum[0] * scale, y = m.sum[1] * scale, z = m.sum[2] * scale;
    double xx = m.product[0] * scale - x * x, yy = m.product[1] * scale - y * y,
           zz = m.product[2] * scale - z * z;
    const double xy = m.product[3] * scale - x * y, yz = m.product[4] * scale - y * z,
                 zx = m.product[5] * scale - z * x;
    const double least = kFlat * (xx + yy + zz);
    xx += least, yy += least, zz += least;
    const double square =
        xx * (yy * zz - yz * yz) - xy * (xy * zz - yz * zx) + zx * (xy * yz - yy * zx);
    return std::sqrt(std::max(square, 0.0) * (xx + yy + zz));
}

double CostOf(const Moments& m) { return std::sqrt(m.count) * VolumeOf(m); }

struct Split {
    int dimension = -1;
    double at = 0; ///< items below it go left
    double cost = HUGE_VAL;
};

/// The items of a node, or a sample of them, by one of their coordinates.
struct Bins {
    double low = HUGE_VAL, high = -HUGE_VAL, scale = 0;
    std::array<Moments, kMaxBins> bin{};

    void Widen(double value)
    {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    Moments& At(double value, int count)
    {
        return bin[static_cast<std::size_t>(std::clamp(int((value - low) * scale), 0, count - 1))];
    }
};

void TrySplits(const Bins& bins, int dimension, std::size_t count, Split& best)
{
    std::array<Moments, kMaxBins> below{};
    for (std::size_t b = 1; b < count; ++b) {
        below[b] = below[b - 1];
        below[b].Merge(bins.bin[b - 1]);
    }
    Moments above;
    for (std::size_t b = count - 1; b > 0; --b) {
        above.Merge(bins.bin[b]);
        if (bins.bin[b].count == 0 || below[b].count == 0) continue;
        const double cost = CostOf(above) + CostOf(below[b]);
        if (cost < best.cost) best = {dimension, bins.low + double(b) / bins.scale, cost};
    }
}

Split ChooseSplit(Items items)
{
    std::array<Bins, kDimensions> bins;
    const int count = items.size() > kFewBinItems ? kMaxBins : kMaxBins / 2;
    const std::size_t step = 1 + items.size() / kSample;
    for (std::size_t i = 0; i < items.size(); i += step)
        for (int d = 0; d < kDimensions; ++d)
            bins[static_cast<std::size_t>(d)].Widen(Coordinate(items[i], d));
    std::array<int, kDimensions> wide;
    int wideCount = 0;
    for (int d = 0; d < kDimensions; ++d) {
        Bins& one = bins[static_cast<std::size_t>(d)];
        if (!(one.high - one.low > (d < 3 ? 0 : kMinNormalSpread))) continue;
        one.scale = count / (one.high - one.low);
        wide[static_cast<std::size_t>(wideCount++)] = d;
    }
    const auto dimensions = std::span(wide).first(static_cast<std::size_t>(wideCount));
    for (std::size_t i = 0; i < items.size(); i += step) {
        Moments moments;
        moments.Add(items[i], items[0].corner[0]);
        for (const int d : dimensions)
            bins[static_cast<std::size_t>(d)].At(Coordinate(items[i], d), count).Merge(moments);
    }
    Split best;
    for (const int d : dimensions)
        TrySplits(bins[static_cast<std::size_t>(d)], d, static_cast<std::size_t>(count), best);
    return best;
}

/// Halves items along the coordinate in which they spread most.
std::size_t Halve(Items items)
{
    float bounds[6], spread[3];
    ClearBbox(bounds);
    for (const BvhItem& item : items) ExtendBbox(bounds, item.corner[0]);
    for (int axis = 0; axis < 3; ++axis) spread[axis] = float(Extent(bounds, axis));
    const int axis = LargestAxis(spread);
    const std::size_t middle = items.size() / 2;
    std::nth_element(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(middle),
                     items.end(), [axis](const BvhItem& a, const BvhItem& b) {
                         return Coordinate(a, axis) < Coordinate(b, axis);
                     });
    return middle;
}

/// Puts the items of the left child first. @return their number, neither none nor all
std::size_t Partition(Items items, int depth)
{
    if (depth > kMaxChoiceDepth) return Halve(items);
    const Split split = ChooseSplit(items);
    if (split.dimension < 0) return Halve(items);
    const auto right = std::partition(items.begin(), items.end(), [&](const BvhItem& item) {
        return Coordinate(item, split.dimension) < split.at;
    });
    const auto left = static_cast<std::size_t>(right - items.begin());
    return left == 0 || left == items.size() ? Halve(items) : left;
}

/// Splits the nodes of a range of items.
struct Splitter {
    Bvh& tree;
    Items items;
    int first; ///< number of the first item
    int most;  ///< a node of up to so many is left for later

    Items In(const ItemRange& range) const
    {
        return items.subspan(static_cast<std::size_t>(range.first - first),
                             static_cast<std::size_t>(range.Count()));
    }
    ItemRange Left(const ItemRange& range, int depth) const
    {
        return {range.first, range.first + static_cast<int>(Partition(In(range), depth))};
    }

    /// Adds a node to a wide node, or its children in its place.
    void AddLane(WideNode& wide, const ItemRange& range, int depth, bool split) const
    {
        if (split && range.Count() > kItemsPerLeaf) {
            const ItemRange left = Left(range, depth);
            AddLane(wide, left, depth + 1, false);
            AddLane(wide, {left.last, range.last}, depth + 1, false);
        } else {
            wide.items[wide.count++] = range;
        }
    }

    /// @return what stands in `below` for a node
    int Below(const ItemRange& range, int depth) const
    {
        if (range.Count() <= kItemsPerLeaf) return -tree.leafCount++;
        return range.Count() > most ? MakeWide(range, depth) : WideNode::kUnbuilt;
    }

    int MakeWide(const ItemRange& range, int depth) const
    {
        tree.wide.EnsureSize(tree.wideCount + 1);
        const int q = tree.wideCount++;
        WideNode& wide = tree.wide[q];
        wide.depth = depth + 2;
        const ItemRange left = Left(range, depth);
        AddLane(wide, left, depth + 1, true);
        AddLane(wide, {left.last, range.last}, depth + 1, true);
        for (int lane = 0; lane < wide.count; ++lane)
            wide.below[lane] = Below(wide.items[lane], depth + 2);
        return q;
    }
};

} // namespace

Bvh BuildBvh(Items items)
{
    Bvh tree;
    if (items.empty()) return tree;
    tree.wideCount = 1;
    tree.wide.EnsureSize(1);
    WideNode& root = tree.wide[0];
    root.count = 1;
    root.items[0] = {0, static_cast<int>(items.size())};
    root.below[0] = Splitter{tree, items, 0, kLazyItems}.Below(root.items[0], 0);
    return tree;
}

int BuildSubtree(Bvh& tree, int wide, int lane, Items items)
{
    const ItemRange range = tree.wide[wide].items[lane];
    const int most = range.Count() <= kWholeItems ? kItemsPerLeaf : INT_MAX;
    return Splitter{tree, items, range.first, most}.MakeWide(range, tree.wide[wide].depth);
}
