#include "meshes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "../tests/support/grid.h"

namespace
{

using Point = std::array<float, 3>;
using Triangle = std::array<Point, 3>;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::vector<Triangle> Sphere(int triangles)
{
    const int rings = static_cast<int>(std::lround(std::sqrt(triangles / 4.0))),
              sectors = 2 * rings;
    const double pi = std::acos(-1.0);
    const auto at = [&](int ring, int sector) -> Point {
        const double v = pi * ring / rings, u = 2 * pi * (sector % sectors) / sectors;
        const bool pole = ring == 0 || ring == rings;
        const double r = pole ? 100 : 100 + 5 * std::sin(7 * v) * std::sin(v) * std::cos(6 * u);
        return {static_cast<float>(pole ? 0 : r * std::sin(v) * std::cos(u)),
                static_cast<float>(pole ? 0 : r * std::sin(v) * std::sin(u)),
                static_cast<float>(r * std::cos(v))};
    };
    return GridMesh(rings, sectors, at);
}

std::vector<Triangle> Tube(int triangles, double inner, double outer, double length)
{
    const int columns = triangles / 8;
    const auto at = [&](int column, int corner) -> Point {
        const double angle = 2 * std::acos(-1.0) * (column % columns) / columns;
        const double radius = corner % 4 == 0 || corner % 4 == 3 ? outer : inner;
        return {static_cast<float>((corner % 4 < 2 ? 0.5 : -0.5) * length),
                static_cast<float>(radius * std::cos(angle)),
                static_cast<float>(radius * std::sin(angle))};
    };
    return GridMesh(columns, 4, at);
}

std::vector<Triangle> Torus(int triangles, double radius, double thickness)
{
    const double turn = 2 * std::acos(-1.0);
    const int sectors = std::max(static_cast<int>(std::sqrt(triangles / 8.0)), 3);
    const int columns = 4 * sectors;
    const auto at = [&](int column, int sector) -> Point {
        const double u = turn * (column % columns) / columns;
        const double v = turn * (sector % sectors) / sectors;
        const double r = thickness * (1 + 0.05 * std::sin(8 * u) * std::cos(3 * v));
        const double out = radius + r * std::cos(v);
        return {static_cast<float>(out * std::cos(u)), static_cast<float>(out * std::sin(u)),
                static_cast<float>(r * std::sin(v))};
    };
    return GridMesh(columns, sectors, at);
}

void AddQuad(std::vector<Triangle>& mesh, const Point& a, const Point& b, const Point& c,
             const Point& d)
{
    mesh.push_back({a, b, c});
    mesh.push_back({a, c, d});
}

std::vector<Triangle> NestedCubes(int cubes)
{
    std::vector<Triangle> mesh;
    for (int i = 1; i <= cubes; ++i) {
        const float r = 100.0f * static_cast<float>(i) / static_cast<float>(cubes);
        for (std::size_t axis = 0; axis < 3; ++axis)
            for (const float side : {-r, r}) {
                const auto at = [&](float u, float v) {
                    Point p{};
                    p[axis] = side, p[(axis + 1) % 3] = u * side, p[(axis + 2) % 3] = v * r;
                    return p;
                };
                AddQuad(mesh, at(-1, -1), at(1, -1), at(1, 1), at(-1, 1));
            }
    }
    return mesh;
}

std::vector<Triangle> Gear(int triangles)
{
    constexpr int kPerTooth = 50;
    const int columns = std::max(triangles / 4 / kPerTooth, 1) * kPerTooth;
    const auto at = [&](int column, float z) -> Point {
        const double angle = 2 * std::acos(-1.0) * (column % columns) / columns;
        const double radius = column % kPerTooth < kPerTooth / 2 ? 100 : 90;
        return {static_cast<float>(radius * std::cos(angle)),
                static_cast<float>(radius * std::sin(angle)), z};
    };
    constexpr float kHeight = 20;
    std::vector<Triangle> mesh;
    for (int i = 0; i < columns; ++i) {
        const Point a = at(i, 0), b = at(i + 1, 0), c = at(i + 1, kHeight), d = at(i, kHeight);
        AddQuad(mesh, a, b, c, d);
        mesh.push_back({Point{0, 0, 0}, b, a});
        mesh.push_back({Point{0, 0, kHeight}, d, c});
    }
    return mesh;
}

std::vector<Triangle> Plate(int triangles, int needles)
{
    // The needles go first: pairing of sides leaves one open where they come late.
    const int cells = std::max(static_cast<int>(std::sqrt(triangles / 4.0)), needles);
    const int rows = std::max(triangles / 4 / cells, 1);
    const auto at = [&](int i, int j, float z) -> Point {
        return {300.0f * static_cast<float>(i) / static_cast<float>(cells),
                200.0f * static_cast<float>(j) / static_cast<float>(rows), z};
    };
    constexpr float kTop = 10;
    std::vector<Triangle> mesh, rest;
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < rows; ++j) {
            AddQuad(rest, at(i, j, kTop), at(i + 1, j, kTop), at(i + 1, j + 1, kTop),
                    at(i, j + 1, kTop));
            const Point a = at(i, j, 0), b = at(i, j + 1, 0), c = at(i + 1, j + 1, 0),
                        d = at(i + 1, j, 0);
            if (j > 0 || i >= needles) {
                AddQuad(rest, a, b, c, d);
                continue;
            }
            Point p = d;
            p[0] -= 4e-5f; // and 7e-5 merge
            mesh.push_back({p, d, at(i + 1, 0, kTop)});
            mesh.push_back({d, p, c});
            rest.push_back({a, b, c});
            rest.push_back({a, c, p});
        }
    for (int i = 0; i < cells; ++i) {
        const Point a = at(i, 0, 0), c = at(i + 1, 0, kTop);
        Point b = at(i + 1, 0, 0);
        if (i < needles) b[0] -= 4e-5f;
        AddQuad(rest, a, b, c, at(i, 0, kTop));
        AddQuad(rest, at(i + 1, rows, 0), at(i, rows, 0), at(i, rows, kTop), at(i + 1, rows, kTop));
    }
    for (int j = 0; j < rows; ++j) {
        AddQuad(rest, at(0, j + 1, 0), at(0, j, 0), at(0, j, kTop), at(0, j + 1, kTop));
        AddQuad(rest, at(cells, j, 0), at(cells, j + 1, 0), at(cells, j + 1, kTop),
                at(cells, j, kTop));
    }
    mesh.insert(mesh.end(), rest.begin(), rest.end());
    return mesh;
}

void AddCube(std::vector<Triangle>& mesh, const Point& low, float side)
{
    const auto at = [&](int corner) -> Point {
        return {low[0] + side * float(corner & 1), low[1] + side * float(corner >> 1 & 1),
                low[2] + side * float(corner >> 2)};
    };
    constexpr std::array<std::array<int, 4>, 6> faces{
        {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}}};
    for (const auto& f : faces) {
        mesh.push_back({at(f[0]), at(f[1]), at(f[2])});
        mesh.push_back({at(f[0]), at(f[2]), at(f[3])});
    }
}

/// Puts a corner into the first side of a triangle, and a facet without area between it and the
/// triangle beside it.
void SplitSide(std::vector<Triangle>& mesh, std::size_t triangle)
{
    const auto [a, b, c] = mesh[triangle];
    const Point middle{0.5f * (a[0] + b[0]), 0.5f * (a[1] + b[1]), 0.5f * (a[2] + b[2])};
    mesh[triangle] = {a, middle, c};
    mesh.push_back({middle, b, c});
    mesh.push_back({a, b, middle});
}

void WriteBinary(std::FILE* file, const std::vector<Triangle>& mesh)
{
    const std::array<char, 80> header{};
    const auto count = static_cast<std::uint32_t>(mesh.size());
    const Point normal{};
    std::fwrite(header.data(), 1, header.size(), file);
    std::fwrite(&count, sizeof count, 1, file);
    for (const Triangle& triangle : mesh) {
        std::fwrite(&normal, sizeof normal, 1, file);
        std::fwrite(&triangle, sizeof triangle, 1, file);
        std::fwrite("\0", 1, 2, file);
    }
}

void WriteText(std::FILE* file, const std::vector<Triangle>& mesh)
{
    std::fputs("solid sphere\n", file);
    for (const Triangle& triangle : mesh) {
        std::fputs("  facet normal 0.000000e+00 0.000000e+00 0.000000e+00\n    outer loop\n", file);
        for (const Point& p : triangle)
            std::fprintf(file, "      vertex %.6e %.6e %.6e\n", double(p[0]), double(p[1]),
                         double(p[2]));
        std::fputs("    endloop\n  endfacet\n", file);
    }
    std::fputs("endsolid sphere\n", file);
}

} // namespace

static File Create(const std::string& path)
{
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        std::perror(path.c_str());
        std::exit(2);
    }
    return file;
}

int WriteSphere(const std::string& path, int triangles, bool text)
{
    const std::vector<Triangle> mesh = Sphere(triangles);
    const File file = Create(path);
    text ? WriteText(file.get(), mesh) : WriteBinary(file.get(), mesh);
    return static_cast<int>(mesh.size());
}

void WriteCrowded(const std::string& path, int triangles, bool withoutArea)
{
    std::vector<Triangle> mesh = Sphere(triangles);
    for (Triangle& triangle : mesh)
        for (Point& p : triangle)
            for (float& x : p) x *= 0.1f;
    AddCube(mesh, {-13, 0, 0}, 1);
    if (withoutArea) SplitSide(mesh, mesh.size() - 1);
    AddCube(mesh, {-990, -990, -990}, 2000);
    WriteBinary(Create(path).get(), mesh);
}

void WriteTube(const std::string& path, int triangles, double inner, double outer, double length)
{
    WriteBinary(Create(path).get(), Tube(triangles, inner, outer, length));
}

void WriteTorus(const std::string& path, int triangles, double radius, double thickness)
{
    WriteBinary(Create(path).get(), Torus(triangles, radius, thickness));
}

void WriteNestedCubes(const std::string& path, int cubes)
{
    WriteBinary(Create(path).get(), NestedCubes(cubes));
}

void WriteGear(const std::string& path, int triangles)
{
    WriteBinary(Create(path).get(), Gear(triangles));
}

void WritePlate(const std::string& path, int triangles, int needles)
{
    WriteBinary(Create(path).get(), Plate(triangles, needles));
}
