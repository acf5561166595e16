// The edges that are computed on the spot against those that the walk gives.
#include "query/probe_edges.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>

#include "bvh/query_trees.h"
#include "exact/edge_buffer.h"
#include "support/meshes.h"
#include "support/sampler.h"

namespace
{

using Edges = std::set<std::array<float, 6>>;

/// But for edges off the box, which hit nothing in it.
void Add(Edges& edges, const float (*ends)[3], const float* box)
{
    float own[6];
    CalcEdgeBbox(ends, own);
    std::array<float, 6> edge;
    std::copy_n(ends[0], 6, edge.begin());
    if (BboxesMeet(own, box, 0)) edges.insert(edge);
}

Edges Collected(SOLIDC& solid, ProbeTree& tree, const float* box)
{
    Edges edges;
    for (int wide = 0; wide < tree.bvh.wideCount; ++wide)
        for (int lane = 0; lane < tree.bvh.wide[wide].count; ++lane) {
            if (ProbesBelow(solid, tree, wide, lane) > 0) continue;
            for (const Probe& probe : tree.ProbesOf(wide, lane))
                for (int kind = 0; kind < 3; ++kind) {
                    PlacedEdges found;
                    if (kind == 2)
                        CollectSweptQuadEdges(solid, probe, box, found);
                    else
                        CollectOwnEdges(solid, probe, kind == 1, box, found);
                    for (int e = 0; e < found.count; ++e) Add(edges, found.edge[e].ends, box);
                }
        }
    return edges;
}

TEST(ProbeEdges, AreThoseOfTheWalkSkippedStepsAndForeignEdgesToo)
{
    const Draws draw(1);
    std::size_t found = 0;
    for (int n = 0; n < 1500; ++n) {
        const auto solid = LoadedSolid(
            draw.Below(2) ? SphereMesh(4 + draw.Below(5), 1)
                          : Joined({BoxMesh({0, 0, 0}, {1, 1, 1}), BoxMesh({2, 0, 0}, {3, 1, 1})}));
        for (int e = draw.Below(9); e < solid->edgeCount && draw.Below(3) == 0; e += 9)
            solid->edges[e].vertex[draw.Below(2)] = draw.Below(solid->vertexCount);
        Matrix from = Translation(0, 0, 0), to = from;
        for (int axis = 0; axis < 3 && draw.Below(9); ++axis)
            to[std::size_t(axis)][3] = draw.Below(2) ? draw.Between(-2, 2) : 0;
        solid->SC_GTsweep(Rows(from), Rows(to));
        const VertexRec& vertex = solid->vertices[draw.Below(solid->vertexCount)];
        const float* middle = draw.Below(2) ? vertex.sweepStart : vertex.sweepEnd;
        float box[6];
        for (int axis = 0; axis < 3; ++axis) {
            box[axis] = middle[axis] - draw.Size(0.02, 1);
            box[axis + 3] = middle[axis] + draw.Size(0.02, 1);
        }
        Edges walked;
        EdgeBuffer buffer;
        const int limit = 10 * solid->triangleCount;
        for (int at = 0; (at = solid->SC_GetSweepEdgesInBbox(at, limit, buffer.edge, box)) >= 0;)
            Add(walked, buffer.edge, box);
        ASSERT_EQ(walked, Collected(*solid, *ProbeTreeOf(*solid), box)) << n;
        found += walked.size();
    }
    EXPECT_GT(found, 5000u);
}

} // namespace
