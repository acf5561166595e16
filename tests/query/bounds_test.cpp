// Each bound of the fast query (docs/query.md) against hits at the limits of the contact rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
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
#include "support/sampler.h"

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
            // A whole leaf is bounded by its cell, whatever its triangles are.
            for (int i = 0; i < 3 && nodes.holdsCells[lane] == 0; ++i) {
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

/// A box far from the origin, and a motion that brings it near: there rounding counts most.
struct PlacedBox {
    SOLIDC b;
    ProbeNodes nodes{};
    double matrix[3][3], displacement[3];

    explicit PlacedBox(const Sampler& draw)
    {
        Obb box{};
        const bool round = draw.Below(2) != 0;
        const float far = draw.Size(1, 1e5);
        for (int i = 0; i < 3; ++i) {
            box.axis[i][i] = 1;
            box.centre[i] = far * draw.Between(-1, 1);
            box.half[i] = round ? draw.Size(1e-3, 1) : draw.Size(1e-3, 1e5);
        }
        if (draw.Below(2)) Turn(box.axis, draw);
        SetLane(nodes.box, 0, box);
        nodes.box = SplatLane(nodes.box, 0);
        float rows[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
        const int kind = draw.Below(4);
        for (auto& row : rows)
            for (float& x : row) {
                if (kind == 1) x += 1e-4f * draw.Between(-1, 1);
                if (kind == 2) x += draw.Between(-1, 1);
                if (kind == 3) x *= draw.Size(0.01, 100);
            }
        if (kind < 3) Turn(rows, draw);
        for (int r = 0; r < 3; ++r) {
            double image = 0;
            for (int c = 0; c < 3; ++c) {
                matrix[r][c] = b.sweepStart[r][c] = b.sweepEnd[r][c] = rows[c][r];
                image += matrix[r][c] * box.centre[c];
            }
            b.sweepStart[r][3] = float(-image);
            b.sweepEnd[r][3] = float(-image + draw.Size(1e-3, 1e5) * draw.Between(-1, 1));
            displacement[r] = double(b.sweepEnd[r][3]) - b.sweepStart[r][3];
        }
        b.isSwept = 1;
    }

    /// Rotates three vectors about an axis of coordinates, then about another.
    static void Turn(float (*vectors)[3], const Sampler& draw)
    {
        for (int u = 0; u < 2; ++u) {
            const double angle = draw.Between(-3, 3), c = std::cos(angle), s = std::sin(angle);
            for (int i = 0; i < 3; ++i) {
                const double x = vectors[i][u], y = vectors[i][u + 1];
                vectors[i][u] = float(c * x - s * y);
                vectors[i][u + 1] = float(s * x + c * y);
            }
        }
    }

    Point3 Image(const Lanes* v) const
    {
        Point3 out{};
        for (std::size_t r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) out[r] += matrix[r][c] * v[c][0];
        return out;
    }
};

double Product(const Point3& a, const Point3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// Lemmas 1, 3 and 6: boxes, lengths and angles in motion, against the same in doubles.
TEST(Bounds, PlacedBoxesAreBoundedInSpiteOfRoundingAndStretch)
{
    double mostError = 0;
    std::mt19937 engine(1);
    const std::function<std::uint32_t()> random = [&] { return engine(); };
    const Sampler draw{random};
    for (unsigned n = ContactDraws(100000).count; n > 0; --n) {
        const PlacedBox at(draw);
        const Pass passes[] = {Pass::kStart, Pass::kEnd, Pass::kSweptQuads};
        const int part = draw.Below(3);
        Motion motion = ReadMotion(at.b, at.nodes.box);
        SetPass(motion, passes[part]);
        PlacedNodes placed;
        const float anywhere[6] = {-1e9f, -1e9f, -1e9f, 1e9f, 1e9f, 1e9f};
        PlaceNodes(motion, at.nodes, anywhere, placed);
        const Point3 centre = at.Image(at.nodes.box.centre);
        const double way = part == 2 ? 0.5 : part;
        Point3 axis[3], sweep{};
        double error = 0;
        for (std::size_t r = 0; r < 3; ++r) {
            sweep[r] = part == 2 ? at.displacement[r] : 0;
            error += std::fabs(centre[r] + at.b.sweepStart[r][3] + way * at.displacement[r] -
                               placed.centre[r][0]);
        }
        for (int i = 0; i < 3; ++i) {
            axis[i] = at.Image(at.nodes.box.axis[i]);
            for (std::size_t r = 0; r < 3; ++r)
                error += at.nodes.box.half[i][0] * std::fabs(axis[i][r] - placed.axis[i][r][0]);
        }
        ASSERT_LE(error, motion.error[0]) << n;
        mostError = std::max(mostError, error / motion.error[0]);
        const double slack = motion.maxStretch[0] * motion.error[0];
        for (int i = 0; i < 3; ++i) {
            double box = 0;
            const double swept = std::fabs(Product(axis[i], sweep)),
                         length = std::sqrt(Product(axis[i], axis[i]));
            for (int k = 0; k < 3; ++k) {
                const double product = Product(axis[i], axis[k]);
                box += std::fabs(product) * at.nodes.box.half[k][0];
                // Asked of motions that are nearly rigid only.
                if (motion.gramDeviation[0] < 0.01f) {
                    ASSERT_LE(std::fabs(product - (i == k)), motion.gramDeviation[0]) << n;
                }
            }
            ASSERT_LE(box + 0.5 * swept, placed.radius[i][0] * (1 + 1e-6)) << n;
            ASSERT_LE(swept, placed.sweepExtent[i][0] + slack) << n;
            ASSERT_LE(length, motion.maxStretch[0]) << n;
            ASSERT_GE(length, motion.minStretch[0]) << n;
        }
    }
    // How much of the allowance rounding has used at most: without such draws this would test
    // nothing.
    RecordProperty("mostError", std::to_string(mostError));
    EXPECT_GT(mostError, 0.03);
}

} // namespace
