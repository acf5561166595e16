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

/// The boxes of the swept triangles below each node of a tree that is built down to its leaves.
struct Search {
    const SOLIDC& solid;
    const ProbeTree& probes;
    Scratch<SweptBoxes> boxes;
    std::vector<std::int32_t> found;

    int TriangleAt(int i) const { return probes.triangle[static_cast<std::size_t>(i)]; }
    float* BoundsOf(int wide, int lane) const
    {
        return boxes[static_cast<std::size_t>(wide)].bounds[lane];
    }

    void MakeBounds(const WideNode& wide, int lane, float* box) const
    {
        ClearBbox(box);
        const int below = wide.below[lane];
        if (below > 0) {
            for (int child = 0; child < probes.bvh.wide[below].count; ++child)
                MergeBbox(box, BoundsOf(below, child));
            return;
        }
        for (int i = wide.items[lane].first; i < wide.items[lane].last; ++i) {
            const float* swept = solid.triangles[TriangleAt(i)].sweepBbox;
            // A box with a NaN meets nothing, and must not hide the others.
            if (std::none_of(swept, swept + 6, [](float x) { return std::isnan(x); }))
                MergeBbox(box, swept);
        }
    }

    void MakeBoxes()
    {
        const Bvh& tree = probes.bvh;
        boxes = MakeScratch<SweptBoxes>(static_cast<std::size_t>(tree.wideCount));
        // Children come after their node.
        for (int q = tree.wideCount - 1; q >= 0; --q)
            for (int lane = 0; lane < tree.wide[q].count; ++lane)
                MakeBounds(tree.wide[q], lane, BoundsOf(q, lane));
    }

    void Find(const float* box, int q)
    {
        const WideNode& wide = probes.bvh.wide[q];
        for (int lane = 0; lane < wide.count; ++lane) {
            if (!BboxesMeet(box, BoundsOf(q, lane), solid.tolerance)) continue;
            if (wide.below[lane] > 0) {
                Find(box, wide.below[lane]);
                continue;
            }
            for (int i = wide.items[lane].first; i < wide.items[lane].last; ++i)
                found.push_back(TriangleAt(i));
        }
    }
};

void BuildToLeaves(const SOLIDC& solid, ProbeTree& probes)
{
    for (int q = 0; q < probes.bvh.wideCount; ++q)
        for (int lane = 0; lane < probes.bvh.wide[q].count; ++lane)
            ProbesBelow(solid, probes, q, lane);
}

/// Walks b's edges under a triangle, run by run of consecutive triangles found.
int WalkFound(const std::vector<std::int32_t>& found, SOLIDC& b, const float (*corners)[3],
              float* box)
{
    EdgeBuffer buffer;
    CrossingState state;
    int cursor = 0;
    for (std::size_t i = 0; i < found.size();) {
        cursor = std::max(cursor, 10 * found[i]);
        while (++i < found.size() && found[i] == found[i - 1] + 1) {}
        // The limit lies past the triangle after the run, which gives nothing: so the walk returns
        // the limit only where nothing was found, whatever step was last.
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

int DetectSweptFirst(SOLIDC& a, SOLIDC& b, ProbeTree& probes)
{
    if (probes.bvh.wideCount == 0) return 0;
    BuildToLeaves(b, probes);
    Search search{b, probes, {}, {}};
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
