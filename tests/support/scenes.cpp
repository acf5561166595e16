#include "support/scenes.h"

#include <cmath>

#include "support/sampler.h"

namespace
{

void Scale(Mesh& mesh, const Point& by)
{
    for (Triangle& triangle : mesh)
        for (Point& p : triangle) p = {p[0] * by[0], p[1] * by[1], p[2] * by[2]};
}

/// Shapes that are hard to prune: needles and sheets, slivers, collinear facets, T-junctions.
Mesh RandomMesh(Sampler& draw, bool simple)
{
    const int kind = draw.Below(simple ? 5 : 4);
    if (kind == 0)
        return BoxMesh({0, 0, 0}, {float(1 + draw.Below(3)), float(1 + draw.Below(3)), 1});
    if (kind == 1) return SphereMesh(4 + draw.Below(16), 1);
    Mesh mesh;
    if (kind == 2) {
        mesh = SphereMesh(5 + draw.Below(8), 1);
        Scale(mesh, {draw.Between(0.01, 3), draw.Between(0.5, 2), draw.Between(0.001, 1)});
        return mesh;
    }
    for (int i = 0; kind == 3 && i < 1 + draw.Below(4); ++i) {
        const Point at{float(draw.Below(3)), float(draw.Below(3)), float(draw.Below(3))};
        mesh = Joined({mesh, BoxMesh(at, {at[0] + draw.Between(0.001, 2), at[1] + 1, at[2] + 1})});
    }
    if (kind == 3) return mesh;
    const auto seed = static_cast<unsigned>(draw.random());
    mesh = SoupMesh(seed, 10 + draw.Below(60), 2);
    // A triangle without area, which exposes the carried plane (docs/behaviour.md).
    mesh.push_back({Point{0, 0, 0}, Point{1, 1, 1}, Point{2, 2, 2}});
    return mesh;
}

Matrix RandomRotation(Sampler& draw)
{
    Matrix m = Translation(0, 0, 0);
    if (draw.Below(3) == 0) return m;
    // 90 degrees keeps faces parallel, a small angle nearly so. From the tangent of half the angle,
    // because sine and cosine round differently from platform to platform.
    const double t = draw.Below(3) == 0   ? 1
                     : draw.Below(2) == 0 ? draw.Between(-1e-4, 1e-4)
                                          : draw.Between(-4, 4);
    const auto u = static_cast<std::size_t>(draw.Below(3)), v = (u + 1) % 3;
    const auto c = static_cast<float>((1 - t * t) / (1 + t * t)),
               s = static_cast<float>(2 * t / (1 + t * t));
    m[u][u] = c, m[u][v] = -s, m[v][u] = s, m[v][v] = c;
    return m;
}

/// A small solid next to a face and in its plane, give or take the contact tolerance. There, hits
/// come only from crossing points beyond the ends of edges and from segments that count as
/// parallel. Boxes far away make the octree cells large.
Scene BesideScene(Sampler& draw)
{
    const float length = draw.Size(0.5, 8), width = draw.Size(0.01, 4);
    Mesh a = BoxMesh({0, 0, -draw.Size(0.05, 2)}, {length, width, 0});
    const float far = draw.Size(1, 30);
    for (const float at : {-far - 3, far})
        a = Joined({a, BoxMesh({at, at, at}, {at + 1, at + 1, at + 1})});
    const Point size{draw.Size(1e-3, 2), draw.Size(1e-3, 2), draw.Size(1e-3, 2)};
    const Mesh b =
        draw.Below(3) ? BoxMesh({0, 0, 0}, size) : TubeMesh(1 + draw.Below(8), 0.1f, 0.3f, size[2]);
    Scene scene{LoadedSolid(a), LoadedSolid(b), RandomRotation(draw), {}};
    scene.start[0][3] = draw.Between(-3, length + 3);
    scene.start[1][3] = draw.Between(-2, width + 2);
    scene.start[2][3] = draw.Between(-3e-4, 3e-4);
    scene.end = scene.start;
    if (draw.Below(3) == 0) return scene;
    const float distance = draw.Size(1e-3, 6);
    for (std::size_t axis = 0; axis < 2; ++axis)
        scene.end[axis][3] += draw.Between(-1, 1) * distance;
    scene.end[2][3] += draw.Between(-3e-4, 3e-4);
    return scene;
}

} // namespace

Scene RandomScene(const std::function<std::uint32_t()>& random)
{
    Sampler draw{random};
    if (draw.Below(3) == 0) return BesideScene(draw);
    const bool simple = draw.Below(4) == 0;
    const float size = static_cast<float>(std::pow(10.0, draw.Below(7) - 3));
    const float far = draw.Below(4) ? 0 : size * static_cast<float>(std::pow(10.0, draw.Below(4)));
    Mesh a = RandomMesh(draw, simple);
    Mesh b = RandomMesh(draw, false);
    // A shaft in a bore: many overlapping nodes, hits next to edges of all lengths.
    if (draw.Below(4) == 0) {
        const int columns[] = {1 + draw.Below(12), 1 + draw.Below(12)};
        const float sizes[] = {draw.Between(1.1, 3), draw.Between(0.2, 2), 1 + draw.ContactGap(),
                               draw.Between(0.2, 4)};
        a = TubeMesh(columns[0], 1, sizes[0], sizes[1]);
        b = TubeMesh(columns[1], 0.5f, sizes[2], sizes[3]);
    }
    // Sometimes so small that at large coordinates its edges round to points.
    if (draw.Below(4) == 0) {
        const float small = static_cast<float>(std::pow(10.0, -1 - draw.Below(6)));
        Scale(b, {small, small, small});
    }
    for (Mesh* mesh : {&a, &b})
        for (Triangle& triangle : *mesh)
            for (Point& p : triangle)
                for (float& x : p) x = x * size + far;
    Scene scene{LoadedSolid(a, simple), LoadedSolid(b), RandomRotation(draw), {}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float step = size * float(draw.Below(3) - 1), gap = draw.ContactGap();
        scene.start[axis][3] = step + gap * (draw.Below(2) ? 1 : size);
    }
    if (far != 0) // rotate about the solid, not about the origin
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 3; ++c)
                scene.start[r][3] += far * (float(r == c) - scene.start[r][c]);
    scene.end = scene.start;
    if (draw.Below(2))
        for (std::size_t axis = 0; axis < 3; ++axis)
            scene.end[axis][3] +=
                draw.Below(2) ? size * float(draw.Below(5) - 2) : draw.ContactGap();
    if (draw.Below(40) == 0) scene.end[3][3] = 1.5f;
    return scene;
}
