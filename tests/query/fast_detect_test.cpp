// The fast way to an answer against the plain walk.
#include "query/fast_detect.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <random>

#include "bvh/query_trees.h"
#include "query/deferred_sweep.h"
#include "support/meshes.h"
#include "support/sampler.h"
#include "support/treatment.h"
#include "sweep/define.h"

namespace
{

TEST(FastDetect, AnswersAsThePlainWalk)
{
    const auto [first, count] = DrawsFrom("SCAPI_SCENES", 4000);
    int hits = 0;
    for (unsigned seed = first; seed != first + count; ++seed) {
        std::mt19937 random(seed);
        Scene scene = RandomScene([&] { return random(); });
        for (int order = 0; order < 2; ++order) {
            const auto [fast, plain] = AskBothWays(*scene.a, *scene.b, scene.start, scene.end);
            ASSERT_EQ(fast, plain) << "seed " << seed << ", order " << order;
            hits += plain;
            std::swap(scene.a, scene.b);
            // A first solid in motion is another walk; mostly it stands still.
            if (seed % 8) scene.a->isSwept = 0;
        }
    }
    // Neither answer may be rare, or the test would prove little.
    EXPECT_GT(hits, int(count / 5));
    EXPECT_LT(hits, int(count));
}

/// The answer for a solid that is placed, on which both ways have to agree.
int AgreedAnswer(SOLIDC& a, SOLIDC& b, Matrix pose)
{
    const auto [fast, plain] = AskBothWays(a, b, pose, pose);
    EXPECT_EQ(fast, plain) << pose[0][3] << ' ' << pose[1][3];
    return fast;
}

TEST(FastDetect, ListsThatAreBuiltLateAreWalked)
{
    // A pillow beside the box: its vertices stop the load before there are edges.
    Mesh mesh = BoxMesh({0, 0, 0}, {1, 1, 1});
    mesh.push_back({Point{5, 0, 0}, Point{6, 0, 0}, Point{5, 1, 0}});
    mesh.push_back({Point{5, 0, 0}, Point{5, 1, 0}, Point{6, 0, 0}});
    const auto a = LoadedSolid(BoxMesh({0.5f, 0.5f, -1}, {2, 2, 2})), b = LoadedSolid(mesh);
    ASSERT_EQ(b->edges, nullptr);
    Matrix pose = Translation(0, 0, 0);
    DefineSweepDeferred(*b, Rows(pose), Rows(pose));
    EXPECT_EQ(DetectFast(*a, *b), 1);
}

TEST(FastDetect, EdgesThatRoundingSwallowsHitFarBesideASide)
{
    // A long triangle, and two that give its box some height. Floats around it are 0.008 apart.
    const Mesh target{{Point{90000, 94000, 0}, Point{98000, 94000, 0}, Point{98000, 94010, 0}},
                      {Point{90000, 90000, -5}, Point{90001, 90000, -5}, Point{90000, 90001, -5}},
                      {Point{98000, 98000, 5}, Point{97999, 98000, 5}, Point{98000, 97999, 5}}};
    const auto a = LoadedSolid(target, 1),
               b = LoadedSolid(BoxMesh({0, 0, 0}, {0.003f, 0.003f, 0.003f}));
    int hits = 0;
    for (float x = 90000; x < 98000; x += 400)
        for (float y = 90000; y < 98000; y += 400)
            hits += AgreedAnswer(*a, *b, Translation(x, y, 0));
    EXPECT_GT(hits, 50);
}

TEST(FastDetect, DeferredPairsAreLookedAtWhereTheirOwnPassHasThem)
{
    // Beside a plate and rising out of its plane: only edges at the start run parallel to its side
    // within the tolerance, and no box is so near that a hit could be on an edge.
    const auto a =
        LoadedSolid(Joined({BoxMesh({0, 0, -1}, {1, 1, 0}), BoxMesh({-9, -9, -9}, {-8, -8, -8}),
                            BoxMesh({8, 8, 8}, {9, 9, 9})}));
    const auto b = LoadedSolid(BoxMesh({1.002f, 0, 0}, {2, 1, 1}));
    const Matrix low = Translation(0, 0, 0.5e-4f), high = Translation(0, 0, 2.5e-4f);
    EXPECT_EQ(AskBothWays(*a, *b, low, high), std::pair(1, 1));
    EXPECT_EQ(AskBothWays(*a, *b, high, high), std::pair(0, 0));
}

TEST(FastDetect, EdgesThatRunElsewhereEndAtNoCornerOfTheirTriangle)
{
    // A plate high over whose top the solid hangs, all but one corner, in which an edge is made to
    // end that belongs elsewhere. Two boxes far off make the cells large.
    const float touch = 0.9e-4f, clear = 2.2e-4f;
    const auto a =
        LoadedSolid(Joined({BoxMesh({2.6f, -1, -0.5f}, {3.4f, 1, 0}),
                            BoxMesh({-9, -9, -9}, {-8, -8, -8}), BoxMesh({8, 8, 8}, {9, 9, 9})}));
    const Mesh mesh =
        Joined({BoxMesh({0, 0, clear}, {1, 1, 1}), BoxMesh({2, 0, touch}, {2.1f, 0.1f, 0.1f})});
    const int edges = LoadedSolid(mesh)->edgeCount;
    int hits = 0;
    for (int end = 0; end < 2 * edges; ++end) {
        const auto b = LoadedSolid(mesh);
        int corner = 0;
        while (b->vertices[corner].position[0] != 2 || b->vertices[corner].position[1] != 0 ||
               b->vertices[corner].position[2] != touch)
            ++corner;
        EdgeRec& edge = b->edges[end / 2];
        if (b->vertices[edge.vertex[1 - end % 2]].position[2] != clear) continue;
        edge.vertex[end % 2] = corner;
        hits += AgreedAnswer(*a, *b, Translation(0, 0, 0));
    }
    EXPECT_GT(hits, 20);
}

TEST(Trees, NoneOutlivesAChangeOfWhatItWasBuiltFrom)
{
    Matrix from = Translation(1, 2, 3), to = Translation(9, 2, 3), quarter = from;
    quarter[0] = {0, -1, 0, 0}, quarter[1] = {1, 0, 0, 0};
    T_LIST extra{};
    float limit[] = {9, 9, 9}; // cuts nothing, but makes room, for which arrays can move
    const std::pair<const char*, std::function<int(SOLIDC&)>> changes[] = {
        {"inversion", [](SOLIDC& s) { return SolidInternals::Invert(s) + 1; }},
        {"rotation", [&](SOLIDC& s) { return s.SC_Rotate(Rows(quarter)), 1; }},
        {"edge break", [](SOLIDC& s) { return s.BreakEdge(0, 2); }},
        {"triangle break", [](SOLIDC& s) { return s.BreakTriangle(0, 0, 2); }},
        {"refined edges", [&](SOLIDC& s) { return s.SubdivideEdges(limit); }},
        {"flips", [](SOLIDC& s) { return s.Simplify2Triangles(), 1; }},
        {"added triangle",
         [](SOLIDC& s) { return SolidInternals::AddTriangle(s, SphereMesh(4, 1)[0]) + 1; }},
        {"filled octree", [&](SOLIDC& s) { return s.octree->OC_AddTriangle(&extra), 1; }},
        {"released octree", [](SOLIDC& s) { return s.Release_Octree() + 1; }},
    };
    for (const auto& [name, make] : changes) {
        SCOPED_TRACE(name);
        const auto late = LoadedSolid(SphereMesh(6, 2)), prompt = LoadedSolid(SphereMesh(6, 2));
        DefineSweepDeferred(*late, Rows(from), Rows(to));
        prompt->SC_GTsweep(Rows(from), Rows(to));
        ASSERT_NE(ProbeTreeOf(*late), nullptr);
        ASSERT_NE(TargetTreeOf(*late), nullptr);
        EXPECT_GT(make(*late), 0);
        EXPECT_EQ(late->queryTrees, nullptr);
        make(*prompt);
        // What a sweep owes is owed of the records as they were.
        CompleteSweep(*late);
        EXPECT_EQ(Digest(*late), Digest(*prompt));
    }
    const auto listless = BareSolid(SphereMesh(6, 2));
    for (const auto& build : {&SOLIDC::SC_BuildVertexList, &SOLIDC::SC_BuildEdgesList}) {
        QueryTreesOf(*listless);
        EXPECT_EQ((listless.get()->*build)(), 0);
        EXPECT_EQ(listless->queryTrees, nullptr);
    }
}

TEST(FastDetect, LateSweepPaysWhatAPromptOneGives)
{
    Matrix poses[] = {Translation(1, 2, 3), Translation(9, 2, 3), Translation(0, 0, 0)};
    poses[2][3][3] = 0; // maps no vertex: the places of the motion before stay
    const auto late = LoadedSolid(SphereMesh(6, 2)), prompt = LoadedSolid(SphereMesh(6, 2));
    const auto move = [&](int from, int to) {
        DefineSweepDeferred(*late, Rows(poses[from]), Rows(poses[to]));
        prompt->SC_GTsweep(Rows(poses[from]), Rows(poses[to]));
    };
    for (const auto& [from, to] : {std::pair{0, 1}, {1, 0}, {2, 2}, {0, 0}}) {
        move(from, to);
        if (from == 1) continue;
        CompleteSweep(*late);
        EXPECT_EQ(Digest(*late), Digest(*prompt)) << from;
    }
    // A rotation in between changes normals, but not how the motion before counts them.
    move(0, 1);
    Matrix quarter{{{0, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    for (SOLIDC* solid : {late.get(), prompt.get()}) solid->SC_Rotate(Rows(quarter));
    EXPECT_EQ(Digest(*late), Digest(*prompt));
    const auto wall = LoadedSolid(BoxMesh({4, 0, 0}, {5, 9, 9}));
    EXPECT_EQ(DetectFast(*wall, *late), SolidInternals::WalkPlainly(*wall, *prompt));
    EXPECT_EQ(DetectFast(*prompt, *wall), SolidInternals::WalkPlainly(*prompt, *wall));
    // Nor does an inversion.
    move(0, 1);
    for (SOLIDC* solid : {late.get(), prompt.get()}) SolidInternals::Invert(*solid);
    CompleteSweep(*late);
    EXPECT_EQ(Digest(*late), Digest(*prompt));
}

} // namespace
