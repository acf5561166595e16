#include "query/swept_first.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "exact/edge_buffer.h"
#include "geometry/bbox.h"
#include "geometry/predicates.h"

namespace
{

struct SweptBoxes {
    float bounds[4][6]; ///< by lane
};

/// The boxes of the swept triangles below each node of a tree that is grown to its leaves.
struct Search {
    const SOLIDC& solid;
    const QueryTrees& trees;
    Scratch<SweptBoxes> boxes;
    std::vector<std::int32_t> found;

    int TriangleAt(int i) const { return trees.moverTriangle[static_cast<std::size_t>(i)]; }
    float* BoundsOf(int quad, int lane) const
    {
        return boxes[static_cast<std::size_t>(quad)].bounds[lane];
    }

    void MakeBounds(const BoxQuad& quad, int lane, float* box) const
    {
        ClearBbox(box);
        const int below = quad.below[lane];
        if (below > 0) {
            for (int child = 0; child < trees.moverTree.quad[below].count; ++child)
                MergeBbox(box, BoundsOf(below, child));
            return;
        }
        for (int i = quad.items[lane].first; i < quad.items[lane].last; ++i) {
            const float* swept = solid.triangles[TriangleAt(i)].sweepBbox;
            // One that is not a number meets nothing, and must not hide the others.
            if (std::none_of(swept, swept + 6, [](float x) { return std::isnan(x); }))
                MergeBbox(box, swept);
        }
    }

    void MakeBoxes()
    {
        const BoxTree& tree = trees.moverTree;
        boxes = MakeScratch<SweptBoxes>(static_cast<std::size_t>(tree.quadCount));
        // Children lie behind their node.
        for (int q = tree.quadCount - 1; q >= 0; --q)
            for (int lane = 0; lane < tree.quad[q].count; ++lane)
                MakeBounds(tree.quad[q], lane, BoundsOf(q, lane));
    }

    void Find(const float* box, int q)
    {
        const BoxQuad& quad = trees.moverTree.quad[q];
        for (int lane = 0; lane < quad.count; ++lane) {
            if (!BboxesMeet(box, BoundsOf(q, lane), solid.tolerance)) continue;
            if (quad.below[lane] > 0) {
                Find(box, quad.below[lane]);
                continue;
            }
            for (int i = quad.items[lane].first; i < quad.items[lane].last; ++i)
                found.push_back(TriangleAt(i));
        }
    }
};

void GrowAll(const SOLIDC& solid, QueryTrees& trees)
{
    for (int q = 0; q < trees.moverTree.quadCount; ++q)
        for (int lane = 0; lane < trees.moverTree.quad[q].count; ++lane)
            MoversBelow(solid, trees, q, lane);
}

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

int DetectSweptFirst(SOLIDC& a, SOLIDC& b, QueryTrees& movers)
{
    if (movers.moverTree.quadCount == 0) return 0;
    GrowAll(b, movers);
    Search search{b, movers, {}, {}};
    search.MakeBoxes();
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
