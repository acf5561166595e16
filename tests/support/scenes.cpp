#include "support/scenes.h"

#include <cmath>

namespace
{

struct Dice {
    const std::function<std::uint32_t()>& random;

    float In(double low, double high)
    {
        return static_cast<float>(low + (high - low) * random() * 0x1p-32);
    }
    int Of(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
    /// Mostly a distance that the contact tolerance cares about.
    float Gap()
    {
        const double gaps[] = {0, 0.5e-4, 1e-4, 1.5e-4, 3e-4, 1e-2, 1};
        const double gap = gaps[Of(7)], sign = Of(2) ? 1 : -1;
        return static_cast<float>(gap * sign * (Of(3) ? 1.0 : In(0.9, 1.1)));
    }
};

void Scale(Mesh& mesh, const Point& by)
{
    for (Triangle& triangle : mesh)
        for (Point& p : triangle) p = {p[0] * by[0], p[1] * by[1], p[2] * by[2]};
}

/// Shapes that are hard on culling: needles and sheets, slivers, collinear facets, T-junctions.
Mesh RandomMesh(Dice& dice, bool simple)
{
    Mesh mesh;
    switch (dice.Of(simple ? 5 : 4)) {
    case 0:
        mesh = BoxMesh({0, 0, 0}, {float(1 + dice.Of(3)), float(1 + dice.Of(3)), 1});
        break;
    case 1:
        mesh = SphereMesh(4 + dice.Of(16), 1);
        break;
    case 2:
        mesh = SphereMesh(5 + dice.Of(8), 1);
        Scale(mesh, {dice.In(0.01, 3), dice.In(0.5, 2), dice.In(0.001, 1)});
        break;
    case 3:
        for (int i = 0; i < 1 + dice.Of(4); ++i) {
            const Point at{float(dice.Of(3)), float(dice.Of(3)), float(dice.Of(3))};
            const Mesh box = BoxMesh(at, {at[0] + dice.In(0.001, 2), at[1] + 1, at[2] + 1});
            mesh.insert(mesh.end(), box.begin(), box.end());
        }
        break;
    default: {
        const auto seed = static_cast<unsigned>(dice.random());
        mesh = SoupMesh(seed, 10 + dice.Of(60), 2);
        // A facet without area in the chain, for the next edges to be judged by.
        mesh.push_back({Point{0, 0, 0}, Point{1, 1, 1}, Point{2, 2, 2}});
    }
    }
    return mesh;
}

Matrix RandomTurn(Dice& dice)
{
    Matrix m = Translation(0, 0, 0);
    if (dice.Of(3) == 0) return m;
    // A quarter turn keeps faces parallel, a small angle nearly so, any angle meets all else.
    // By the tangent of half the angle, which needs no sine, and so is alike everywhere.
    const double t = dice.Of(3) == 0 ? 1 : dice.Of(2) == 0 ? dice.In(-1e-4, 1e-4) : dice.In(-4, 4);
    const auto u = static_cast<std::size_t>(dice.Of(3)), v = (u + 1) % 3;
    const auto c = static_cast<float>((1 - t * t) / (1 + t * t)),
               s = static_cast<float>(2 * t / (1 + t * t));
    m[u][u] = c, m[u][v] = -s, m[v][u] = s, m[v][v] = c;
    return m;
}

/// Anything between two bounds, small as often as large.
float AnySize(Dice& dice, double low, double high)
{
    double size = low, root = high / low;
    for (int bit = 0; bit < 6; ++bit) {
        root = std::sqrt(root);
        if (dice.Of(2)) size *= root;
    }
    return static_cast<float>(size);
}

/// Something small beside a face, in its plane but for the contact tolerance, where only crossing
/// points beyond the ends of edges and segments that count as parallel can hit. Boxes far away make
/// large cells of the octree.
Scene BesideScene(Dice& dice)
{
    const float length = AnySize(dice, 0.5, 8), width = AnySize(dice, 0.01, 4);
    Mesh a = BoxMesh({0, 0, -AnySize(dice, 0.05, 2)}, {length, width, 0});
    const float far = AnySize(dice, 1, 30);
    for (const float at : {-far - 3, far}) {
        const Mesh box = BoxMesh({at, at, at}, {at + 1, at + 1, at + 1});
        a.insert(a.end(), box.begin(), box.end());
    }
    const Point size{AnySize(dice, 1e-3, 2), AnySize(dice, 1e-3, 2), AnySize(dice, 1e-3, 2)};
    const Mesh b =
        dice.Of(3) ? BoxMesh({0, 0, 0}, size) : TubeMesh(1 + dice.Of(8), 0.1f, 0.3f, size[2]);
    Scene scene{LoadedSolid(a), LoadedSolid(b), RandomTurn(dice), {}};
    scene.start[0][3] = dice.In(-3, length + 3);
    scene.start[1][3] = dice.In(-2, width + 2);
    scene.start[2][3] = dice.In(-3e-4, 3e-4);
    scene.end = scene.start;
    if (dice.Of(3) == 0) return scene;
    const float way = AnySize(dice, 1e-3, 6);
    for (std::size_t axis = 0; axis < 2; ++axis) scene.end[axis][3] += dice.In(-1, 1) * way;
    scene.end[2][3] += dice.In(-3e-4, 3e-4);
    return scene;
}

} // namespace

Scene RandomScene(const std::function<std::uint32_t()>& random)
{
    Dice dice{random};
    if (dice.Of(3) == 0) return BesideScene(dice);
    const bool simple = dice.Of(4) == 0;
    const float size = static_cast<float>(std::pow(10.0, dice.Of(7) - 3));
    const float far = dice.Of(4) ? 0 : size * static_cast<float>(std::pow(10.0, dice.Of(4)));
    Mesh a = RandomMesh(dice, simple);
    Mesh b = RandomMesh(dice, false);
    // A shaft in a bore: many nodes side by side, hits beside edges of all lengths.
    if (dice.Of(4) == 0) {
        const int columns[] = {1 + dice.Of(12), 1 + dice.Of(12)};
        const float reach[] = {dice.In(1.1, 3), dice.In(0.2, 2), 1 + dice.Gap(), dice.In(0.2, 4)};
        a = TubeMesh(columns[0], 1, reach[0], reach[1]);
        b = TubeMesh(columns[1], 0.5f, reach[2], reach[3]);
    }
    // Sometimes so small that the floats around it swallow its edges.
    if (dice.Of(4) == 0) {
        const float small = static_cast<float>(std::pow(10.0, -1 - dice.Of(6)));
        Scale(b, {small, small, small});
    }
    for (Mesh* mesh : {&a, &b})
        for (Triangle& triangle : *mesh)
            for (Point& p : triangle)
                for (float& x : p) x = x * size + far;
    Scene scene{LoadedSolid(a, simple), LoadedSolid(b), RandomTurn(dice), {}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float step = size * float(dice.Of(3) - 1), gap = dice.Gap();
        scene.start[axis][3] = step + gap * (dice.Of(2) ? 1 : size);
    }
    if (far != 0) // turn about the solid, not about the origin
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 3; ++c)
                scene.start[r][3] += far * (float(r == c) - scene.start[r][c]);
    scene.end = scene.start;
    if (dice.Of(2))
        for (std::size_t axis = 0; axis < 3; ++axis)
            scene.end[axis][3] += dice.Of(2) ? size * float(dice.Of(5) - 2) : dice.Gap();
    if (dice.Of(40) == 0) scene.end[3][3] = 1.5f;
    return scene;
}
