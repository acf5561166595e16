#include <algorithm>
#include <bit>
#include <cfloat>
#include <cstring>
#include <limits>
#include <span>

#include "platform/memory.h"
#include "proximity/bvh/tree.h"

namespace proximity
{
namespace
{

constexpr int kBins = 16;
constexpr float kLeastExtent = kBins * FLT_MIN; ///< so that bins by it are a float
constexpr int kMostSplits = 64;                 ///< on the way down, before ranges are halved
constexpr int kAllAxesBelow = 8192; ///< larger ranges are split on their longest axis only

/// The box of a triangle that is to be sorted. Lane 3 of `low` holds its number, as the bits of a
/// normal float, so that lanes can be compared without slow denormal numbers.
struct Item {
    Lanes low, high;

    std::int32_t Number() const
    {
        return std::bit_cast<std::int32_t>(static_cast<float>(low[3])) & 0x0fffffff;
    }
    Lanes TwiceCenter() const { return low + high; }
};

float NumberLane(std::size_t number)
{
    return std::bit_cast<float>(static_cast<std::int32_t>(number) | 0x40000000);
}

struct Bounds {
    Lanes low = Splat(FLT_MAX), high = Splat(-FLT_MAX);

    void Add(Lanes l, Lanes h) { low = Min(low, l), high = Max(high, h); }
    void Add(const Bounds& other) { Add(other.low, other.high); }
    float HalfArea() const
    {
        const Lanes d = high - low;
        return d[0] * d[1] + d[1] * d[2] + d[2] * d[0];
    }
};

struct Range {
    std::int32_t first, count;
    int splits; ///< that led to it
    Bounds box, centers;
};

Bounds CentersOf(std::span<const Item> items)
{
    Bounds centers;
    for (const Item& item : items) centers.Add(item.TwiceCenter(), item.TwiceCenter());
    return centers;
}

Range MakeRange(std::span<const Item> items, std::int32_t first, std::int32_t count, int splits)
{
    Range range{first, count, splits, {}, {}};
    for (const Item& item :
         items.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(count)))
        range.box.Add(item.low, item.high);
    return range;
}

struct Bin {
    Bounds box;
    std::int32_t count = 0;
};

/// Maps centres to bins along an axis.
struct Binning {
    int axis;
    float low, scale;

    Binning(const Bounds& centers, int along)
        : axis(along), low(centers.low[along]),
          scale(kBins / std::max(centers.high[along] - centers.low[along], kLeastExtent))
    {
    }
    int BinOf(const Item& item) const
    {
        const float place = (item.low[axis] + item.high[axis] - low) * scale;
        return std::clamp(static_cast<int>(place), 0, kBins - 1);
    }
};

struct Split {
    float cost = std::numeric_limits<float>::infinity();
    int axis = -1, bin = 0; ///< items of bins below it go to the first part
};

/// The best of the planes between bins along an axis.
void TryAxis(std::span<const Item> items, const Bounds& centers, int axis, Split& best)
{
    if (!(centers.high[axis] - centers.low[axis] > 0)) return;
    const Binning binning(centers, axis);
    std::array<Bin, kBins> bins;
    for (const Item& item : items) {
        Bin& bin = bins[static_cast<std::size_t>(binning.BinOf(item))];
        bin.box.Add(item.low, item.high);
        ++bin.count;
    }
    std::array<float, kBins> above{};
    Bin sum;
    for (std::size_t i = kBins; --i > 0;) {
        sum.box.Add(bins[i].box), sum.count += bins[i].count;
        above[i] = sum.count ? sum.box.HalfArea() * static_cast<float>(sum.count) : 0.0f;
        if (sum.count == 0) above[i] = std::numeric_limits<float>::infinity();
    }
    sum = {};
    for (std::size_t i = 1; i < kBins; ++i) {
        sum.box.Add(bins[i - 1].box), sum.count += bins[i - 1].count;
        if (sum.count == 0) continue;
        const float cost = above[i] + sum.box.HalfArea() * static_cast<float>(sum.count);
        if (cost < best.cost) best = {cost, axis, static_cast<int>(i)};
    }
}

Split BestSplit(std::span<const Item> items, const Bounds& centers)
{
    Split best;
    const Lanes extent = centers.high - centers.low;
    if (items.size() > kAllAxesBelow) {
        int longest = extent[1] > extent[0] ? 1 : 0;
        if (extent[2] > extent[longest]) longest = 2;
        TryAxis(items, centers, longest, best);
    } else {
        for (int axis = 0; axis < 3; ++axis) TryAxis(items, centers, axis, best);
    }
    return best;
}

/// Reorders the items of a range and cuts it in two.
std::array<Range, 2> Cut(std::span<Item> all, const Range& range)
{
    const auto items =
        all.subspan(static_cast<std::size_t>(range.first), static_cast<std::size_t>(range.count));
    std::int32_t below = range.count / 2;
    if (range.splits < kMostSplits) {
        const Bounds centers = CentersOf(items);
        const Split split = BestSplit(items, centers);
        if (split.axis >= 0) {
            const Binning binning(centers, split.axis);
            const auto middle = std::partition(items.begin(), items.end(), [&](const Item& item) {
                return binning.BinOf(item) < split.bin;
            });
            below = static_cast<std::int32_t>(middle - items.begin());
        }
    }
    return {MakeRange(all, range.first, below, range.splits + 1),
            MakeRange(all, range.first + below, range.count - below, range.splits + 1)};
}

/// Up to four parts of a range of more than a leaf holds: the part with the largest surface is cut
/// next.
int CutIntoFour(std::span<Item> items, const Range& range, std::array<Range, kLanes>& parts)
{
    int count = 1;
    parts[0] = range;
    while (count < kLanes) {
        int widest = -1;
        for (int i = 0; i < count; ++i) {
            const Range& part = parts[static_cast<std::size_t>(i)];
            if (part.count <= kMostInLeaf) continue;
            if (widest < 0 ||
                part.box.HalfArea() > parts[static_cast<std::size_t>(widest)].box.HalfArea())
                widest = i;
        }
        if (widest < 0) break;
        const auto halves = Cut(items, parts[static_cast<std::size_t>(widest)]);
        parts[static_cast<std::size_t>(widest)] = halves[0];
        parts[static_cast<std::size_t>(count++)] = halves[1];
    }
    return count;
}

Node EmptyNode()
{
    Node node{};
    std::fill_n(node.child, kLanes, kNoChild);
    return node;
}

float RoundUp(double x)
{
    const float f = static_cast<float>(x);
    return f < x ? std::nextafter(f, FLT_MAX) : f;
}

/// Stores a box relative to the centre, so that it holds every point of the given one. The last
/// term is more than the subtractions can lose.
void StoreBox(const Bounds& box, const float* center, Node& node, int lane)
{
    for (int axis = 0; axis < 3; ++axis) {
        const double low = double(box.low[axis]) - center[axis];
        const double high = double(box.high[axis]) - center[axis];
        const auto middle = static_cast<float>(0.5 * low + 0.5 * high);
        const double half = std::max(high - middle, middle - low);
        const double lost =
            0x1p-50 * (std::fabs(double(box.low[axis])) + std::fabs(double(box.high[axis])) +
                       std::fabs(double(center[axis])));
        node.center[axis][lane] = middle;
        node.half[axis][lane] = RoundUp(half > 0 ? half + lost : lost);
    }
}

std::vector<Item> MakeItems(const Triangles& triangles)
{
    std::vector<Item> items(triangles.size());
    PreferLargePages(items.data(), items.size() * sizeof(Item));
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        const auto& c = triangles[t].corner;
        const Lanes a{c[0][0], c[0][1], c[0][2], NumberLane(t)};
        const Lanes b{c[1][0], c[1][1], c[1][2], NumberLane(t)};
        const Lanes d{c[2][0], c[2][1], c[2][2], NumberLane(t)};
        items[t] = {Min(Min(a, b), d), Max(Max(a, b), d)};
    }
    return items;
}

/// A range whose box and children are still to be stored, in a lane of a node.
struct Task {
    Range range;
    Handle handle;
};

void BuildNodes(std::span<Item> items, Tree& tree)
{
    std::vector<Task> tasks{
        {MakeRange(items, 0, static_cast<std::int32_t>(items.size()), 0), kRoot}};
    while (!tasks.empty()) {
        const Task task = tasks.back();
        tasks.pop_back();
        const auto at = static_cast<std::size_t>(task.handle / kLanes);
        const int lane = task.handle % kLanes;
        StoreBox(task.range.box, tree.center, tree.node[at], lane);
        if (task.range.count <= kMostInLeaf) {
            tree.node[at].child[lane] = ChildOf(Leaf{task.range.first, task.range.count});
            continue;
        }
        const auto below = static_cast<std::int32_t>(tree.node.size());
        tree.node[at].child[lane] = below;
        tree.node.push_back(EmptyNode());
        std::array<Range, kLanes> parts;
        const int count = CutIntoFour(items, task.range, parts);
        for (int i = count; i-- > 0;)
            tasks.push_back({parts[static_cast<std::size_t>(i)], HandleOf(below, i)});
    }
}

using Sum = std::array<double, 3>; ///< of the normals of triangles, twice their areas long

/// The direction of a sum, a little shorter than 1, so that a gap along it is never more than a
/// distance.
void StoreNormal(const Sum& sum, Node& node, int lane)
{
    const double length = std::sqrt(sum[0] * sum[0] + sum[1] * sum[1] + sum[2] * sum[2]);
    const bool any = length > 1e-30;
    for (int axis = 0; axis < 3; ++axis) {
        const double along = any ? sum[static_cast<std::size_t>(axis)] / length : axis == 2;
        node.normal[axis][lane] = static_cast<float>(along * (1 - 0x1p-20));
    }
}

struct Extent {
    double low = HUGE_VAL, high = -HUGE_VAL;
};

/// Along the normal of a lane, of the corners of a leaf.
Extent ExtentOfLeaf(const Tree& tree, Leaf leaf, const Box& box)
{
    Extent extent;
    for (int t = leaf.first; t < leaf.first + leaf.count; ++t)
        for (const auto& corner : tree.triangle[static_cast<std::size_t>(t)].corner) {
            double along = 0;
            for (int axis = 0; axis < 3; ++axis)
                along += box.normal[axis] * (double(corner[axis]) - tree.center[axis]);
            extent.low = std::min(extent.low, along), extent.high = std::max(extent.high, along);
        }
    return extent;
}

/// Along the normal of a lane, of what lies in the box and the slab of a child: the normal is split
/// into a part along the child's, bounded by its slab, and the rest, bounded by its box (Lemma B1).
Extent ExtentOfChild(const Box& child, const Box& box)
{
    double part = 0;
    for (int axis = 0; axis < 3; ++axis) part += double(box.normal[axis]) * child.normal[axis];
    double middle = 0, half = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const double rest = box.normal[axis] - part * child.normal[axis];
        middle += rest * child.center[axis], half += std::fabs(rest) * child.half[axis];
    }
    const double a = part * child.low, b = part * child.high;
    return {middle - half + std::min(a, b), middle + half + std::max(a, b)};
}

Sum SumOfLeaf(const Tree& tree, Leaf leaf)
{
    Sum sum{};
    for (int t = leaf.first; t < leaf.first + leaf.count; ++t) {
        const auto& c = tree.triangle[static_cast<std::size_t>(t)].corner;
        double p[3], q[3];
        for (int i = 0; i < 3; ++i)
            p[i] = double(c[1][i]) - c[0][i], q[i] = double(c[2][i]) - c[0][i];
        for (std::size_t i = 0; i < 3; ++i) {
            const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
            sum[i] += p[j] * q[k] - p[k] * q[j];
        }
    }
    return sum;
}

/// Slabs of all nodes, children before their parents, which stand before them.
void BuildSlabs(Tree& tree)
{
    std::vector<Sum> sums(tree.node.size());
    const double lost = 0x1p-44 * tree.Reach();
    for (std::size_t n = tree.node.size(); n-- > 0;) {
        Node& node = tree.node[n];
        for (int lane = 0; lane < kLanes && node.child[lane] != kNoChild; ++lane) {
            const std::int32_t child = node.child[lane];
            const Handle handle = HandleOf(static_cast<std::int32_t>(n), lane);
            const Sum sum = IsLeaf(child) ? SumOfLeaf(tree, LeafOf(child))
                                          : sums[static_cast<std::size_t>(child)];
            for (std::size_t axis = 0; axis < 3; ++axis) sums[n][axis] += sum[axis];
            StoreNormal(sum, node, lane);
            Extent extent;
            if (IsLeaf(child)) {
                extent = ExtentOfLeaf(tree, LeafOf(child), tree.BoxOf(handle));
            } else {
                for (int k = 0; k < kLanes && tree.Child(HandleOf(child, k)) != kNoChild; ++k) {
                    const Extent of =
                        ExtentOfChild(tree.BoxOf(HandleOf(child, k)), tree.BoxOf(handle));
                    extent.low = std::min(extent.low, of.low);
                    extent.high = std::max(extent.high, of.high);
                }
            }
            node.low[lane] = -RoundUp(lost - extent.low);
            node.high[lane] = RoundUp(extent.high + lost);
        }
    }
}

} // namespace

Tree BuildTree(Triangles triangles)
{
    std::vector<Item> items = MakeItems(triangles);
    Tree tree;
    const Bounds whole = MakeRange(items, 0, static_cast<std::int32_t>(items.size()), 0).box;
    for (int axis = 0; axis < 3; ++axis) {
        tree.low[axis] = whole.low[axis];
        tree.high[axis] = whole.high[axis];
        tree.center[axis] =
            static_cast<float>(0.5 * double(whole.low[axis]) + 0.5 * double(whole.high[axis]));
    }
    tree.node.reserve(items.size() / 5 + 2);
    tree.node.push_back(EmptyNode());
    BuildNodes(items, tree);
    tree.node.shrink_to_fit();
    tree.source.resize(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) tree.source[i] = items[i].Number();
    std::vector<Item>().swap(items);
    tree.triangle.resize(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i)
        tree.triangle[i] = triangles[static_cast<std::size_t>(tree.source[i])];
    BuildSlabs(tree);
    return tree;
}

} // namespace proximity
