// Each bound of the fast query (docs/query.md) against hits at the limits of the contact rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "bvh/corner_set.h"
#include "bvh/hit_region.h"
#include "geometry/predicates.h"
#include "geometry/vector.h"
#include "mesh/triangle.h"
#include "query/corner_planes.h"
#include "query/margins.h"
#include "query/node_overlap.h"
#include "query/probe_leaf.h"
#include "support/contacts.h"

namespace
{

struct Node {
    int wide, lane;
};

/// The nodes from the root to the leaf that holds an item.
std::vector<Node> PathTo(const Bvh& tree, int item)
{
    std::vector<Node> path{{0, 0}};
    for (;;) {
        const int below = tree.wide[path.back().wide].below[path.back().lane];
        if (below <= 0) return path;
        int lane = 0;
        while (tree.wide[below].items[lane].last <= item) ++lane;
        path.push_back({below, lane});
    }
}

/// A contact with the hierarchies of both solids, built to the leaves, and the nodes that hold it.
struct Setting {
    Contact contact;
    TargetTree& targets;
    ProbeTree& probes;
    const ObbLanes& bounds;
    std::vector<Node> target, probe;

    explicit Setting(Contact&& made)
        : contact(std::move(made)), targets(*TargetTreeOf(*contact.a)),
          probes(*ProbeTreeOf(*contact.b)), bounds(*ProbeBoundsOf(*contact.b))
    {
        for (int q = 0; q < targets.bvh.wideCount; ++q)
            for (int lane = 0; lane < targets.bvh.wide[q].count; ++lane)
                TargetsBelow(targets, q, lane);
        for (int q = 0; q < probes.bvh.wideCount; ++q)
            for (int lane = 0; lane < probes.bvh.wide[q].count; ++lane)
                ProbesBelow(*contact.b, probes, q, lane);
        const T_LIST* hit = &contact.a->triangles[contact.target];
        const auto holds = [&](const Target& one) { return !one.triangle || one.triangle == hit; };
        target = PathTo(targets.bvh,
                        int(std::ranges::find_if(targets.target, holds) - targets.target.begin()));
        probe = PathTo(probes.bvh, int(std::ranges::find(probes.triangle, contact.probe) -
                                       probes.triangle.begin()));
    }

    const float* RootBox() const { return contact.a->octree->root->bbox; }
    Motion MotionIn(Pass pass) const
    {
        Motion motion = ReadMotion(*contact.b, bounds);
        SetPass(motion, pass);
        return motion;
    }
};

/// Calls `test` with settings from draws that come to a hit.
template <class Test>
void ForContacts(unsigned usualCount, Test test)
{
    const DrawRange draws = ContactDraws(usualCount);
    unsigned made = 0;
    for (unsigned seed = draws.first; seed != draws.first + draws.count; ++seed) {
        auto contact = DrawContact(seed);
        if (!contact) continue;
        ++made;
        SCOPED_TRACE(testing::Message() << "draw " << seed);
        const Setting setting(std::move(*contact));
        test(setting);
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_GT(made, draws.count / 4);
}

constexpr unsigned kDraws = 12000;

/// Whether the corners of a node can be compared with planes; as the traversal does.
bool CornersTouch(const Setting& at, const Motion& motion, const Node& probe, const Node& target)
{
    const ItemRange& items = at.targets.bvh.wide[target.wide].items[target.lane];
    const CornerSet corners = at.probes.bvh.wide[probe.wide].IsLeaf(probe.lane)
                                  ? CornersOfLeaf(at.probes.ProbesOf(probe.wide, probe.lane))
                                  : at.probes.CornerSetOf(probe.wide, probe.lane);
    return corners.groups == 0 || MayTouchPlanes(motion, corners,
                                                 {&at.targets.plane[std::size_t(items.first)],
                                                  std::size_t(items.Count())});
}

// Lemmas 1 to 7, for each pair of nodes of which one holds the edge and one the triangle.
TEST(Bounds, NoPairOfNodesIsPartedThatHoldsAHit)
{
    int beside = 0;
    ForContacts(kDraws, [&](const Setting& at) {
        const Contact& contact = at.contact;
        beside += !contact.onEdge;
        for (const Pass pass : {contact.pass, Pass::kAll}) {
            if (pass == Pass::kAll && !contact.b->isSwept) continue;
            const Motion motion = at.MotionIn(pass);
            EXPECT_TRUE(MayMeet(motion, at.bounds, at.RootBox()));
            for (const Node& probe : at.probe) {
                PlacedNodes placed;
                const LaneMask present =
                    PlaceNodes(motion, at.probes.nodes[probe.wide], at.RootBox(), placed);
                EXPECT_TRUE(present[probe.lane]);
                placed = SplatLane(placed, probe.lane);
                for (const Node& target : at.target) {
                    const TargetNodes& nodes = at.targets.nodes[target.wide];
                    const NodeOverlap overlap = OverlapOf(motion, placed, nodes);
                    EXPECT_TRUE(overlap.any[target.lane]);
                    if (contact.hasPlane && contact.onEdge && nodes.holdsCells[target.lane] == 0) {
                        EXPECT_TRUE(overlap.onEdge[target.lane]);
                    }
                    if (contact.hasPlane && contact.endInPlane) {
                        EXPECT_TRUE(CornersTouch(at, motion, probe, target));
                    }
                }
            }
        }
    });
    EXPECT_GT(beside, 1000);
}

// Lemmas 8, 10 and 11, and the test against four planes.
TEST(Bounds, NoEdgeIsKeptFromATargetThatItHits)
{
    ForContacts(kDraws, [&](const Setting& at) {
        const Contact& contact = at.contact;
        const Motion motion = at.MotionIn(contact.pass);
        const LaneEdges edge = GatherEdges({&contact.edge, 1}, motion.error[0]);
        for (const Node& target : at.target)
            EXPECT_TRUE(MayHit(edge, at.targets.nodes[target.wide])[target.lane]);
        const Node& leaf = at.probe.back();
        ProbeLeaf placed;
        PlaceLeafEdges(*contact.a, *contact.b, at.probes, motion,
                       at.probes.bvh.wide[leaf.wide].items[leaf.lane], placed);
        EXPECT_TRUE(std::any_of(placed.edge, placed.edge + placed.count, [&](const auto& one) {
            return std::equal(one.ends[0], one.ends[0] + 6, contact.edge.ends[0]);
        }));
        placed.count = 1;
        placed.edge[0] = contact.edge;
        placed.lanes[0] = edge;
        for (const Node& target : at.target)
            EXPECT_TRUE(EdgesHit(*contact.a, at.targets, placed, target.wide, target.lane));
        const auto& corners = contact.a->triangles[contact.target].corners;
        float plane[4];
        if (contact.carried && CalcPlane(corners[0], 3, plane)) {
            EXPECT_TRUE(MayBeCarriedInto(contact.edge.ends, corners, plane));
        }
    });
}

// Lemma 9.
TEST(Bounds, HitRegionsHoldThePointsByWhichEdgesHit)
{
    ForContacts(kDraws, [&](const Setting& at) {
        const auto& corners = at.contact.a->triangles[at.contact.target].corners;
        float plane[4];
        HitRegion region;
        if (!at.contact.hasPoint || !CalcPlane(corners[0], 3, plane) ||
            !CalcHitRegion(corners, plane, at.targets.maxCoordinate, region))
            return;
        for (int r = 0; r < 3; ++r) {
            EXPECT_GE(at.contact.point[r], region.box[r]);
            EXPECT_LE(at.contact.point[r], region.box[r + 3]);
        }
    });
}

double Along(const Lanes* axis, int lane, const double* v)
{
    return double(axis[0][lane]) * v[0] + double(axis[1][lane]) * v[1] +
           double(axis[2][lane]) * v[2];
}

// Lemmas 2, 5 and 7, as far as they are about the records of probes.
TEST(Bounds, ProbeRecordsBoundTheirEdges)
{
    ForContacts(kDraws / 4, [&](const Setting& at) {
        const SOLIDC& b = *at.contact.b;
        const T_LIST& triangle = b.triangles[at.contact.probe];
        for (const Node& node : at.probe) {
            const ProbeNodes& nodes = at.probes.nodes[node.wide];
            const int lane = node.lane;
            for (int slot = 0; slot < 3; ++slot) {
                const float *from = b.vertices[triangle.vertex[slot]].position,
                            *to = b.vertices[triangle.vertex[NextSlot(slot)]].position;
                const double side[3] = {double(to[0]) - from[0], double(to[1]) - from[1],
                                        double(to[2]) - from[2]},
                             length = std::hypot(side[0], side[1], side[2]),
                             apart[3] = {double(from[0]) - nodes.box.centre[0][lane],
                                         double(from[1]) - nodes.box.centre[1][lane],
                                         double(from[2]) - nodes.box.centre[2][lane]};
                EXPECT_LE(length, nodes.longest[lane]);
                EXPECT_GE(length, nodes.shortest[lane]);
                const double first = Along(nodes.box.axis[0], lane, apart);
                EXPECT_FALSE(first > nodes.cornerGap[0][lane] && first < nodes.cornerGap[1][lane]);
                const bool runsAlong =
                    std::fabs(Along(nodes.box.axis[0], lane, side)) > 0.1000001 * length;
                if (runsAlong) {
                    EXPECT_GE(length, nodes.shortestAlong[lane]);
                } else if (std::fabs(Along(nodes.box.axis[0], lane, side)) < 0.0999999 * length) {
                    EXPECT_LE(length, nodes.longestAcross[lane]);
                }
                for (int k = 0; k < 3; ++k) {
                    const double along = std::fabs(Along(nodes.box.axis[k], lane, side));
                    EXPECT_LE(along, nodes.edgeExtent[k][lane]);
                    EXPECT_LE(std::fabs(Along(nodes.box.axis[k], lane, apart)),
                              nodes.box.half[k][lane]);
                    if (!runsAlong) {
                        EXPECT_LE(along, nodes.maxCosine[k][lane] * length);
                    }
                }
                const T_LIST& across =
                    b.triangles[AcrossEdge(b.edges[triangle.edge[slot]], at.contact.probe)];
                for (const T_LIST* one : {&triangle, &across})
                    for (int r = 0; r < 3; ++r) {
                        EXPECT_LE(nodes.low[r][lane], one->normal[r]);
                        EXPECT_GE(nodes.high[r][lane], one->normal[r]);
                    }
            }
        }
    });
}

// Lemmas 2 and 5, as far as they are about the records of targets.
TEST(Bounds, TargetRecordsBoundTheirSidesAndNormals)
{
    ForContacts(kDraws / 4, [&](const Setting& at) {
        const auto& corners = at.contact.a->triangles[at.contact.target].corners;
        float plane[4];
        if (!CalcPlane(corners[0], 3, plane)) return;
        for (const Node& node : at.target) {
            const TargetNodes& nodes = at.targets.nodes[node.wide];
            const int lane = node.lane;
            double deviation[3], total = 0;
            for (int r = 0; r < 3; ++r) {
                deviation[r] = double(plane[r]) - nodes.box.axis[0][r][lane];
                total += deviation[r] * deviation[r];
            }
            EXPECT_LE(std::min(1.0, std::sqrt(total)), nodes.maxDeviation[lane]);
            for (int k = 0; k < 3; ++k)
                EXPECT_LE(std::min(1.0, std::fabs(Along(nodes.box.axis[k], lane, deviation))),
                          nodes.deviation[k][lane]);
            for (int i = 0; i < 3; ++i) {
                double side[3];
                for (int r = 0; r < 3; ++r)
                    side[r] = double(corners[(i + 1) % 3][r]) - corners[i][r];
                const double length = std::hypot(side[0], side[1], side[2]),
                             second = std::fabs(Along(nodes.box.axis[1], lane, side));
                EXPECT_LE(length, nodes.longest[lane]);
                for (int k = 0; k < 3; ++k)
                    EXPECT_LE(std::fabs(Along(nodes.box.axis[k], lane, side)), nodes.side[k][lane]);
                // Either it runs along the second axis, or it counts among the others.
                EXPECT_TRUE(second >= nodes.alongLeast[lane] ||
                            length <= nodes.acrossLongest[lane]);
                if (second < 0.0999999 * length && nodes.alongLeast[lane] > 0) {
                    EXPECT_LE(length, nodes.acrossLongest[lane]);
                }
                if (second > 0.1000001 * length) {
                    EXPECT_GE(second, nodes.alongLeast[lane]);
                }
            }
        }
    });
}

/// An affine map in doubles, as floats give it.
struct ExactMotion {
    const SOLIDC& b;

    void Map(const double* v, double* out) const
    {
        for (int r = 0; r < 3; ++r)
            out[r] = double(b.sweepStart[r][0]) * v[0] + double(b.sweepStart[r][1]) * v[1] +
                     double(b.sweepStart[r][2]) * v[2];
    }
};

// Lemmas 1, 3 and 6: boxes, lengths and angles in motion.
TEST(Bounds, PlacedNodesAreBoundedInSpiteOfRoundingAndStretch)
{
    double mostError = 0;
    ForContacts(kDraws / 2, [&](const Setting& at) {
        const ExactMotion exact{*at.contact.b};
        const Motion motion = at.MotionIn(at.contact.pass);
        double displacement[3], origin[3];
        const double part = at.contact.pass == Pass::kEnd     ? 1
                            : at.contact.pass == Pass::kStart ? 0
                                                              : 0.5;
        for (int r = 0; r < 3; ++r) {
            displacement[r] = at.contact.b->isSwept ? double(at.contact.b->sweepEnd[r][3]) -
                                                          at.contact.b->sweepStart[r][3]
                                                    : 0;
            origin[r] = at.contact.b->sweepStart[r][3] + part * displacement[r];
        }
        for (const Node& node : at.probe) {
            const ProbeNodes& nodes = at.probes.nodes[node.wide];
            PlacedNodes placed;
            PlaceNodes(motion, nodes, at.RootBox(), placed);
            const int lane = node.lane;
            double centre[3], rest[3], axis[3][3], error = 0;
            for (int r = 0; r < 3; ++r) rest[r] = nodes.box.centre[r][lane];
            exact.Map(rest, centre);
            for (int r = 0; r < 3; ++r)
                error += std::fabs(centre[r] + origin[r] - placed.centre[r][lane]);
            for (int i = 0; i < 3; ++i) {
                for (int r = 0; r < 3; ++r) rest[r] = nodes.box.axis[i][r][lane];
                exact.Map(rest, axis[i]);
                for (int r = 0; r < 3; ++r)
                    error +=
                        nodes.box.half[i][lane] * std::fabs(axis[i][r] - placed.axis[i][r][lane]);
            }
            EXPECT_LE(error, motion.error[lane]);
            mostError = std::max(mostError, error / motion.error[lane]);
            for (int i = 0; i < 3; ++i) {
                const auto along = [&](const double* v) {
                    return std::fabs(axis[i][0] * v[0] + axis[i][1] * v[1] + axis[i][2] * v[2]);
                };
                double box = 0, edge = 0, square = 0;
                for (int k = 0; k < 3; ++k) {
                    const double product =
                        axis[i][0] * axis[k][0] + axis[i][1] * axis[k][1] + axis[i][2] * axis[k][2];
                    box += std::fabs(product) * nodes.box.half[k][lane];
                    edge += std::fabs(product) * nodes.edgeExtent[k][lane];
                    EXPECT_LE(std::fabs(product - (i == k)), motion.gramDeviation[lane]);
                    square += axis[i][k] * axis[i][k];
                }
                const double slack = 1 + 1e-5,
                             swept = motion.hasSweptQuads ? along(displacement) : 0;
                EXPECT_LE(box + 0.5 * swept, placed.radius[i][lane] * slack);
                EXPECT_LE(edge, placed.beyond[i][lane] * slack);
                EXPECT_LE(swept, placed.sweepExtent[i][lane] * slack + 1e-6 * motion.error[0]);
                EXPECT_LE(std::sqrt(square), motion.maxStretch[lane] * slack);
                EXPECT_GE(std::sqrt(square), motion.minStretch[lane] / slack);
            }
        }
    });
    // How much of the allowance rounding has used at most: without such draws this would test
    // nothing.
    RecordProperty("mostError", std::to_string(mostError));
    EXPECT_GT(mostError, 0.05);
}

} // namespace
