#include "query/index_boxes.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "geometry/bbox.h"
#include "geometry/vector.h"

namespace
{

float Middle(const SOLIDC& solid, int triangle, int axis)
{
    const float* box = solid.triangles[triangle].sweepBbox;
    const float middle = 0.5f * box[axis] + 0.5f * box[axis + 3];
    return std::isfinite(middle) ? middle : 0;
}

/// Halves the items of each node along the axis in which their middles spread most.
void Build(const SOLIDC& solid, std::span<int> items, IndexBoxes::Node* node)
{
    ClearBbox(node->bounds);
    float middles[6], spread[3];
    ClearBbox(middles);
    const auto [least, most] = std::ranges::minmax(items);
    node->least = least, node->most = most;
    for (const int t : items) {
        MergeBbox(node->bounds, solid.triangles[t].sweepBbox);
        const float middle[3] = {Middle(solid, t, 0), Middle(solid, t, 1), Middle(solid, t, 2)};
        ExtendBbox(middles, middle);
    }
    if (items.size() == 1) return;
    for (int axis = 0; axis < 3; ++axis) spread[axis] = float(Extent(middles, axis));
    const int axis = LargestAxis(spread);
    const std::size_t half = items.size() / 2;
    std::ranges::nth_element(items, items.begin() + static_cast<std::ptrdiff_t>(half), {},
                             [&](int t) { return Middle(solid, t, axis); });
    Build(solid, items.first(half), node + 1);
    Build(solid, items.subspan(half), node + 2 * half);
}

struct Search {
    const IndexBoxes& boxes;
    const float* box;
    int from, found;

    void Below(std::size_t at, std::size_t count)
    {
        const IndexBoxes::Node& node = boxes.node[at];
        if (node.most < from || node.least >= found ||
            !BboxesMeet(box, node.bounds, boxes.solid.tolerance))
            return;
        if (count == 1) {
            found = node.least;
            return;
        }
        const std::size_t half = count / 2, second = at + 2 * half;
        // What holds the lower indices first: it may leave nothing to look for in the other.
        const bool swap = boxes.node[second].least < boxes.node[at + 1].least;
        if (swap) Below(second, count - half);
        Below(at + 1, half);
        if (!swap) Below(second, count - half);
    }
};

void Collect(const IndexBoxes& boxes, const float* box, std::size_t at, std::size_t count,
             std::vector<int>& found)
{
    const IndexBoxes::Node& node = boxes.node[at];
    if (!BboxesMeet(box, node.bounds, boxes.solid.tolerance)) return;
    if (count == 1) {
        found.push_back(node.least);
        return;
    }
    const std::size_t half = count / 2;
    Collect(boxes, box, at + 1, half, found);
    Collect(boxes, box, at + 2 * half, count - half, found);
}

} // namespace

IndexBoxes::IndexBoxes(const SOLIDC& swept, const float* around) : solid(swept)
{
    for (int t = 0; t < solid.triangleCount; ++t) {
        const float* box = solid.triangles[t].sweepBbox;
        // A box with a NaN meets nothing, and must not hide the others.
        if (std::none_of(box, box + 6, [](float x) { return std::isnan(x); }) &&
            BboxesMeet(around, box, solid.tolerance))
            order.push_back(t);
    }
    node.resize(2 * order.size());
    if (!order.empty()) Build(solid, order, node.data());
}

int IndexBoxes::Next(const float* box, int index) const
{
    Search search{*this, box, index, solid.triangleCount};
    if (!order.empty()) search.Below(0, order.size());
    return search.found;
}

void IndexBoxes::FindAll(const float* box, std::vector<int>& found) const
{
    found.clear();
    if (!order.empty()) Collect(*this, box, 0, order.size(), found);
    std::ranges::sort(found);
}
