#include "query/index_boxes.h"

#include <algorithm>
#include <cmath>

#include "geometry/bbox.h"

IndexBoxes::IndexBoxes(const SOLIDC& swept) : solid(swept)
{
    while (leaves < solid.triangleCount) leaves *= 2;
    node.resize(2 * static_cast<std::size_t>(leaves));
    for (Box& box : node) ClearBbox(box.bounds);
    for (int t = 0; t < solid.triangleCount; ++t) {
        const float* box = solid.triangles[t].sweepBbox;
        // A box with a NaN meets nothing, and must not hide the others.
        if (std::none_of(box, box + 6, [](float x) { return std::isnan(x); }))
            std::copy_n(box, 6, node[static_cast<std::size_t>(leaves + t)].bounds);
    }
    for (std::size_t n = static_cast<std::size_t>(leaves) - 1; n > 0; --n) {
        node[n] = node[2 * n];
        MergeBbox(node[n].bounds, node[2 * n + 1].bounds);
    }
}

/// @param first  triangle of the node `at`, which holds `count`
int IndexBoxes::NextBelow(const float* box, int index, int at, int first, int count) const
{
    if (first + count <= index ||
        !BboxesMeet(box, node[static_cast<std::size_t>(at)].bounds, solid.tolerance))
        return solid.triangleCount;
    if (count == 1) return first;
    const int half = count / 2, found = NextBelow(box, index, 2 * at, first, half);
    return found < solid.triangleCount ? found
                                       : NextBelow(box, index, 2 * at + 1, first + half, half);
}

int IndexBoxes::Next(const float* box, int index) const
{
    return NextBelow(box, index, 1, 0, leaves);
}
