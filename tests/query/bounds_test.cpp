// Each bound of the fast query (docs/query.md) against hits at the limits of the contact rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "bvh/hit_region.h"
#include "geometry/predicates.h"
#include "geometry/vector.h"
#include "mesh/orientation.h"
#include "query/corner_planes.h"
#include "query/edge_search.h"
#include "query/margins.h"
#include "query/node_overlap.h"
#include "query/probe_leaf.h"
#include "support/contacts.h"
#include "support/vec.h"

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
    std::size_t item = 0; ///< of the target

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
        item = std::size_t(std::ranges::find_if(targets.target, holds) - targets.target.begin());
        target = PathTo(targets.bvh, int(item));
        probe = PathTo(probes.bvh, int(std::ranges::find(probes.triangle, contact.probe) -
                                       probes.triangle.begin()));
    }

    const float* RootBox() const { return contact.a->octree->root->bbox; }
    const TargetPlane* Plane() const { return &targets.plane[item]; }
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
    const DrawRange draws = DrawsFrom("SCAPI_CONTACTS", usualCount);
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

Point3 LaneOf(const Lanes* v, int lane) { return {v[0][lane], v[1][lane], v[2][lane]}; }

constexpr double kNearly = 1 + 1e-5; ///< axes and lengths are rounded to floats

/// The step from an edge to a hit beside it against what a pair of nodes has for it (Lemmas 2 to
/// 6). Regions leave room for a contact tolerance across the plane.
void ExpectStepIsBounded(const Contact& contact, const Motion& motion, const PlacedNodes& probes,
                         const TargetNodes& targets, int lane)
{
    const RelativePose pose = RelativePoseOf(motion, probes, targets);
    const StepBounds step = StepBoundsOf(motion, probes, targets, pose);
    const auto along = [](const Lanes* axis, int n, const Point3& v) {
        return std::fabs(Product(LaneOf(axis, n), v));
    };
    const double length = LengthOf(contact.step), error = pose.error[lane];
    const auto bounds = [&](const Lanes& bound, double value, double scale = 1) {
        return value <= bound[lane] * kNearly + scale * (error + kContact + 1e-6 * length);
    };
    if (LengthOf(contact.Edge()) > targets.longestEdge[lane]) { // Lemma 11
        for (const auto& end : contact.edge.ends)
            for (int k = 0; k < 3; ++k)
                EXPECT_TRUE(bounds(targets.box.half[k] + step.besideMargin,
                                   along(targets.box.axis[k], lane,
                                         Sum(Widened(end), LaneOf(targets.box.centre, lane), -1))));
    }
    EXPECT_TRUE(bounds(LongestStep(motion, probes, targets), length));
    for (int k = 0; k < 3; ++k) {
        const double onTarget = along(targets.box.axis[k], lane, contact.step),
                     onProbe = along(probes.axis[k], lane, contact.step);
        EXPECT_TRUE(bounds(MarginOnTargetAxis(step, targets, k), onTarget)) << k;
        EXPECT_TRUE(bounds(MarginOnProbeAxis(motion, probes, targets, pose, step, k), onProbe,
                           motion.maxStretch[0]))
            << k;
        if (contact.isBesideSide) continue;
        EXPECT_TRUE(bounds(step.beyond[k], onTarget)) << k;
        EXPECT_TRUE(bounds(BeyondOnProbeAxis(probes, step, k), onProbe, motion.maxStretch[0])) << k;
    }
    if (!contact.isBesideSide) return;
    EXPECT_TRUE(bounds(step.besideMargin, length));
    EXPECT_TRUE(
        bounds(step.stepAlongNormal, along(targets.box.axis[0], lane, contact.Edge()) - kContact));
}

/// Edges of the probe off the first axis of a node's box, placed, against their cosines (Lemma 2).
void ExpectCosinesAreBounded(const Setting& at, const Motion& motion, const Node& probe,
                             const PlacedNodes& placed, const TargetNodes& targets, int lane)
{
    const StepBounds step =
        StepBoundsOf(motion, placed, targets, RelativePoseOf(motion, placed, targets));
    const T_LIST& triangle = at.contact.b->triangles[at.contact.probe];
    const ObbLanes& box = at.probes.nodes[probe.wide].box;
    for (int slot = 0; slot < 3; ++slot) {
        const auto place = [&](int s) {
            return Widened(at.contact.b->vertices[triangle.vertex[s % 3]].position);
        };
        const Point3 edge = Sum(place(slot), place(slot + 1), -1);
        if (std::fabs(Product(edge, LaneOf(box.axis[0], probe.lane))) > 0.0999 * LengthOf(edge))
            continue;
        Point3 image{};
        for (int r = 0; r < 3; ++r)
            image[std::size_t(r)] = Product(LaneOf(motion.matrix[r], 0), edge);
        for (int k = 0; k < 3; ++k)
            EXPECT_LE(std::fabs(Product(LaneOf(targets.box.axis[k], lane), Unit(image))),
                      step.edgeCosine[k][lane] * kNearly);
    }
}

/// The same for the edge by itself (Lemma 8).
void ExpectStepOfEdgeIsBounded(const Contact& contact, const LaneEdges& edge,
                               const TargetNodes& targets, int lane)
{
    const EdgePose pose = EdgePoseOf(edge, targets);
    const double length = LengthOf(contact.step), slack = pose.error[lane] + kContact;
    const auto along = [&](int k) {
        return std::fabs(Product(contact.step, LaneOf(targets.box.axis[k], lane)));
    };
    for (int k = 0; k < 3; ++k)
        EXPECT_LE(along(k), MarginOnBoxAxis(pose, targets, k)[lane] * kNearly + slack);
    if (contact.isBesideSide) {
        EXPECT_LE(length, pose.besideMargin[lane] * kNearly + slack);
    } else {
        EXPECT_LE(length, pose.beyondFraction[lane] * edge.length[lane] * kNearly + slack);
        EXPECT_LE(along(0), pose.stepAlongNormal[lane] * kNearly + slack);
    }
}

// Lemmas 1 to 7 and 14, for each pair of nodes of which one holds the edge and one the triangle.
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
                EXPECT_FALSE(StaysOff(at.Plane(), motion, placed, probe.lane)[0]);
                placed = SplatLane(placed, probe.lane);
                EXPECT_LE(kParallelAcross / placed.parallelAcross[0],
                          distance(contact.edge.ends[0], contact.edge.ends[1]) * (1 + 1e-6));
                for (const Node& target : at.target) {
                    const TargetNodes& nodes = at.targets.nodes[target.wide];
                    const NodeOverlap overlap = OverlapOf(motion, placed, nodes);
                    EXPECT_TRUE(overlap.any[target.lane]);
                    const TargetCells& cells = at.targets.cells[target.wide];
                    EXPECT_TRUE(MeetCells(motion, placed, cells)[target.lane]);
                    if (contact.hasPlane && contact.onEdge && nodes.holdsCells[target.lane] == 0) {
                        EXPECT_TRUE(overlap.onEdge[target.lane]);
                    }
                    if (contact.hasPlane && contact.endInPlane) {
                        EXPECT_FALSE(NoCornerInPlanes(motion, at.probes, {probe.wide, probe.lane},
                                                      at.targets, {target.wide, target.lane}));
                    }
                    ExpectStepIsBounded(contact, motion, placed, nodes, target.lane);
                    ExpectCosinesAreBounded(at, motion, probe, placed, nodes, target.lane);
                }
            }
        }
    });
    EXPECT_GT(beside, 1000);
}

// Lemmas 8, 9 and 11, and the test against four planes.
TEST(Bounds, NoEdgeIsKeptFromATargetThatItHits)
{
    ForContacts(kDraws, [&](const Setting& at) {
        const Contact& contact = at.contact;
        const Motion motion = at.MotionIn(contact.pass);
        const LaneEdges edge = GatherEdges({&contact.edge, 1}, motion.error[0]);
        for (const Node& target : at.target) {
            EXPECT_TRUE(MayHit(edge, at.targets.nodes[target.wide])[target.lane]);
            ExpectStepOfEdgeIsBounded(contact, edge, at.targets.nodes[target.wide], target.lane);
        }
        const Node& leaf = at.probe.back();
        ProbeLeaf placed;
        PlaceLeafEdges(*contact.a, *contact.b, at.probes, motion,
                       at.probes.bvh.wide[leaf.wide].items[leaf.lane], placed);
        EXPECT_TRUE(std::any_of(placed.edge, placed.edge + placed.count, [&](const auto& one) {
            return std::ranges::equal(one.ends[0], contact.edge.ends[0]) &&
                   std::ranges::equal(one.ends[1], contact.edge.ends[1]);
        }));
        placed.count = 1;
        placed.edge[0] = contact.edge;
        placed.lanes[0] = edge;
        for (const Node& target : at.target)
            EXPECT_TRUE(EdgesHit(*contact.a, at.targets, placed, target.wide, target.lane));
        const auto& corners = contact.a->triangles[contact.target].corners;
        float plane[4];
        HitRegion region;
        if (!contact.hasPoint || !CalcPlane(corners[0], 3, plane) ||
            !CalcHitRegion(corners, plane, at.targets.maxCoordinate, region))
            return;
        for (int r = 0; r < 3; ++r) {
            EXPECT_GE(contact.point[r], region.box[r]);
            EXPECT_LE(contact.point[r], region.box[r + 3]);
        }
    });
}

/// A box far from the origin, and a motion that brings it near: there rounding counts most.
struct PlacedBox {
    SOLIDC b;
    ProbeNodes nodes{};
    Frame rows{};
    Point3 displacement{};
    bool someTrail = false, someDoNot = false; ///< by their normals, one or two

    /// Normals so near to the limit between trailing and not that rounding tells them apart.
    void DrawNormals(const Sampler& draw)
    {
        const Frame axes = AnyFrame(draw);
        NormalBounds normals;
        ClearNormals(normals);
        for (int r = 0; r < 3; ++r) b.sweepDirection[r] = float(axes[0][std::size_t(r)]);
        for (int i = 1 + draw.Below(2); i > 0; --i) {
            const Point3 made = Sum(axes[1], axes[0], -1e-5 + draw.Between(-2e-7, 2e-7));
            const float normal[3] = {float(made[0]), float(made[1]), float(made[2])};
            AddNormals(normals, normal, normal);
            (SweepOrientOf(normal, b.sweepDirection) == -1 ? someTrail : someDoNot) = true;
        }
        for (int r = 0; r < 3; ++r) {
            nodes.low[r] = Splat(normals.low[r]);
            nodes.high[r] = Splat(normals.high[r]);
        }
    }

    explicit PlacedBox(const Sampler& draw)
    {
        Obb box{};
        const bool round = draw.Below(2) != 0, near = draw.Below(3) == 0;
        const float far = draw.Size(1, 1e5);
        const Frame axes = AnyFrame(draw), turned = AnyFrame(draw);
        const int kind = draw.Below(4);
        for (std::size_t i = 0; i < 3; ++i) {
            std::ranges::copy(axes[i], box.axis[i]);
            box.centre[i] = far * draw.Between(-1, 1) * (near ? 1e-6f : 1);
            box.half[i] = round ? draw.Size(1e-3, 1) : draw.Size(1e-3, 1e5);
            rows[i] = Sum(turned[i], AnyPoint(draw), kind == 1 ? 1e-4 : kind == 2 ? 1 : 0);
            if (kind == 3) rows[i] = Sum({}, axes[i], draw.Size(0.01, 100));
        }
        SetLane(nodes.box, 0, box);
        nodes.box = SplatLane(nodes.box, 0);
        for (std::size_t r = 0; r < 3; ++r) {
            for (std::size_t c = 0; c < 3; ++c)
                rows[r][c] = b.sweepStart[r][c] = b.sweepEnd[r][c] = float(rows[r][c]);
            const double image =
                near ? double(far) * draw.Between(-1, 1) : Product(rows[r], Widened(box.centre));
            b.sweepStart[r][3] = float(-image);
            b.sweepEnd[r][3] = float(-image + (draw.Below(2) ? 1 : -1) * far);
            displacement[r] = double(b.sweepEnd[r][3]) - b.sweepStart[r][3];
        }
        b.isSwept = 1;
        DrawNormals(draw);
    }
};

// Lemma 4, of edges that a motion sweeps and whose targets lean as far as a node has it. Where they
// rise no more, a hit can lie all their length beyond an end.
TEST(Bounds, NoSweptEdgeRisesLessThanItsFractionHasIt)
{
    const Draws draw(1);
    int steep = 0;
    for (int n = 0; n < 200000; ++n) {
        TargetNodes nodes{};
        PlacedNodes placed{};
        nodes.longestEdge = Splat(HUGE_VALF);
        Motion motion{};
        motion.hasSweptQuads = true;
        Point3 normal{1, 0, 0}, edge{}, own{}, moved{};
        for (std::size_t k = 0; k < 3; ++k) {
            const double lean = draw.Size(1e-4, 0.5);
            own[k] = draw.Size(1e-4, 1);
            moved[k] = draw.Size(1e-3, 1);
            nodes.deviation[k] = Splat(float(lean));
            nodes.box.axis[k][k] = placed.axis[k][k] = Splat(1);
            placed.edgeExtent[k] = Splat(float(own[k]));
            motion.displacement[k] = Splat(float(moved[k]));
            normal[k] += draw.Below(2) ? lean : -lean;
            edge[k] = moved[k] + (draw.Below(2) ? own[k] : -own[k]);
        }
        placed.longest = Splat(RoundUp(LengthOf(own)));
        motion.sweptLength = Splat(RoundUp(LengthOf(moved)));
        ASSERT_GE(LongestStep(motion, placed, nodes)[0] * kNearly, LengthOf(edge)) << n;
        const double rise = std::fabs(Product(normal, edge));
        const RelativePose pose = RelativePoseOf(motion, placed, nodes);
        const float fraction = StepBoundsOf(motion, placed, nodes, pose).beyondFraction[0];
        if (!(fraction < 1)) continue;
        ASSERT_GE(fraction * rise * kNearly, kContact) << n;
        steep += fraction * rise < 1.5 * kContact;
    }
    EXPECT_GT(steep, 1000);
}

// Lemma 2, of a few sides measured along the axes of a box.
TEST(Bounds, NoSideThatCountsAsParallelIsLongerThanTheLongest)
{
    const Draws draw(1);
    int parallel = 0;
    for (int n = 0; n < 200000; ++n) {
        TargetNodes nodes{};
        nodes.sideAlongLeast = Splat(HUGE_VALF);
        Point3 sides[3];
        for (Point3& side : sides) {
            side = {draw.Size(1e-3, 1), draw.Size(1e-3, 1), draw.Size(1e-3, 1)};
            const Lanes along = Splat(float(side[1])), length = Splat(RoundUp(LengthOf(side)));
            for (std::size_t k = 0; k < 3; ++k)
                nodes.side[k] = Max(nodes.side[k], Splat(float(side[k])));
            if (along[0] > 0.1f * length[0])
                nodes.sideAlongLeast = Min(nodes.sideAlongLeast, along);
            else
                nodes.sideAcrossMost = Max(nodes.sideAcrossMost, length);
            side[std::size_t(draw.Below(3))] *= -1;
        }
        const Point3 edge = Unit(Sum(sides[0], AnyPoint(draw), draw.Below(2) ? 0.1 : 1));
        Lanes cosine[3];
        for (std::size_t k = 0; k < 3; ++k) cosine[k] = Splat(RoundUp(std::fabs(edge[k])));
        const auto across = [&](const Point3& side) { return LengthOf(Normal(side, edge)); };
        const double most = across(sides[1]);
        const float longest = LongestParallel(nodes, cosine, Splat(RoundUp(most)))[0];
        for (const Point3& side : sides) {
            if (across(side) > most) continue;
            ASSERT_LE(LengthOf(side), longest * kNearly) << n;
            parallel += LengthOf(side) > 0.9 * longest;
        }
    }
    EXPECT_GT(parallel, 1000);
}

/// A plane off a corner of a placed box by the contact tolerance (Lemma 14).
/// @return whether an edge there can hit a target in it
bool ExpectNoCornerIsOff(const Motion& motion, const PlacedNodes& placed, const float* corner,
                         const Point3& outward)
{
    TargetPlane planes[kLanes] = {};
    double height = kContact;
    for (std::size_t r = 0; r < 3; ++r) {
        planes[0].normal[r] = float(outward[r]);
        height += double(planes[0].normal[r]) * corner[r];
    }
    planes[0].d = float(-height);
    PlacedEdge edge{};
    for (auto& end : edge.ends) std::copy_n(corner, 3, end);
    const bool touches = !StaysOff(planes, edge)[0];
    EXPECT_TRUE(!touches || !StaysOff(planes, motion, placed, 0)[0]);
    return touches;
}

// Lemmas 1, 3, 6, 7 and 14: boxes, lengths and angles in motion, against the same in doubles.
TEST(Bounds, PlacedBoxesAreBoundedInSpiteOfRoundingAndStretch)
{
    double mostError = 0;
    int touching = 0;
    const Draws draw(1);
    for (unsigned n = DrawsFrom("SCAPI_CONTACTS", 100000).count; n > 0; --n) {
        const PlacedBox at(draw);
        const int part = draw.Below(3);
        Motion motion = ReadMotion(at.b, at.nodes.box);
        SetPass(motion, std::array{Pass::kStart, Pass::kEnd, Pass::kSweptQuads}[std::size_t(part)]);
        PlacedNodes placed;
        const float anywhere[6] = {-1e9f, -1e9f, -1e9f, 1e9f, 1e9f, 1e9f};
        const bool present = PlaceNodes(motion, at.nodes, anywhere, placed)[0] != 0;
        EXPECT_TRUE(present || (part != 0 && !at.someDoNot) || (part != 1 && !at.someTrail));
        Point3 apart = InFrame(at.rows, LaneOf(at.nodes.box.centre, 0)), axis[3];
        for (std::size_t r = 0; r < 3; ++r)
            apart[r] += at.b.sweepStart[r][3] - double(placed.centre[r][0]);
        apart = Sum(apart, at.displacement, part == 2 ? 0.5 : part);
        for (int i = 0; i < 3; ++i) {
            axis[i] = InFrame(at.rows, LaneOf(at.nodes.box.axis[i], 0));
            const Point3 off = Sum(axis[i], LaneOf(placed.axis[i], 0), -1);
            for (std::size_t r = 0; r < 3; ++r)
                apart[r] = std::fabs(apart[r]) + at.nodes.box.half[i][0] * std::fabs(off[r]);
        }
        // A corner of the box, placed as a vertex is.
        Point3 corner = LaneOf(at.nodes.box.centre, 0);
        Point3 outward{};
        for (int i = 0; i < 3; ++i) {
            const double side = draw.Below(2) ? 1 : -1;
            corner = Sum(corner, LaneOf(at.nodes.box.axis[i], 0), side * at.nodes.box.half[i][0]);
            outward = Sum(outward, axis[i], side * draw.Size(1e-3, 1));
        }
        corner = Sum(InFrame(at.rows, corner), at.displacement, part == 1);
        float there[6];
        for (std::size_t r = 0; r < 3; ++r)
            there[r] = there[r + 3] = float(corner[r] + at.b.sweepStart[r][3]);
        EXPECT_TRUE(MayMeet(motion, at.nodes.box, there));
        touching += ExpectNoCornerIsOff(motion, placed, there, Unit(outward));
        const double error = apart[0] + apart[1] + apart[2],
                     slack = motion.maxStretch[0] * motion.error[0];
        ASSERT_LE(error, motion.error[0]) << n;
        mostError = std::max(mostError, error / motion.error[0]);
        for (int i = 0; i < 3; ++i) {
            double box = 0;
            const double swept = part == 2 ? std::fabs(Product(axis[i], at.displacement)) : 0;
            for (int k = 0; k < 3; ++k) {
                const double product = Product(axis[i], axis[k]);
                box += std::fabs(product) * at.nodes.box.half[k][0];
                // Asked of motions that are nearly rigid only.
                EXPECT_TRUE(motion.gramDeviation[0] > 0.01f ||
                            std::fabs(product - (i == k)) <= motion.gramDeviation[0]);
            }
            EXPECT_LE(box + 0.5 * swept, placed.radius[i][0] * (1 + 1e-6));
            EXPECT_LE(swept, placed.sweepExtent[i][0] + slack);
            EXPECT_LE(LengthOf(axis[i]), motion.maxStretch[0]);
            EXPECT_GE(LengthOf(axis[i]), motion.minStretch[0]);
        }
        ASSERT_FALSE(HasFailure()) << n;
    }
    // How much of the allowance rounding has used at most: without such draws this would test
    // nothing.
    RecordProperty("mostError", std::to_string(mostError));
    EXPECT_GT(mostError, 0.03);
    EXPECT_GT(touching, 10000);
}

} // namespace
