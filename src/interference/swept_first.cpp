#include "interference/swept_first.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "interference/edge_buffer.h"
#include "interference/tests.h"
#include "solid/bbox.h"

namespace
{

struct SweptBox {
    float bounds[6];
};

/// The boxes of the swept triangles below each node.
Scratch<SweptBox> MakeBoxes(const SOLIDC& solid, const BoxTree& tree)
{
    auto boxes = MakeScratch<SweptBox>(static_cast<std::size_t>(tree.nodeCount));
    // Children lie behind their node.
    for (int n = tree.nodeCount - 1; n >= 0; --n) {
        float* box = boxes[static_cast<std::size_t>(n)].bounds;
        ClearBbox(box);
        if (tree.IsLeaf(n)) {
            for (int i = tree.At(n).first; i < tree.At(n).last; ++i) {
                const float* swept =
                    solid.triangles[tree.item[static_cast<std::size_t>(i)]].sweepBbox;
                // One that is not a number meets nothing, and must not hide the others.
                if (std::none_of(swept, swept + 6, [](float x) { return std::isnan(x); }))
                    MergeBbox(box, swept);
            }
        } else {
            for (const int child : {tree.Left(n), tree.Right(n)})
                MergeBbox(box, boxes[static_cast<std::size_t>(child)].bounds);
        }
    }
    return boxes;
}

struct Search {
    const SOLIDC& solid;
    const BoxTree& tree;
    Scratch<SweptBox> boxes;
    std::vector<std::int32_t> found;

    void Find(const float* box, int n)
    {
        if (!BboxesMeet(box, boxes[static_cast<std::size_t>(n)].bounds, solid.tolerance)) return;
        if (!tree.IsLeaf(n)) {
            Find(box, tree.Left(n));
            Find(box, tree.Right(n));
            return;
        }
        for (int i = tree.At(n).first; i < tree.At(n).last; ++i)
            found.push_back(tree.item[static_cast<std::size_t>(i)]);
    }
};

/// Walks b's edges under a triangle, run by run of the triangles found.
int WalkFound(const std::vector<std::int32_t>& found, SOLIDC& b, const float (*corners)[3],
              float* box)
{
    EdgeBuffer buffer;
    CrossingState state;
    int cursor = 0;
    for (std::size_t i = 0; i < found.size();) {
        cursor = std::max(cursor, 10 * found[i]);
        while (++i < found.size() && found[i] == found[i - 1] + 1) {}
        // The run and the triangle behind it, which is passed over: so the limit comes back only
        // where nothing was found, whatever step was last.
        const int limit = 10 * (found[i - 1] + 2);
        for (;;) {
            cursor = b.SC_GetSweepEdgesInBbox(cursor, limit, buffer.edge, box);
            if (cursor < 0) return 0;
            if (cursor >= limit) break;
            if (EdgeCrossesTriangle(buffer.edge, corners, state)) return 1;
        }
    }
    return 0;
}

} // namespace

int DetectSweptFirst(SOLIDC& a, SOLIDC& b, const QueryTrees& movers)
{
    if (movers.moverTree.itemCount == 0) return 0;
    Search search{b, movers.moverTree, MakeBoxes(b, movers.moverTree), {}};
    for (int t = 0; t < a.triangleCount; ++t) {
        const T_LIST& triangle = a.triangles[t];
        float box[6];
        TriangleBbox(triangle.corners, box);
        search.found.clear();
        search.Find(box, 0);
        std::sort(search.found.begin(), search.found.end());
        if (WalkFound(search.found, b, triangle.corners, box)) return 1;
    }
    return 0;
}
