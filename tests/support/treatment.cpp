#include "support/treatment.h"

#include <cmath>

#include "query/deferred_sweep.h"
#include "query/fast_detect.h"
#include "support/sampler.h"
#include "sweep/define.h"

namespace
{

struct OddSampler : Sampler {
    float Gap()
    {
        const float gaps[] = {0, 0, 0, 0, 0.6e-4f, 1e-4f, 1.4e-4f, 2.2e-4f, 1e-2f};
        return gaps[Below(9)] * float(Below(3) - 1);
    }
    float Odd()
    {
        const float odd[] = {0, 1e-7f, 0.01f, 0.5f, 2, -1, 30, 1e4f, 1e10f, 1e20f, NAN, HUGE_VALF};
        return odd[Below(12)];
    }
};

/// Steps and turns, some of them slight, most of them within the solids.
Matrix RandomPose(OddSampler& draw, float size)
{
    Matrix m = Translation(0, 0, 0);
    const auto u = static_cast<std::size_t>(draw.Below(3)), v = (u + 1) % 3;
    if (draw.Below(2)) {
        const double t = draw.Below(3) ? draw.Between(-1, 1) : draw.Between(-1e-4, 1e-4);
        m[u][u] = m[v][v] = float((1 - t * t) / (1 + t * t));
        m[v][u] = float(2 * t / (1 + t * t)), m[u][v] = -m[v][u];
    }
    for (auto& row : m)
        row[3] = &row == &m[3] ? 1 : size * float(draw.Below(3) - 1) * 0.5f + draw.Gap();
    return m;
}

/// The same, most often with numbers in it that belong elsewhere.
Matrix RandomMatrix(OddSampler& draw, float size)
{
    Matrix m = RandomPose(draw, size);
    const int kind = draw.Below(8);
    if (kind < 3) return m;
    if (kind == 3) { // w falls along an axis, to zero within the solid or off it
        m[3][static_cast<std::size_t>(draw.Below(3))] = draw.Between(-1, 1) / size;
    } else if (kind == 4) { // all points are stretched or shrunk, or lie in one plane
        const float by[] = {0, 1e-3f, 0.5f, -1, 3, 100};
        const float scale = by[draw.Below(6)];
        for (std::size_t c = 0; c < 3; ++c) m[static_cast<std::size_t>(draw.Below(3))][c] *= scale;
    } else if (kind == 5) {
        m[3][3] = draw.Odd();
    } else {
        for (int i = 0; i < 1 + draw.Below(kind == 6 ? 2 : 16); ++i)
            m[static_cast<std::size_t>(draw.Below(4))][static_cast<std::size_t>(draw.Below(4))] =
                draw.Below(3) ? draw.Between(-2, 2) : draw.Odd();
    }
    return m;
}

float SizeOf(const SOLIDC& solid)
{
    float size = 1e-6f;
    for (int axis = 0; axis < 3; ++axis)
        size = std::max(size, solid.bbox[axis + 3] - solid.bbox[axis]);
    return size;
}

/// Among triangles on a grid one or more without area: collinear corners, or one point, or so small
/// that its plane is lost.
Mesh CrowdedSoup(OddSampler& draw)
{
    const auto onGrid = [&](int steps) { return float(draw.Below(steps)) * 0.5f + draw.Gap(); };
    Mesh mesh(static_cast<std::size_t>(2 + draw.Below(30)));
    const bool flat = draw.Below(4) == 0;
    const int bare = 1 + draw.Below(6);
    for (Triangle& one : mesh) {
        for (Point& p : one) p = {onGrid(6), onGrid(6), flat ? draw.Gap() : onGrid(6)};
        if (draw.Below(bare)) continue;
        const Point from = one[0], to = one[1];
        const float part = draw.Below(2) ? 0.5f : 0.0f, tiny = draw.Below(3) ? 0 : 3e-6f;
        for (std::size_t r = 0; r < 3; ++r) one[2][r] = from[r] + part * (to[r] - from[r]);
        if (draw.Below(3) == 0) one[1] = one[2] = from;
        one[2][0] += tiny;
    }
    return mesh;
}

} // namespace

Treatment RandomTreatment(const std::function<std::uint32_t()>& random, const Scene& scene)
{
    OddSampler draw{{random}};
    const float first = SizeOf(*scene.a), second = SizeOf(*scene.b);
    Treatment t{};
    t.rotatesFirst = draw.Below(2), t.rotatesBefore = draw.Below(3) == 0;
    t.rotatesAfter = draw.Below(3) == 0, t.movesFirst = draw.Below(3) == 0;
    for (Matrix& m : t.rotation)
        m = draw.Below(2) ? RandomPose(draw, first) : RandomMatrix(draw, first);
    t.start = scene.start, t.end = scene.end;
    if (draw.Below(2)) t.start = t.end = RandomMatrix(draw, second);
    if (draw.Below(2)) t.end = RandomMatrix(draw, second);
    t.firstStart = RandomMatrix(draw, first), t.firstEnd = RandomMatrix(draw, first);
    return t;
}

std::pair<int, int> AskTreated(Scene& scene, const Treatment& treatment)
{
    Treatment t = treatment;
    SOLIDC &a = *scene.a, &b = *scene.b;
    if (t.movesFirst) DefineSweepDeferred(a, Rows(t.firstStart), Rows(t.firstEnd));
    if (t.rotatesFirst) a.SC_Rotate(Rows(t.rotation[0]));
    if (t.rotatesBefore) b.SC_Rotate(Rows(t.rotation[1]));
    DefineSweepDeferred(b, Rows(t.start), Rows(t.end));
    if (t.rotatesAfter) b.SC_Rotate(Rows(t.rotation[2]));
    const int fast = DetectFast(a, b);
    CompleteSweep(a);
    CompleteSweep(b);
    return {fast, SolidInternals::WalkPlainly(a, b)};
}

std::pair<int, int> AskBothWays(SOLIDC& a, SOLIDC& b, Matrix start, Matrix end)
{
    DefineSweepDeferred(b, Rows(start), Rows(end));
    const int fast = DetectFast(a, b);
    CompleteSweep(b);
    return {fast, SolidInternals::WalkPlainly(a, b)};
}

void UseFully(SOLIDC& solid)
{
    const auto box = LoadedSolid(BoxMesh({-1, -1, -1}, {4, 4, 4}));
    Matrix start = Translation(0, 0, 0), end = Translation(3, 2, 1);
    for (SOLIDC* moved : {&solid, box.get()})
        for (Matrix* to : {&start, &end}) {
            moved->SC_GTsweep(Rows(start), Rows(*to));
            solid.SC_DetectIntersection(box.get());
            box->SC_DetectIntersection(&solid);
            box->Triangle_to_SolidBEdges(solid.triangles, &solid);
        }
    float corners[3][3];
    for (int cursor = 0; cursor >= 0;)
        cursor =
            solid.SC_GetSweepTrianglesInBbox(cursor, 10 * solid.triangleCount, corners, nullptr);
    solid.SC_Rotate(Rows(end));
    int first, last;
    solid.FindTriangles(box->bbox, &first, &last);
}

Scene RandomCrowdedScene(const std::function<std::uint32_t()>& random)
{
    OddSampler draw{{random}};
    const float size[] = {0.25f, 0.5f, 1, 3};
    const auto side = [&] { return size[draw.Below(4)] + draw.Gap(); };
    const Mesh probe = draw.Below(3) ? BoxMesh({0, 0, 0}, {side(), side(), side()})
                                     : SphereMesh(4 + draw.Below(5), side());
    Scene scene{LoadedSolid(CrowdedSoup(draw), 1), LoadedSolid(probe), RandomPose(draw, 0), {}};
    for (std::size_t axis = 0; axis < 3; ++axis)
        scene.start[axis][3] += 0.25f * float(draw.Below(14) - 2);
    scene.end = scene.start;
    if (draw.Below(2))
        for (std::size_t axis = 0; axis < 3; ++axis)
            scene.end[axis][3] += float(draw.Below(3) - 1) + draw.Gap();
    return scene;
}
