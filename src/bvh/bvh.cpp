#include "bvh/bvh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "geometry/bbox.h"
#include "geometry/vector.h"

// Where a node is cut decides what a query costs: two surfaces side by side are told apart as soon
// as the boxes of their nodes are thinner than the gap. So each node is cut where the room that
// both parts fill is least, weighted with the root of the number of their items: across the middle,
// or between parts that face different ways. The room is told by the second moments of the corners,
// which see a flat part as flat however it lies. The cuts that are tried are the borders of a few
// bins, as in binned surface-area splits (Wald 2007).

namespace
{

constexpr int kDimensions = 6; ///< three of the place, three of the normal
constexpr int kMostBins = 8;
constexpr int kFew = 32;           ///< items for which fewer bins do
constexpr double kLeastTurn = 0.1; ///< of normals for a cut between them to be worth a try
constexpr double kFlat = 1e-6;     ///< the least part of all spreads that one counts as
constexpr int kSample = 128;       ///< larger nodes are judged by about so many of their items
constexpr int kDeepestChoice = 48; ///< below it nodes are halved, so that the depth is bounded

using Items = std::span<BoxItem>;

double Coordinate(const BoxItem& item, int dimension)
{
    if (dimension >= 3) return item.normal[dimension - 3];
    return double(item.corner[0][dimension]) + item.corner[1][dimension] +
           item.corner[2][dimension];
}

/// Sums over the corners of some items, seen from a point among them.
struct Moments {
    double count = 0;
    std::array<double, 3> sum{};
    std::array<double, 6> product{}; ///< xx, yy, zz, xy, yz, zx

    void Add(const BoxItem& item, const float* origin)
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

/// The product of the spreads along the principal axes, where none counts as less than a small part
/// of all; times that of all, since long parts meet more than compact ones.
double RoomOf(const Moments& m)
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

double CostOf(const Moments& m) { return std::sqrt(m.count) * RoomOf(m); }

struct Cut {
    int dimension = -1;
    double at = 0; ///< items below it go left
    double cost = HUGE_VAL;
};

/// The items of a node, or some of them, by their place along one coordinate.
struct Bins {
    double low = HUGE_VAL, high = -HUGE_VAL, scale = 0;
    std::array<Moments, kMostBins> bin{};

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

void TryCuts(const Bins& bins, int dimension, std::size_t count, Cut& best)
{
    std::array<Moments, kMostBins> below{};
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

Cut ChooseCut(Items items)
{
    std::array<Bins, kDimensions> bins;
    const int count = items.size() > kFew ? kMostBins : kMostBins / 2;
    const std::size_t step = 1 + items.size() / kSample;
    for (std::size_t i = 0; i < items.size(); i += step)
        for (int d = 0; d < kDimensions; ++d)
            bins[static_cast<std::size_t>(d)].Widen(Coordinate(items[i], d));
    std::array<int, kDimensions> wide;
    int wideCount = 0;
    for (int d = 0; d < kDimensions; ++d) {
        Bins& one = bins[static_cast<std::size_t>(d)];
        if (!(one.high - one.low > (d < 3 ? 0 : kLeastTurn))) continue;
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
    Cut best;
    for (const int d : dimensions)
        TryCuts(bins[static_cast<std::size_t>(d)], d, static_cast<std::size_t>(count), best);
    return best;
}

/// Halves items along the coordinate in which they spread most.
std::size_t Halve(Items items)
{
    float bounds[6], spread[3];
    ClearBbox(bounds);
    for (const BoxItem& item : items) ExtendBbox(bounds, item.corner[0]);
    for (int axis = 0; axis < 3; ++axis) spread[axis] = float(Extent(bounds, axis));
    const int axis = LargestAxis(spread);
    const std::size_t middle = items.size() / 2;
    std::nth_element(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(middle),
                     items.end(), [axis](const BoxItem& a, const BoxItem& b) {
                         return Coordinate(a, axis) < Coordinate(b, axis);
                     });
    return middle;
}

/// Puts the items of the left child first. @return their number, neither none nor all
std::size_t Divide(Items items, int depth)
{
    if (depth > kDeepestChoice) return Halve(items);
    const Cut cut = ChooseCut(items);
    if (cut.dimension < 0) return Halve(items);
    const auto right = std::partition(items.begin(), items.end(), [&](const BoxItem& item) {
        return Coordinate(item, cut.dimension) < cut.at;
    });
    const auto left = static_cast<std::size_t>(right - items.begin());
    return left == 0 || left == items.size() ? Halve(items) : left;
}

/// Divides nodes of some items that lie side by side.
struct Divider {
    BoxTree& tree;
    Items items;
    int first; ///< number of the first item
    int most;  ///< a node of so many is not divided

    Items In(const BoxRange& range) const
    {
        return items.subspan(static_cast<std::size_t>(range.first - first),
                             static_cast<std::size_t>(range.Count()));
    }
    BoxRange Left(const BoxRange& range, int depth) const
    {
        return {range.first, range.first + static_cast<int>(Divide(In(range), depth))};
    }

    /// Adds a node to a quad, or instead of it its children.
    void AddLane(BoxQuad& quad, const BoxRange& range, int depth, bool divide) const
    {
        if (divide && range.Count() > kItemsPerLeaf) {
            const BoxRange left = Left(range, depth);
            AddLane(quad, left, depth + 1, false);
            AddLane(quad, {left.last, range.last}, depth + 1, false);
        } else {
            quad.items[quad.count++] = range;
        }
    }

    /// @return what stands in `below` for a node
    int Below(const BoxRange& range, int depth) const
    {
        if (range.Count() <= kItemsPerLeaf) return -tree.leafCount++;
        return range.Count() > most ? MakeQuad(range, depth) : BoxQuad::kUngrown;
    }

    int MakeQuad(const BoxRange& range, int depth) const
    {
        tree.quad.Reach(tree.quadCount + 1);
        const int q = tree.quadCount++;
        BoxQuad& quad = tree.quad[q];
        const BoxRange left = Left(range, depth);
        AddLane(quad, left, depth + 1, true);
        AddLane(quad, {left.last, range.last}, depth + 1, true);
        for (int lane = 0; lane < quad.count; ++lane)
            quad.below[lane] = Below(quad.items[lane], depth + 2);
        return q;
    }
};

} // namespace

BoxTree BuildBoxTree(Items items)
{
    BoxTree tree;
    if (items.empty()) return tree;
    tree.quadCount = 1;
    tree.quad.Reach(1);
    BoxQuad& root = tree.quad[0];
    root.count = 1;
    root.items[0] = {0, static_cast<int>(items.size())};
    root.below[0] = Divider{tree, items, 0, kCrowd}.Below(root.items[0], 0);
    return tree;
}

int GrowBoxTree(BoxTree& tree, const BoxRange& crowd, Items items)
{
    return Divider{tree, items, crowd.first, kItemsPerLeaf}.MakeQuad(crowd, 0);
}
