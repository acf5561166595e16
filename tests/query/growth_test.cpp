// Queries that once cost the square of the triangles, by counted steps.
#include <gtest/gtest.h>

#include <functional>

#include "query/fast_detect.h"
#include "query/steps.h"
#include "support/meshes.h"

namespace
{

struct Pair {
    std::unique_ptr<SOLIDC> a, b;
};

Pair Spheres(int rings)
{
    return {LoadedSolid(SphereMesh(rings, 1)), LoadedSolid(SphereMesh(rings, 1))};
}

/// A sphere in one cell of its octree, since boxes far off make that large, among facets without
/// area, one after each so many, on a line that passes between the edges of the larger sphere
/// around.
Pair Crowded(int rings, int apart)
{
    Mesh mesh;
    for (const Triangle& one : SphereMesh(rings, 1)) {
        mesh.push_back(one);
        const float y = 0.11f, z = 0.0713f;
        if (mesh.size() % std::size_t(apart) == 0)
            mesh.push_back({Point{0.25f, y, z}, Point{0.5f, y, z}, Point{0.75f, y, z}});
    }
    for (const float at : {-900.0f, 900.0f})
        mesh = Joined({mesh, BoxMesh({at, at, at}, {at + 1, at + 1, at + 1})});
    return {LoadedSolid(mesh, 1), LoadedSolid(SphereMesh(rings, 1.5f))};
}

/// Steps of a query, the first and so with the longest way down, and what its answer must be.
std::int64_t StepsOf(Pair pair, Matrix start, Matrix end, int answer = 0)
{
    const QuerySteps before = querySteps;
    pair.b->SC_GTsweep(Rows(start), Rows(end));
    EXPECT_EQ(DetectFast(*pair.a, *pair.b), answer);
    EXPECT_EQ(querySteps.plainWalks, before.plainWalks);
    return querySteps.Total() - before.Total();
}

TEST(Growth, NoKnownFamilyCostsTheSquareAgain)
{
    const Matrix still = Translation(0, 0, 0);
    Matrix near = Translation(1.55f, 1.55f, 0), turned = still, divided = near, sheared = near,
           ahead = Translation(0, 3, 0);
    turned[1][2] = -0.01f, turned[2][1] = 0.01f;
    divided[3][0] = 0.01f;
    // Long edges beside the first sphere, whose boxes all overlap it.
    for (std::size_t r = 0; r < 3; ++r)
        sheared[r] = {30, -30, float(r), r == 0 ? 2.5f : -2.5f * float(r == 1)};
    Matrix shearedOn = sheared;
    shearedOn[2][3] += 1;
    const auto rotated = [&](int rings, auto which) {
        Pair pair = Spheres(rings);
        (pair.*which)->SC_Rotate(Rows(turned));
        return StepsOf(std::move(pair), near, near);
    };
    const Matrix aside = Translation(0.03f, 0, 0.3f);
    const std::pair<const char*, std::function<std::int64_t(int)>> families[] = {
        {"one facet without area",
         [&](int rings) { return StepsOf(Crowded(rings, 4 * rings * rings), still, still); }},
        {"facets without area, each tenth one",
         [&](int rings) { return StepsOf(Crowded(rings, 10), still, still); }},
        {"first solid rotated", [&](int rings) { return rotated(rings, &Pair::a); }},
        {"second solid rotated", [&](int rings) { return rotated(rings, &Pair::b); }},
        {"a motion with a divide",
         [&](int rings) { return StepsOf(Spheres(rings), divided, divided); }},
        {"both swept, one garbled",
         [&](int rings) {
             Pair pair = Spheres(rings);
             Matrix from = still;
             pair.a->SC_GTsweep(Rows(from), Rows(ahead));
             return StepsOf(std::move(pair), sheared, shearedOn);
         }},
        {"a bore moved within its air round a shaft",
         [&](int rings) {
             const int quarter = rings * rings / 8;
             return StepsOf({LoadedSolid(TubeMesh(quarter, 5, 17.95f, 20)),
                             LoadedSolid(TubeMesh(quarter, 18, 24, 20))},
                            Translation(0, 0, 0.3f), aside);
         }},
        {"facets small against the contact rule's margins, moved near",
         [&](int rings) {
             const float radius = 0.5f, at = 1.0367f + 0.00042f * float(rings); // 0.02 apart
             return StepsOf({LoadedSolid(SphereMesh(2 * rings, radius)),
                             LoadedSolid(SphereMesh(2 * rings, radius))},
                            Translation(at + 3, 0.3f * at, 3), Translation(at, 0.3f * at, 0));
         }},
    };
    // Twice the rings are four times the triangles, of which the square is 16 times as much.
    for (const auto& [name, steps] : families) {
        const std::int64_t few = steps(16), many = steps(32);
        EXPECT_LT(many, 6 * few) << name;
        RecordProperty(name, std::to_string(few) + " " + std::to_string(many));
    }
}

/// Boxes beside each other, `count` times `count`, on a square around the z axis.
Mesh GridMesh(int count, float side)
{
    Mesh mesh;
    const float apart = side / float(count), size = apart / 2;
    for (int i = 0; i < count * count; ++i) {
        const float x = apart * float(i % count) - side / 2,
                    y = apart * float(i / count) - side / 2;
        mesh = Joined({mesh, BoxMesh({x, y, 0}, {x + size, y + size, size})});
    }
    return mesh;
}

TEST(Growth, AMotionThroughASolidIsNotSearchedForAtItsHole)
{
    const Matrix above = Translation(0.1f, 0, 200), below = Translation(0.1f, 0, -200);
    for (const bool hits : {false, true}) {
        // All boxes pass through the bore of a ring, or most through the ring itself.
        const float side = hits ? 120 : 24;
        Pair pair{LoadedSolid(TubeMesh(16, 18, 60, 5)), LoadedSolid(GridMesh(16, side))};
        const std::int64_t steps = StepsOf(std::move(pair), above, below, hits);
        EXPECT_LT(steps, hits ? 120 : 1000);
        RecordProperty(hits ? "hit" : "clear", std::to_string(steps));
    }
}

} // namespace
